#pragma once

// The local time zone as the library sees it: a bias and, for zones with daylight saving, one
// recurring rule per year for its start and its end. On POSIX systems the rule comes from the
// TZ variable or, when TZ is unset, from the POSIX rule at the end of the zone file behind
// /etc/localtime; it is reported in the same shape as Windows' GetTimeZoneInformation so that
// the code above this seam reads the same values on every platform.
//
// Tests replace the process-wide zone with rules built from a TZ string (OverrideTimeZoneRules
// or ScopedTimeZoneRules), which keeps them independent of the machine they run on.

#include <cstdint>
#include <optional>
#include <shared/platform/Export.h>
#include <string>
#include <string_view>

namespace shared::platform
{

// Windows SYSTEMTIME layout of a zone change date. In the recurring "day-in-month" form wYear is
// 0, wMonth is the month (1-12), wDayOfWeek the weekday (0 = Sunday) and wDay the occurrence of
// that weekday in the month (1-5, where 5 means the last one); wHour..wSecond give the local wall
// time of the change as it reads before the change. A non-zero wYear marks an absolute date.
struct ZoneChangeDate
{
    std::uint16_t wYear = 0;
    std::uint16_t wMonth = 0;
    std::uint16_t wDayOfWeek = 0;
    std::uint16_t wDay = 0;
    std::uint16_t wHour = 0;
    std::uint16_t wMinute = 0;
    std::uint16_t wSecond = 0;
    std::uint16_t wMilliseconds = 0;
};

// The fields of Windows' TIME_ZONE_INFORMATION. Biases are minutes with UTC = local + bias, so
// zones west of Greenwich have positive biases. StandardDate is when daylight saving ends and
// DaylightDate when it starts; StandardDate.wMonth is 0 for a zone without daylight saving.
struct TimeZoneInformation
{
    long Bias = 0;
    std::string StandardName;
    ZoneChangeDate StandardDate;
    long StandardBias = 0;
    std::string DaylightName;
    ZoneChangeDate DaylightDate;
    long DaylightBias = 0;
};

// Mirrors TIME_ZONE_ID_INVALID / _UNKNOWN / _STANDARD / _DAYLIGHT. Unknown means the zone has no
// daylight saving at all.
enum class ETimeZoneState
{
    Invalid = -1,
    Unknown = 0,
    Standard = 1,
    Daylight = 2
};

// UTC instants (seconds since 1970) at which daylight saving starts and ends in one year. In the
// southern hemisphere the end comes before the start within the same calendar year.
struct DaylightTransitions
{
    std::int64_t daylightStart = 0;
    std::int64_t daylightEnd = 0;
};

class SHARED_API TimeZoneRules
{
public:
    // One way a POSIX rule names a day of the year.
    struct DateRule
    {
        enum class EKind
        {
            Julian1,     // Jn: 1..365, 29 February never counted
            Julian0,     // n: 0..365, 29 February counted
            MonthWeekDay // Mm.w.d
        };
        EKind kind = EKind::MonthWeekDay;
        int day = 0; // n of Jn / n, or the weekday of Mm.w.d
        int week = 0;
        int month = 0;
        long timeOfDay = 7200; // seconds after local midnight; may be negative or above a day
    };

    // Coordinated Universal Time: bias 0, no daylight saving.
    TimeZoneRules();

    // Parses a POSIX TZ rule such as "CET-1CEST,M3.5.0,M10.5.0/3" or "<+0530>-5:30". A daylight
    // name without a rule gets the rule "M3.2.0,M11.1.0", as the GNU C library does. Returns
    // nothing when the text is not a complete rule.
    static std::optional<TimeZoneRules> FromPosixString(std::string_view text);

    // Reads the POSIX rule stored at the end of a TZif (version 2 or later) zone file.
    static std::optional<TimeZoneRules> FromZoneFile(const std::string& path);

    // The zone of this process: TZ when set (a zone name or file first, then a POSIX rule, as
    // the C library looks at it), otherwise /etc/localtime, otherwise UTC. Returns nothing when
    // TZ or the zone file is set but unusable.
    static std::optional<TimeZoneRules> FromEnvironment();

    const std::string& GetPosixString() const { return m_posix; }
    bool HasDaylightSaving() const { return m_hasDaylight; }

    const std::string& GetStandardName() const { return m_standardName; }
    const std::string& GetDaylightName() const { return m_daylightName; }

    // Seconds to add to UTC to get local standard / daylight time.
    long GetStandardUtcOffset() const { return m_standardOffset; }
    long GetDaylightUtcOffset() const { return m_daylightOffset; }

    const DateRule& GetDaylightStartRule() const { return m_start; }
    const DateRule& GetDaylightEndRule() const { return m_end; }

    // The Windows view of these rules. Jn and n rules cannot be expressed in the day-in-month
    // form and come out as absolute dates (wYear set) of the year of utcNow. Month-week-day rules
    // whose time of change falls outside 0..24 h are folded into the day: the weekday moves and
    // the occurrence stays, which matches the real rule in most but not all years.
    TimeZoneInformation GetInformation(std::int64_t utcNow) const;

    // Standard or Daylight at the UTC instant, Unknown for a zone without daylight saving.
    ETimeZoneState GetStateAt(std::int64_t utcSeconds) const;

    // Seconds to add to UTC to get local wall-clock time at the UTC instant.
    long GetUtcOffsetAt(std::int64_t utcSeconds) const;

    // The exact change instants of the given year; nothing without daylight saving.
    std::optional<DaylightTransitions> GetTransitionsInYear(int year) const;

private:
    std::string m_posix = "UTC0";
    std::string m_standardName = "UTC";
    std::string m_daylightName;
    long m_standardOffset = 0;
    long m_daylightOffset = 0;
    bool m_hasDaylight = false;
    DateRule m_start;
    DateRule m_end;
};

// The process-wide zone the library treats as local: the installed override if there is one,
// else TimeZoneRules::FromEnvironment() read afresh (so a changed TZ is seen).
SHARED_API std::optional<TimeZoneRules> CurrentTimeZoneRules();

// Seconds to add to UTC to get local wall-clock time at the UTC instant in the current zone; 0
// when the zone cannot be determined. Every local-time conversion of the library uses this.
SHARED_API std::int64_t LocalUtcOffsetSeconds(std::int64_t utcSeconds);

// Installs rules that replace the environment for the whole process; nothing restores it.
SHARED_API void OverrideTimeZoneRules(std::optional<TimeZoneRules> rules);

// The equivalent of Windows' GetTimeZoneInformation for the current zone at the given UTC
// instant: fills info and returns the state then in force, or Invalid (info untouched) when the
// zone cannot be determined.
SHARED_API ETimeZoneState GetTimeZoneInformation(TimeZoneInformation& info, std::int64_t utcNow);

// Installs rules for the lifetime of the object and restores the previous override after.
class SHARED_API ScopedTimeZoneRules
{
public:
    explicit ScopedTimeZoneRules(TimeZoneRules rules);
    ~ScopedTimeZoneRules();
    ScopedTimeZoneRules(const ScopedTimeZoneRules&) = delete;
    ScopedTimeZoneRules& operator=(const ScopedTimeZoneRules&) = delete;

private:
    std::optional<TimeZoneRules> m_previous;
};

} // namespace shared::platform
