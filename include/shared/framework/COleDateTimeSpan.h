#pragma once

// MFC's span between two COleDateTime values: a signed number of days (the fraction being part of
// a day) and a status.
//
// The totals (GetTotalDays ... GetTotalSeconds) are the exact span in that unit, fractions kept.
// The components (GetDays, GetHours, GetMinutes, GetSeconds) describe the span rounded to the
// nearest second, all with the sign of the span: -1.5 days is -1 day and -12 hours.

#include <iosfwd>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class SHARED_API COleDateTimeSpan
{
public:
    enum DateTimeSpanStatus
    {
        valid = 0,
        invalid = 1,
        null = 2
    };

    COleDateTimeSpan() noexcept = default;
    // A span of more days than lie between the first and last representable dates is invalid.
    COleDateTimeSpan(double dblSpanSrc) noexcept;
    COleDateTimeSpan(LONG lDays, int nHours, int nMins, int nSecs) noexcept;

    COleDateTimeSpan& operator=(double dblSpanSrc) noexcept;

    void SetStatus(DateTimeSpanStatus status) noexcept { m_status = status; }
    DateTimeSpanStatus GetStatus() const noexcept { return m_status; }

    double GetTotalDays() const noexcept { return m_span; }
    double GetTotalHours() const noexcept { return m_span * 24.0; }
    double GetTotalMinutes() const noexcept { return m_span * 24.0 * 60.0; }
    double GetTotalSeconds() const noexcept { return m_span * 24.0 * 60.0 * 60.0; }

    LONG GetDays() const noexcept;
    LONG GetHours() const noexcept;
    LONG GetMinutes() const noexcept;
    LONG GetSeconds() const noexcept;

    void SetDateTimeSpan(LONG lDays, int nHours, int nMins, int nSecs) noexcept;

    // Null or invalid operands give a null or invalid result (null wins).
    COleDateTimeSpan operator+(const COleDateTimeSpan& dateSpan) const noexcept;
    COleDateTimeSpan operator-(const COleDateTimeSpan& dateSpan) const noexcept;
    COleDateTimeSpan& operator+=(const COleDateTimeSpan& dateSpan) noexcept;
    COleDateTimeSpan& operator-=(const COleDateTimeSpan& dateSpan) noexcept;
    COleDateTimeSpan operator-() const noexcept;

    // Equal when both are valid with the same value, or both null; ordering needs two valid spans.
    bool operator==(const COleDateTimeSpan& dateSpan) const noexcept;
    bool operator!=(const COleDateTimeSpan& dateSpan) const noexcept
    {
        return !(*this == dateSpan);
    }
    bool operator<(const COleDateTimeSpan& dateSpan) const noexcept;
    bool operator>(const COleDateTimeSpan& dateSpan) const noexcept;
    bool operator<=(const COleDateTimeSpan& dateSpan) const noexcept;
    bool operator>=(const COleDateTimeSpan& dateSpan) const noexcept;

    operator double() const noexcept { return m_span; }

    // "%D" days, "%H" hours, "%M" minutes, "%S" seconds (two digits each but the days), "%%";
    // other characters are copied. A null span gives "", an invalid one "Invalid DateTimeSpan".
    CString Format(LPCTSTR pFormat) const;

    double m_span = 0.0;
    DateTimeSpanStatus m_status = valid;

private:
    void CheckRange() noexcept;
    long long RoundedSeconds() const noexcept;
};

// "1 02:03:04 (1.085463)", "null" or "invalid (...)": for diagnostics and test output.
SHARED_API std::ostream& operator<<(std::ostream& os, const COleDateTimeSpan& span);
