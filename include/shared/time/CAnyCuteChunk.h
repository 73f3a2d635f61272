#pragma once

// A span with an ordered list of sub-chunks meant to tile it without gaps.
//
// The list holds addresses, not copies: AddSubChunk and AppendSubChunk store the object they are
// given, copies of a cute chunk share the same sub-chunk objects, and only DestroySubChunks
// deletes them (the destructor frees just the list). Whoever decides a sub-chunk's lifetime must
// call DestroySubChunks exactly once, or keep the objects elsewhere.

#include <list>
#include <shared/platform/Export.h>
#include <shared/time/CAnyChunk.h>

class SHARED_API CAnyCuteChunk : public CAnyChunk
{
public:
    CAnyCuteChunk() = default;
    CAnyCuteChunk(COleDateTime const& start, COleDateTime const& end) : CAnyChunk(start, end) {}
    CAnyCuteChunk(CAnyCuteChunk const& other) = default;
    ~CAnyCuteChunk() override;

    // Appends &c whether or not it fits; returns whether this span contains c, ends included.
    bool AddSubChunk(CAnyChunk const& c);
    // Chains c to the last sub-chunk, cuts it at this chunk's end, gives it this chunk's flag
    // and appends &c. Always true.
    bool AppendSubChunk(CAnyChunk& c);

    int GetNumSubChunks() const { return static_cast<int>(m_SubChunks.size()); }
    int GetNumFlaggedSubChunks() const;
    CAnyChunk* GetFirstSubChunk() const;
    CAnyChunk* GetLastSubChunk() const;
    CAnyChunk* GetFirstFlaggedSubChunk() const;
    CAnyChunk* GetLastFlaggedSubChunk() const;
    long GetSubChunkSpanInSeconds(bool flaggedOnly) const;
    std::list<CAnyChunk*>& GetSubChunks() { return m_SubChunks; }
    std::list<CAnyChunk*> const& GetSubChunks() const { return m_SubChunks; }

    // Deletes every sub-chunk object, then empties the list.
    void DestroySubChunks();

    // Sub-chunk starts never decrease along the list.
    bool testSequence() const;
    // Number of gaps in the tiling, counted recursively through cute sub-chunks.
    int verifyPerfectSequence() const;

    // A byte the owner may use to tag the chunk (a category, a colour index...). The library
    // gives it no meaning; it travels with copies.
    unsigned char GetTag() const { return m_byTag; }
    void SetTag(unsigned char tag) { m_byTag = tag; }

protected:
    CAnyCuteChunk& operator=(CAnyCuteChunk const& other);

private:
    unsigned char m_byTag = 0;
    std::list<CAnyChunk*> m_SubChunks;
};
