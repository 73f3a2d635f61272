#include "PrintValue.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <new>
#include <ostream>
#include <shared/framework/COleDateTime.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>
#include <string>
#include <string_view>
#include <vector>

namespace
{

// Day numbers (days since 1899-12-30) of the first and last representable dates, 0100-01-01 and
// 9999-12-31: the limits of the OLE automation date.
constexpr long kMinDay = -657434;
constexpr long kMaxDay = 2958465;

// Half a second in days: breaking down rounds to the nearest second.
constexpr double kHalfSecond = 1.0 / 172800.0;

constexpr double kSecondsPerDay = 86400.0;

const char* const kInvalidText = "Invalid DateTime";

struct Parts
{
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
    int dayOfWeek; // 1 = Sunday
    int dayOfYear; // 1 = 1 January
};

bool IsLeap(long y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int DaysInMonth(int y, int m)
{
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

// Days since 1899-12-30 of a Gregorian date with a positive year, and back (H. Hinnant's civil
// calendar algorithms, shifted from 1970-01-01, which is day 25569).
long DayFromCivil(long y, int m, int d)
{
    y -= m <= 2 ? 1 : 0;
    const long era = y / 400; // y >= 99 here, so truncation is floor
    const long yoe = y - era * 400;
    const long doy = (153L * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468 + 25569;
}

void CivilFromDay(long day, int& y, int& m, int& d)
{
    const long z = day - 25569 + 719468; // positive for every representable date
    const long era = z / 146097;
    const long doe = z - era * 146097;
    const long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yoe + era * 400 + (m <= 2 ? 1 : 0));
}

// Encodes a checked date and a time of day (in seconds, fractions allowed) as a DATE: before
// 1899-12-30 the time of day is subtracted, so the fraction still reads as time after midnight.
bool EncodeDate(int y, int mo, int d, int h, int mi, int s, double extraSeconds, DATE& out)
{
    if (y < 100 || y > 9999 || mo < 1 || mo > 12 || d < 1 || d > DaysInMonth(y, mo) || h < 0 ||
        h > 23 || mi < 0 || mi > 59 || s < 0 || s > 59)
    {
        return false;
    }
    const long day = DayFromCivil(y, mo, d);
    const double time = ((h * 60 + mi) * 60 + s + extraSeconds) / kSecondsPerDay;
    out = static_cast<double>(day) + (day >= 0 ? time : -time);
    return true;
}

// Breaks a DATE down to the nearest second, in MFC's way: half a second is added away from zero,
// the day is the result truncated toward zero, and the time of day is the fraction of its
// magnitude. Consequence kept deliberately: a negative value within half a second of the next
// midnight, such as -1.999999, rounds to midnight of the same day's start (1899-12-28 00:00)
// rather than to the next day, exactly as the framework reads the same stored value.
bool DecodeDate(DATE dt, Parts& p)
{
    if (!(dt > static_cast<double>(kMinDay) - 1.0 && dt < static_cast<double>(kMaxDay) + 1.0))
    {
        return false; // also rejects NaN
    }
    const double rounded = dt + (dt > 0.0 ? kHalfSecond : -kHalfSecond);
    const long day = static_cast<long>(rounded); // toward zero
    if (day < kMinDay || day > kMaxDay)
    {
        return false;
    }
    const double magnitude = std::fabs(rounded);
    long seconds = static_cast<long>((magnitude - std::floor(magnitude)) * kSecondsPerDay);
    if (seconds > 86399)
    {
        seconds = 86399;
    }
    CivilFromDay(day, p.year, p.month, p.day);
    p.hour = static_cast<int>(seconds / 3600);
    p.minute = static_cast<int>(seconds / 60 % 60);
    p.second = static_cast<int>(seconds % 60);
    // Day 0 (1899-12-30) was a Saturday.
    p.dayOfWeek = static_cast<int>(((day % 7) + 7 + 6) % 7) + 1;
    p.dayOfYear = static_cast<int>(day - DayFromCivil(p.year, 1, 1)) + 1;
    return true;
}

// A continuous day count: negative DATEs count their fraction forward from the day's start, so
// -1.25 (1899-12-29 06:00) becomes -0.75. Positive values are unchanged.
double LinearFromDate(DATE dt)
{
    if (dt >= 0.0)
    {
        return dt;
    }
    const double day = std::ceil(dt);
    return day - (dt - day);
}

DATE DateFromLinear(double value)
{
    if (value >= 0.0)
    {
        return value;
    }
    const double day = std::floor(value);
    return day + (day - value);
}

bool InRange(DATE dt)
{
    return dt > static_cast<double>(kMinDay) - 1.0 && dt < static_cast<double>(kMaxDay) + 1.0;
}

// --- Parsing
// ---------------------------------------------------------------------------------------

struct ParsedText
{
    bool hasDate = false;
    int year = 1899, month = 12, day = 30;
    bool hasTime = false;
    int hour = 0, minute = 0, second = 0;
    int meridiem = 0; // 0 none, 1 AM, 2 PM
};

bool ParseNumber(std::string_view text, int& value)
{
    if (text.empty() || text.size() > 9)
    {
        return false;
    }
    value = 0;
    for (const char c : text)
    {
        if (c < '0' || c > '9')
        {
            return false;
        }
        value = value * 10 + (c - '0');
    }
    return true;
}

int FullYear(std::string_view digits, int year)
{
    if (digits.size() <= 2)
    {
        return year < 30 ? 2000 + year : 1900 + year;
    }
    return year;
}

std::vector<std::string_view> Split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator, start))
    {
        parts.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool EqualsNoCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
        {
            return false;
        }
    }
    return true;
}

int MeridiemOf(std::string_view word)
{
    if (EqualsNoCase(word, "AM") || EqualsNoCase(word, "A.M."))
    {
        return 1;
    }
    if (EqualsNoCase(word, "PM") || EqualsNoCase(word, "P.M."))
    {
        return 2;
    }
    return 0;
}

// 1-12 for a month name or its abbreviation of at least three letters, else 0.
int MonthOf(std::string_view word)
{
    static constexpr const char* kMonths[] = {"january",   "february", "march",    "april",
                                              "may",       "june",     "july",     "august",
                                              "september", "october",  "november", "december"};
    if (word.size() < 3)
    {
        return 0;
    }
    for (int m = 0; m < 12; ++m)
    {
        const std::string_view name(kMonths[m]);
        if (word.size() <= name.size() && EqualsNoCase(word, name.substr(0, word.size())))
        {
            return m + 1;
        }
    }
    return 0;
}

bool ParseTimeToken(std::string_view token, ParsedText& out)
{
    // A meridiem may be glued on: "4:05PM".
    std::size_t end = token.size();
    while (end > 0 && std::isalpha(static_cast<unsigned char>(token[end - 1])) != 0)
    {
        --end;
    }
    if (end < token.size())
    {
        out.meridiem = MeridiemOf(token.substr(end));
        if (out.meridiem == 0)
        {
            return false;
        }
    }
    const auto parts = Split(token.substr(0, end), ':');
    if (out.hasTime || parts.size() < 2 || parts.size() > 3 || !ParseNumber(parts[0], out.hour) ||
        !ParseNumber(parts[1], out.minute) ||
        (parts.size() == 3 && !ParseNumber(parts[2], out.second)))
    {
        return false;
    }
    out.hasTime = true;
    return true;
}

bool ParseDateToken(std::string_view token, char separator, ParsedText& out)
{
    const auto parts = Split(token, separator);
    int a = 0;
    int b = 0;
    int c = 0;
    if (out.hasDate || parts.size() != 3 || !ParseNumber(parts[0], a) ||
        !ParseNumber(parts[1], b) || !ParseNumber(parts[2], c))
    {
        return false;
    }
    if (parts[0].size() == 4) // year first: 2006-06-12
    {
        out.year = a;
        out.month = b;
        out.day = c;
    }
    else // the United States order: 6/12/2006
    {
        out.month = a;
        out.day = b;
        out.year = FullYear(parts[2], c);
    }
    out.hasDate = true;
    return true;
}

bool ParseText(std::string_view text, ParsedText& out)
{
    std::vector<std::string_view> tokens;
    std::size_t i = 0;
    while (i < text.size())
    {
        while (i < text.size() &&
               (std::isspace(static_cast<unsigned char>(text[i])) != 0 || text[i] == ','))
        {
            ++i;
        }
        const std::size_t start = i;
        while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])) == 0 &&
               text[i] != ',')
        {
            ++i;
        }
        if (i > start)
        {
            tokens.push_back(text.substr(start, i - start));
        }
    }

    int monthByName = 0;
    std::vector<std::string_view> numbers;
    for (const std::string_view token : tokens)
    {
        bool ok = true;
        int value = 0;
        if (token.find(':') != std::string_view::npos)
        {
            ok = ParseTimeToken(token, out);
        }
        else if (token.find('/') != std::string_view::npos)
        {
            ok = ParseDateToken(token, '/', out);
        }
        else if (token.find('-') != std::string_view::npos)
        {
            ok = ParseDateToken(token, '-', out);
        }
        else if (token.find('.') != std::string_view::npos && MeridiemOf(token) == 0)
        {
            ok = ParseDateToken(token, '.', out);
        }
        else if (ParseNumber(token, value))
        {
            numbers.push_back(token);
        }
        else if (const int meridiem = MeridiemOf(token); meridiem != 0 && out.meridiem == 0)
        {
            out.meridiem = meridiem;
        }
        else if (const int month = MonthOf(token); month != 0 && monthByName == 0)
        {
            monthByName = month;
        }
        else
        {
            ok = false;
        }
        if (!ok)
        {
            return false;
        }
    }

    if (monthByName != 0)
    {
        // "12 June 2006" or "June 12, 2006": a day and a year around the month's name.
        int first = 0;
        int second = 0;
        if (out.hasDate || numbers.size() != 2 || !ParseNumber(numbers[0], first) ||
            !ParseNumber(numbers[1], second))
        {
            return false;
        }
        out.month = monthByName;
        out.day = first;
        out.year = FullYear(numbers[1], second);
        out.hasDate = true;
    }
    else if (!numbers.empty())
    {
        return false; // a bare number is no date or time
    }

    if (out.meridiem != 0)
    {
        if (!out.hasTime || out.hour < 1 || out.hour > 12)
        {
            return false;
        }
        out.hour = out.hour % 12 + (out.meridiem == 2 ? 12 : 0);
    }
    return out.hasDate || out.hasTime;
}

} // namespace

COleDateTime WINAPI COleDateTime::GetCurrentTime()
{
    SYSTEMTIME now = shared::platform::GetLocalTime();
    now.wMilliseconds = 0; // the framework's clock for this is whole seconds
    return COleDateTime(now);
}

COleDateTime::COleDateTime(std::time_t timeSrc) noexcept
{
    *this = timeSrc;
}

COleDateTime::COleDateTime(const SYSTEMTIME& systimeSrc) noexcept
{
    *this = systimeSrc;
}

COleDateTime::COleDateTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec) noexcept
{
    SetDateTime(nYear, nMonth, nDay, nHour, nMin, nSec);
}

COleDateTime& COleDateTime::operator=(DATE dtSrc) noexcept
{
    m_dt = dtSrc;
    m_status = valid;
    return *this;
}

COleDateTime& COleDateTime::operator=(const std::time_t& timeSrc) noexcept
{
    // Far beyond the years a date-time holds; keeps the millisecond count from overflowing.
    constexpr std::int64_t kLimit = std::int64_t{1} << 40;
    const auto utc = static_cast<std::int64_t>(timeSrc);
    if (utc < -kLimit || utc > kLimit)
    {
        m_status = invalid;
        return *this;
    }
    const SYSTEMTIME local = shared::platform::BreakDownMilliseconds(
        (utc + shared::platform::LocalUtcOffsetSeconds(utc)) * 1000);
    SetDateTime(local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond);
    return *this;
}

COleDateTime& COleDateTime::operator=(const SYSTEMTIME& systimeSrc) noexcept
{
    if (systimeSrc.wMilliseconds > 999 ||
        !EncodeDate(systimeSrc.wYear, systimeSrc.wMonth, systimeSrc.wDay, systimeSrc.wHour,
                    systimeSrc.wMinute, systimeSrc.wSecond, systimeSrc.wMilliseconds / 1000.0,
                    m_dt))
    {
        m_status = invalid;
        return *this;
    }
    m_status = valid;
    return *this;
}

bool COleDateTime::GetAsSystemTime(SYSTEMTIME& sysTime) const noexcept
{
    Parts p{};
    if (m_status != valid || !DecodeDate(m_dt, p))
    {
        return false;
    }
    sysTime.wYear = static_cast<WORD>(p.year);
    sysTime.wMonth = static_cast<WORD>(p.month);
    sysTime.wDayOfWeek = static_cast<WORD>(p.dayOfWeek - 1);
    sysTime.wDay = static_cast<WORD>(p.day);
    sysTime.wHour = static_cast<WORD>(p.hour);
    sysTime.wMinute = static_cast<WORD>(p.minute);
    sysTime.wSecond = static_cast<WORD>(p.second);
    sysTime.wMilliseconds = 0;
    return true;
}

#define SHARED_OLEDATE_PART(name, field)                                                           \
    int COleDateTime::name() const noexcept                                                        \
    {                                                                                              \
        Parts p{};                                                                                 \
        return m_status == valid && DecodeDate(m_dt, p) ? p.field : error;                         \
    }

SHARED_OLEDATE_PART(GetYear, year)
SHARED_OLEDATE_PART(GetMonth, month)
SHARED_OLEDATE_PART(GetDay, day)
SHARED_OLEDATE_PART(GetHour, hour)
SHARED_OLEDATE_PART(GetMinute, minute)
SHARED_OLEDATE_PART(GetSecond, second)
SHARED_OLEDATE_PART(GetDayOfWeek, dayOfWeek)
SHARED_OLEDATE_PART(GetDayOfYear, dayOfYear)

#undef SHARED_OLEDATE_PART

int COleDateTime::SetDateTime(int nYear, int nMonth, int nDay, int nHour, int nMin,
                              int nSec) noexcept
{
    DATE dt = 0.0;
    if (EncodeDate(nYear, nMonth, nDay, nHour, nMin, nSec, 0.0, dt))
    {
        m_dt = dt;
        m_status = valid;
    }
    else
    {
        m_status = invalid;
    }
    return m_status;
}

int COleDateTime::SetDate(int nYear, int nMonth, int nDay) noexcept
{
    return SetDateTime(nYear, nMonth, nDay, 0, 0, 0);
}

int COleDateTime::SetTime(int nHour, int nMin, int nSec) noexcept
{
    return SetDateTime(1899, 12, 30, nHour, nMin, nSec);
}

bool COleDateTime::operator==(const COleDateTime& date) const noexcept
{
    if (m_status != date.m_status)
    {
        return false;
    }
    return m_status == valid ? m_dt == date.m_dt : m_status == null;
}

bool COleDateTime::operator<(const COleDateTime& date) const noexcept
{
    return m_status == valid && date.m_status == valid &&
           LinearFromDate(m_dt) < LinearFromDate(date.m_dt);
}

bool COleDateTime::operator>(const COleDateTime& date) const noexcept
{
    return m_status == valid && date.m_status == valid &&
           LinearFromDate(m_dt) > LinearFromDate(date.m_dt);
}

bool COleDateTime::operator<=(const COleDateTime& date) const noexcept
{
    return m_status == valid && date.m_status == valid &&
           LinearFromDate(m_dt) <= LinearFromDate(date.m_dt);
}

bool COleDateTime::operator>=(const COleDateTime& date) const noexcept
{
    return m_status == valid && date.m_status == valid &&
           LinearFromDate(m_dt) >= LinearFromDate(date.m_dt);
}

COleDateTime COleDateTime::operator+(const COleDateTimeSpan& dateSpan) const noexcept
{
    COleDateTime result;
    if (m_status == null || dateSpan.GetStatus() == COleDateTimeSpan::null)
    {
        result.m_status = null;
        return result;
    }
    if (m_status == invalid || dateSpan.GetStatus() == COleDateTimeSpan::invalid)
    {
        result.m_status = invalid;
        return result;
    }
    result.m_dt = DateFromLinear(LinearFromDate(m_dt) + dateSpan.m_span);
    if (!InRange(result.m_dt))
    {
        result.m_status = invalid;
    }
    return result;
}

COleDateTime COleDateTime::operator-(const COleDateTimeSpan& dateSpan) const noexcept
{
    return *this + (-dateSpan);
}

COleDateTime& COleDateTime::operator+=(const COleDateTimeSpan& dateSpan) noexcept
{
    *this = *this + dateSpan;
    return *this;
}

COleDateTime& COleDateTime::operator-=(const COleDateTimeSpan& dateSpan) noexcept
{
    *this = *this - dateSpan;
    return *this;
}

COleDateTimeSpan COleDateTime::operator-(const COleDateTime& date) const noexcept
{
    COleDateTimeSpan result;
    if (m_status == null || date.m_status == null)
    {
        result.SetStatus(COleDateTimeSpan::null);
    }
    else if (m_status == invalid || date.m_status == invalid)
    {
        result.SetStatus(COleDateTimeSpan::invalid);
    }
    else
    {
        result = COleDateTimeSpan(LinearFromDate(m_dt) - LinearFromDate(date.m_dt));
    }
    return result;
}

CString COleDateTime::Format(LPCTSTR lpszFormat) const
{
    if (m_status == null || lpszFormat == nullptr || *lpszFormat == '\0')
    {
        return CString();
    }
    Parts p{};
    if (m_status != valid || !DecodeDate(m_dt, p))
    {
        return CString(kInvalidText);
    }
    std::tm tm{};
    tm.tm_year = p.year - 1900;
    tm.tm_mon = p.month - 1;
    tm.tm_mday = p.day;
    tm.tm_hour = p.hour;
    tm.tm_min = p.minute;
    tm.tm_sec = p.second;
    tm.tm_wday = p.dayOfWeek - 1;
    tm.tm_yday = p.dayOfYear - 1;
    tm.tm_isdst = 0;
    // strftime reports 0 both for "too small" and for an empty result, so grow a few times and
    // then accept the empty text.
    std::string buffer(256, '\0');
    for (int attempt = 0; attempt < 6; ++attempt)
    {
        const std::size_t n = std::strftime(buffer.data(), buffer.size(), lpszFormat, &tm);
        if (n > 0)
        {
            return CString(buffer.data(), static_cast<int>(n));
        }
        buffer.resize(buffer.size() * 4);
    }
    return CString();
}

CString COleDateTime::Format(DWORD dwFlags, LCID /*lcid*/) const
{
    if (m_status == null)
    {
        return CString();
    }
    Parts p{};
    if (m_status != valid || !DecodeDate(m_dt, p))
    {
        return CString(kInvalidText);
    }
    const bool isTimeOnly = p.year == 1899 && p.month == 12 && p.day == 30;
    const bool isMidnight = p.hour == 0 && p.minute == 0 && p.second == 0;
    bool showDate = !isTimeOnly || isMidnight;
    bool showTime = !isMidnight;
    if ((dwFlags & VAR_DATEVALUEONLY) != 0)
    {
        showDate = true;
        showTime = false;
    }
    else if ((dwFlags & VAR_TIMEVALUEONLY) != 0)
    {
        showDate = false;
        showTime = true;
    }
    CString text;
    if (showDate)
    {
        text.Format("%d/%d/%d", p.month, p.day, p.year);
    }
    if (showTime)
    {
        const int hour12 = p.hour % 12 == 0 ? 12 : p.hour % 12;
        text.AppendFormat("%s%d:%02d:%02d %s", showDate ? " " : "", hour12, p.minute, p.second,
                          p.hour < 12 ? "AM" : "PM");
    }
    return text;
}

bool COleDateTime::ParseDateTime(LPCTSTR lpszDate, DWORD dwFlags, LCID /*lcid*/) noexcept
{
    ParsedText parsed;
    bool ok = false;
    try
    {
        ok = lpszDate != nullptr && ParseText(lpszDate, parsed);
    }
    catch (const std::bad_alloc&)
    {
        ok = false;
    }
    if (ok)
    {
        if ((dwFlags & VAR_TIMEVALUEONLY) != 0)
        {
            parsed.year = 1899;
            parsed.month = 12;
            parsed.day = 30;
        }
        if ((dwFlags & VAR_DATEVALUEONLY) != 0)
        {
            parsed.hour = parsed.minute = parsed.second = 0;
        }
        ok = SetDateTime(parsed.year, parsed.month, parsed.day, parsed.hour, parsed.minute,
                         parsed.second) == valid;
    }
    if (!ok)
    {
        m_dt = 0.0;
        m_status = invalid;
    }
    return ok;
}

std::ostream& operator<<(std::ostream& os, const COleDateTime& dt)
{
    using shared::framework_detail::EPrintedState;
    const auto status = dt.GetStatus();
    const EPrintedState state = status == COleDateTime::valid  ? EPrintedState::valid
                                : status == COleDateTime::null ? EPrintedState::null
                                                               : EPrintedState::invalid;
    return shared::framework_detail::PrintValue(
        os, state, state == EPrintedState::valid ? dt.Format("%Y-%m-%d %H:%M:%S") : CString(),
        dt.m_dt);
}
