#include <algorithm>
#include <bit>
#include <shared/archive/CArchive.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/COleDateTimeSpan.h>
#include <string>

namespace
{

// The framework's object tags.
constexpr WORD wNullTag = 0x0000;
constexpr WORD wNewClassTag = 0xFFFF;
constexpr WORD wClassTag = 0x8000;
constexpr DWORD dwBigClassTag = 0x80000000u;
constexpr WORD wBigObjectTag = 0x7FFF;
// The last index the framework hands out; one more is badIndex.
constexpr DWORD nMaxMapCount = 0x3FFFFFFEu;
// The framework reads class names into a 64-character buffer, terminator included.
constexpr WORD nMaxClassNameLength = 63;
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

// The address index of a load archive is built only when an object other than the newest few
// is forgotten; until then it is empty and reading an object costs no index entry. Once built
// it holds this key, so that it never looks unbuilt again.
const CObject* const kIndexBuiltKey = nullptr;
constexpr size_t nRecentEntries = 4;

template <typename Index> void IndexLoaded(Index& index, const CObject* pOb, size_t at)
{
    if (!index.empty())
    {
        index[pOb] = static_cast<DWORD>(at);
    }
}

// The position of pOb among the newest entries, or 0. Objects are nearly always forgotten just
// after they are read.
template <typename Array> size_t FindRecent(const Array& entries, const CObject* pOb)
{
    for (size_t i = entries.size(); i-- > 1 && entries.size() - i <= nRecentEntries;)
    {
        if (!entries[i].isClass && entries[i].pObject == pOb)
        {
            return i;
        }
    }
    return 0;
}

} // namespace

CArchive::CArchive(CFile* pFile, UINT nMode, int nBufSize, void* lpBuf)
    : m_pFile(pFile), m_nMode(nMode)
{
    if (pFile != nullptr)
    {
        m_strFileName = pFile->GetFilePath();
    }
    m_bufSize = static_cast<size_t>(std::max(nBufSize, nBufSizeMin));
    if (lpBuf != nullptr && nBufSize >= nBufSizeMin)
    {
        m_bufStart = static_cast<BYTE*>(lpBuf);
    }
    else
    {
        m_ownBuffer.resize(m_bufSize);
        m_bufStart = m_ownBuffer.data();
    }
    m_bufCur = m_bufStart;
    // A store archive fills up to the end; a load archive starts empty.
    m_bufMax = IsLoading() ? m_bufStart : m_bufStart + m_bufSize;
    if (IsLoading())
    {
        m_loadArray.emplace_back(); // index 0: the null object
    }
}

CArchive::~CArchive()
{
    if (m_pFile != nullptr && (m_nMode & bNoFlushOnDelete) == 0)
    {
        try
        {
            Close();
        }
        catch (CException* e)
        {
            e->Delete();
        }
    }
    Abort();
}

void CArchive::Throw(int cause) const
{
    AfxThrowArchiveException(cause, m_strFileName);
}

void CArchive::RequireLoading() const
{
    if (!IsLoading())
    {
        Throw(CArchiveException::writeOnly);
    }
    if (m_pFile == nullptr)
    {
        Throw(CArchiveException::genericException);
    }
}

void CArchive::RequireStoring() const
{
    if (!IsStoring())
    {
        Throw(CArchiveException::readOnly);
    }
    if (m_pFile == nullptr)
    {
        Throw(CArchiveException::genericException);
    }
}

void CArchive::CheckCount() const
{
    if (m_nMapCount >= nMaxMapCount)
    {
        Throw(CArchiveException::badIndex);
    }
}

void CArchive::Flush()
{
    if (m_pFile == nullptr)
    {
        return;
    }
    if (IsLoading())
    {
        const auto unread = static_cast<LONGLONG>(m_bufMax - m_bufCur);
        m_bufCur = m_bufMax = m_bufStart;
        if (unread != 0)
        {
            m_pFile->Seek(-unread, CFile::current);
        }
    }
    else
    {
        const auto pending = static_cast<UINT>(m_bufCur - m_bufStart);
        // Emptied first, so a failing write is not repeated by the destructor's close.
        m_bufCur = m_bufStart;
        if (pending != 0)
        {
            m_pFile->Write(m_bufStart, pending);
        }
    }
}

void CArchive::Close()
{
    Flush();
    m_pFile = nullptr;
}

void CArchive::Abort()
{
    m_pFile = nullptr;
    m_bufCur = m_bufStart;
    m_bufMax = IsLoading() ? m_bufStart : m_bufStart + m_bufSize;
}

void CArchive::WriteBytes(const void* data, size_t count)
{
    RequireStoring();
    const auto* in = static_cast<const BYTE*>(data);
    while (count > 0)
    {
        if (m_bufCur == m_bufMax)
        {
            Flush();
        }
        // Large blocks go straight to the file once the buffer is empty.
        if (m_bufCur == m_bufStart && count >= m_bufSize)
        {
            m_pFile->Write(in, static_cast<UINT>(count));
            return;
        }
        const size_t take = std::min(count, static_cast<size_t>(m_bufMax - m_bufCur));
        std::memcpy(m_bufCur, in, take);
        m_bufCur += take;
        in += take;
        count -= take;
    }
}

void CArchive::FillBuffer(size_t count)
{
    // Keeps the unread bytes, moved to the front, and reads ahead as far as the buffer goes.
    const size_t unread = static_cast<size_t>(m_bufMax - m_bufCur);
    if (unread >= count)
    {
        return;
    }
    if (m_bufCur != m_bufStart)
    {
        std::memmove(m_bufStart, m_bufCur, unread);
        m_bufCur = m_bufStart;
        m_bufMax = m_bufStart + unread;
    }
    while (static_cast<size_t>(m_bufMax - m_bufCur) < count)
    {
        const auto room = static_cast<UINT>(m_bufStart + m_bufSize - m_bufMax);
        const UINT got = m_pFile->Read(m_bufMax, room);
        if (got == 0)
        {
            Throw(CArchiveException::endOfFile);
        }
        m_bufMax += got;
    }
}

void CArchive::ReadBytes(void* data, size_t count)
{
    // Primitives nearly always lie whole in the buffer; only the rest go through Read.
    if (IsLoading() && static_cast<size_t>(m_bufMax - m_bufCur) >= count)
    {
        std::memcpy(data, m_bufCur, count);
        m_bufCur += count;
        return;
    }
    if (Read(data, static_cast<UINT>(count)) != count)
    {
        Throw(CArchiveException::endOfFile);
    }
}

UINT CArchive::Read(void* lpBuf, UINT nMax)
{
    RequireLoading();
    auto* out = static_cast<BYTE*>(lpBuf);
    size_t wanted = nMax;
    size_t done = 0;
    while (wanted > 0)
    {
        const size_t available = static_cast<size_t>(m_bufMax - m_bufCur);
        if (available > 0)
        {
            const size_t take = std::min(wanted, available);
            std::memcpy(out + done, m_bufCur, take);
            m_bufCur += take;
            done += take;
            wanted -= take;
            continue;
        }
        m_bufCur = m_bufMax = m_bufStart;
        if (wanted >= m_bufSize)
        {
            // Large blocks bypass the buffer.
            const UINT got = m_pFile->Read(out + done, static_cast<UINT>(wanted));
            if (got == 0)
            {
                break;
            }
            done += got;
            wanted -= got;
            continue;
        }
        const UINT got = m_pFile->Read(m_bufStart, static_cast<UINT>(m_bufSize));
        if (got == 0)
        {
            break;
        }
        m_bufMax = m_bufStart + got;
    }
    return static_cast<UINT>(done);
}

void CArchive::Write(const void* lpBuf, UINT nMax)
{
    WriteBytes(lpBuf, nMax);
}

CArchive& CArchive::operator<<(float f)
{
    return WriteRaw<DWORD>(std::bit_cast<DWORD>(f));
}

CArchive& CArchive::operator<<(double d)
{
    return WriteRaw<ULONGLONG>(std::bit_cast<ULONGLONG>(d));
}

CArchive& CArchive::operator>>(bool& b)
{
    b = ReadRaw<BYTE>() != 0;
    return *this;
}

CArchive& CArchive::operator>>(float& f)
{
    f = std::bit_cast<float>(ReadRaw<DWORD>());
    return *this;
}

CArchive& CArchive::operator>>(double& d)
{
    d = std::bit_cast<double>(ReadRaw<ULONGLONG>());
    return *this;
}

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

CArchive& CArchive::operator<<(const COleDateTime& date)
{
    WriteRaw<DWORD>(static_cast<DWORD>(date.m_status));
    return *this << static_cast<double>(date.m_dt);
}

CArchive& CArchive::operator>>(COleDateTime& date)
{
    const auto status = static_cast<LONG>(ReadRaw<DWORD>());
    double value = 0.0;
    *this >> value;
    date.m_dt = value;
    date.m_status = (status >= COleDateTime::error && status <= COleDateTime::null)
                        ? static_cast<COleDateTime::DateTimeStatus>(status)
                        : COleDateTime::invalid; // a corrupt status is no valid date

    return *this;
}

CArchive& CArchive::operator<<(const COleDateTimeSpan& span)
{
    WriteRaw<DWORD>(static_cast<DWORD>(span.m_status));
    return *this << static_cast<double>(span.m_span);
}

CArchive& CArchive::operator>>(COleDateTimeSpan& span)
{
    const auto status = static_cast<LONG>(ReadRaw<DWORD>());
    double value = 0.0;
    *this >> value;
    span.m_span = value;
    span.m_status = (status >= COleDateTimeSpan::valid && status <= COleDateTimeSpan::null)
                        ? static_cast<COleDateTimeSpan::DateTimeSpanStatus>(status)
                        : COleDateTimeSpan::invalid;

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

DWORD_PTR CArchive::ReadCount()
{
    const WORD wCount = ReadRaw<WORD>();
    if (wCount != 0xFFFF)
    {
        return wCount;
    }
    const DWORD dwCount = ReadRaw<DWORD>();
    if (dwCount != 0xFFFFFFFFu)
    {
        return dwCount;
    }
    return static_cast<DWORD_PTR>(ReadRaw<ULONGLONG>());
}

void CArchive::WriteCount(DWORD_PTR dwCount)
{
    if (dwCount < 0xFFFF)
    {
        WriteRaw<WORD>(static_cast<WORD>(dwCount));
        return;
    }
    WriteRaw<WORD>(0xFFFF);
    if (dwCount < 0xFFFFFFFFu)
    {
        WriteRaw<DWORD>(static_cast<DWORD>(dwCount));
        return;
    }
    WriteRaw<DWORD>(0xFFFFFFFFu);
    WriteRaw<ULONGLONG>(static_cast<ULONGLONG>(dwCount));
}

UINT CArchive::GetObjectSchema()
{
    const UINT result = m_nObjectSchema;
    m_nObjectSchema = static_cast<UINT>(-1);
    return result;
}

void CArchive::SetStoreParams(UINT, UINT) {}

void CArchive::SetLoadParams(UINT) {}

void CArchive::MapObject(const CObject* pOb)
{
    if (pOb == nullptr)
    {
        return;
    }
    CheckCount();
    if (IsStoring())
    {
        m_storeMap[pOb] = m_nMapCount++;
    }
    else
    {
        LoadEntry entry;
        entry.pObject = const_cast<CObject*>(pOb);
        entry.pClass = pOb->GetRuntimeClass();
        IndexLoaded(m_loadIndex, pOb, m_loadArray.size());
        m_loadArray.push_back(entry);
        ++m_nMapCount;
    }
}

void CArchive::UnmapObject(const CObject* pOb)
{
    if (pOb == nullptr || IsStoring())
    {
        return;
    }
    size_t at = FindRecent(m_loadArray, pOb);
    if (at == 0)
    {
        if (m_loadIndex.empty())
        {
            // Built once, in order, so that of two entries for one address (the first object
            // freed without being forgotten) the newer wins.
            m_loadIndex.emplace(kIndexBuiltKey, 0);
            for (size_t i = 1; i < m_loadArray.size(); ++i)
            {
                if (!m_loadArray[i].isClass && m_loadArray[i].pObject != nullptr)
                {
                    m_loadIndex[m_loadArray[i].pObject] = static_cast<DWORD>(i);
                }
            }
        }
        const auto found = m_loadIndex.find(pOb);
        if (found == m_loadIndex.end())
        {
            return;
        }
        at = found->second;
    }
    if (!m_loadIndex.empty())
    {
        m_loadIndex.erase(pOb);
    }
    LoadEntry& entry = m_loadArray[at];
    entry.pObject = nullptr;
    entry.forgotten = true;
}

void CArchive::WriteClass(const CRuntimeClass* pClassRef)
{
    RequireStoring();
    if (pClassRef == nullptr)
    {
        Throw(CArchiveException::badClass);
    }
    if (pClassRef->m_wSchema == 0xFFFF)
    {
        // A class without a schema (declared dynamic, not serial) cannot be archived.
        AfxThrowNotSupportedException();
    }
    const auto found = m_storeMap.find(pClassRef);
    if (found != m_storeMap.end())
    {
        const DWORD index = found->second;
        if (index < wBigObjectTag)
        {
            WriteRaw<WORD>(static_cast<WORD>(wClassTag | index));
        }
        else
        {
            WriteRaw<WORD>(wBigObjectTag);
            WriteRaw<DWORD>(dwBigClassTag | index);
        }
        return;
    }
    const size_t nameLength = std::strlen(pClassRef->m_lpszClassName);
    WriteRaw<WORD>(wNewClassTag);
    WriteRaw<WORD>(static_cast<WORD>(pClassRef->m_wSchema));
    WriteRaw<WORD>(static_cast<WORD>(nameLength));
    WriteBytes(pClassRef->m_lpszClassName, nameLength);
    CheckCount();
    m_storeMap[pClassRef] = m_nMapCount++;
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* pClassRefRequested, UINT* pSchema,
                                   DWORD* pObTag)
{
    RequireLoading();
    if (pClassRefRequested != nullptr && pClassRefRequested->m_wSchema == 0xFFFF)
    {
        AfxThrowNotSupportedException();
    }

    const WORD wTag = ReadRaw<WORD>();
    DWORD obTag = 0;
    if (wTag == wBigObjectTag)
    {
        obTag = ReadRaw<DWORD>();
    }
    else
    {
        obTag = (static_cast<DWORD>(wTag & wClassTag) << 16) | (wTag & ~wClassTag & 0xFFFFu);
    }

    if ((obTag & dwBigClassTag) == 0)
    {
        // Not a class: the null object or a reference to an object already read.
        if (pObTag == nullptr)
        {
            Throw(CArchiveException::badIndex);
        }
        *pObTag = obTag;
        return nullptr;
    }

    CRuntimeClass* pClassRef = nullptr;
    UINT nSchema = 0;
    if (wTag == wNewClassTag)
    {
        nSchema = ReadRaw<WORD>();
        const WORD nameLength = ReadRaw<WORD>();
        char name[nMaxClassNameLength + 1];
        if (nameLength > nMaxClassNameLength || Read(name, nameLength) != nameLength)
        {
            Throw(CArchiveException::badClass);
        }
        name[nameLength] = '\0';
        pClassRef = CRuntimeClass::FromName(name);
        if (pClassRef == nullptr)
        {
            Throw(CArchiveException::badClass);
        }
        if ((pClassRef->m_wSchema & ~VERSIONABLE_SCHEMA) != nSchema &&
            (pClassRef->m_wSchema & VERSIONABLE_SCHEMA) == 0)
        {
            // Only a class marked versionable may read a schema other than its own.
            Throw(CArchiveException::badSchema);
        }
        CheckCount();
        LoadEntry entry;
        entry.pClass = pClassRef;
        entry.isClass = true;
        entry.schema = nSchema;
        m_loadArray.push_back(entry);
        ++m_nMapCount;
    }
    else
    {
        const DWORD classIndex = obTag & ~dwBigClassTag;
        if (classIndex == 0 || classIndex >= m_loadArray.size() || !m_loadArray[classIndex].isClass)
        {
            Throw(CArchiveException::badIndex);
        }
        pClassRef = m_loadArray[classIndex].pClass;
        nSchema = m_loadArray[classIndex].schema;
    }

    if (pClassRefRequested != nullptr && !pClassRef->IsDerivedFrom(pClassRefRequested))
    {
        Throw(CArchiveException::badClass);
    }
    if (pSchema != nullptr)
    {
        *pSchema = nSchema;
    }
    else
    {
        m_nObjectSchema = nSchema;
    }
    if (pObTag != nullptr)
    {
        *pObTag = obTag;
    }
    return pClassRef;
}

void CArchive::SerializeClass(const CRuntimeClass* pClassRef)
{
    if (IsStoring())
    {
        WriteClass(pClassRef);
    }
    else
    {
        ReadClass(pClassRef);
    }
}

void CArchive::WriteObject(const CObject* pOb)
{
    RequireStoring();
    if (pOb == nullptr)
    {
        WriteRaw<WORD>(wNullTag);
        return;
    }
    const auto found = m_storeMap.find(pOb);
    if (found != m_storeMap.end())
    {
        const DWORD index = found->second;
        if (index < wBigObjectTag)
        {
            WriteRaw<WORD>(static_cast<WORD>(index));
        }
        else
        {
            WriteRaw<WORD>(wBigObjectTag);
            WriteRaw<DWORD>(index);
        }
        return;
    }
    WriteClass(pOb->GetRuntimeClass());
    CheckCount();
    m_storeMap[pOb] = m_nMapCount++;
    const_cast<CObject*>(pOb)->Serialize(*this);
}

CObject* CArchive::ReadObject(const CRuntimeClass* pClassRefRequested)
{
    RequireLoading();
    UINT nSchema = 0;
    DWORD obTag = 0;
    CRuntimeClass* pClassRef = ReadClass(pClassRefRequested, &nSchema, &obTag);

    if (pClassRef == nullptr)
    {
        if (obTag == wNullTag)
        {
            return nullptr;
        }
        if (obTag >= m_loadArray.size() || m_loadArray[obTag].isClass ||
            m_loadArray[obTag].forgotten)
        {
            Throw(CArchiveException::badIndex);
        }
        const LoadEntry& entry = m_loadArray[obTag];
        // Checked against the class recorded when the object was read, so a reference never
        // needs to touch the object itself.
        if (pClassRefRequested != nullptr && entry.pClass != nullptr &&
            !entry.pClass->IsDerivedFrom(pClassRefRequested))
        {
            Throw(CArchiveException::badClass);
        }
        return entry.pObject;
    }

    CObject* pOb = pClassRef->CreateObject();
    if (pOb == nullptr)
    {
        // The file names a class that cannot be created (declared dynamic only).
        Throw(CArchiveException::badClass);
    }
    try
    {
        CheckCount();
        LoadEntry entry;
        entry.pClass = pClassRef;
        entry.pObject = pOb;
        IndexLoaded(m_loadIndex, pOb, m_loadArray.size());
        m_loadArray.push_back(entry);
        ++m_nMapCount;

        const UINT nSchemaSave = m_nObjectSchema;
        m_nObjectSchema = nSchema;
        try
        {
            pOb->Serialize(*this);
        }
        catch (...)
        {
            m_nObjectSchema = nSchemaSave;
            throw;
        }
        m_nObjectSchema = nSchemaSave;
    }
    catch (...)
    {
        // Half-read objects never reach the caller; later references to them are bad.
        UnmapObject(pOb);
        delete pOb;
        throw;
    }
    return pOb;
}

CArchive& AFXAPI operator<<(CArchive& ar, const CObject* pOb)
{
    ar.WriteObject(pOb);
    return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, CObject*& pOb)
{
    pOb = ar.ReadObject(nullptr);
    return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, const CObject*& pOb)
{
    pOb = ar.ReadObject(nullptr);
    return ar;
}
