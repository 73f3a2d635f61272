#include "NmeaFields.h"

#include <charconv>
#include <cstring>

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
    auto const [end, error] = std::from_chars(first, last, parsed, std::chars_format::general);
    // A number beyond the range of double is no reading a device could have meant.
    if (error != std::errc())
        return false;
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
