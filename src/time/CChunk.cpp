#include <shared/time/CChunk.h>

CChunk& CChunk::operator=(CChunk const& other)
{
    CAnyChunk::operator=(other);
    return *this;
}

CChunk::~CChunk() = default;

CAnyChunk* CChunk::CreateSimilar(COleDateTime const& start, COleDateTime const& end) const
{
    return new CChunk(start, end);
}

CString CChunk::GetFormatedType() const
{
    return CString("Chunk");
}
