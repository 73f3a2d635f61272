#include <mutex>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/NCivilTime.h>

namespace NCivilTime
{
namespace
{

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kDaysPerCycle = 1461; // four years, the third of them leap (1972, ...)
constexpr unsigned long kInvalidSeconds = 0xFFFFFFFFUL;

// Gregorian month tables: row 0 a common year, row 1 a leap year.
constexpr int kDaysInMonth[2][12] = {{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
                                     {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}};
constexpr int kDaysBeforeMonth[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};

int LeapRow(unsigned year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

// Days from 1970-01-01 to 1 January of the year. The century rule is left out on purpose: the
// stored counts were made this way, and it differs from the Gregorian count only after 2100.
std::int64_t DaysToFirstOfJanuary(unsigned year)
{
    const auto y = static_cast<std::int64_t>(year);
    return 365 * (y - 1970) + (y - 1969) / 4;
}

// Year and 0-based day of year of a day count, by four-year cycles that start with 1970.
void SplitDays(std::int64_t days, unsigned& year, unsigned& dayOfYear)
{
    const std::int64_t cycles = days / kDaysPerCycle;
    std::int64_t rest = days % kDaysPerCycle;
    year = static_cast<unsigned>(1970 + 4 * cycles);
    if (rest >= 1096)
    {
        year += 3;
        rest -= 1096;
    }
    else if (rest >= 730)
    {
        year += 2;
        rest -= 730;
    }
    else if (rest >= 365)
    {
        year += 1;
        rest -= 365;
    }
    dayOfYear = static_cast<unsigned>(rest);
}

// Weekday (0 = Sunday) of the first day of a month, Zeller's congruence with January and
// February counted as months 13 and 14 of the year before.
int WeekdayOfFirst(unsigned year, unsigned month)
{
    long y = static_cast<long>(year);
    long m = static_cast<long>(month);
    if (m < 3)
    {
        m += 12;
        y -= 1;
    }
    const long k = y % 100;
    const long j = y / 100;
    const long h = (1 + 13 * (m + 1) / 5 + k + k / 4 + j / 4 + 5 * j) % 7; // 0 = Saturday
    return static_cast<int>((h + 6) % 7);
}

struct ModuleState
{
    std::recursive_mutex lock;
    TIMEZONERULE rules[2] = {{TIMEZONERULE::TYPE_DAY_OF_YEAR, 0, 0, 0, 0, 0, 0},
                             {TIMEZONERULE::TYPE_DAY_OF_YEAR, 0, 0, 0, 0, 0, 0}};
    int cachedYear = -1; // none yet
};

ModuleState& State()
{
    static ModuleState state;
    return state;
}

void ComputeRulesLocked(ModuleState& s, unsigned short year)
{
    if (s.cachedYear == year)
        return;
    ComputeTimeZoneChange(&s.rules[0], year);
    ComputeTimeZoneChange(&s.rules[1], year);
    // Daylight saving across the new year: take the end from the following year, so the weeks
    // before this year's end count as standard time. Kept: callers' stored local times follow it.
    if (s.rules[0].ulChangeInstant > s.rules[1].ulChangeInstant)
        ComputeTimeZoneChange(&s.rules[1], static_cast<unsigned short>(year + 1));
    s.cachedYear = year;
}

} // namespace

int SetTimeZone(void)
{
    ModuleState& s = State();
    std::lock_guard guard(s.lock);
    for (auto& rule : s.rules)
        rule = {TIMEZONERULE::TYPE_DAY_OF_YEAR, 0, 0, 0, 0, 0, 0};
    s.cachedYear = -1;

    shared::platform::TimeZoneInformation info;
    if (shared::platform::GetTimeZoneInformation(info,
                                                 shared::platform::GetUtcMilliseconds() / 1000) ==
        shared::platform::ETimeZoneState::Invalid)
        return 0;
    if (info.StandardDate.wMonth == 0)
    {
        s.rules[0].lOffset = static_cast<std::int32_t>(-info.Bias * 60);
        return 1;
    }
    if (info.StandardDate.wYear != 0 || info.DaylightDate.wYear != 0 ||
        info.DaylightDate.wMonth == 0)
        return 0;

    auto load = [](TIMEZONERULE& rule, const shared::platform::ZoneChangeDate& date, long bias)
    {
        rule.usType = TIMEZONERULE::TYPE_MONTH_WEEK_DAY;
        rule.usMonth = date.wMonth;
        rule.usDay = date.wDayOfWeek;
        rule.usWeek = date.wDay;
        rule.ulTimeOfChange =
            static_cast<std::uint32_t>(date.wHour * 3600 + date.wMinute * 60 + date.wSecond);
        rule.lOffset = static_cast<std::int32_t>(-bias * 60);
    };
    load(s.rules[0], info.DaylightDate, info.Bias + info.StandardBias);
    load(s.rules[1], info.StandardDate, info.Bias + info.DaylightBias);
    return 1;
}

void ComputeTZRulesForYear(unsigned short year)
{
    ModuleState& s = State();
    std::lock_guard guard(s.lock);
    ComputeRulesLocked(s, year);
}

void ComputeTimeZoneChange(TIMEZONERULE* rule, unsigned short year)
{
    if (rule == nullptr)
        return;
    const std::int64_t firstOfYear = DaysToFirstOfJanuary(year);
    const int leap = LeapRow(year);
    std::int64_t dayIndex = firstOfYear;
    switch (rule->usType)
    {
    case TIMEZONERULE::TYPE_JULIAN_NO_LEAP:
        dayIndex = firstOfYear + rule->usDay - 1 + (leap && rule->usDay >= 60 ? 1 : 0);
        break;
    case TIMEZONERULE::TYPE_DAY_OF_YEAR:
        dayIndex = firstOfYear + rule->usDay;
        break;
    case TIMEZONERULE::TYPE_MONTH_WEEK_DAY:
        // A month outside 1..12 cannot name a day; such a rule changes on 1 January.
        if (rule->usMonth >= 1 && rule->usMonth <= 12)
        {
            const int monthLength = kDaysInMonth[leap][rule->usMonth - 1];
            int offset =
                ((static_cast<int>(rule->usDay) - WeekdayOfFirst(year, rule->usMonth)) % 7 + 7) % 7;
            for (int seen = 1; seen < rule->usWeek && offset + 7 < monthLength; ++seen)
                offset += 7;
            dayIndex = firstOfYear + kDaysBeforeMonth[leap][rule->usMonth - 1] + offset;
        }
        break;
    default:
        break;
    }
    // Unsigned 32-bit arithmetic, as the instants are stored.
    rule->ulChangeInstant = static_cast<std::uint32_t>(
        static_cast<std::uint32_t>(dayIndex * kSecondsPerDay) + rule->ulTimeOfChange -
        static_cast<std::uint32_t>(rule->lOffset));
}

TIMESTAMP* ConvertToBrokenDownTime(TIMESTAMP* ts, unsigned long seconds, int applyZone)
{
    if (ts == nullptr)
        return nullptr;
    const auto utc = static_cast<std::uint32_t>(seconds);
    std::int64_t t = utc;
    if (applyZone != 0)
    {
        unsigned year = 0, dayOfYear = 0;
        SplitDays(utc / kSecondsPerDay, year, dayOfYear);
        ModuleState& s = State();
        std::lock_guard guard(s.lock);
        ComputeRulesLocked(s, static_cast<unsigned short>(year));
        const bool daylight = s.rules[0].ulChangeInstant <= utc && utc < s.rules[1].ulChangeInstant;
        t += daylight ? s.rules[1].lOffset : s.rules[0].lOffset;
    }
    if (t < 0)
        return nullptr;

    ts->bySecond = static_cast<std::uint8_t>(t % 60);
    ts->byMinute = static_cast<std::uint8_t>(t / 60 % 60);
    ts->byHour = static_cast<std::uint8_t>(t / 3600 % 24);
    const std::int64_t days = t / kSecondsPerDay;
    ts->byDayOfWeek = static_cast<std::uint8_t>((days + 4) % 7);

    unsigned year = 0, dayOfYear = 0;
    SplitDays(days, year, dayOfYear);
    ts->usYear = static_cast<std::uint16_t>(year);
    ts->usDayOfYear = static_cast<std::uint16_t>(dayOfYear);

    // The month table follows the Gregorian rule while the cycles above do not, so the 366th day
    // of 2100 runs past December and comes out as month 13, day 1. Kept deliberately.
    const int leap = LeapRow(year);
    unsigned month = 0;
    unsigned rest = dayOfYear;
    while (month < 12 && rest >= static_cast<unsigned>(kDaysInMonth[leap][month]))
        rest -= static_cast<unsigned>(kDaysInMonth[leap][month++]);
    ts->byMonth = static_cast<std::uint8_t>(month + 1);
    ts->byDay = static_cast<std::uint8_t>(rest + 1);
    return ts;
}

unsigned long ConvertFromBrokenDownTime(TIMESTAMP* ts, int applyZone)
{
    if (ts == nullptr || ts->byMonth < 1 || ts->byMonth > 12)
        return kInvalidSeconds;
    unsigned year = ts->usYear;
    if (year < 1900)
        year += 1900;
    if (year < 1970)
        return kInvalidSeconds;
    const int leap = LeapRow(year);
    // Day 0 (the last day of the month before) is let through, as it always was.
    if (ts->byDay > kDaysInMonth[leap][ts->byMonth - 1])
        return kInvalidSeconds;

    const std::int64_t days =
        DaysToFirstOfJanuary(year) + kDaysBeforeMonth[leap][ts->byMonth - 1] + ts->byDay;
    auto t = static_cast<std::uint32_t>(((days * 24 + ts->byHour) * 60 + ts->byMinute) * 60 +
                                        ts->bySecond - kSecondsPerDay);
    if (applyZone == 0)
        return t;

    ModuleState& s = State();
    std::lock_guard guard(s.lock);
    ComputeRulesLocked(s, static_cast<unsigned short>(year));
    const auto daylightFrom = static_cast<std::uint32_t>(
        s.rules[0].ulChangeInstant + static_cast<std::uint32_t>(s.rules[0].lOffset));
    const auto daylightUntil = static_cast<std::uint32_t>(
        s.rules[1].ulChangeInstant + static_cast<std::uint32_t>(s.rules[1].lOffset));
    const std::int32_t offset =
        t >= daylightFrom && t < daylightUntil ? s.rules[1].lOffset : s.rules[0].lOffset;
    return static_cast<std::uint32_t>(t - static_cast<std::uint32_t>(offset));
}

void GetTimeZoneRulesForYear(TIMEZONERULE rules[2], unsigned short year)
{
    if (rules == nullptr)
        return;
    ModuleState& s = State();
    std::lock_guard guard(s.lock);
    ComputeRulesLocked(s, year);
    rules[0] = s.rules[0];
    rules[1] = s.rules[1];
}

} // namespace NCivilTime
