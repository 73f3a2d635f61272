#include "NmeaFields.h"

#include <charconv>
#include <cstdint>
#include <cstring>

namespace
{
// The plain decimals devices send (digits with an optional point) are read here; only what this
// cannot read exactly goes to from_chars. A mantissa below 2^53 and a power of ten up to 10^22
// are both exact doubles, and one IEEE division of exact values is correctly rounded, so the
// result is the very double from_chars gives (the classic fast path of decimal conversion).
bool ReadPlainDecimal(char const* first, char const* last, double& value, char const*& end)
{
    static constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                              1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                              1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    char const* p = first;
    bool const negative = p != last && *p == '-';
    if (negative)
        ++p;
    std::uint64_t mantissa = 0;
    int digits = 0;
    int fraction = -1; // digits after the point, -1 before any point
    for (; p != last; ++p)
    {
        if (*p >= '0' && *p <= '9')
        {
            mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
            ++digits;
            if (fraction >= 0)
                ++fraction;
        }
        else if (*p == '.' && fraction < 0)
            fraction = 0;
        else
            break;
    }
    // An exponent, no digits at all, or too many of them: the general reader decides.
    if (digits == 0 || digits > 19 || mantissa > (std::uint64_t{1} << 53) || fraction > 22 ||
        (p != last && (*p == 'e' || *p == 'E')))
        return false;
    double const magnitude =
        static_cast<double>(mantissa) / kPowersOfTen[fraction > 0 ? fraction : 0];
    value = negative ? -magnitude : magnitude;
    end = p;
    return true;
}
} // namespace

namespace nmea_fields
{

bool ReadLeadingNumber(char const* text, double& value, int& consumed)
{
    return ReadLeadingNumber(std::string_view(text), value, consumed);
}

bool ReadLeadingNumber(std::string_view text, double& value, int& consumed)
{
    char const* first = text.data();
    char const* const last = first + text.size();
    bool const plus = first != last && *first == '+';
    if (plus)
    {
        ++first;
        if (first != last && *first == '-')
            return false;
    }
    double parsed = 0.0;
    char const* end = nullptr;
    if (!ReadPlainDecimal(first, last, parsed, end))
    {
        auto const result = std::from_chars(first, last, parsed, std::chars_format::general);
        // A number beyond the range of double is no reading a device could have meant.
        if (result.ec != std::errc())
            return false;
        end = result.ptr;
    }
    value = parsed;
    consumed = static_cast<int>(end - text.data());
    return true;
}

double ReadDegrees(std::string_view text)
{
    std::size_t point = text.find('.');
    if (point == std::string_view::npos)
        point = text.size();
    // With fewer than two characters before the point there are no whole degrees and the minutes
    // start at the beginning (the device software would have read before the field).
    std::size_t const minutesStart = point >= 2 ? point - 2 : 0;
    // Unsigned arithmetic wraps where a long run of characters would overflow.
    unsigned degrees = 0;
    for (std::size_t i = 0; i < minutesStart; ++i)
        degrees = degrees * 10u + static_cast<unsigned>(text[i] - '0');
    double minutes = 0.0;
    int consumed = 0;
    if (!ReadLeadingNumber(text.substr(minutesStart), minutes, consumed))
        minutes = 0.0;
    return static_cast<int>(degrees) + minutes * 0.016666666666666666;
}

bool ReadWholeNumber(CString const& field, double& value)
{
    int consumed = 0;
    double parsed = 0.0;
    if (field.IsEmpty() || !ReadLeadingNumber(field.GetString(), parsed, consumed) ||
        consumed != field.GetLength())
        return false;
    value = parsed;
    return true;
}

bool ReadWholeUnsigned(CString const& field, unsigned long& value)
{
    char const* first = field.GetString();
    char const* const last = first + field.GetLength();
    if (first != last && *first == '+')
        ++first;
    if (first == last)
        return false;
    unsigned long parsed = 0;
    auto const [end, error] = std::from_chars(first, last, parsed, 10);
    if (error != std::errc() || end != last)
        return false;
    value = parsed;
    return true;
}

bool ReadBinaryByte(CString const& field, unsigned char& value)
{
    if (field.GetLength() != 8)
        return false;
    unsigned bits = 0;
    for (int i = 0; i < 8; ++i)
    {
        char const c = field.GetString()[i];
        if (c != '0' && c != '1')
            return false;
        bits = (bits << 1) | static_cast<unsigned>(c - '0');
    }
    value = static_cast<unsigned char>(bits);
    return true;
}

} // namespace nmea_fields

namespace nmea_fields
{
namespace
{
int TwoDigits(char const* p)
{
    return (p[0] - '0') * 10 + (p[1] - '0');
}
} // namespace

bool ReadTimeStamp(std::string_view time, std::string_view date, COleDateTime& timestamp)
{
    if (time.size() < 6 || date.size() < 6)
        return false;
    char const* t = time.data();
    char const* d = date.data();
    COleDateTime value;
    // Two-digit years are always this century: the devices were built after 2000.
    value.SetDateTime(2000 + TwoDigits(d + 4), TwoDigits(d + 2), TwoDigits(d), TwoDigits(t),
                      TwoDigits(t + 2), TwoDigits(t + 4));
    if (value.GetStatus() != COleDateTime::valid)
        return false;
    timestamp = value;
    return true;
}
} // namespace nmea_fields
