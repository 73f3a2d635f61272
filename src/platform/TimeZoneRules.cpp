#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <shared/platform/TimeZoneRules.h>
#include <utility>

namespace shared::platform
{
namespace
{

constexpr long kSecondsPerDay = 86400;
constexpr long kSecondsPerHour = 3600;

// Proleptic Gregorian calendar, exact for every year (days since 1970-01-01).
std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d)
{
    y -= m <= 2 ? 1 : 0;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

int CivilYearOfDays(std::int64_t days)
{
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto doe = static_cast<unsigned>(days - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    return static_cast<int>(static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2 ? 1 : 0));
}

bool IsLeap(int y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int DaysInMonth(int y, int m)
{
    static constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

int WeekdayOfDays(std::int64_t days) // 0 = Sunday; 1970-01-01 was a Thursday
{
    return static_cast<int>(((days % 7) + 11) % 7);
}

std::int64_t FloorDiv(std::int64_t a, std::int64_t b)
{
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)) ? 1 : 0);
}

// Days since 1970 of the day the rule names in year y.
std::int64_t RuleDay(const TimeZoneRules::DateRule& rule, int y)
{
    const std::int64_t jan1 = DaysFromCivil(y, 1, 1);
    using EKind = TimeZoneRules::DateRule::EKind;
    switch (rule.kind)
    {
    case EKind::Julian1:
        return jan1 + rule.day - 1 + (IsLeap(y) && rule.day >= 60 ? 1 : 0);
    case EKind::Julian0:
        return jan1 + rule.day;
    case EKind::MonthWeekDay:
        break;
    }
    const std::int64_t first = DaysFromCivil(y, static_cast<unsigned>(rule.month), 1);
    int dayOfMonth = 1 + (rule.day - WeekdayOfDays(first) + 7) % 7 + 7 * (rule.week - 1);
    while (dayOfMonth > DaysInMonth(y, rule.month))
        dayOfMonth -= 7;
    return first + dayOfMonth - 1;
}

// A small cursor over the TZ text; every reader returns false without consuming on a mismatch
// only where the grammar makes a part optional.
class Parser
{
public:
    explicit Parser(std::string_view text) : m_text(text) {}

    bool AtEnd() const { return m_pos >= m_text.size(); }
    char Peek() const { return AtEnd() ? '\0' : m_text[m_pos]; }
    bool Accept(char c)
    {
        if (Peek() != c)
            return false;
        ++m_pos;
        return true;
    }

    bool Name(std::string& name)
    {
        if (Accept('<'))
        {
            const auto close = m_text.find('>', m_pos);
            if (close == std::string_view::npos)
                return false;
            name.assign(m_text.substr(m_pos, close - m_pos));
            m_pos = close + 1;
            for (char c : name)
                if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-')
                    return false;
            return name.size() >= 3;
        }
        const std::size_t start = m_pos;
        while (std::isalpha(static_cast<unsigned char>(Peek())))
            ++m_pos;
        name.assign(m_text.substr(start, m_pos - start));
        return name.size() >= 3;
    }

    bool Number(long& value, int maxDigits)
    {
        if (!std::isdigit(static_cast<unsigned char>(Peek())))
            return false;
        value = 0;
        for (int digits = 0; digits < maxDigits && std::isdigit(static_cast<unsigned char>(Peek()));
             ++digits)
            value = value * 10 + (m_text[m_pos++] - '0');
        return !std::isdigit(static_cast<unsigned char>(Peek()));
    }

    // [+|-]hh[:mm[:ss]] in seconds, hours up to maxHours.
    bool Time(long& seconds, long maxHours)
    {
        long sign = 1;
        if (Accept('-'))
            sign = -1;
        else
            Accept('+');
        long h = 0, m = 0, s = 0;
        if (!Number(h, 3) || h > maxHours)
            return false;
        if (Accept(':'))
        {
            if (!Number(m, 2) || m > 59)
                return false;
            if (Accept(':') && (!Number(s, 2) || s > 59))
                return false;
        }
        seconds = sign * (h * kSecondsPerHour + m * 60 + s);
        return true;
    }

    bool Date(TimeZoneRules::DateRule& rule)
    {
        using EKind = TimeZoneRules::DateRule::EKind;
        long a = 0, b = 0, c = 0;
        if (Accept('J'))
        {
            if (!Number(a, 3) || a < 1 || a > 365)
                return false;
            rule.kind = EKind::Julian1;
            rule.day = static_cast<int>(a);
        }
        else if (Accept('M'))
        {
            if (!Number(a, 2) || a < 1 || a > 12 || !Accept('.') || !Number(b, 1) || b < 1 ||
                b > 5 || !Accept('.') || !Number(c, 1) || c > 6)
                return false;
            rule.kind = EKind::MonthWeekDay;
            rule.month = static_cast<int>(a);
            rule.week = static_cast<int>(b);
            rule.day = static_cast<int>(c);
        }
        else
        {
            if (!Number(a, 3) || a > 365)
                return false;
            rule.kind = EKind::Julian0;
            rule.day = static_cast<int>(a);
        }
        rule.timeOfDay = 2 * kSecondsPerHour;
        // Times of change may run from -167 to 167 hours (RFC 8536 extension).
        return !Accept('/') || Time(rule.timeOfDay, 167);
    }

private:
    std::string_view m_text;
    std::size_t m_pos = 0;
};

std::optional<std::string> ReadZoneFileFooter(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    // Real zone files are a few kilobytes; refuse anything absurd rather than read it whole.
    constexpr std::size_t kMaxZoneFile = 1 << 20;
    std::string data;
    data.reserve(4096);
    char buffer[4096];
    while (in.read(buffer, sizeof buffer) || in.gcount() > 0)
    {
        data.append(buffer, static_cast<std::size_t>(in.gcount()));
        if (data.size() > kMaxZoneFile)
            return std::nullopt;
    }
    // Header: "TZif" and a version byte; only version 2 and later carry the POSIX footer, which
    // is the last line of the file, enclosed in newlines.
    if (data.size() < 44 || data.compare(0, 4, "TZif") != 0 || data[4] < '2')
        return std::nullopt;
    if (data.back() != '\n')
        return std::nullopt;
    const auto open = data.rfind('\n', data.size() - 2);
    if (open == std::string::npos)
        return std::nullopt;
    return data.substr(open + 1, data.size() - open - 2);
}

std::mutex g_overrideMutex;
std::optional<TimeZoneRules> g_override;

} // namespace

TimeZoneRules::TimeZoneRules() = default;

std::optional<TimeZoneRules> TimeZoneRules::FromPosixString(std::string_view text)
{
    TimeZoneRules rules;
    rules.m_posix.assign(text);
    Parser p(text);
    long offset = 0;
    // POSIX offsets count hours west of Greenwich; the library wants local minus UTC.
    if (!p.Name(rules.m_standardName) || !p.Time(offset, 24))
        return std::nullopt;
    rules.m_standardOffset = -offset;
    if (p.AtEnd())
        return rules;

    if (!p.Name(rules.m_daylightName))
        return std::nullopt;
    rules.m_hasDaylight = true;
    rules.m_daylightOffset = rules.m_standardOffset + kSecondsPerHour;
    if (p.Peek() != ',' && !p.AtEnd())
    {
        if (!p.Time(offset, 24))
            return std::nullopt;
        rules.m_daylightOffset = -offset;
    }
    if (p.AtEnd())
    {
        // No rule given: the GNU C library falls back to the United States rules.
        Parser fallback(",M3.2.0,M11.1.0");
        fallback.Accept(',');
        fallback.Date(rules.m_start);
        fallback.Accept(',');
        fallback.Date(rules.m_end);
        return rules;
    }
    if (!p.Accept(',') || !p.Date(rules.m_start) || !p.Accept(',') || !p.Date(rules.m_end) ||
        !p.AtEnd())
        return std::nullopt;

    // Zone files express permanent daylight time as daylight from 1 January 00:00 to past the
    // end of 31 December (for example "EST5EDT,0/0,J365/25"); that is a fixed offset.
    const bool startsAtNewYear =
        rules.m_start.kind != DateRule::EKind::MonthWeekDay &&
        rules.m_start.day == (rules.m_start.kind == DateRule::EKind::Julian1 ? 1 : 0) &&
        rules.m_start.timeOfDay == 0;
    const bool endsAfterYear =
        rules.m_end.kind == DateRule::EKind::Julian1 && rules.m_end.day == 365 &&
        rules.m_end.timeOfDay >= kSecondsPerDay + rules.m_daylightOffset - rules.m_standardOffset;
    if (startsAtNewYear && endsAfterYear)
    {
        rules.m_standardOffset = rules.m_daylightOffset;
        rules.m_standardName = rules.m_daylightName;
        rules.m_daylightName.clear();
        rules.m_hasDaylight = false;
    }
    return rules;
}

std::optional<TimeZoneRules> TimeZoneRules::FromZoneFile(const std::string& path)
{
    const auto footer = ReadZoneFileFooter(path);
    if (!footer || footer->empty())
        return std::nullopt;
    return FromPosixString(*footer);
}

#if !defined(_WIN32) // Windows asks GetTimeZoneInformation instead (win32/TimeZoneSource.cpp)
std::optional<TimeZoneRules> TimeZoneRules::FromEnvironment()
{
    const char* tz = std::getenv("TZ");
    if (tz == nullptr)
    {
        if (auto rules = FromZoneFile("/etc/localtime"))
            return rules;
        // No zone configured at all: the C library then runs in UTC, and so do we.
        std::ifstream probe("/etc/localtime");
        return probe ? std::nullopt : std::optional<TimeZoneRules>(TimeZoneRules());
    }
    std::string_view value(tz);
    if (value.empty())
        return TimeZoneRules();
    const bool fileOnly = value.front() == ':';
    if (fileOnly)
        value.remove_prefix(1);
    if (!value.empty() && value.find("..") == std::string_view::npos)
    {
        std::string path(value);
        if (path.front() != '/')
        {
            const char* dir = std::getenv("TZDIR");
            path = std::string(dir != nullptr && *dir != '\0' ? dir : "/usr/share/zoneinfo") + "/" +
                   path;
        }
        if (auto rules = FromZoneFile(path))
            return rules;
    }
    if (fileOnly)
        return std::nullopt;
    return FromPosixString(value);
}
#endif

TimeZoneInformation TimeZoneRules::GetInformation(std::int64_t utcNow) const
{
    TimeZoneInformation info;
    info.Bias = -m_standardOffset / 60;
    info.StandardName = m_standardName;
    info.DaylightName = m_daylightName;
    if (!m_hasDaylight)
        return info;
    info.DaylightBias = -(m_daylightOffset - m_standardOffset) / 60;

    const int year = CivilYearOfDays(FloorDiv(utcNow + m_standardOffset, kSecondsPerDay));
    auto toDate = [year](const DateRule& rule)
    {
        ZoneChangeDate date;
        std::int64_t dayShift = FloorDiv(rule.timeOfDay, kSecondsPerDay);
        const long inDay = static_cast<long>(rule.timeOfDay - dayShift * kSecondsPerDay);
        date.wHour = static_cast<std::uint16_t>(inDay / kSecondsPerHour);
        date.wMinute = static_cast<std::uint16_t>(inDay % kSecondsPerHour / 60);
        date.wSecond = static_cast<std::uint16_t>(inDay % 60);
        if (rule.kind == DateRule::EKind::MonthWeekDay)
        {
            date.wMonth = static_cast<std::uint16_t>(rule.month);
            date.wDay = static_cast<std::uint16_t>(rule.week);
            date.wDayOfWeek = static_cast<std::uint16_t>(((rule.day + dayShift) % 7 + 7) % 7);
            return date;
        }
        const std::int64_t days = RuleDay(rule, year) + dayShift;
        const std::int64_t jan1 = DaysFromCivil(CivilYearOfDays(days), 1, 1);
        int y = CivilYearOfDays(days);
        int m = 1;
        std::int64_t rest = days - jan1;
        while (m < 12 && rest >= DaysInMonth(y, m))
            rest -= DaysInMonth(y, m++);
        date.wYear = static_cast<std::uint16_t>(y);
        date.wMonth = static_cast<std::uint16_t>(m);
        date.wDay = static_cast<std::uint16_t>(rest + 1);
        date.wDayOfWeek = static_cast<std::uint16_t>(WeekdayOfDays(days));
        return date;
    };
    info.DaylightDate = toDate(m_start);
    info.StandardDate = toDate(m_end);
    return info;
}

std::optional<DaylightTransitions> TimeZoneRules::GetTransitionsInYear(int year) const
{
    if (!m_hasDaylight)
        return std::nullopt;
    DaylightTransitions t;
    // Each change is given in the wall time in force just before it.
    t.daylightStart =
        RuleDay(m_start, year) * kSecondsPerDay + m_start.timeOfDay - m_standardOffset;
    t.daylightEnd = RuleDay(m_end, year) * kSecondsPerDay + m_end.timeOfDay - m_daylightOffset;
    return t;
}

ETimeZoneState TimeZoneRules::GetStateAt(std::int64_t utcSeconds) const
{
    if (!m_hasDaylight)
        return ETimeZoneState::Unknown;
    const int year = CivilYearOfDays(FloorDiv(utcSeconds + m_standardOffset, kSecondsPerDay));
    const auto t = *GetTransitionsInYear(year);
    const bool daylight = t.daylightStart < t.daylightEnd
                              ? utcSeconds >= t.daylightStart && utcSeconds < t.daylightEnd
                              : utcSeconds >= t.daylightStart || utcSeconds < t.daylightEnd;
    return daylight ? ETimeZoneState::Daylight : ETimeZoneState::Standard;
}

long TimeZoneRules::GetUtcOffsetAt(std::int64_t utcSeconds) const
{
    return GetStateAt(utcSeconds) == ETimeZoneState::Daylight ? m_daylightOffset : m_standardOffset;
}

std::int64_t LocalUtcOffsetSeconds(std::int64_t utcSeconds)
{
    const auto rules = CurrentTimeZoneRules();
    return rules ? rules->GetUtcOffsetAt(utcSeconds) : 0;
}

std::optional<TimeZoneRules> CurrentTimeZoneRules()
{
    {
        std::lock_guard lock(g_overrideMutex);
        if (g_override)
            return g_override;
    }
    return TimeZoneRules::FromEnvironment();
}

void OverrideTimeZoneRules(std::optional<TimeZoneRules> rules)
{
    std::lock_guard lock(g_overrideMutex);
    g_override = std::move(rules);
}

ETimeZoneState GetTimeZoneInformation(TimeZoneInformation& info, std::int64_t utcNow)
{
    const auto rules = CurrentTimeZoneRules();
    if (!rules)
        return ETimeZoneState::Invalid;
    info = rules->GetInformation(utcNow);
    return rules->GetStateAt(utcNow);
}

ScopedTimeZoneRules::ScopedTimeZoneRules(TimeZoneRules rules)
{
    std::lock_guard lock(g_overrideMutex);
    m_previous = std::exchange(g_override, std::move(rules));
}

ScopedTimeZoneRules::~ScopedTimeZoneRules()
{
    std::lock_guard lock(g_overrideMutex);
    g_override = std::move(m_previous);
}

} // namespace shared::platform
