#include <shared/time/CAnyChunk.h>
#include <shared/time/CChunk.h>
#include <shared/time/CClock.h>

CAnyChunk::CAnyChunk() : m_dtStart(0.0), m_dtEnd(0.0), m_boFlag(false)
{
    m_dtStart.SetStatus(COleDateTime::valid);
    m_dtEnd.SetStatus(COleDateTime::valid);
}

CAnyChunk::CAnyChunk(COleDateTime const& start, COleDateTime const& end)
    : m_dtStart(start), m_dtEnd(end), m_boFlag(false)
{
}

CAnyChunk::CAnyChunk(CAnyChunk const& other)
    : m_dtStart(other.m_dtStart), m_dtEnd(other.m_dtEnd), m_boFlag(other.m_boFlag)
{
}

CAnyChunk::~CAnyChunk() = default;

CAnyChunk& CAnyChunk::operator=(CAnyChunk const& other)
{
    m_dtStart = other.m_dtStart;
    m_dtEnd = other.m_dtEnd;
    m_boFlag = other.m_boFlag;
    return *this;
}

CString CAnyChunk::GetFormatedType() const
{
    return CString("Undefined");
}

CString CAnyChunk::GetDiagnosticString() const
{
    testInvariant();
    CString text;
    text.Format("%-11s %0.3f -> %0.3f (%s -> %s) %s", GetFormatedType(), m_dtStart.m_dt,
                m_dtEnd.m_dt, GetFormatedStart(), GetFormatedEnd(), m_boFlag ? "Flagged!" : "");
    return text;
}

COleDateTime CAnyChunk::GetStartDateOnly() const
{
    return CClock::GetDateOnly(m_dtStart);
}

COleDateTime CAnyChunk::GetEndDateOnly() const
{
    return CClock::GetDateOnly(m_dtEnd);
}

void CAnyChunk::SetStartAndEnd(COleDateTime const& start, COleDateTime const& end)
{
    m_dtStart = start;
    m_dtEnd = end;
}

int CAnyChunk::GetSpanInSeconds() const
{
    return static_cast<int>(CClock::GetDifferenceInSeconds(m_dtStart, m_dtEnd));
}

int CAnyChunk::GetNumberOfDays() const
{
    testInvariant();
    const double start = CClock::GetDateOnly(m_dtStart).m_dt;
    const double end = CClock::GetDateOnly(CClock::GetMidnight(m_dtEnd)).m_dt;
    const int days = static_cast<int>(end - start);
    return days == 0 ? 1 : days;
}

bool CAnyChunk::operator<(CAnyChunk const& other) const
{
    return m_dtStart.m_dt < other.m_dtStart.m_dt;
}

CAnyChunk::E_TimeLocationType CAnyChunk::GetLocationInTime(COleDateTime const& t, bool includeStart,
                                                           bool includeEnd) const
{
    const bool before = includeStart ? t.m_dt < m_dtStart.m_dt : t.m_dt <= m_dtStart.m_dt;
    const bool after = includeEnd ? t.m_dt > m_dtEnd.m_dt : t.m_dt >= m_dtEnd.m_dt;
    if (before)
        return E_TimeLocationBefore;
    if (after)
        return E_TimeLocationAfter;
    return E_TimeLocationWithin;
}

bool CAnyChunk::DoesContain(COleDateTime const& t, bool includeStart, bool includeEnd) const
{
    return GetLocationInTime(t, includeStart, includeEnd) == E_TimeLocationWithin;
}

bool CAnyChunk::DoesCompletelyContain(CAnyChunk const& other, bool includeStart,
                                      bool includeEnd) const
{
    return DoesContain(other.m_dtStart, includeStart, includeEnd) &&
           DoesContain(other.m_dtEnd, includeStart, includeEnd);
}

bool CAnyChunk::IsCompletelyOutsideOf(CAnyChunk const& other, bool startTouchCounts,
                                      bool endTouchCounts) const
{
    const bool endsBefore =
        endTouchCounts ? m_dtEnd.m_dt < other.m_dtStart.m_dt : m_dtEnd.m_dt <= other.m_dtStart.m_dt;
    if (endsBefore)
        return true;
    return startTouchCounts ? m_dtStart.m_dt > other.m_dtEnd.m_dt
                            : m_dtStart.m_dt >= other.m_dtEnd.m_dt;
}

bool CAnyChunk::DoesContainTime(COleDateTime const& t, bool includeStart, bool includeEnd,
                                COleDateTime& found) const
{
    testInvariant();
    // An unusable start or time cannot name a moment; report "not found".
    if (m_dtStart.GetStatus() == COleDateTime::valid && t.GetStatus() == COleDateTime::valid)
    {
        COleDateTime candidate = CClock::GetDateOnly(m_dtStart);
        candidate.m_dt +=
            static_cast<double>(CClock::GetSecondsInTimePart(t)) * CClock::GetSecondFraction();
        // The candidate starts less than a day before the start, so two steps always suffice;
        // the bound keeps absurd day counts (where adding a day changes nothing) from looping.
        for (int step = 0; step < 2 && GetLocationInTime(candidate, includeStart, includeEnd) ==
                                           E_TimeLocationBefore;
             ++step)
            candidate = CClock::AddOneDayToDateTime(candidate);
        if (GetLocationInTime(candidate, includeStart, includeEnd) == E_TimeLocationWithin)
        {
            found = candidate;
            return true;
        }
    }
    found.m_dt = 0.0;
    found.SetStatus(COleDateTime::valid);
    return false;
}

bool CAnyChunk::DoesSpanOverFullDays() const
{
    // The reference midnight is the interface's own; any midnight has a zero time of day.
    const COleDateTime reference(2002, 1, 17, 0, 0, 0);
    return CClock::IsMidnight(m_dtStart) &&
           CClock::GetTimeOnly(m_dtEnd).m_dt == CClock::GetTimeOnly(reference).m_dt;
}

void CAnyChunk::Bloat(int daysBefore, int daysAfter)
{
    testInvariant();
    if (daysBefore > 0)
        m_dtStart.m_dt -= daysBefore;
    if (daysAfter > 0)
        m_dtEnd.m_dt += daysAfter;
    testInvariant();
}

void CAnyChunk::BloatToFullDay()
{
    testInvariant();
    m_dtStart = CClock::GetDateOnly(m_dtStart);
    m_dtEnd = CClock::GetMidnight(m_dtEnd);
    testInvariant();
}

CAnyChunk* CAnyChunk::Cleavage(COleDateTime const& t)
{
    testInvariant();
    if (t.m_dt <= m_dtStart.m_dt || t.m_dt >= m_dtEnd.m_dt)
        return nullptr;
    CAnyChunk* tail = CreateSimilar(t, m_dtEnd);
    m_dtEnd = t;
    testInvariant();
    return tail;
}

CChunk CAnyChunk::GetIntersection(CAnyChunk const& other) const
{
    COleDateTime start = m_dtStart.m_dt >= other.m_dtStart.m_dt ? m_dtStart : other.m_dtStart;
    COleDateTime end = m_dtEnd.m_dt <= other.m_dtEnd.m_dt ? m_dtEnd : other.m_dtEnd;
    if (start.m_dt > end.m_dt)
        return CChunk();
    start.SetStatus(COleDateTime::valid);
    end.SetStatus(COleDateTime::valid);
    return CChunk(start, end);
}

CChunk CAnyChunk::GetUnion(CAnyChunk const& other) const
{
    return CChunk(m_dtStart.m_dt <= other.m_dtStart.m_dt ? m_dtStart : other.m_dtStart,
                  m_dtEnd.m_dt >= other.m_dtEnd.m_dt ? m_dtEnd : other.m_dtEnd);
}

CString CAnyChunk::GetFormatedStart() const
{
    return m_dtStart.Format("%d/%m/%y-%H%:%M:%S");
}

CString CAnyChunk::GetFormatedEnd() const
{
    return m_dtEnd.Format("%d/%m/%y-%H%:%M:%S");
}
