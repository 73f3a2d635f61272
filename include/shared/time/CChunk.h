#pragma once

// The plain span of time.

#include <shared/platform/Export.h>
#include <shared/time/CAnyChunk.h>

class SHARED_API CChunk : public CAnyChunk
{
public:
    CChunk() = default;
    CChunk(COleDateTime const& start, COleDateTime const& end) : CAnyChunk(start, end) {}
    CChunk(CChunk const& other) = default;
    CChunk& operator=(CChunk const& other);
    ~CChunk() override;

    CAnyChunk* CreateSimilar(COleDateTime const& start, COleDateTime const& end) const override;
    CString GetFormatedType() const override;
    E_ChunkType GetType() const override { return E_ChunkTypeChunk; }
};
