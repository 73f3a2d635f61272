#pragma once

// The library's single source of the present moment, and its toolbox of date-time arithmetic on
// COleDateTime values.
//
// The PC clock may be wrong while tracking devices report a trusted UTC time (GPS). The host
// hands each trusted time to NotifyCurrentUTCDateTime; the clock keeps the difference to the
// PC's own UTC time and adds it to every reading of "now" from then on. SyncPCWithUTCDateTime
// sets the system clock to the corrected time, but only for a difference above 20 seconds and
// below one hour. The PC time is read (and set) through the seam in
// <shared/platform/SystemTime.h>; the zone through <shared/platform/TimeZoneRules.h>.
//
// The date-aware conversions (ConvertSmartly...) use NCivilTime's rules, which read UTC until the
// host calls InitialiseTimezone; nothing in the library calls it, NotifyCurrentUTCDateTime,
// SyncPCWithUTCDateTime or SyncEpochDateTime on its own.
//
// Throughout, the "time part" of a value is the fractional part of its day count and the "date
// part" the integral part (truncated toward zero).

#include <mutex>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class SHARED_API CClock
{
public:
    // --- Unit constants ---------------------------------------------------------------------
    static unsigned char GetHoursInWeek() { return 168; }
    static unsigned long GetSecondsInYear() { return 31536000UL; } // 365 days
    static unsigned long GetSecondsInDay() { return 86400UL; }
    static unsigned short GetSecondsInHour() { return 3600; }
    static unsigned char GetSecondsInMinute() { return 60; }
    static double GetHourFraction() { return 1.0 / 24.0; }
    static double GetMinuteFraction() { return 1.0 / 1440.0; }
    static double GetSecondFraction() { return 1.0 / 86400.0; }
    static double Get100MsFraction() { return 1.0 / 864000.0; }
    // Tolerance for equal times of day: about 0.13 s.
    static double GetFloatingPointAllowance() { return 1.5e-6; }
    // Markers the library uses for an open end and an open start.
    static unsigned short GetSafeYearInFuture() { return 2100; }
    static COleDateTime GetSafeDateInFuture();
    static unsigned short GetSafeYearInPast() { return 1999; }
    static COleDateTime GetSafeDateInPast();
    // 1999-01-01 23:59:59; only its time part is meant.
    static COleDateTime GetEndOfDayTime();

    // --- Current time (corrected by the trusted UTC difference) -----------------------------
    static COleDateTime GetUTCCurrentDateTime();
    static COleDateTime GetUTCCurrentDate();
    static COleDateTime GetUTCCurrentTime();
    static COleDateTime GetLocalDateTime();
    static COleDateTime GetLocalDate();
    static COleDateTime GetLocalTime();
    static void SyncEpochDateTime();
    static COleDateTime GetEpochDateTime();
    static COleDateTime GetEpochDate();
    static COleDateTime GetEpochTime();
    // Uncorrected: milliseconds since 1970-01-01 00:00 UTC, and the local time as "hh:mm:ss.mmm".
    static __int64 GetUTCCurrentDateTimeInMilliseconds();
    static CString GetCurrentTimeStringWithMilliseconds();

    // --- Clock correction -------------------------------------------------------------------
    static void NotifyCurrentUTCDateTime(COleDateTime const& trustedUtc);
    static void SyncPCWithUTCDateTime();

    // --- Time zones -------------------------------------------------------------------------
    static void InitialiseTimezone();
    // Minutes to add to local time to get UTC, from the zone in force now.
    static long GetLocalToUTCMappingInMinutes();
    static long GetUTCToLocalMappingInMinutes();
    static CString GetTimeZoneString(int zone);
    static CString GetShortTimeZoneString(int zone);

    // --- Conversions ------------------------------------------------------------------------
    // Today's offset, whatever the date of dt; invalid values pass unchanged.
    static COleDateTime ConvertFromUTCToLocal(COleDateTime const& dt);
    static COleDateTime ConvertFromLocalToUTC(COleDateTime const& dt);
    // The zone rules of dt's own date (years 1970 to 2105; others pass unchanged).
    static COleDateTime ConvertSmartlyFromUTCToLocal(COleDateTime const& dt);
    static COleDateTime ConvertSmartlyFromLocalToUTC(COleDateTime const& dt);
    static COleDateTime ConvertUTCTime(COleDateTime const& dt, bool toLocal);
    // Seconds since 1970-01-01 00:00:00 (no zone); 0 when invalid or outside 1970 to 2105.
    static DWORD ConvertCOleDateTime2DWORD(COleDateTime const& dt);
    static COleDateTime ConvertDWORD2COleDateTime(unsigned long const& seconds);
    // Seconds since 2000-01-01 00:00:00, in wrapping unsigned arithmetic.
    static DWORD GenerateTimeStampId(COleDateTime const& dt);

    // --- Parts of a date-time ---------------------------------------------------------------
    static COleDateTime GetTimeOnly(COleDateTime const& dt);
    static COleDateTime GetDateOnly(COleDateTime const& dt);
    static COleDateTime CombineDateAndTime(COleDateTime date, COleDateTime time);
    static void InitializeDateTime(COleDateTime& dt);
    static void InvalidateDateTime(COleDateTime& dt);
    static COleDateTime GetMidnight(COleDateTime const& dt);
    static COleDateTime GetNextMidnight(COleDateTime const& dt);
    static bool IsMidnight(COleDateTime const& dt);
    static COleDateTime AddOneDayToDateTime(COleDateTime const& dt);
    static COleDateTime SubtractOneDayFromDateTime(COleDateTime const& dt);
    static COleDateTime AddDaysToDateTime(COleDateTime const& dt, unsigned long days);
    static void SetTimeToEndOfDay(COleDateTime& dt);
    static unsigned short GetMinuteOfDay(COleDateTime const& dt);
    static long GetSecondsInTimePart(COleDateTime const& dt);
    static COleDateTime MakeTimePartFromSeconds(int seconds);
    static COleDateTime Equalize(COleDateTime const& dt);

    // --- Comparisons ------------------------------------------------------------------------
    // Equal times count as "after" but not as "before"; the asymmetry is relied upon.
    static bool Is1stTimeBefore2ndTime(COleDateTime const& a, COleDateTime const& b);
    static bool Is1stTimeAfter2ndTime(COleDateTime const& a, COleDateTime const& b);
    static bool Is1stDateBefore2ndDate(COleDateTime const& a, COleDateTime const& b);
    static bool Is1stDateAfter2ndDate(COleDateTime const& a, COleDateTime const& b);
    static bool AreTimesSameToOneSecond(COleDateTime const& a, COleDateTime const& b);
    static double GetTimeDifference(COleDateTime const& a, COleDateTime const& b);
    // b - a in whole seconds.
    static long GetDifferenceInSeconds(COleDateTime const& a, COleDateTime const& b);

    // 20 seconds and one hour, as fractions of a day.
    static const double s_dblSystemClockTolerance;
    static const double s_dblSystemClockToleranceUpperBoundary;
    // The day serial of 2000-01-01.
    static const unsigned long s_dwDayOfJan1st2000;

private:
    CClock();
    virtual ~CClock();

    static std::recursive_mutex s_CS;
    static double s_dblUTCDifference; // days, trusted UTC minus PC UTC
    static COleDateTime s_EpochDateTime;
    static bool s_boIsInitialisedTimezone;
};
