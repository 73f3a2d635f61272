#pragma once

// The concrete span tiled by sub-chunks (see CAnyCuteChunk for who owns them).

#include <shared/platform/Export.h>
#include <shared/time/CAnyCuteChunk.h>

class SHARED_API CCuteChunk : public CAnyCuteChunk
{
public:
    CCuteChunk() = default;
    CCuteChunk(COleDateTime const& start, COleDateTime const& end) : CAnyCuteChunk(start, end) {}
    CCuteChunk(CCuteChunk const& other) = default;
    CCuteChunk& operator=(CCuteChunk const& other);
    ~CCuteChunk() override;

    // The new chunk starts with an empty sub-chunk list.
    CAnyChunk* CreateSimilar(COleDateTime const& start, COleDateTime const& end) const override;
    CString GetFormatedType() const override;
    E_ChunkType GetType() const override { return E_ChunkTypeCute; }
};
