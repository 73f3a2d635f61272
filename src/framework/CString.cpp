#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <shared/framework/CString.h>

namespace
{

bool IsSpace(char ch) noexcept
{
    return std::isspace(static_cast<unsigned char>(ch)) != 0;
}

char ToLower(char ch) noexcept
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
}

char ToUpper(char ch) noexcept
{
    return static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
}

// Lengths are int in the interface; texts longer than INT_MAX are not supported by it anyway.
int ClampToInt(std::size_t n) noexcept
{
    return n > static_cast<std::size_t>(INT_MAX) ? INT_MAX : static_cast<int>(n);
}

std::string_view Targets(const char* pszTargets) noexcept
{
    return pszTargets == nullptr ? std::string_view() : std::string_view(pszTargets);
}

// Appends the vsnprintf output of an already translated format to out.
void AppendPrintf(std::string& out, const char* pszFormat, va_list args)
{
    char stackBuffer[512];
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(stackBuffer, sizeof stackBuffer, pszFormat, copy);
    va_end(copy);
    if (needed < 0)
    {
        return; // an encoding error leaves nothing to append
    }
    if (static_cast<std::size_t>(needed) < sizeof stackBuffer)
    {
        out.append(stackBuffer, static_cast<std::size_t>(needed));
        return;
    }
    std::string big(static_cast<std::size_t>(needed), '\0');
    va_copy(copy, args);
    std::vsnprintf(big.data(), big.size() + 1, pszFormat, copy);
    va_end(copy);
    out += big;
}

std::string FormatToString(const char* pszFormat, va_list args)
{
    std::string result;
    if (pszFormat != nullptr)
    {
        const std::string translated = CString::TranslateFormat(pszFormat);
        AppendPrintf(result, translated.c_str(), args);
    }
    return result;
}

} // namespace

// --- Construction and assignment -----------------------------------------------------------------

CString::CString(const char* psz) : m_str(psz == nullptr ? "" : psz) {}

CString::CString(const unsigned char* psz) : CString(reinterpret_cast<const char*>(psz)) {}

CString::CString(const char* pch, int nLength)
{
    if (pch != nullptr && nLength > 0)
    {
        m_str.assign(pch, static_cast<std::size_t>(nLength));
    }
}

CString::CString(char ch, int nRepeat)
{
    if (nRepeat > 0)
    {
        m_str.assign(static_cast<std::size_t>(nRepeat), ch);
    }
}

CString::CString(std::string_view text) : m_str(text) {}

CString& CString::operator=(const char* psz)
{
    SetString(psz);
    return *this;
}

CString& CString::operator=(const unsigned char* psz)
{
    SetString(reinterpret_cast<const char*>(psz));
    return *this;
}

CString& CString::operator=(char ch)
{
    m_str.assign(1, ch);
    return *this;
}

void CString::SetString(const char* psz)
{
    if (psz == nullptr)
    {
        m_str.clear();
    }
    else
    {
        m_str.assign(psz); // std::string handles psz pointing into m_str itself
    }
}

void CString::SetString(const char* pch, int nLength)
{
    if (pch == nullptr || nLength <= 0)
    {
        m_str.clear();
    }
    else
    {
        m_str.assign(pch, static_cast<std::size_t>(nLength));
    }
}

// --- Character access ----------------------------------------------------------------------------

char CString::GetAt(int iChar) const noexcept
{
    if (iChar < 0 || iChar >= GetLength())
    {
        return '\0';
    }
    return m_str[static_cast<std::size_t>(iChar)];
}

void CString::SetAt(int iChar, char ch) noexcept
{
    if (iChar >= 0 && iChar < GetLength())
    {
        m_str[static_cast<std::size_t>(iChar)] = ch;
    }
}

// --- Buffer
// ----------------------------------------------------------------------------------------

CString::PXSTR CString::GetBuffer(int nMinBufferLength)
{
    if (nMinBufferLength > GetLength())
    {
        m_str.resize(static_cast<std::size_t>(nMinBufferLength), '\0');
    }
    return m_str.data();
}

CString::PXSTR CString::GetBufferSetLength(int nLength)
{
    m_str.resize(static_cast<std::size_t>(std::max(nLength, 0)), '\0');
    return m_str.data();
}

void CString::ReleaseBuffer(int nNewLength)
{
    if (nNewLength < 0)
    {
        // std::string keeps a NUL at data()[size()], so strnlen cannot run past the buffer.
        m_str.resize(::strnlen(m_str.data(), m_str.size()));
    }
    else if (static_cast<std::size_t>(nNewLength) < m_str.size())
    {
        m_str.resize(static_cast<std::size_t>(nNewLength));
    }
}

void CString::Preallocate(int nLength)
{
    if (nLength > 0)
    {
        m_str.reserve(static_cast<std::size_t>(nLength));
    }
}

void CString::Truncate(int nNewLength)
{
    if (nNewLength >= 0 && nNewLength < GetLength())
    {
        m_str.resize(static_cast<std::size_t>(nNewLength));
    }
}

// --- Appending -----------------------------------------------------------------------------------

void CString::Append(const char* psz)
{
    if (psz != nullptr)
    {
        m_str.append(psz);
    }
}

void CString::Append(const char* pch, int nLength)
{
    if (pch != nullptr && nLength > 0)
    {
        m_str.append(pch, static_cast<std::size_t>(nLength));
    }
}

CString operator+(const CString& a, const CString& b)
{
    CString result(a);
    result.m_str += b.m_str;
    return result;
}

CString operator+(const CString& a, const char* b)
{
    CString result(a);
    result.Append(b);
    return result;
}

CString operator+(const char* a, const CString& b)
{
    CString result(a);
    result.m_str += b.m_str;
    return result;
}

CString operator+(const CString& a, char b)
{
    CString result(a);
    result.m_str += b;
    return result;
}

CString operator+(char a, const CString& b)
{
    CString result(a);
    result.m_str += b.m_str;
    return result;
}

// --- Comparison
// -----------------------------------------------------------------------------------

int CString::Compare(const char* psz) const noexcept
{
    return std::strcmp(m_str.c_str(), psz == nullptr ? "" : psz);
}

int CString::CompareNoCase(const char* psz) const noexcept
{
    const unsigned char* a = reinterpret_cast<const unsigned char*>(m_str.c_str());
    const unsigned char* b = reinterpret_cast<const unsigned char*>(psz == nullptr ? "" : psz);
    for (;; ++a, ++b)
    {
        const int ca = std::tolower(*a);
        const int cb = std::tolower(*b);
        if (ca != cb || ca == 0)
        {
            return ca - cb;
        }
    }
}

int CString::Collate(const char* psz) const noexcept
{
    return std::strcoll(m_str.c_str(), psz == nullptr ? "" : psz);
}

int CString::CollateNoCase(const char* psz) const noexcept
{
    CString a(*this);
    CString b(psz);
    a.MakeLower();
    b.MakeLower();
    return std::strcoll(a.GetString(), b.GetString());
}

// --- Extraction
// -----------------------------------------------------------------------------------

CString CString::Mid(int iFirst, int nCount) const
{
    const long long length = GetLength();
    long long first = std::max(iFirst, 0);
    long long count = std::max(nCount, 0);
    if (first > length)
    {
        return CString();
    }
    count = std::min(count, length - first);
    return CString(std::string_view(m_str).substr(static_cast<std::size_t>(first),
                                                  static_cast<std::size_t>(count)));
}

CString CString::Mid(int iFirst) const
{
    return Mid(iFirst, GetLength() - std::max(iFirst, 0));
}

CString CString::Left(int nCount) const
{
    return Mid(0, nCount);
}

CString CString::Right(int nCount) const
{
    const int count = std::clamp(nCount, 0, GetLength());
    return Mid(GetLength() - count, count);
}

CString CString::SpanIncluding(const char* pszCharSet) const
{
    const std::size_t n = m_str.find_first_not_of(Targets(pszCharSet));
    return Left(n == std::string::npos ? GetLength() : ClampToInt(n));
}

CString CString::SpanExcluding(const char* pszCharSet) const
{
    const std::string_view set = Targets(pszCharSet);
    const std::size_t n = set.empty() ? std::string::npos : m_str.find_first_of(set);
    return Left(n == std::string::npos ? GetLength() : ClampToInt(n));
}

CString CString::Tokenize(const char* pszTokens, int& iStart) const
{
    if (iStart >= 0)
    {
        const std::string_view tokens = Targets(pszTokens);
        if (tokens.empty())
        {
            // MFC returns the rest of the text without moving iStart; kept so that callers'
            // loops behave as they do there.
            if (iStart < GetLength())
            {
                return Mid(iStart);
            }
        }
        else if (iStart < GetLength())
        {
            const std::size_t from =
                m_str.find_first_not_of(tokens, static_cast<std::size_t>(iStart));
            if (from != std::string::npos)
            {
                std::size_t until = m_str.find_first_of(tokens, from);
                if (until == std::string::npos)
                {
                    until = m_str.size();
                }
                iStart = ClampToInt(until + 1);
                return Mid(ClampToInt(from), ClampToInt(until - from));
            }
        }
    }
    iStart = -1;
    return CString();
}

// --- Searching
// -------------------------------------------------------------------------------------

int CString::Find(char ch, int iStart) const noexcept
{
    if (iStart < 0 || iStart >= GetLength())
    {
        return -1;
    }
    const std::size_t at = m_str.find(ch, static_cast<std::size_t>(iStart));
    return at == std::string::npos ? -1 : ClampToInt(at);
}

int CString::Find(const char* pszSub, int iStart) const noexcept
{
    if (pszSub == nullptr || iStart < 0 || iStart > GetLength())
    {
        return -1;
    }
    const std::size_t at = m_str.find(pszSub, static_cast<std::size_t>(iStart));
    return at == std::string::npos ? -1 : ClampToInt(at);
}

int CString::ReverseFind(char ch) const noexcept
{
    const std::size_t at = m_str.rfind(ch);
    return at == std::string::npos ? -1 : ClampToInt(at);
}

int CString::FindOneOf(const char* pszCharSet) const noexcept
{
    const std::string_view set = Targets(pszCharSet);
    if (set.empty())
    {
        return -1;
    }
    const std::size_t at = m_str.find_first_of(set);
    return at == std::string::npos ? -1 : ClampToInt(at);
}

// --- Modification
// -----------------------------------------------------------------------------------

CString& CString::MakeUpper()
{
    std::transform(m_str.begin(), m_str.end(), m_str.begin(), ToUpper);
    return *this;
}

CString& CString::MakeLower()
{
    std::transform(m_str.begin(), m_str.end(), m_str.begin(), ToLower);
    return *this;
}

CString& CString::MakeReverse()
{
    std::reverse(m_str.begin(), m_str.end());
    return *this;
}

CString& CString::TrimLeft()
{
    const auto first = std::find_if_not(m_str.begin(), m_str.end(), IsSpace);
    m_str.erase(m_str.begin(), first);
    return *this;
}

CString& CString::TrimLeft(char chTarget)
{
    m_str.erase(0, std::min(m_str.find_first_not_of(chTarget), m_str.size()));
    return *this;
}

CString& CString::TrimLeft(const char* pszTargets)
{
    const std::string_view targets = Targets(pszTargets);
    if (!targets.empty())
    {
        m_str.erase(0, std::min(m_str.find_first_not_of(targets), m_str.size()));
    }
    return *this;
}

CString& CString::TrimRight()
{
    const auto last = std::find_if_not(m_str.rbegin(), m_str.rend(), IsSpace);
    m_str.erase(last.base(), m_str.end());
    return *this;
}

CString& CString::TrimRight(char chTarget)
{
    const std::size_t last = m_str.find_last_not_of(chTarget);
    m_str.erase(last == std::string::npos ? 0 : last + 1);
    return *this;
}

CString& CString::TrimRight(const char* pszTargets)
{
    const std::string_view targets = Targets(pszTargets);
    if (!targets.empty())
    {
        const std::size_t last = m_str.find_last_not_of(targets);
        m_str.erase(last == std::string::npos ? 0 : last + 1);
    }
    return *this;
}

CString& CString::Trim()
{
    return TrimRight().TrimLeft();
}

CString& CString::Trim(char chTarget)
{
    return TrimRight(chTarget).TrimLeft(chTarget);
}

CString& CString::Trim(const char* pszTargets)
{
    return TrimRight(pszTargets).TrimLeft(pszTargets);
}

int CString::Replace(char chOld, char chNew)
{
    int count = 0;
    if (chOld != chNew)
    {
        for (char& ch : m_str)
        {
            if (ch == chOld)
            {
                ch = chNew;
                ++count;
            }
        }
    }
    return count;
}

int CString::Replace(const char* pszOld, const char* pszNew)
{
    const std::string_view from = Targets(pszOld);
    if (from.empty())
    {
        return 0;
    }
    const std::string_view to = Targets(pszNew);
    std::string result;
    int count = 0;
    std::size_t pos = 0;
    for (std::size_t hit = m_str.find(from); hit != std::string::npos; hit = m_str.find(from, pos))
    {
        result.append(m_str, pos, hit - pos);
        result.append(to);
        pos = hit + from.size();
        ++count;
    }
    if (count > 0)
    {
        result.append(m_str, pos);
        m_str = std::move(result);
    }
    return count;
}

int CString::Remove(char chRemove)
{
    const std::size_t before = m_str.size();
    m_str.erase(std::remove(m_str.begin(), m_str.end(), chRemove), m_str.end());
    return ClampToInt(before - m_str.size());
}

int CString::Insert(int iIndex, char ch)
{
    const int at = std::clamp(iIndex, 0, GetLength());
    m_str.insert(static_cast<std::size_t>(at), 1, ch);
    return GetLength();
}

int CString::Insert(int iIndex, const char* psz)
{
    if (psz != nullptr)
    {
        const int at = std::clamp(iIndex, 0, GetLength());
        m_str.insert(static_cast<std::size_t>(at), std::string(psz));
    }
    return GetLength();
}

int CString::Delete(int iIndex, int nCount)
{
    const long long index = std::max(iIndex, 0);
    const long long count = std::min<long long>(std::max(nCount, 0), GetLength() - index);
    if (count > 0)
    {
        m_str.erase(static_cast<std::size_t>(index), static_cast<std::size_t>(count));
    }
    return GetLength();
}

// --- Formatting
// ---------------------------------------------------------------------------------------

std::string CString::TranslateFormat(const char* pszFormat)
{
    return TranslateFormat(pszFormat, nullptr, 0);
}

std::string CString::TranslateFormat(const char* pszFormat, const EFormatArg* pKinds,
                                     std::size_t nKinds)
{
    std::string out;
    if (pszFormat == nullptr)
    {
        return out;
    }
    const std::string_view fmt(pszFormat);
    // Positional arguments ("%1$d") break the one-conversion-one-argument walk; such formats keep
    // their size prefixes as written.
    const bool typed = pKinds != nullptr && fmt.find('$') == std::string_view::npos;
    out.reserve(fmt.size() + 8);
    std::size_t arg = 0;
    const auto kindAt = [&](std::size_t index)
    { return typed && index < nKinds ? pKinds[index] : EFormatArg::Other; };

    std::size_t i = 0;
    while (i < fmt.size())
    {
        const char ch = fmt[i++];
        out += ch;
        if (ch != '%')
        {
            continue;
        }
        if (i < fmt.size() && fmt[i] == '%')
        {
            out += fmt[i++];
            continue;
        }
        // Flags, width and precision pass through; a '*' takes an argument of its own.
        while (i < fmt.size() && std::strchr("-+ #0'123456789.*", fmt[i]) != nullptr)
        {
            if (fmt[i] == '*')
            {
                ++arg;
            }
            out += fmt[i++];
        }
        // The size prefix as written, in the C library's spelling.
        std::string prefix;
        if (i < fmt.size() && fmt[i] == 'I')
        {
            const std::string_view rest = fmt.substr(i + 1);
            if (rest.starts_with("64"))
            {
                prefix = "ll";
                i += 3;
            }
            else if (rest.starts_with("32"))
            {
                i += 3;
            }
            else
            {
                prefix = "z";
                i += 1;
            }
        }
        else
        {
            while (i < fmt.size() && std::strchr("hlLqjzt", fmt[i]) != nullptr)
            {
                prefix += fmt[i++];
            }
        }
        if (i >= fmt.size())
        {
            out += prefix;
            break;
        }
        const char conversion = fmt[i];
        const EFormatArg kind = kindAt(arg);
        if (std::strchr("diouxX", conversion) != nullptr)
        {
            if (kind == EFormatArg::Int)
            {
                // Keep a narrowing "h"/"hh": it changes what is printed, not what is read.
                if (prefix != "h" && prefix != "hh")
                {
                    prefix.clear();
                }
            }
            else if (kind == EFormatArg::LongLong)
            {
                prefix = "ll";
            }
        }
        else if (std::strchr("eEfFgGaA", conversion) != nullptr)
        {
            if (kind == EFormatArg::Double)
            {
                prefix.clear();
            }
            else if (kind == EFormatArg::LongDouble)
            {
                prefix = "L";
            }
        }
        else if (conversion == 'c' && kind == EFormatArg::Int)
        {
            prefix.clear(); // 8-bit characters only
        }
        out += prefix;
        out += conversion;
        ++i;
        ++arg;
    }
    return out;
}

void CString::FormatTyped(bool bAppend, const char* pszFormat, const EFormatArg* pKinds,
                          std::size_t nKinds, ...)
{
    std::string result;
    if (pszFormat != nullptr)
    {
        const std::string translated = TranslateFormat(pszFormat, pKinds, nKinds);
        va_list args;
        va_start(args, nKinds);
        AppendPrintf(result, translated.c_str(), args);
        va_end(args);
    }
    if (bAppend)
    {
        m_str += result;
    }
    else
    {
        m_str = std::move(result);
    }
}

void CString::FormatV(const char* pszFormat, va_list args)
{
    m_str = FormatToString(pszFormat, args);
}

void CString::AppendFormatV(const char* pszFormat, va_list args)
{
    // Formatted into a separate buffer first: an argument may point into this very string.
    m_str += FormatToString(pszFormat, args);
}

void CString::FormatRaw(const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    FormatV(pszFormat, args);
    va_end(args);
}

void CString::AppendFormatRaw(const char* pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    AppendFormatV(pszFormat, args);
    va_end(args);
}

std::ostream& operator<<(std::ostream& os, const CString& s)
{
    return os.write(s.GetString(), s.GetLength());
}
