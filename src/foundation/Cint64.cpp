#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <shared/archive/CArchive.h>
#include <shared/foundation/Cint64.h>

namespace
{

// The C library's strtoul with a 32-bit unsigned long, as on Windows: leading blanks, an
// optional sign and 0x prefix, digits up to the first non-digit; a magnitude beyond 32 bits
// gives 0xFFFFFFFF; a minus sign negates modulo 2^32.
unsigned int ParseHex32(const char* text)
{
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    while (std::isspace(*p))
    {
        ++p;
    }
    bool negative = false;
    if (*p == '+' || *p == '-')
    {
        negative = *p == '-';
        ++p;
    }
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && std::isxdigit(p[2]))
    {
        p += 2;
    }
    std::uint64_t magnitude = 0;
    bool overflow = false;
    for (; std::isxdigit(*p); ++p)
    {
        const int digit = std::isdigit(*p) ? *p - '0' : std::toupper(*p) - 'A' + 10;
        magnitude = magnitude * 16 + static_cast<unsigned>(digit);
        if (magnitude > 0xFFFFFFFFu)
        {
            overflow = true;
            magnitude = 0xFFFFFFFFu; // keeps the loop from wrapping on long inputs
        }
    }
    if (overflow)
    {
        return 0xFFFFFFFFu;
    }
    const auto value = static_cast<unsigned int>(magnitude);
    return negative ? 0u - value : value;
}

} // namespace

Cint64::Cint64(unsigned int high, unsigned int low) : m_low(low), m_high(high) {}

Cint64::Cint64(__int64 value)
{
    SetValue(static_cast<std::uint64_t>(value));
}

Cint64::Cint64(const CString& text)
{
    CString trimmed(text);
    trimmed.Trim();
    const int length = trimmed.GetLength();
    const CString lowText = length > 8 ? trimmed.Right(8) : trimmed;
    const CString highText = length > 8 ? trimmed.Left(length - 8) : CString();
    m_high = ParseHex32(highText);
    m_low = ParseHex32(lowText);
}

Cint64::Cint64(const Cint64& other) : CObject(), m_low(other.m_low), m_high(other.m_high) {}

Cint64& Cint64::operator=(const Cint64& other)
{
    m_low = other.m_low;
    m_high = other.m_high;
    return *this;
}

Cint64::~Cint64() = default;

void Cint64::SetValue(std::uint64_t value)
{
    m_high = static_cast<unsigned int>(value >> 32);
    m_low = static_cast<unsigned int>(value & 0xFFFFFFFFu);
}

__int64 Cint64::GetNumber() const
{
    return static_cast<__int64>(Value());
}

CString Cint64::GetFormattedString() const
{
    char text[17];
    std::snprintf(text, sizeof text, "%08X%08X", m_high, m_low);
    return CString(text);
}

void Cint64::operator++()
{
    SetValue(Value() + 1);
}

void Cint64::operator++(int)
{
    SetValue(Value() + 1);
}

void Cint64::Serialize(CArchive& ar)
{
    if (ar.IsStoring())
    {
        ar << static_cast<DWORD>(m_high) << static_cast<DWORD>(m_low);
    }
    else
    {
        DWORD high = 0;
        DWORD low = 0;
        ar >> high >> low;
        m_high = high;
        m_low = low;
    }
}

bool operator==(const Cint64& a, const Cint64& b)
{
    return a.GetHighPart() == b.GetHighPart() && a.GetLowPart() == b.GetLowPart();
}

bool operator!=(const Cint64& a, const Cint64& b)
{
    return !(a == b);
}

bool operator<(const Cint64& a, const Cint64& b)
{
    if (a.GetHighPart() != b.GetHighPart())
    {
        return a.GetHighPart() < b.GetHighPart();
    }
    return a.GetLowPart() < b.GetLowPart();
}

bool operator<=(const Cint64& a, const Cint64& b)
{
    return !(b < a);
}

bool operator>(const Cint64& a, const Cint64& b)
{
    return b < a;
}

bool operator>=(const Cint64& a, const Cint64& b)
{
    return !(a < b);
}

CArchive& operator<<(CArchive& ar, Cint64& value)
{
    value.Serialize(ar);
    return ar;
}

CArchive& operator>>(CArchive& ar, Cint64& value)
{
    value.Serialize(ar);
    return ar;
}
