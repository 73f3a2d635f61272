#include "DeviceArithmetic.h"

#include <cmath>
#include <cstdio>
#include <shared/positioning/NWardenMetrics.h>
#include <string>
#include <string_view>

// Coordinate text: display, Benefon and NMEA forms, their parser, and NMEA checksums.

namespace NWardenMetrics
{

using namespace warden_metrics_detail;

namespace
{
bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}
bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

CString Printed(char const* format, auto... args)
{
    char buffer[96];
    int const n = std::snprintf(buffer, sizeof buffer, format, args...);
    if (n < 0)
        return CString();
    return CString(buffer, n < static_cast<int>(sizeof buffer) ? n : int(sizeof buffer) - 1);
}

struct Sexagesimal
{
    int degrees;
    int minutes;
    int seconds;
    int tenths;
};

// Whole degrees, minutes, seconds and tenths of a second, each truncated.
Sexagesimal Split(double value)
{
    double whole = 0.0;
    double const fraction = std::modf(value, &whole);
    double minutesWhole = 0.0;
    double const minutesFraction = std::modf(fraction * 60.0, &minutesWhole);
    double secondsWhole = 0.0;
    double const secondsFraction = std::modf(minutesFraction * 60.0, &secondsWhole);
    return {TruncateToInt32(whole), TruncateToInt32(minutesWhole), TruncateToInt32(secondsWhole),
            TruncateToInt32(secondsFraction * 10.0)};
}

CString ToNmea(double value, char const* format)
{
    char const* sign = "";
    if (value < 0)
    {
        sign = "-";
        value = -value;
    }
    unsigned const degrees = static_cast<unsigned>(TruncateToInt32(value));
    double const m = (value - degrees) * 60.0;
    unsigned const minutes = static_cast<unsigned>(TruncateToInt32(m));
    unsigned const millionths = static_cast<unsigned>(TruncateToInt32((m - minutes) * 1e6));
    return Printed(format, sign, degrees, minutes, millionths);
}

// The text being parsed, consumed from the front.
class Cursor
{
public:
    explicit Cursor(std::string_view text) : m_text(text) {}

    bool AtEnd() const { return m_text.empty(); }
    char Peek() const { return m_text.front(); }
    void Skip() { m_text.remove_prefix(1); }
    void TrimLeft()
    {
        while (!m_text.empty() && IsSpace(m_text.front()))
            m_text.remove_prefix(1);
    }
    // A run of digits as a number; a run of none reads as 0.
    double Digits()
    {
        double value = 0.0;
        while (!m_text.empty() && IsDigit(m_text.front()))
        {
            value = value * 10.0 + (m_text.front() - '0');
            m_text.remove_prefix(1);
        }
        return value;
    }
    // After a decimal point: the fraction, or false when anything but digits follows.
    bool Fraction(double& fraction)
    {
        fraction = 0.0;
        double scale = 0.1;
        for (char c : m_text)
        {
            if (!IsDigit(c))
                return false;
            fraction += (c - '0') * scale;
            scale *= 0.1;
        }
        m_text = {};
        return true;
    }
    // Between fields: blanks, at most one non-digit (a degree sign, a colon, a quote...), blanks.
    void Separator()
    {
        TrimLeft();
        if (!m_text.empty() && !IsDigit(m_text.front()))
            m_text.remove_prefix(1);
        TrimLeft();
    }

private:
    std::string_view m_text;
};
} // namespace

CString DegreesToString(double degrees)
{
    Sexagesimal const s = Split(degrees);
    return Printed("%.3d\xB0 %.2d' %.2d\"", s.degrees, s.minutes, s.seconds);
}

CString LatitudeToString(double latitude)
{
    CString text = DegreesToString(std::fabs(latitude));
    text += latitude >= 0 ? " N" : " S";
    return text;
}

CString LongitudeToString(double longitude)
{
    CString text = DegreesToString(std::fabs(longitude));
    text += longitude >= 0 ? " E" : " W";
    return text;
}

CString LatitudeToBenefonString(double latitude)
{
    Sexagesimal const s = Split(std::fabs(latitude));
    return Printed("%c%02d.%02d.%02d,%1d", latitude >= 0 ? 'N' : 'S', s.degrees, s.minutes,
                   s.seconds, s.tenths);
}

CString LongitudeToBenefonString(double longitude)
{
    Sexagesimal const s = Split(std::fabs(longitude));
    return Printed("%c%03d.%02d.%02d,%1d", longitude >= 0 ? 'E' : 'W', s.degrees, s.minutes,
                   s.seconds, s.tenths);
}

CString LatitudeToNMEAString(double latitude)
{
    return ToNmea(WrapInto(latitude, -90.0, 90.0, 180.0), "%s%02u%02u.%06u");
}

CString LongitudeToNMEAString(double longitude)
{
    return ToNmea(WrapInto(longitude, -180.0, 180.0, 360.0), "%s%03u%02u.%06u");
}

E_ParseLatLongResult ParseLatLong(CString const& text, bool isLatitude, double& result)
{
    std::string work(text.GetString(), static_cast<std::size_t>(text.GetLength()));
    auto trimRight = [&work]
    {
        while (!work.empty() && IsSpace(work.back()))
            work.pop_back();
    };
    auto trimLeft = [&work]
    {
        std::size_t i = 0;
        while (i < work.size() && IsSpace(work[i]))
            ++i;
        work.erase(0, i);
    };

    trimRight();
    trimLeft();
    if (work.empty())
        return eParseLatLongEmpty;

    // A hemisphere letter at the end is read as if it stood in front: "51 30 N" is "N51 30".
    if (IsLetter(work.back()))
    {
        char const letter = work.back();
        work.pop_back();
        work.insert(work.begin(), letter);
    }

    std::size_t const lastDigit = work.find_last_of("0123456789");
    if (lastDigit == std::string::npos)
        return eParseLatLongEmpty;
    work.erase(lastDigit + 1);

    double sign = 1.0;
    if (!IsDigit(work.front()))
    {
        char const prefix = work.front();
        char const upper = (prefix >= 'a' && prefix <= 'z') ? char(prefix - 'a' + 'A') : prefix;
        switch (upper)
        {
        case '+':
        case 'E':
        case 'N':
            break;
        case '-':
        case 'S':
        case 'W':
            sign = -1.0;
            break;
        default:
            return eParseLatLongBadPrefix;
        }
        if (isLatitude && (upper == 'E' || upper == 'W'))
            return eParseLatLongEastWestForLatitude;
        if (!isLatitude && (upper == 'N' || upper == 'S'))
            return eParseLatLongNorthSouthForLongitude;
        work.erase(0, 1);
        trimLeft();
        if (work.empty() || !IsDigit(work.front()))
            return eParseLatLongNoDegrees;
    }

    Cursor cursor(work);
    double value = cursor.Digits();
    if (!cursor.AtEnd())
    {
        if (cursor.Peek() == '.')
        {
            cursor.Skip();
            double fraction = 0.0;
            if (!cursor.Fraction(fraction))
                return eParseLatLongBadDegreeFraction;
            value += fraction;
        }
        else
        {
            cursor.Separator();
            if (cursor.AtEnd())
                return eParseLatLongNoMinutes;
            double const minutes = cursor.Digits();
            if (minutes >= 60.0)
                return eParseLatLongBadMinutes;
            if (cursor.AtEnd())
            {
                value += minutes / 60.0;
            }
            else if (cursor.Peek() == '.')
            {
                cursor.Skip();
                double fraction = 0.0;
                if (!cursor.Fraction(fraction))
                    return eParseLatLongBadMinutes;
                value += (minutes + fraction) / 60.0;
            }
            else
            {
                cursor.Separator();
                if (cursor.AtEnd())
                    return eParseLatLongNoSeconds;
                double seconds = cursor.Digits();
                if (!cursor.AtEnd())
                {
                    if (cursor.Peek() != '.')
                        return eParseLatLongTrailingText;
                    cursor.Skip();
                    double fraction = 0.0;
                    if (!cursor.Fraction(fraction))
                        return eParseLatLongBadSecondFraction;
                    seconds += fraction;
                }
                if (seconds >= 60.0)
                    return eParseLatLongBadSeconds;
                value += (minutes + seconds / 60.0) / 60.0;
            }
        }
    }

    value *= sign;
    if (isLatitude && !(value >= -90.0 && value <= 90.0))
        return eParseLatLongLatitudeRange;
    if (!isLatitude && !(value >= -180.0 && value <= 180.0))
        return eParseLatLongLongitudeRange;
    result = value;
    return eParseLatLongOK;
}

E_ParseLatLongResult ParseLatitude(CString const& text, double& result)
{
    return ParseLatLong(text, true, result);
}

E_ParseLatLongResult ParseLongitude(CString const& text, double& result)
{
    return ParseLatLong(text, false, result);
}

bool UpdateNMEAChecksum(CString& sentence)
{
    std::string_view const text(sentence.GetString(),
                                static_cast<std::size_t>(sentence.GetLength()));
    std::size_t const dollar = text.find('$');
    std::size_t const star = text.find('*');
    if (dollar == std::string_view::npos || star == std::string_view::npos)
        return false;
    if (star < dollar + 3 || text.size() < star + 3)
        return false;
    unsigned char sum = 0;
    for (std::size_t i = dollar + 1; i < star; ++i)
        sum = static_cast<unsigned char>(sum ^ static_cast<unsigned char>(text[i]));
    static char const hex[] = "0123456789ABCDEF";
    sentence.SetAt(static_cast<int>(star + 1), hex[sum >> 4]);
    sentence.SetAt(static_cast<int>(star + 2), hex[sum & 15]);
    return true;
}

} // namespace NWardenMetrics
