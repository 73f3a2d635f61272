#include <ctime>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>

namespace shared::platform
{

namespace
{

constexpr std::int64_t kMillisecondsPerSecond = 1000;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kMillisecondsPerDay = kSecondsPerDay * kMillisecondsPerSecond;

std::int64_t FloorDiv(std::int64_t a, std::int64_t b)
{
    const std::int64_t q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

// Days since 1970-01-01 of a proleptic Gregorian date, and back; the era-based algorithms of
// H. Hinnant, "chrono-Compatible Low-Level Date Algorithms", exact for every representable date.
std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2 ? 1 : 0;
    const std::int64_t era = FloorDiv(y, 400);
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void CivilFromDays(std::int64_t z, std::int64_t& y, unsigned& m, unsigned& d)
{
    z += 719468;
    const std::int64_t era = FloorDiv(z, 146097);
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y = static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2 ? 1 : 0);
}

bool IsLeap(std::int64_t y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

unsigned DaysInMonth(std::int64_t y, unsigned m)
{
    static constexpr unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

class RealSystemTimeSource final : public ISystemTimeSource
{
public:
    std::int64_t GetUtcMilliseconds() const override
    {
        timespec ts{};
        ::clock_gettime(CLOCK_REALTIME, &ts);
        return static_cast<std::int64_t>(ts.tv_sec) * kMillisecondsPerSecond + ts.tv_nsec / 1000000;
    }

    std::int64_t GetLocalOffsetSeconds(std::int64_t utcSeconds) const override
    {
        return LocalUtcOffsetSeconds(utcSeconds);
    }

    bool SetUtcMilliseconds(std::int64_t utcMilliseconds) override
    {
        timespec ts{};
        ts.tv_sec = static_cast<std::time_t>(FloorDiv(utcMilliseconds, kMillisecondsPerSecond));
        ts.tv_nsec = static_cast<long>(
            (utcMilliseconds - FloorDiv(utcMilliseconds, kMillisecondsPerSecond) * 1000) * 1000000);
        return ::clock_settime(CLOCK_REALTIME, &ts) == 0;
    }
};

std::atomic<ISystemTimeSource*>& CurrentSource()
{
    static std::atomic<ISystemTimeSource*> current{nullptr};
    return current;
}

} // namespace

ISystemTimeSource::~ISystemTimeSource() = default;

ISystemTimeSource& GetRealSystemTimeSource()
{
    static RealSystemTimeSource real;
    return real;
}

ISystemTimeSource& GetSystemTimeSource()
{
    ISystemTimeSource* source = CurrentSource().load(std::memory_order_acquire);
    return source != nullptr ? *source : GetRealSystemTimeSource();
}

ISystemTimeSource* SetSystemTimeSource(ISystemTimeSource* source)
{
    ISystemTimeSource* previous = CurrentSource().exchange(source, std::memory_order_acq_rel);
    return previous != nullptr ? previous : &GetRealSystemTimeSource();
}

CScopedSystemTimeSource::CScopedSystemTimeSource(ISystemTimeSource& source)
    : m_previous(SetSystemTimeSource(&source))
{
}

CScopedSystemTimeSource::~CScopedSystemTimeSource()
{
    SetSystemTimeSource(m_previous);
}

CManualSystemTimeSource::CManualSystemTimeSource(std::int64_t utcMilliseconds,
                                                 std::int64_t localOffsetSeconds)
    : m_utcMilliseconds(utcMilliseconds), m_localOffsetSeconds(localOffsetSeconds)
{
}

std::int64_t CManualSystemTimeSource::GetUtcMilliseconds() const
{
    return m_utcMilliseconds.load();
}

std::int64_t CManualSystemTimeSource::GetLocalOffsetSeconds(std::int64_t /*utcSeconds*/) const
{
    return m_localOffsetSeconds.load();
}

bool CManualSystemTimeSource::SetUtcMilliseconds(std::int64_t utcMilliseconds)
{
    ++m_setCount;
    m_lastSet = utcMilliseconds;
    if (m_refuseSet.load())
    {
        return false;
    }
    m_utcMilliseconds = utcMilliseconds;
    return true;
}

void CManualSystemTimeSource::SetNow(std::int64_t utcMilliseconds)
{
    m_utcMilliseconds = utcMilliseconds;
}

void CManualSystemTimeSource::Advance(std::int64_t milliseconds)
{
    m_utcMilliseconds += milliseconds;
}

void CManualSystemTimeSource::SetLocalOffsetSeconds(std::int64_t seconds)
{
    m_localOffsetSeconds = seconds;
}

void CManualSystemTimeSource::SetRefuseSet(bool refuse)
{
    m_refuseSet = refuse;
}

int CManualSystemTimeSource::GetSetCount() const
{
    return m_setCount.load();
}

std::int64_t CManualSystemTimeSource::GetLastSetUtcMilliseconds() const
{
    return m_lastSet.load();
}

SYSTEMTIME BreakDownMilliseconds(std::int64_t milliseconds)
{
    const std::int64_t days = FloorDiv(milliseconds, kMillisecondsPerDay);
    const std::int64_t inDay = milliseconds - days * kMillisecondsPerDay;
    std::int64_t year = 0;
    unsigned month = 0;
    unsigned day = 0;
    CivilFromDays(days, year, month, day);
    SYSTEMTIME st{};
    st.wYear = static_cast<WORD>(year);
    st.wMonth = static_cast<WORD>(month);
    st.wDay = static_cast<WORD>(day);
    // 1970-01-01 was a Thursday (4 with Sunday = 0).
    st.wDayOfWeek = static_cast<WORD>(days - FloorDiv(days + 4, 7) * 7 + 4);
    st.wHour = static_cast<WORD>(inDay / 3600000);
    st.wMinute = static_cast<WORD>(inDay / 60000 % 60);
    st.wSecond = static_cast<WORD>(inDay / 1000 % 60);
    st.wMilliseconds = static_cast<WORD>(inDay % 1000);
    return st;
}

bool ToMilliseconds(const SYSTEMTIME& time, std::int64_t& milliseconds)
{
    if (time.wMonth < 1 || time.wMonth > 12 || time.wDay < 1 ||
        time.wDay > DaysInMonth(time.wYear, time.wMonth) || time.wHour > 23 || time.wMinute > 59 ||
        time.wSecond > 59 || time.wMilliseconds > 999)
    {
        return false;
    }
    const std::int64_t days = DaysFromCivil(time.wYear, time.wMonth, time.wDay);
    milliseconds = days * kMillisecondsPerDay +
                   ((time.wHour * 60 + time.wMinute) * 60 + time.wSecond) * kMillisecondsPerSecond +
                   time.wMilliseconds;
    return true;
}

std::int64_t UtcMilliseconds(int year, int month, int day, int hour, int minute, int second,
                             int millisecond)
{
    const std::int64_t days =
        DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    return days * kMillisecondsPerDay +
           ((static_cast<std::int64_t>(hour) * 60 + minute) * 60 + second) *
               kMillisecondsPerSecond +
           millisecond;
}

SYSTEMTIME GetSystemTime()
{
    return BreakDownMilliseconds(GetSystemTimeSource().GetUtcMilliseconds());
}

SYSTEMTIME GetLocalTime()
{
    ISystemTimeSource& source = GetSystemTimeSource();
    const std::int64_t utc = source.GetUtcMilliseconds();
    const std::int64_t offset = source.GetLocalOffsetSeconds(FloorDiv(utc, kMillisecondsPerSecond));
    return BreakDownMilliseconds(utc + offset * kMillisecondsPerSecond);
}

bool SetSystemTime(const SYSTEMTIME& utc)
{
    std::int64_t milliseconds = 0;
    if (!ToMilliseconds(utc, milliseconds))
    {
        return false;
    }
    return GetSystemTimeSource().SetUtcMilliseconds(milliseconds);
}

std::int64_t GetUtcMilliseconds()
{
    return GetSystemTimeSource().GetUtcMilliseconds();
}

} // namespace shared::platform
