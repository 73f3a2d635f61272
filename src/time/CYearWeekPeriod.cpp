#include <cstdlib>
#include <shared/time/CClock.h>
#include <shared/time/CYearWeekPeriod.h>

namespace
{
constexpr unsigned short kInvalidWeek = 65535;
constexpr unsigned short kLastWeek = 52;
constexpr unsigned short kWeeksInYear = 53;
} // namespace

CYearWeekPeriod::CYearWeekPeriod() : m_usYear(0), m_usWeek(kInvalidWeek) {}

CYearWeekPeriod::CYearWeekPeriod(unsigned short year, unsigned short week)
    : m_usYear(year), m_usWeek(week)
{
}

CYearWeekPeriod::CYearWeekPeriod(COleDateTime const& dt) : CYearWeekPeriod()
{
    if (dt.GetStatus() != COleDateTime::valid || dt.GetYear() < 0)
        return;
    m_usYear = static_cast<unsigned short>(dt.GetYear());
    m_usWeek = static_cast<unsigned short>((dt.GetDayOfYear() - 1) / 7);
}

CYearWeekPeriod::CYearWeekPeriod(CString const& descriptor) : CYearWeekPeriod()
{
    m_usYear = static_cast<unsigned short>(std::atoi(descriptor.Mid(3, 4)));
}

bool CYearWeekPeriod::operator==(CYearWeekPeriod const& other) const
{
    return m_usYear == other.m_usYear && m_usWeek == other.m_usWeek;
}

bool CYearWeekPeriod::operator!=(CYearWeekPeriod const& other) const
{
    return !(*this == other);
}

bool CYearWeekPeriod::operator<=(CYearWeekPeriod const& other) const
{
    return m_usYear < other.m_usYear || (m_usYear == other.m_usYear && m_usWeek <= other.m_usWeek);
}

CString CYearWeekPeriod::GetFileDescriptor() const
{
    CString text;
    text.Format("Yr-%04hu-Wk-%02hu", m_usYear, m_usWeek);
    return text;
}

CString CYearWeekPeriod::GetYearDirectory() const
{
    CString text;
    text.Format("Warden Log %04hu\\", m_usYear);
    return text;
}

CString CYearWeekPeriod::GetWeekDirectory() const
{
    CString directory = GetYearDirectory();
    directory += GetFileDescriptor();
    directory += "\\";
    return directory;
}

COleDateTime CYearWeekPeriod::GetStartOfPeriod() const
{
    COleDateTime start(m_usYear, 1, 1, 0, 0, 0);
    start.m_dt += 7.0 * m_usWeek;
    return start;
}

COleDateTime CYearWeekPeriod::GetEndOfPeriod() const
{
    if (m_usWeek >= kLastWeek)
        return COleDateTime(m_usYear + 1, 1, 1, 0, 0, 0);
    COleDateTime end(m_usYear, 1, 1, 0, 0, 0);
    end.m_dt += 7.0 * (m_usWeek + 1);
    return end;
}

int CYearWeekPeriod::IsDateTimeBeforePeriod(COleDateTime const& dt) const
{
    return dt.m_dt < GetStartOfPeriod().m_dt ? 1 : 0;
}

int CYearWeekPeriod::IsDateTimeAfterPeriod(COleDateTime const& dt) const
{
    return dt.m_dt >= GetEndOfPeriod().m_dt ? 1 : 0;
}

int CYearWeekPeriod::IsDateTimeInPeriod(COleDateTime const& dt) const
{
    return !IsDateTimeBeforePeriod(dt) && !IsDateTimeAfterPeriod(dt) ? 1 : 0;
}

CYearWeekPeriod CYearWeekPeriod::GetNextPeriod() const
{
    const auto week = static_cast<unsigned short>((m_usWeek + 1) % kWeeksInYear);
    return CYearWeekPeriod(week == 0 ? static_cast<unsigned short>(m_usYear + 1) : m_usYear, week);
}

CYearWeekPeriod CYearWeekPeriod::GetPreviousPeriod() const
{
    if (m_usWeek == 0)
        return CYearWeekPeriod(static_cast<unsigned short>(m_usYear - 1), kLastWeek);
    return CYearWeekPeriod(m_usYear, static_cast<unsigned short>(m_usWeek - 1));
}

long CYearWeekPeriod::GetHourIndex(COleDateTime const& dt) const
{
    if (!IsDateTimeInPeriod(dt))
        return GetInvalidHourIndex();
    // The allowance keeps a moment exactly on an hour boundary out of the hour before.
    return static_cast<long>(
        (dt.m_dt - GetStartOfPeriod().m_dt + CClock::GetFloatingPointAllowance()) /
        CClock::GetHourFraction());
}

long CYearWeekPeriod::GetStartDayIndex(COleDateTime const& dt) const
{
    if (!IsDateTimeInPeriod(dt))
        return GetInvalidHourIndex();
    return GetHourIndex(CClock::GetDateOnly(dt));
}

COleDateTime CYearWeekPeriod::GetEndDateTimeOfHourIndex(long i) const
{
    COleDateTime end = GetStartOfPeriod();
    end.m_dt += static_cast<double>(i + 1) * CClock::GetHourFraction();
    return end;
}

void CYearWeekPeriod::GetInclusivePeriodsList(COleDateTime const& from, COleDateTime const& to,
                                              CList<CYearWeekPeriod, CYearWeekPeriod&>& periods)
{
    periods.RemoveAll();
    CYearWeekPeriod period(from);
    const CYearWeekPeriod last(to);
    periods.AddTail(period);
    // An invalid `from` names no week to step on from.
    if (period.GetWeek() >= kWeeksInYear)
        return;
    for (period = period.GetNextPeriod(); period <= last; period = period.GetNextPeriod())
        periods.AddTail(period);
}
