#include "RegistryFileFormat.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace shared::platform::registryformat
{
namespace
{

constexpr std::string_view kHeader = "shared-registry-values 1";

constexpr std::array<std::string_view, 12> kTypeNames{"REG_NONE",
                                                      "REG_SZ",
                                                      "REG_EXPAND_SZ",
                                                      "REG_BINARY",
                                                      "REG_DWORD",
                                                      "REG_DWORD_BIG_ENDIAN",
                                                      "REG_LINK",
                                                      "REG_MULTI_SZ",
                                                      "REG_RESOURCE_LIST",
                                                      "REG_FULL_RESOURCE_DESCRIPTOR",
                                                      "REG_RESOURCE_REQUIREMENTS_LIST",
                                                      "REG_QWORD"};

char FoldAscii(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

} // namespace

bool EqualNoCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](char x, char y) { return FoldAscii(x) == FoldAscii(y); });
}

bool LessNoCase(const std::string& a, const std::string& b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](char x, char y) {
                                            return static_cast<unsigned char>(FoldAscii(x)) <
                                                   static_cast<unsigned char>(FoldAscii(y));
                                        });
}

namespace
{

constexpr char kHexDigits[] = "0123456789abcdef";

void AppendEscaped(std::string& out, unsigned char byte)
{
    constexpr char kUpperHex[] = "0123456789ABCDEF";
    out += '%';
    out += kUpperHex[byte >> 4];
    out += kUpperHex[byte & 0xF];
}

int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

// Key names become directory names: printable ASCII stays readable, while '/', '%', control and
// 8-bit bytes and a leading '.' (which would hide the key among the store's own files, or be "."
// or "..") are escaped.
std::string EncodeKeyName(std::string_view name)
{
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        const auto byte = static_cast<unsigned char>(name[i]);
        if (byte < 0x20 || byte > 0x7E || byte == '/' || byte == '%' || (i == 0 && byte == '.'))
            AppendEscaped(out, byte);
        else
            out += static_cast<char>(byte);
    }
    return out;
}

// Value names share a line with other fields, so blanks are escaped as well, and '@' alone stands
// for the unnamed value.
std::string EncodeValueName(std::string_view name)
{
    if (name.empty())
        return "@";
    std::string out;
    for (const char c : name)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte > 0x7E || byte == '%' || byte == '@')
            AppendEscaped(out, byte);
        else
            out += c;
    }
    return out;
}

std::optional<std::string> DecodeName(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '%')
        {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size())
            return std::nullopt;
        const int hi = HexValue(text[i + 1]);
        const int lo = HexValue(text[i + 2]);
        if (hi < 0 || lo < 0)
            return std::nullopt;
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
    }
    return out;
}

std::optional<std::string> DecodeValueName(std::string_view text)
{
    if (text == "@")
        return std::string();
    if (text.empty())
        return std::nullopt;
    return DecodeName(text);
}

namespace
{

std::string TypeName(unsigned long type)
{
    if (type < kTypeNames.size())
        return std::string(kTypeNames[type]);
    return std::to_string(type);
}

std::optional<unsigned long> ParseType(std::string_view text)
{
    for (std::size_t i = 0; i < kTypeNames.size(); ++i)
    {
        if (text == kTypeNames[i])
            return static_cast<unsigned long>(i);
    }
    std::uint32_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

std::optional<std::vector<std::uint8_t>> ParseHex(std::string_view text)
{
    std::vector<std::uint8_t> out;
    if (text == "-")
        return out;
    if (text.empty() || text.size() % 2 != 0)
        return std::nullopt;
    out.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2)
    {
        const int hi = HexValue(text[i]);
        const int lo = HexValue(text[i + 1]);
        if (hi < 0 || lo < 0)
            return std::nullopt;
        out.push_back(static_cast<std::uint8_t>(hi * 16 + lo));
    }
    return out;
}

} // namespace

std::vector<std::string_view> SplitAt(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (true)
    {
        const std::size_t pos = text.find(separator, start);
        if (pos == std::string_view::npos)
        {
            parts.push_back(text.substr(start));
            return parts;
        }
        parts.push_back(text.substr(start, pos - start));
        start = pos + 1;
    }
}

bool ParseValues(std::string_view text, std::vector<RegistryNamedValue>& values)
{
    if (text.empty() || text.back() != '\n')
        return false;
    text.remove_suffix(1);
    const auto lines = SplitAt(text, '\n');
    if (lines.size() < 2 || lines.front() != kHeader)
        return false;
    for (std::size_t i = 1; i + 1 < lines.size(); ++i)
    {
        const auto fields = SplitAt(lines[i], '\t');
        if (fields.size() != 3)
            return false;
        auto name = DecodeValueName(fields[0]);
        auto type = ParseType(fields[1]);
        auto data = ParseHex(fields[2]);
        if (!name || !type || !data)
            return false;
        values.push_back({std::move(*name), RegistryValue{*type, std::move(*data)}});
    }
    const auto trailer = SplitAt(lines.back(), '\t');
    return trailer.size() == 2 && trailer[0] == "end" &&
           trailer[1] == std::to_string(values.size());
}

std::string SerialiseValues(const std::vector<RegistryNamedValue>& values)
{
    std::string out(kHeader);
    out += '\n';
    for (const auto& [name, value] : values)
    {
        out += EncodeValueName(name);
        out += '\t';
        out += TypeName(value.type);
        out += '\t';
        if (value.data.empty())
            out += '-';
        for (const std::uint8_t byte : value.data)
        {
            out += kHexDigits[byte >> 4];
            out += kHexDigits[byte & 0xF];
        }
        out += '\n';
    }
    out += "end\t" + std::to_string(values.size()) + "\n";
    return out;
}

} // namespace shared::platform::registryformat
