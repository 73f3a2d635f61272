#pragma once

// The identifier of every persistent item: an unsigned 64-bit value seen as a high and a low
// 32-bit half. The high half conventionally names the issuing collection and the low half a
// time stamp; the class itself gives neither a meaning.
//
// Persisted as eight bytes: the high half, then the low half, each little-endian. This is not
// the little-endian image of the 64-bit number; files written by the application depend on it.

#include <cstdint>
#include <functional>
#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class CArchive;

class SHARED_API Cint64 : public CObject
{
public:
    Cint64() = default;
    Cint64(unsigned int high, unsigned int low);
    Cint64(__int64 value);
    // Reads the text form: right-aligned hexadecimal, the last eight digits being the low
    // half (see Parse).
    Cint64(const CString& text);
    Cint64(const Cint64& other);
    Cint64& operator=(const Cint64& other);
    ~Cint64() override;

    // The whole value, the same bits seen as signed.
    __int64 GetNumber() const;
    unsigned int GetHighPart() const { return m_high; }
    unsigned int GetLowPart() const { return m_low; }
    void SetHighPart(unsigned int high) { m_high = high; }

    // Sixteen upper-case hexadecimal digits, high half first.
    CString GetFormattedString() const;

    // Add one to the full 64-bit value. Neither form returns a value: the postfix form gives
    // back no old value, and callers use both as statements only.
    void operator++();
    void operator++(int);

    // Writes or reads the eight-byte form, as the archive's direction says.
    void Serialize(CArchive& ar) override;

private:
    std::uint64_t Value() const { return (static_cast<std::uint64_t>(m_high) << 32) | m_low; }
    void SetValue(std::uint64_t value);

    unsigned int m_low = 0;
    unsigned int m_high = 0;
};

// Unsigned 64-bit ordering: high halves first, then low halves.
SHARED_API bool operator==(const Cint64& a, const Cint64& b);
SHARED_API bool operator!=(const Cint64& a, const Cint64& b);
SHARED_API bool operator<(const Cint64& a, const Cint64& b);
SHARED_API bool operator<=(const Cint64& a, const Cint64& b);
SHARED_API bool operator>(const Cint64& a, const Cint64& b);
SHARED_API bool operator>=(const Cint64& a, const Cint64& b);

// Both call Serialize, so the archive's mode decides the direction whichever is written: an
// output operator on a loading archive reads into the value.
SHARED_API CArchive& operator<<(CArchive& ar, Cint64& value);
SHARED_API CArchive& operator>>(CArchive& ar, Cint64& value);

// Lets identifiers key the standard library's hashed containers.
template <> struct std::hash<Cint64>
{
    std::size_t operator()(const Cint64& id) const noexcept
    {
        return std::hash<std::uint64_t>{}((static_cast<std::uint64_t>(id.GetHighPart()) << 32) |
                                          id.GetLowPart());
    }
};
