// Strings: the length prefixes and the 8-bit and UTF-16 texts behind them, and text lines.
#include <algorithm>
#include <shared/archive/CArchive.h>
#include <string>
#include <utility>
#include <vector>

namespace
{

// Long strings are read in pieces, so a corrupt length fails at the end of the data instead of
// allocating what the length claims.
constexpr size_t nStringChunk = 64 * 1024;

// Windows-1252, the 8-bit code page of the Western-European installations the files come from,
// for the UTF-16 code units 0x80 to 0x9F's replacements.
char NarrowFromUtf16(unsigned unit)
{
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF))
    {
        return static_cast<char>(unit);
    }
    static constexpr struct
    {
        unsigned short wide;
        unsigned char narrow;
    } cp1252[] = {
        {0x20AC, 0x80}, {0x0081, 0x81}, {0x201A, 0x82}, {0x0192, 0x83}, {0x201E, 0x84},
        {0x2026, 0x85}, {0x2020, 0x86}, {0x2021, 0x87}, {0x02C6, 0x88}, {0x2030, 0x89},
        {0x0160, 0x8A}, {0x2039, 0x8B}, {0x0152, 0x8C}, {0x008D, 0x8D}, {0x017D, 0x8E},
        {0x008F, 0x8F}, {0x0090, 0x90}, {0x2018, 0x91}, {0x2019, 0x92}, {0x201C, 0x93},
        {0x201D, 0x94}, {0x2022, 0x95}, {0x2013, 0x96}, {0x2014, 0x97}, {0x02DC, 0x98},
        {0x2122, 0x99}, {0x0161, 0x9A}, {0x203A, 0x9B}, {0x0153, 0x9C}, {0x009D, 0x9D},
        {0x017E, 0x9E}, {0x0178, 0x9F},
    };
    for (const auto& entry : cp1252)
    {
        if (entry.wide == unit)
        {
            return static_cast<char>(entry.narrow);
        }
    }
    return '?';
}

} // namespace

UINT_PTR AFXAPI AfxReadStringLength(CArchive& ar, int& nCharSize)
{
    nCharSize = 1;
    BYTE bLength = 0;
    WORD wLength = 0;
    ar >> bLength;
    if (bLength < 0xFF)
    {
        return bLength;
    }
    ar >> wLength;
    if (wLength == 0xFFFE)
    {
        // UTF-16 text follows, with a length prefix of its own.
        nCharSize = 2;
        ar >> bLength;
        if (bLength < 0xFF)
        {
            return bLength;
        }
        ar >> wLength;
    }
    if (wLength < 0xFFFF)
    {
        return wLength;
    }
    DWORD dwLength = 0;
    ar >> dwLength;
    if (dwLength < 0xFFFFFFFFu)
    {
        return dwLength;
    }
    ULONGLONG qwLength = 0;
    ar >> qwLength;
    return static_cast<UINT_PTR>(qwLength);
}

void AFXAPI AfxWriteStringLength(CArchive& ar, UINT_PTR nLength, BOOL bUnicode)
{
    if (bUnicode)
    {
        ar << static_cast<BYTE>(0xFF) << static_cast<WORD>(0xFFFE);
    }
    if (nLength < 0xFF)
    {
        ar << static_cast<BYTE>(nLength);
        return;
    }
    ar << static_cast<BYTE>(0xFF);
    if (nLength < 0xFFFE)
    {
        ar << static_cast<WORD>(nLength);
        return;
    }
    ar << static_cast<WORD>(0xFFFF);
    if (nLength < 0xFFFFFFFFu)
    {
        ar << static_cast<DWORD>(nLength);
        return;
    }
    ar << static_cast<DWORD>(0xFFFFFFFFu) << static_cast<ULONGLONG>(nLength);
}

CArchive& CArchive::operator<<(const CString& str)
{
    const auto length = static_cast<UINT_PTR>(str.GetLength());
    AfxWriteStringLength(*this, length, FALSE);
    WriteBytes(str.GetString(), length);
    return *this;
}

CArchive& CArchive::operator>>(CString& str)
{
    int nCharSize = 1;
    const UINT_PTR length = AfxReadStringLength(*this, nCharSize);
    if (nCharSize == 1 && length <= nStringChunk)
    {
        // Read straight into the string's own storage: one allocation at most, none for short
        // texts. The target changes only once the whole text has been read.
        CString read;
        ReadBytes(read.GetBufferSetLength(static_cast<int>(length)), length);
        str = std::move(read);
        return *this;
    }
    std::string text;
    if (nCharSize == 1)
    {
        for (UINT_PTR done = 0; done < length;)
        {
            const size_t take = std::min<UINT_PTR>(length - done, nStringChunk);
            const size_t old = text.size();
            text.resize(old + take);
            ReadBytes(text.data() + old, take);
            done += take;
        }
    }
    else
    {
        std::vector<BYTE> units;
        for (UINT_PTR done = 0; done < length;)
        {
            const size_t take = std::min<UINT_PTR>(length - done, nStringChunk);
            units.resize(take * 2);
            ReadBytes(units.data(), units.size());
            for (size_t i = 0; i < take; ++i)
            {
                const unsigned unit = units[2 * i] | (static_cast<unsigned>(units[2 * i + 1]) << 8);
                // A surrogate pair is one character beyond the code page: one '?', not two.
                if (unit >= 0xDC00 && unit <= 0xDFFF && !text.empty() && i > 0)
                {
                    const unsigned previous =
                        units[2 * i - 2] | (static_cast<unsigned>(units[2 * i - 1]) << 8);
                    if (previous >= 0xD800 && previous <= 0xDBFF)
                    {
                        continue;
                    }
                }
                text.push_back(NarrowFromUtf16(unit));
            }
            done += take;
        }
    }
    str = CString(text.data(), static_cast<int>(text.size()));
    return *this;
}

BOOL CArchive::ReadString(CString& rString)
{
    std::string line;
    bool any = false;
    BYTE ch = 0;
    while (Read(&ch, 1) == 1)
    {
        any = true;
        if (ch == '\n')
        {
            break;
        }
        if (ch == '\r')
        {
            // A line feed after the carriage return belongs to the same line ending.
            BYTE next = 0;
            if (Read(&next, 1) == 1 && next != '\n')
            {
                --m_bufCur; // the byte just read is still in the buffer
            }
            break;
        }
        line.push_back(static_cast<char>(ch));
    }
    rString = CString(line.data(), static_cast<int>(line.size()));
    return any ? TRUE : FALSE;
}

LPTSTR CArchive::ReadString(LPTSTR lpsz, UINT nMax)
{
    if (lpsz == nullptr)
    {
        return nullptr;
    }
    UINT count = 0;
    bool any = false;
    BYTE ch = 0;
    while (count < nMax && Read(&ch, 1) == 1)
    {
        any = true;
        if (ch == '\n')
        {
            break;
        }
        if (ch == '\r')
        {
            BYTE next = 0;
            if (Read(&next, 1) == 1 && next != '\n')
            {
                --m_bufCur;
            }
            break;
        }
        lpsz[count++] = static_cast<char>(ch);
    }
    lpsz[count] = '\0';
    return any ? lpsz : nullptr;
}

void CArchive::WriteString(LPCTSTR lpsz)
{
    if (lpsz != nullptr)
    {
        WriteBytes(lpsz, std::strlen(lpsz));
    }
}
