#pragma once

// The framework's 8-bit string with MFC's interface (CStringT<char> as an ordinary class).
//
// Storage is a std::string, so short texts live inside the object without a heap allocation and
// the text is always NUL-terminated, which is what `operator const char*` hands out.
//
// Index and count arguments are clamped the way MFC clamps them (Mid, Left, Right, Insert,
// Delete) instead of asserting; out-of-range single-character access reads as '\0' and writes
// are ignored. Nothing here throws except std::bad_alloc.
//
// Format and AppendFormat take printf-style formats including MFC's size prefixes "I64", "I32"
// and "I" (so "%016I64X" works). They are templates, which buys two things: a CString argument for
// "%s" is passed as its text, as MFC code is used to doing; and the size prefix of each integer or
// floating-point conversion is set from the type actually passed, so formats written for Windows'
// 32-bit long ("%ld" with a LONG or DWORD, "%08lx") and counts that are 64-bit here ("%d" with an
// INT_PTR) print correctly instead of reading the wrong number of bytes. The conversion letter
// itself is never changed.

#include <compare>
#include <cstdarg>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

class SHARED_API CString
{
public:
    using XCHAR = char;
    using PCXSTR = const char*;
    using PXSTR = char*;

    CString() noexcept = default;
    CString(const CString&) = default;
    CString(CString&&) noexcept = default;
    // A null pointer gives the empty string.
    CString(const char* psz);
    CString(const unsigned char* psz);
    // nLength characters of pch, NULs included; a negative length or a null pointer gives "".
    CString(const char* pch, int nLength);
    explicit CString(char ch, int nRepeat = 1);
    explicit CString(std::string_view text);
    ~CString() = default;

    CString& operator=(const CString&) = default;
    CString& operator=(CString&&) noexcept = default;
    CString& operator=(const char* psz);
    CString& operator=(const unsigned char* psz);
    CString& operator=(char ch);

    // --- Length and raw access -------------------------------------------------------------
    int GetLength() const noexcept { return static_cast<int>(m_str.size()); }
    bool IsEmpty() const noexcept { return m_str.empty(); }
    void Empty() noexcept { m_str.clear(); }
    PCXSTR GetString() const noexcept { return m_str.c_str(); }
    operator PCXSTR() const noexcept { return m_str.c_str(); }

    char GetAt(int iChar) const noexcept;
    void SetAt(int iChar, char ch) noexcept;
    char operator[](int iChar) const noexcept { return GetAt(iChar); }

    // --- Buffer access ------------------------------------------------------------------------
    // The buffer holds at least nMinBufferLength characters plus a terminator; the current text
    // is kept. After writing into it call ReleaseBuffer: -1 takes the length up to the first NUL.
    PXSTR GetBuffer(int nMinBufferLength);
    PXSTR GetBuffer() { return m_str.data(); }
    PXSTR GetBufferSetLength(int nLength);
    void ReleaseBuffer(int nNewLength = -1);
    void ReleaseBufferSetLength(int nNewLength) { ReleaseBuffer(nNewLength); }
    PXSTR LockBuffer() { return m_str.data(); }
    void UnlockBuffer() noexcept {}
    void Preallocate(int nLength);
    void FreeExtra() { m_str.shrink_to_fit(); }
    int GetAllocLength() const noexcept { return static_cast<int>(m_str.capacity()); }
    void Truncate(int nNewLength);

    // --- Appending and concatenation -----------------------------------------------------------
    void Append(const char* psz);
    void Append(const char* pch, int nLength);
    void Append(const CString& str) { m_str += str.m_str; }
    void AppendChar(char ch) { m_str += ch; }

    CString& operator+=(const CString& str)
    {
        m_str += str.m_str;
        return *this;
    }
    CString& operator+=(const char* psz)
    {
        Append(psz);
        return *this;
    }
    CString& operator+=(char ch)
    {
        m_str += ch;
        return *this;
    }

    friend SHARED_API CString operator+(const CString& a, const CString& b);
    friend SHARED_API CString operator+(const CString& a, const char* b);
    friend SHARED_API CString operator+(const char* a, const CString& b);
    friend SHARED_API CString operator+(const CString& a, char b);
    friend SHARED_API CString operator+(char a, const CString& b);

    // --- Comparison (byte-wise, as strcmp) -----------------------------------------------------
    int Compare(const char* psz) const noexcept;
    int CompareNoCase(const char* psz) const noexcept;
    // Locale collation (strcoll); the C locale makes it equal to Compare.
    int Collate(const char* psz) const noexcept;
    int CollateNoCase(const char* psz) const noexcept;

    friend bool operator==(const CString& a, const CString& b) noexcept
    {
        return a.m_str == b.m_str;
    }
    friend bool operator==(const CString& a, const char* b) noexcept { return a.Compare(b) == 0; }
    friend bool operator==(const CString& a, char b) noexcept
    {
        return a.m_str.size() == 1 && a.m_str[0] == b;
    }
    friend std::strong_ordering operator<=>(const CString& a, const CString& b) noexcept
    {
        return a.Compare(b.m_str.c_str()) <=> 0;
    }
    friend std::strong_ordering operator<=>(const CString& a, const char* b) noexcept
    {
        return a.Compare(b) <=> 0;
    }

    // --- Extraction ------------------------------------------------------------------------------
    CString Mid(int iFirst, int nCount) const;
    CString Mid(int iFirst) const;
    CString Left(int nCount) const;
    CString Right(int nCount) const;
    // The leading run of characters that are (SpanIncluding) or are not (SpanExcluding) in the set.
    CString SpanIncluding(const char* pszCharSet) const;
    CString SpanExcluding(const char* pszCharSet) const;
    // MFC's tokenizer: skips leading delimiters from iStart, returns the next token and moves
    // iStart past it; at the end it returns "" and sets iStart to -1.
    CString Tokenize(const char* pszTokens, int& iStart) const;

    // --- Searching (indexes from 0, -1 when absent) ---------------------------------------------
    int Find(char ch, int iStart = 0) const noexcept;
    int Find(const char* pszSub, int iStart = 0) const noexcept;
    int ReverseFind(char ch) const noexcept;
    int FindOneOf(const char* pszCharSet) const noexcept;

    // --- Modification ----------------------------------------------------------------------------
    CString& MakeUpper();
    CString& MakeLower();
    CString& MakeReverse();
    CString& Trim();
    CString& Trim(char chTarget);
    CString& Trim(const char* pszTargets);
    CString& TrimLeft();
    CString& TrimLeft(char chTarget);
    CString& TrimLeft(const char* pszTargets);
    CString& TrimRight();
    CString& TrimRight(char chTarget);
    CString& TrimRight(const char* pszTargets);
    // Each returns the number of replacements or removals made.
    int Replace(char chOld, char chNew);
    int Replace(const char* pszOld, const char* pszNew);
    int Remove(char chRemove);
    // Both return the new length.
    int Insert(int iIndex, char ch);
    int Insert(int iIndex, const char* psz);
    int Delete(int iIndex, int nCount = 1);

    void SetString(const char* psz);
    void SetString(const char* pch, int nLength);

    // --- Formatting
    // --------------------------------------------------------------------------------
    template <typename... Args> void Format(const char* pszFormat, const Args&... args)
    {
        static constexpr EFormatArg kinds[] = {KindOf<Args>()..., EFormatArg::Other};
        FormatTyped(false, pszFormat, kinds, sizeof...(Args), FormatArg(args)...);
    }
    template <typename... Args> void AppendFormat(const char* pszFormat, const Args&... args)
    {
        static constexpr EFormatArg kinds[] = {KindOf<Args>()..., EFormatArg::Other};
        FormatTyped(true, pszFormat, kinds, sizeof...(Args), FormatArg(args)...);
    }
    void FormatV(const char* pszFormat, va_list args);
    void AppendFormatV(const char* pszFormat, va_list args);

    // The printf engine behind Format, for callers that already hold C varargs.
    void FormatRaw(const char* pszFormat, ...);
    void AppendFormatRaw(const char* pszFormat, ...);

    // Translates MFC's size prefixes in a printf format to the C library's ("I64" -> "ll",
    // "I32" -> "", "I" -> "z"). Exposed for other variadic formatters of the library.
    static std::string TranslateFormat(const char* pszFormat);

    // What kind of value a Format argument is, for choosing the size prefix of its conversion.
    enum class EFormatArg : unsigned char
    {
        Int,        // integers and enumerations of at most the size of int
        LongLong,   // 8-byte integers
        Double,     // float (promoted) and double
        LongDouble, // long double
        Other       // pointers, strings and anything else: the format is trusted
    };
    template <typename T> static constexpr EFormatArg KindOf() noexcept
    {
        using U = std::remove_cv_t<std::remove_reference_t<T>>;
        if constexpr (std::is_enum_v<U> || std::is_integral_v<U>)
        {
            return sizeof(U) <= sizeof(int) ? EFormatArg::Int : EFormatArg::LongLong;
        }
        else if constexpr (std::is_same_v<U, long double>)
        {
            return EFormatArg::LongDouble;
        }
        else if constexpr (std::is_floating_point_v<U>)
        {
            return EFormatArg::Double;
        }
        else
        {
            return EFormatArg::Other;
        }
    }
    // TranslateFormat, with each numeric conversion's size prefix made to fit its argument.
    static std::string TranslateFormat(const char* pszFormat, const EFormatArg* pKinds,
                                       std::size_t nKinds);
    // The engine of the Format templates: C varargs described by pKinds.
    void FormatTyped(bool bAppend, const char* pszFormat, const EFormatArg* pKinds,
                     std::size_t nKinds, ...);

    // A view of the text, for modern callers.
    std::string_view View() const noexcept { return m_str; }
    const std::string& StdString() const noexcept { return m_str; }

    // Maps a Format argument to what printf expects: CStrings become their text, everything else
    // passes through. Class types other than CString cannot go through "..." and are refused.
    static const char* FormatArg(const CString& s) noexcept { return s.GetString(); }
    template <typename T>
    requires(!std::is_base_of_v<CString, T>) static const T& FormatArg(const T& value) noexcept
    {
        static_assert(std::is_trivially_copyable_v<T> && !std::is_class_v<T>,
                      "Format arguments must be scalars, pointers or CString");
        return value;
    }

private:
    std::string m_str;
};

SHARED_API std::ostream& operator<<(std::ostream& os, const CString& s);

template <> struct std::hash<CString>
{
    std::size_t operator()(const CString& s) const noexcept
    {
        return std::hash<std::string_view>{}(s.View());
    }
};
