#include "PrintValue.h"

#include <cmath>
#include <ostream>
#include <shared/framework/COleDateTimeSpan.h>

namespace
{

// The days between 0100-01-01 and 9999-12-31, the first and last representable dates: no span
// between two dates can be longer.
constexpr double kMaxDaysInSpan = 3615897.0;

constexpr double kSecondsPerDay = 86400.0;

} // namespace

COleDateTimeSpan::COleDateTimeSpan(double dblSpanSrc) noexcept : m_span(dblSpanSrc)
{
    CheckRange();
}

COleDateTimeSpan::COleDateTimeSpan(LONG lDays, int nHours, int nMins, int nSecs) noexcept
{
    SetDateTimeSpan(lDays, nHours, nMins, nSecs);
}

COleDateTimeSpan& COleDateTimeSpan::operator=(double dblSpanSrc) noexcept
{
    m_span = dblSpanSrc;
    m_status = valid;
    CheckRange();
    return *this;
}

void COleDateTimeSpan::SetDateTimeSpan(LONG lDays, int nHours, int nMins, int nSecs) noexcept
{
    m_span = static_cast<double>(lDays) + nHours / 24.0 + nMins / (24.0 * 60.0) +
             nSecs / (24.0 * 60.0 * 60.0);
    m_status = valid;
    CheckRange();
}

void COleDateTimeSpan::CheckRange() noexcept
{
    // Written so that NaN fails too.
    if (!(m_span >= -kMaxDaysInSpan && m_span <= kMaxDaysInSpan))
    {
        m_status = invalid;
    }
}

long long COleDateTimeSpan::RoundedSeconds() const noexcept
{
    if (!std::isfinite(m_span) || std::fabs(m_span) > kMaxDaysInSpan)
    {
        return 0;
    }
    return std::llround(m_span * kSecondsPerDay); // halves away from zero
}

LONG COleDateTimeSpan::GetDays() const noexcept
{
    return static_cast<LONG>(RoundedSeconds() / 86400);
}

LONG COleDateTimeSpan::GetHours() const noexcept
{
    return static_cast<LONG>(RoundedSeconds() / 3600 % 24);
}

LONG COleDateTimeSpan::GetMinutes() const noexcept
{
    return static_cast<LONG>(RoundedSeconds() / 60 % 60);
}

LONG COleDateTimeSpan::GetSeconds() const noexcept
{
    return static_cast<LONG>(RoundedSeconds() % 60);
}

COleDateTimeSpan COleDateTimeSpan::operator+(const COleDateTimeSpan& dateSpan) const noexcept
{
    COleDateTimeSpan result;
    if (m_status == null || dateSpan.m_status == null)
    {
        result.m_status = null;
    }
    else if (m_status == invalid || dateSpan.m_status == invalid)
    {
        result.m_status = invalid;
    }
    else
    {
        result.m_span = m_span + dateSpan.m_span;
        result.CheckRange();
    }
    return result;
}

COleDateTimeSpan COleDateTimeSpan::operator-(const COleDateTimeSpan& dateSpan) const noexcept
{
    return *this + (-dateSpan);
}

COleDateTimeSpan& COleDateTimeSpan::operator+=(const COleDateTimeSpan& dateSpan) noexcept
{
    *this = *this + dateSpan;
    return *this;
}

COleDateTimeSpan& COleDateTimeSpan::operator-=(const COleDateTimeSpan& dateSpan) noexcept
{
    *this = *this - dateSpan;
    return *this;
}

COleDateTimeSpan COleDateTimeSpan::operator-() const noexcept
{
    COleDateTimeSpan result(*this);
    result.m_span = -m_span;
    return result;
}

bool COleDateTimeSpan::operator==(const COleDateTimeSpan& dateSpan) const noexcept
{
    if (m_status != dateSpan.m_status)
    {
        return false;
    }
    return m_status == valid ? m_span == dateSpan.m_span : m_status == null;
}

bool COleDateTimeSpan::operator<(const COleDateTimeSpan& dateSpan) const noexcept
{
    return m_status == valid && dateSpan.m_status == valid && m_span < dateSpan.m_span;
}

bool COleDateTimeSpan::operator>(const COleDateTimeSpan& dateSpan) const noexcept
{
    return m_status == valid && dateSpan.m_status == valid && m_span > dateSpan.m_span;
}

bool COleDateTimeSpan::operator<=(const COleDateTimeSpan& dateSpan) const noexcept
{
    return m_status == valid && dateSpan.m_status == valid && m_span <= dateSpan.m_span;
}

bool COleDateTimeSpan::operator>=(const COleDateTimeSpan& dateSpan) const noexcept
{
    return m_status == valid && dateSpan.m_status == valid && m_span >= dateSpan.m_span;
}

CString COleDateTimeSpan::Format(LPCTSTR pFormat) const
{
    if (m_status == null || pFormat == nullptr)
    {
        return CString();
    }
    if (m_status == invalid)
    {
        return CString("Invalid DateTimeSpan");
    }
    CString result;
    for (const char* p = pFormat; *p != '\0'; ++p)
    {
        if (*p != '%')
        {
            result += *p;
            continue;
        }
        switch (*++p)
        {
        case '%':
            result += '%';
            break;
        case 'D':
            result.AppendFormat("%ld", static_cast<long>(GetDays()));
            break;
        case 'H':
            result.AppendFormat("%02ld", static_cast<long>(GetHours()));
            break;
        case 'M':
            result.AppendFormat("%02ld", static_cast<long>(GetMinutes()));
            break;
        case 'S':
            result.AppendFormat("%02ld", static_cast<long>(GetSeconds()));
            break;
        case '\0':
            return result; // a lone '%' at the end
        default:
            break; // unknown conversions are dropped, as in MFC
        }
    }
    return result;
}

std::ostream& operator<<(std::ostream& os, const COleDateTimeSpan& span)
{
    using shared::framework_detail::EPrintedState;
    const auto status = span.GetStatus();
    const EPrintedState state = status == COleDateTimeSpan::valid  ? EPrintedState::valid
                                : status == COleDateTimeSpan::null ? EPrintedState::null
                                                                   : EPrintedState::invalid;
    return shared::framework_detail::PrintValue(
        os, state, state == EPrintedState::valid ? span.Format("%D %H:%M:%S") : CString(),
        span.m_span);
}
