#include "Text.h"

#include <cstdint>

namespace warden
{
namespace
{
// Code points of the bytes 0x80-0x9F; the rest of the code page is Latin-1.
constexpr char16_t kHigh[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void AppendUtf8(std::string& out, char32_t c)
{
    if (c < 0x80)
        out += static_cast<char>(c);
    else if (c < 0x800)
    {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
    else
    {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

char ToCp1252(char32_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF))
        return static_cast<char>(c);
    for (std::size_t i = 0; i < 32; ++i)
        if (kHigh[i] == c)
            return static_cast<char>(0x80 + i);
    return '?';
}

// Length of the well-formed UTF-8 sequence at text[i] and its code point; 0 when there is none.
std::size_t Decode(std::string_view text, std::size_t i, char32_t& c)
{
    auto const lead = static_cast<unsigned char>(text[i]);
    std::size_t const length = lead >= 0xF5   ? 0
                               : lead >= 0xF0 ? 4
                               : lead >= 0xE0 ? 3
                               : lead >= 0xC2 ? 2
                                              : 0;
    if (length == 0 || i + length > text.size())
        return 0;
    c = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k)
    {
        auto const next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80)
            return 0;
        c = (c << 6) | (next & 0x3F);
    }
    // Overlong forms and surrogates are not UTF-8.
    if ((length == 3 && (c < 0x800 || (c >= 0xD800 && c <= 0xDFFF))) ||
        (length == 4 && (c < 0x10000 || c > 0x10FFFF)))
        return 0;
    return length;
}
} // namespace

std::string Utf8(std::string_view cp1252)
{
    std::string text;
    text.reserve(cp1252.size() + cp1252.size() / 8);
    for (char byte : cp1252)
    {
        auto const u = static_cast<unsigned char>(byte);
        if (u < 0x80)
            text += byte;
        else
            AppendUtf8(text, u < 0xA0 ? kHigh[u - 0x80] : u);
    }
    return text;
}

CString Ansi(std::string_view utf8)
{
    std::string text;
    text.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();)
    {
        auto const u = static_cast<unsigned char>(utf8[i]);
        char32_t c = 0;
        std::size_t const length = u < 0x80 ? 0 : Decode(utf8, i, c);
        if (length == 0)
        {
            text += utf8[i++];
            continue;
        }
        text += ToCp1252(c);
        i += length;
    }
    return CString(std::string_view(text));
}

std::size_t DisplayWidth(std::string_view utf8)
{
    std::size_t width = 0;
    for (char c : utf8)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            ++width;
    return width;
}

std::string PadRight(std::string utf8, std::size_t width)
{
    std::size_t const shown = DisplayWidth(utf8);
    if (shown < width)
        utf8.append(width - shown, ' ');
    return utf8;
}

std::string PadLeft(std::string utf8, std::size_t width)
{
    std::size_t const shown = DisplayWidth(utf8);
    if (shown < width)
        utf8.insert(0, width - shown, ' ');
    return utf8;
}

} // namespace warden
