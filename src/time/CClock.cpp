#include <cmath>
#include <cstdio>
#include <shared/foundation/CLog.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/CClock.h>
#include <shared/time/NCivilTime.h>

// Thresholds of the clock correction, exactly 20 and 3,600 one-second fractions of a day.
const double CClock::s_dblSystemClockTolerance = 20.0 * (1.0 / 86400.0);
const double CClock::s_dblSystemClockToleranceUpperBoundary = 3600.0 * (1.0 / 86400.0);
// COleDateTime(2000, 1, 1, 0, 0, 0).m_dt
const unsigned long CClock::s_dwDayOfJan1st2000 = 36526UL;

std::recursive_mutex CClock::s_CS;
double CClock::s_dblUTCDifference = 0.0;
COleDateTime CClock::s_EpochDateTime;
bool CClock::s_boIsInitialisedTimezone = false;

namespace
{

// Half a second in days, added to a count of seconds before truncation: a tiny rounding guard
// rather than a half-second rounding. Kept as it always was, so spans keep their values.
constexpr double kSecondsRoundingGuard = 5.787037037037037e-6;

double TimePart(COleDateTime const& dt)
{
    double whole = 0.0;
    return std::modf(dt.m_dt, &whole);
}

double DatePart(COleDateTime const& dt)
{
    return std::trunc(dt.m_dt);
}

COleDateTime WithValue(double value, COleDateTime::DateTimeStatus status)
{
    COleDateTime result(value);
    result.SetStatus(status);
    return result;
}

// SYSTEMTIME to a date-time, milliseconds included (the framework's own conversion drops them).
COleDateTime FromSystemTime(SYSTEMTIME const& st)
{
    COleDateTime dt(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
    if (dt.GetStatus() == COleDateTime::valid)
        dt.m_dt += st.wMilliseconds / 86400000.0;
    return dt;
}

COleDateTime PcUtcNow()
{
    return FromSystemTime(shared::platform::GetSystemTime());
}

COleDateTime PcLocalNow()
{
    return FromSystemTime(shared::platform::GetLocalTime());
}

std::int64_t PcUtcSeconds()
{
    return CClock::GetUTCCurrentDateTimeInMilliseconds() / 1000;
}

bool InConvertibleRange(COleDateTime const& dt)
{
    const int year = dt.GetYear();
    return year >= 1970 && year < 2106;
}

NCivilTime::TIMESTAMP BreakDown(COleDateTime const& dt)
{
    NCivilTime::TIMESTAMP ts{};
    ts.usYear = static_cast<std::uint16_t>(dt.GetYear());
    ts.byMonth = static_cast<std::uint8_t>(dt.GetMonth());
    ts.byDay = static_cast<std::uint8_t>(dt.GetDay());
    ts.byHour = static_cast<std::uint8_t>(dt.GetHour());
    ts.byMinute = static_cast<std::uint8_t>(dt.GetMinute());
    ts.bySecond = static_cast<std::uint8_t>(dt.GetSecond());
    return ts;
}

COleDateTime BuildUp(NCivilTime::TIMESTAMP const& ts)
{
    return COleDateTime(ts.usYear, ts.byMonth, ts.byDay, ts.byHour, ts.byMinute, ts.bySecond);
}

// The zone's current name and offset, as the runtime's "%Z" and "%z" give them, but from the zone
// rules the library uses everywhere else rather than from the host's zone.
CString ZoneNameNow()
{
    shared::platform::TimeZoneInformation info;
    switch (shared::platform::GetTimeZoneInformation(info, PcUtcSeconds()))
    {
    case shared::platform::ETimeZoneState::Daylight:
        return CString(info.DaylightName.c_str());
    case shared::platform::ETimeZoneState::Unknown:
    case shared::platform::ETimeZoneState::Standard:
        return CString(info.StandardName.c_str());
    case shared::platform::ETimeZoneState::Invalid:
        break;
    }
    return CString();
}

CString ZoneOffsetNow(long minutesEastOfUtc)
{
    const long magnitude = minutesEastOfUtc < 0 ? -minutesEastOfUtc : minutesEastOfUtc;
    CString text;
    text.Format("%c%02ld%02ld", minutesEastOfUtc < 0 ? '-' : '+', magnitude / 60, magnitude % 60);
    return text;
}

} // namespace

CClock::CClock() = default;
CClock::~CClock() = default;

COleDateTime CClock::GetSafeDateInFuture()
{
    return COleDateTime(2100, 1, 1, 0, 0, 0);
}
COleDateTime CClock::GetSafeDateInPast()
{
    return COleDateTime(1999, 1, 1, 0, 0, 0);
}
COleDateTime CClock::GetEndOfDayTime()
{
    return COleDateTime(1999, 1, 1, 23, 59, 59);
}

// --- Current time ---------------------------------------------------------------------------

COleDateTime CClock::GetUTCCurrentDateTime()
{
    std::lock_guard lock(s_CS);
    COleDateTime now = PcUtcNow();
    now.m_dt += s_dblUTCDifference;
    return now;
}

COleDateTime CClock::GetUTCCurrentDate()
{
    return GetDateOnly(GetUTCCurrentDateTime());
}
COleDateTime CClock::GetUTCCurrentTime()
{
    return GetTimeOnly(GetUTCCurrentDateTime());
}

COleDateTime CClock::GetLocalDateTime()
{
    std::lock_guard lock(s_CS);
    COleDateTime now = PcLocalNow();
    now.m_dt += s_dblUTCDifference;
    return now;
}

COleDateTime CClock::GetLocalDate()
{
    return GetDateOnly(GetLocalDateTime());
}
COleDateTime CClock::GetLocalTime()
{
    return GetTimeOnly(GetLocalDateTime());
}

void CClock::SyncEpochDateTime()
{
    const COleDateTime now = GetLocalDateTime();
    std::lock_guard lock(s_CS);
    s_EpochDateTime = now;
}

COleDateTime CClock::GetEpochDateTime()
{
    std::lock_guard lock(s_CS);
    return s_EpochDateTime;
}

COleDateTime CClock::GetEpochDate()
{
    return GetDateOnly(GetEpochDateTime());
}
COleDateTime CClock::GetEpochTime()
{
    return GetTimeOnly(GetEpochDateTime());
}

__int64 CClock::GetUTCCurrentDateTimeInMilliseconds()
{
    return static_cast<__int64>(shared::platform::GetUtcMilliseconds());
}

CString CClock::GetCurrentTimeStringWithMilliseconds()
{
    const SYSTEMTIME st = shared::platform::GetLocalTime();
    CString text;
    text.Format("%02d:%02d:%02d.%03d", static_cast<int>(st.wHour), static_cast<int>(st.wMinute),
                static_cast<int>(st.wSecond), static_cast<int>(st.wMilliseconds));
    return text;
}

// --- Clock correction -----------------------------------------------------------------------

void CClock::NotifyCurrentUTCDateTime(COleDateTime const& trustedUtc)
{
    if (trustedUtc.GetStatus() != COleDateTime::valid)
        return;
    std::lock_guard lock(s_CS);
    const COleDateTime pc = PcUtcNow();
    if (pc.GetStatus() != COleDateTime::valid)
        return;
    const double difference = trustedUtc.m_dt - pc.m_dt;
    if (std::fabs(difference) < s_dblSystemClockToleranceUpperBoundary)
        s_dblUTCDifference = difference;
    else
        CLog::AddToLog(2,
                       "CClock::NotifyCurrentUTCDateTime() Greater than an hour, dblDifference=%f",
                       difference);
}

void CClock::SyncPCWithUTCDateTime()
{
    std::lock_guard lock(s_CS);
    COleDateTime corrected = PcUtcNow();
    corrected.m_dt += s_dblUTCDifference;
    const double d = std::fabs(s_dblUTCDifference);
    if (d <= s_dblSystemClockTolerance)
        return;
    if (d >= s_dblSystemClockToleranceUpperBoundary)
    {
        CLog::AddToLog(
            2, "CClock::SyncPCWithUTCDateTime() Greater than an hour, s_dblUTCDifference=%f",
            s_dblUTCDifference);
        return;
    }
    SYSTEMTIME st{};
    st.wYear = static_cast<WORD>(corrected.GetYear());
    st.wMonth = static_cast<WORD>(corrected.GetMonth());
    st.wDay = static_cast<WORD>(corrected.GetDay());
    st.wDayOfWeek = static_cast<WORD>(corrected.GetDayOfWeek() - 1);
    st.wHour = static_cast<WORD>(corrected.GetHour());
    st.wMinute = static_cast<WORD>(corrected.GetMinute());
    st.wSecond = static_cast<WORD>(corrected.GetSecond());
    st.wMilliseconds = 0;
    // Not examined on purpose: without the right to set the clock the difference is still
    // cleared and the line still written, as the application has always done.
    shared::platform::SetSystemTime(st);
    s_dblUTCDifference = 0.0;
    // "Systen" is the message's own spelling; log readers search for it.
    CLog::AddToLog(0, "CClock::SyncPCWithUTCDateTime() Systen Clock Reset");
}

// --- Time zones -----------------------------------------------------------------------------

void CClock::InitialiseTimezone()
{
    NCivilTime::SetTimeZone();
    std::lock_guard lock(s_CS);
    s_boIsInitialisedTimezone = true;
}

long CClock::GetLocalToUTCMappingInMinutes()
{
    shared::platform::TimeZoneInformation info;
    switch (shared::platform::GetTimeZoneInformation(info, PcUtcSeconds()))
    {
    case shared::platform::ETimeZoneState::Unknown:
    case shared::platform::ETimeZoneState::Standard:
        return info.Bias + info.StandardBias;
    case shared::platform::ETimeZoneState::Daylight:
        return info.Bias + info.DaylightBias;
    case shared::platform::ETimeZoneState::Invalid:
        break;
    }
    return info.Bias;
}

long CClock::GetUTCToLocalMappingInMinutes()
{
    return -GetLocalToUTCMappingInMinutes();
}

CString CClock::GetTimeZoneString(int zone)
{
    return zone == 0 ? CString("UTC (Universal Time)")
                     : ZoneOffsetNow(GetUTCToLocalMappingInMinutes());
}

CString CClock::GetShortTimeZoneString(int zone)
{
    return zone == 0 ? CString("UTC") : ZoneNameNow();
}

// --- Conversions ----------------------------------------------------------------------------

COleDateTime CClock::ConvertFromUTCToLocal(COleDateTime const& dt)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return dt;
    COleDateTime local = dt;
    local.m_dt += static_cast<double>(GetUTCToLocalMappingInMinutes()) * GetMinuteFraction();
    return local;
}

COleDateTime CClock::ConvertFromLocalToUTC(COleDateTime const& dt)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return dt;
    COleDateTime utc = dt;
    utc.m_dt += static_cast<double>(GetLocalToUTCMappingInMinutes()) * GetMinuteFraction();
    return utc;
}

COleDateTime CClock::ConvertSmartlyFromUTCToLocal(COleDateTime const& dt)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return dt;
    if (dt.GetYear() == 1899) // a time-only value
        return dt;
    if (!InConvertibleRange(dt))
        return dt;
    NCivilTime::TIMESTAMP ts = BreakDown(dt);
    const unsigned long seconds = NCivilTime::ConvertFromBrokenDownTime(&ts, 0);
    // West of UTC the first hours of 1970 have no local second count: no local time to give.
    if (NCivilTime::ConvertToBrokenDownTime(&ts, seconds, 1) == nullptr)
        return WithValue(0.0, COleDateTime::invalid);
    return BuildUp(ts);
}

COleDateTime CClock::ConvertSmartlyFromLocalToUTC(COleDateTime const& dt)
{
    if (dt.GetStatus() == COleDateTime::invalid || !InConvertibleRange(dt))
        return dt;
    NCivilTime::TIMESTAMP ts = BreakDown(dt);
    return ConvertDWORD2COleDateTime(NCivilTime::ConvertFromBrokenDownTime(&ts, 1));
}

COleDateTime CClock::ConvertUTCTime(COleDateTime const& dt, bool toLocal)
{
    if (toLocal && dt.GetStatus() != COleDateTime::invalid)
        return ConvertSmartlyFromUTCToLocal(dt);
    return dt;
}

DWORD CClock::ConvertCOleDateTime2DWORD(COleDateTime const& dt)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return 0;
    const int year = dt.GetYear();
    if (year < 1970 || year > 2105)
        return 0;
    NCivilTime::TIMESTAMP ts = BreakDown(dt);
    return static_cast<DWORD>(NCivilTime::ConvertFromBrokenDownTime(&ts, 0));
}

COleDateTime CClock::ConvertDWORD2COleDateTime(unsigned long const& seconds)
{
    NCivilTime::TIMESTAMP ts{};
    if (NCivilTime::ConvertToBrokenDownTime(&ts, seconds, 0) == nullptr)
        return WithValue(0.0, COleDateTime::invalid);
    return BuildUp(ts);
}

DWORD CClock::GenerateTimeStampId(COleDateTime const& dt)
{
    const auto days = static_cast<DWORD>(static_cast<long long>(DatePart(dt)));
    return (days - static_cast<DWORD>(s_dwDayOfJan1st2000)) * 86400U +
           static_cast<DWORD>(dt.GetHour()) * 3600U + static_cast<DWORD>(dt.GetMinute()) * 60U +
           static_cast<DWORD>(dt.GetSecond());
}

// --- Parts of a date-time -------------------------------------------------------------------

COleDateTime CClock::GetTimeOnly(COleDateTime const& dt)
{
    return WithValue(TimePart(dt), COleDateTime::valid);
}

COleDateTime CClock::GetDateOnly(COleDateTime const& dt)
{
    return WithValue(DatePart(dt), COleDateTime::valid);
}

COleDateTime CClock::CombineDateAndTime(COleDateTime date, COleDateTime time)
{
    return WithValue(DatePart(date) + TimePart(time), COleDateTime::valid);
}

void CClock::InitializeDateTime(COleDateTime& dt)
{
    dt.m_dt = 0.0;
    dt.SetStatus(COleDateTime::valid);
}

void CClock::InvalidateDateTime(COleDateTime& dt)
{
    dt.m_dt = 0.0;
    dt.SetStatus(COleDateTime::invalid);
}

COleDateTime CClock::GetMidnight(COleDateTime const& dt)
{
    return IsMidnight(dt) ? WithValue(DatePart(dt), dt.GetStatus()) : GetNextMidnight(dt);
}

COleDateTime CClock::GetNextMidnight(COleDateTime const& dt)
{
    return WithValue(DatePart(dt) + 1.0, dt.GetStatus());
}

bool CClock::IsMidnight(COleDateTime const& dt)
{
    return TimePart(dt) == 0.0;
}

COleDateTime CClock::AddOneDayToDateTime(COleDateTime const& dt)
{
    return AddDaysToDateTime(dt, 1);
}

COleDateTime CClock::SubtractOneDayFromDateTime(COleDateTime const& dt)
{
    return WithValue(dt.m_dt - 1.0, dt.GetStatus());
}

COleDateTime CClock::AddDaysToDateTime(COleDateTime const& dt, unsigned long days)
{
    return WithValue(dt.m_dt + static_cast<double>(days), dt.GetStatus());
}

void CClock::SetTimeToEndOfDay(COleDateTime& dt)
{
    dt.m_dt = DatePart(dt) + 86399.0 / 86400.0;
}

unsigned short CClock::GetMinuteOfDay(COleDateTime const& dt)
{
    return static_cast<unsigned short>(dt.GetHour() * 60 + dt.GetMinute());
}

long CClock::GetSecondsInTimePart(COleDateTime const& dt)
{
    return dt.GetHour() * 3600L + dt.GetMinute() * 60L + dt.GetSecond();
}

COleDateTime CClock::MakeTimePartFromSeconds(int seconds)
{
    const int h = seconds / 3600;
    const int m = (seconds % 3600) / 60;
    const int s = (seconds % 3600) % 60;
    COleDateTime time;
    time.SetTime(h, m, s); // hours of 24 or more (or negative parts) leave it invalid
    return time;
}

COleDateTime CClock::Equalize(COleDateTime const& dt)
{
    // The framework rounds to the nearest second when it breaks a value down.
    return COleDateTime(dt.GetYear(), dt.GetMonth(), dt.GetDay(), dt.GetHour(), dt.GetMinute(),
                        dt.GetSecond());
}

// --- Comparisons ----------------------------------------------------------------------------

bool CClock::Is1stTimeBefore2ndTime(COleDateTime const& a, COleDateTime const& b)
{
    return TimePart(a) < TimePart(b);
}

bool CClock::Is1stTimeAfter2ndTime(COleDateTime const& a, COleDateTime const& b)
{
    return TimePart(a) >= TimePart(b);
}

bool CClock::Is1stDateBefore2ndDate(COleDateTime const& a, COleDateTime const& b)
{
    return DatePart(a) < DatePart(b);
}

bool CClock::Is1stDateAfter2ndDate(COleDateTime const& a, COleDateTime const& b)
{
    return DatePart(a) >= DatePart(b);
}

bool CClock::AreTimesSameToOneSecond(COleDateTime const& a, COleDateTime const& b)
{
    return std::fabs(TimePart(a) - TimePart(b)) < GetFloatingPointAllowance();
}

double CClock::GetTimeDifference(COleDateTime const& a, COleDateTime const& b)
{
    return std::fabs(TimePart(a) - TimePart(b));
}

long CClock::GetDifferenceInSeconds(COleDateTime const& a, COleDateTime const& b)
{
    const double days = b.m_dt - a.m_dt;
    const auto magnitude = static_cast<long>(std::fabs(days) * 86400.0 + kSecondsRoundingGuard);
    return days < 0.0 ? -magnitude : magnitude;
}
