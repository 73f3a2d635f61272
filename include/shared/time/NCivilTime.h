#pragma once

// Conversions between a 32-bit count of seconds since 1970-01-01 00:00:00 UTC and a broken-down
// calendar time, optionally through the local zone's daylight-saving rules of the year in
// question. The rules are loaded once (SetTimeZone); their change instants are computed per year
// on demand and cached for the last year used, all under one module lock.
//
// Two simplifications are part of the contract and are kept on purpose, because stored second
// counts and callers depend on them:
//  - the count of days before 1 January ignores the century rule, so from 2100-12-31 on the
//    calendar runs one day apart from the Gregorian one (the day after 2100-12-31 breaks down
//    as month 13, day 1);
//  - when daylight saving spans the new year (southern hemisphere), the weeks from 1 January to
//    the end of daylight saving are treated as standard time.

#include <cstdint>
#include <shared/platform/Export.h>

namespace NCivilTime
{

struct TIMESTAMP
{
    std::uint8_t byDay;        // 1..31
    std::uint8_t byMonth;      // 1..12
    std::uint16_t usYear;      // full year; below 1900 read as years since 1900 on input
    std::uint8_t byHour;       // 0..23
    std::uint8_t byMinute;     // 0..59
    std::uint8_t bySecond;     // 0..59
    std::uint8_t byDayOfWeek;  // 0 = Sunday (output only)
    std::uint16_t usDayOfYear; // 0-based (output only)
};

struct TIMEZONERULE
{
    enum : std::uint16_t
    {
        // Day 1..365 that never counts 29 February.
        TYPE_JULIAN_NO_LEAP = 0,
        // 0-based day of the year that counts 29 February.
        TYPE_DAY_OF_YEAR = 1,
        // The week-th (5 = last) weekday `usDay` of month `usMonth`.
        TYPE_MONTH_WEEK_DAY = 2
    };
    std::uint16_t usType;
    std::uint16_t usDay;
    std::uint16_t usWeek;
    std::uint16_t usMonth;
    std::uint32_t ulTimeOfChange;  // seconds after local midnight
    std::int32_t lOffset;          // seconds, local minus UTC in force before the change
    std::uint32_t ulChangeInstant; // seconds since 1970 UTC, for the cached year
};

// Loads the rules of the local zone (platform seam shared::platform::GetTimeZoneInformation):
// 1 on success, 0 when the zone cannot be read or uses absolute change dates.
SHARED_API int SetTimeZone(void);

// Computes both change instants for the year unless it is the cached one.
SHARED_API void ComputeTZRulesForYear(unsigned short year);

// Computes one rule's change instant for the year.
SHARED_API void ComputeTimeZoneChange(TIMEZONERULE* rule, unsigned short year);

// Fills and returns ts; null only when the resulting year would be before 1970. Counts are
// 32-bit: higher bits of `seconds` are dropped, as a DWORD would hold the value.
SHARED_API TIMESTAMP* ConvertToBrokenDownTime(TIMESTAMP* ts, unsigned long seconds, int applyZone);

// Seconds since 1970 UTC, or 0xFFFFFFFF for an invalid record. The record is read as local
// wall time when applyZone is non-zero. Results wrap modulo 2^32 as DWORD arithmetic does.
// The record itself is not modified (a year below 1900 is read, not rewritten).
SHARED_API unsigned long ConvertFromBrokenDownTime(TIMESTAMP* ts, int applyZone);

// Copies out the two rules (0 = start, 1 = end of daylight saving) with their change instants
// computed for the year, for display and diagnostics.
SHARED_API void GetTimeZoneRulesForYear(TIMEZONERULE rules[2], unsigned short year);

} // namespace NCivilTime
