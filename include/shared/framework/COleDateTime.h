#pragma once

// MFC's date-time: m_dt counts days since 1899-12-30 00:00 (the OLE automation DATE), the fraction
// being the time of day, plus a status (valid, invalid, null).
//
// Conventions kept from MFC, which every stored value of the application follows:
// - Before 1899-12-30 the fraction still counts forward from midnight: -1.25 is 1899-12-29 06:00,
//   not 1899-12-28 18:00. Arithmetic and ordering take this into account.
// - Building from parts accepts years 100 to 9999, months 1-12, days of the month, hours 0-23,
//   minutes and seconds 0-59; anything else makes the status invalid and leaves m_dt as it was
//   (0 for a newly constructed value), as MFC does.
// - Breaking down (GetYear ... GetSecond, Format) rounds to the nearest second; a value that is not
//   valid, or lies outside 0100-01-01 to 9999-12-31, gives -1 (the `error` status value).
// - Building from a time_t gives LOCAL time, as MFC's constructor does (through localtime).
// - GetCurrentTime is the local wall-clock time to the whole second, read through the system-time
//   seam of shared/platform/SystemTime.h.

#include <ctime>
#include <iosfwd>
#include <shared/framework/COleDateTimeSpan.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

// Flags of Format(DWORD): only the date or only the time.
#ifndef VAR_TIMEVALUEONLY
#define VAR_TIMEVALUEONLY (static_cast<DWORD>(0x00000001))
#define VAR_DATEVALUEONLY (static_cast<DWORD>(0x00000002))
#endif

class SHARED_API COleDateTime
{
public:
    enum DateTimeStatus
    {
        error = -1,
        valid = 0,
        invalid = 1,
        null = 2
    };

    static COleDateTime WINAPI GetCurrentTime();

    COleDateTime() noexcept = default;
    COleDateTime(DATE dtSrc) noexcept : m_dt(dtSrc) {}
    COleDateTime(std::time_t timeSrc) noexcept;
    COleDateTime(const SYSTEMTIME& systimeSrc) noexcept;
    COleDateTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec) noexcept;

    COleDateTime& operator=(DATE dtSrc) noexcept;
    COleDateTime& operator=(const std::time_t& timeSrc) noexcept;
    COleDateTime& operator=(const SYSTEMTIME& systimeSrc) noexcept;

    void SetStatus(DateTimeStatus status) noexcept { m_status = status; }
    DateTimeStatus GetStatus() const noexcept { return m_status; }

    // False when the value is not valid or cannot be broken down; milliseconds are 0.
    bool GetAsSystemTime(SYSTEMTIME& sysTime) const noexcept;

    int GetYear() const noexcept;
    int GetMonth() const noexcept;
    int GetDay() const noexcept;
    int GetHour() const noexcept;
    int GetMinute() const noexcept;
    int GetSecond() const noexcept;
    // 1 = Sunday ... 7 = Saturday.
    int GetDayOfWeek() const noexcept;
    // 1 = 1 January.
    int GetDayOfYear() const noexcept;

    // Each returns the new status (0 valid, 1 invalid). SetDate sets midnight; SetTime sets the
    // time of day on 1899-12-30.
    int SetDateTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec) noexcept;
    int SetDate(int nYear, int nMonth, int nDay) noexcept;
    int SetTime(int nHour, int nMin, int nSec) noexcept;

    // Equal when both are valid with the same value, or both null; ordering needs two valid values.
    bool operator==(const COleDateTime& date) const noexcept;
    bool operator!=(const COleDateTime& date) const noexcept { return !(*this == date); }
    bool operator<(const COleDateTime& date) const noexcept;
    bool operator>(const COleDateTime& date) const noexcept;
    bool operator<=(const COleDateTime& date) const noexcept;
    bool operator>=(const COleDateTime& date) const noexcept;

    // A null operand gives a null result, an invalid one an invalid result; so does a result
    // outside the representable dates.
    COleDateTime operator+(const COleDateTimeSpan& dateSpan) const noexcept;
    COleDateTime operator-(const COleDateTimeSpan& dateSpan) const noexcept;
    COleDateTime& operator+=(const COleDateTimeSpan& dateSpan) noexcept;
    COleDateTime& operator-=(const COleDateTimeSpan& dateSpan) noexcept;
    COleDateTimeSpan operator-(const COleDateTime& date) const noexcept;

    operator DATE() const noexcept { return m_dt; }

    // strftime conversions on the broken-down value ("%Y-%m-%d %H:%M:%S"). A null value gives "",
    // an invalid one "Invalid DateTime".
    CString Format(LPCTSTR lpszFormat) const;
    // The text as an English (United States) system shows it: "6/12/2006 4:05:09 PM"; the time is
    // left out at midnight and the date on 1899-12-30, unless the flags ask for one part only.
    CString Format(DWORD dwFlags = 0, LCID lcid = LANG_USER_DEFAULT) const;

    // Reads a date, a time or both, as an English (United States) system would: dates as
    // "6/12/2006", "2006-06-12", "12 June 2006" or "June 12, 2006" (two-digit years 00-29 are
    // 2000-2029, 30-99 are 1930-1999); times as "16:05", "16:05:09" or "4:05:09 PM". A missing
    // date is 1899-12-30 and a missing time midnight; VAR_DATEVALUEONLY and VAR_TIMEVALUEONLY drop
    // the other part. On failure the value becomes 0 with invalid status and false is returned.
    bool ParseDateTime(LPCTSTR lpszDate, DWORD dwFlags = 0, LCID lcid = LANG_USER_DEFAULT) noexcept;

    DATE m_dt = 0.0;
    DateTimeStatus m_status = valid;
};

// "2006-06-12 16:05:09 (38880.670243)", "null" or "invalid (...)": for diagnostics and test output.
SHARED_API std::ostream& operator<<(std::ostream& os, const COleDateTime& dt);
