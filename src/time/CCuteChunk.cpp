#include <shared/time/CCuteChunk.h>

CCuteChunk& CCuteChunk::operator=(CCuteChunk const& other)
{
    CAnyCuteChunk::operator=(other);
    return *this;
}

CCuteChunk::~CCuteChunk() = default;

CAnyChunk* CCuteChunk::CreateSimilar(COleDateTime const& start, COleDateTime const& end) const
{
    return new CCuteChunk(start, end);
}

CString CCuteChunk::GetFormatedType() const
{
    return CString("Cute");
}
