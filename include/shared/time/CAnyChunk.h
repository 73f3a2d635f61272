#pragma once

// A span of time between two UTC date-times: the unit in which the application cuts, compares
// and analyses periods. Concrete kinds: CChunk (a plain span), CCuteChunk (a span tiled by
// sub-chunks) and CWatchChunk (a stopwatch). Comparisons are made on the raw day counts.

#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

class CChunk;

class SHARED_API CAnyChunk
{
public:
    // Kinds returned by GetType. Values below 8 are left to the application's own chunks.
    enum E_ChunkType
    {
        E_ChunkTypeChunk = 8,
        E_ChunkTypeCute = 9,
        E_ChunkTypeWatch = 10
    };

    enum E_TimeLocationType
    {
        E_TimeLocationBefore = 1,
        E_TimeLocationWithin = 2,
        E_TimeLocationAfter = 3
    };

    CAnyChunk();
    CAnyChunk(COleDateTime const& start, COleDateTime const& end);
    CAnyChunk(CAnyChunk const& other);

    // A new heap object of the same concrete class spanning [start, end]; the caller owns it.
    virtual CAnyChunk* CreateSimilar(COleDateTime const& start, COleDateTime const& end) const = 0;
    virtual ~CAnyChunk() = 0;
    virtual CString GetDiagnosticString() const;
    // The name is spelled so in the interface; the base body returns "Undefined".
    virtual CString GetFormatedType() const = 0;
    virtual E_ChunkType GetType() const = 0;

    COleDateTime GetStart() const { return m_dtStart; }
    COleDateTime GetEnd() const { return m_dtEnd; }
    COleDateTime GetStartDateOnly() const;
    COleDateTime GetEndDateOnly() const;
    // No ordering check: callers may build inverted spans.
    void SetStart(COleDateTime const& start) { m_dtStart = start; }
    void SetEnd(COleDateTime const& end) { m_dtEnd = end; }
    void SetStartAndEnd(COleDateTime const& start, COleDateTime const& end);

    bool IsFlagged() const { return m_boFlag; }
    void SetFlag(bool flag) { m_boFlag = flag; }

    int GetSpanInSeconds() const;
    // Whole days covered once both ends are widened to midnight; never less than 1.
    int GetNumberOfDays() const;
    // Orders by start only.
    bool operator<(CAnyChunk const& other) const;

    E_TimeLocationType GetLocationInTime(COleDateTime const& t, bool includeStart,
                                         bool includeEnd) const;
    bool DoesContain(COleDateTime const& t, bool includeStart, bool includeEnd) const;
    bool DoesCompletelyContain(CAnyChunk const& other, bool includeStart, bool includeEnd) const;
    bool IsCompletelyOutsideOf(CAnyChunk const& other, bool startTouchCounts,
                               bool endTouchCounts) const;
    // The first moment inside the chunk with the time of day of t.
    bool DoesContainTime(COleDateTime const& t, bool includeStart, bool includeEnd,
                         COleDateTime& found) const;
    bool DoesSpanOverFullDays() const;

    // Positive counts widen the span by whole days; zero or negative change nothing.
    void Bloat(int daysBefore, int daysAfter);
    void BloatToFullDay();
    // Splits at t: this chunk keeps [start, t], the returned one (caller-owned, same class, no
    // flag, no sub-chunks) holds [t, end]. Null, and no change, unless start < t < end.
    CAnyChunk* Cleavage(COleDateTime const& t);

    CChunk GetIntersection(CAnyChunk const& other) const;
    // From the earlier start to the later end, whether or not the two overlap.
    CChunk GetUnion(CAnyChunk const& other) const;

    // "%d/%m/%y-%H%:%M:%S": the stray "%:" is the interface's own and goes to the formatter
    // unchanged.
    CString GetFormatedStart() const;
    CString GetFormatedEnd() const;

    // Consistency hook called on entry and exit of most operations; it checks nothing.
    void testInvariant() const {}

protected:
    CAnyChunk& operator=(CAnyChunk const& other);

    COleDateTime m_dtStart;
    COleDateTime m_dtEnd;
    bool m_boFlag;
};
