// Construction, the buffer and its file, and the fixed-size values: numbers, counts and dates.
// Strings are in CArchiveStrings.cpp, objects and class tags in CArchiveObjects.cpp.
#include <algorithm>
#include <bit>
#include <cstring>
#include <shared/archive/CArchive.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/COleDateTimeSpan.h>

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
