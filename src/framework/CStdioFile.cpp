#include <algorithm>
#include <cstring>
#include <shared/framework/CStdioFile.h>

IMPLEMENT_DYNAMIC(CStdioFile, CFile)

CStdioFile::CStdioFile() = default;

CStdioFile::CStdioFile(LPCTSTR lpszFileName, UINT nOpenFlags)
{
    CFileException error;
    if (!Open(lpszFileName, nOpenFlags, &error))
    {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CStdioFile::~CStdioFile()
{
    if (m_hFile != hFileNull && m_bCloseOnDelete)
    {
        try
        {
            FlushWriteBuffer();
        }
        catch (CException* e)
        {
            e->Delete();
        }
        CFile::Abort();
    }
}

BOOL CStdioFile::Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError)
{
    if (m_hFile != hFileNull)
    {
        Abort();
    }
    m_readBuffer.clear();
    m_readPos = 0;
    m_writeBuffer.clear();
    m_bText = (nOpenFlags & typeBinary) == 0;
    return CFile::Open(lpszFileName, nOpenFlags & ~static_cast<UINT>(typeText | typeBinary),
                       pError);
}

bool CStdioFile::FillReadBuffer()
{
    FlushWriteBuffer();
    m_readBuffer.resize(kBufferSize);
    m_readPos = 0;
    const UINT got = CFile::Read(m_readBuffer.data(), static_cast<UINT>(kBufferSize));
    m_readBuffer.resize(got);
    return got > 0;
}

int CStdioFile::GetRawByte()
{
    if (m_readPos >= m_readBuffer.size() && !FillReadBuffer())
    {
        return -1;
    }
    return static_cast<unsigned char>(m_readBuffer[m_readPos++]);
}

int CStdioFile::PeekRawByte()
{
    if (m_readPos >= m_readBuffer.size() && !FillReadBuffer())
    {
        return -1;
    }
    return static_cast<unsigned char>(m_readBuffer[m_readPos]);
}

int CStdioFile::GetChar()
{
    const int c = GetRawByte();
    if (m_bText && c == '\r' && PeekRawByte() == '\n')
    {
        return GetRawByte();
    }
    return c;
}

void CStdioFile::FlushWriteBuffer()
{
    if (m_writeBuffer.empty())
    {
        return;
    }
    // Cleared first: a failing write must not be retried by a later flush or the destructor.
    std::string pending;
    pending.swap(m_writeBuffer);
    CFile::Write(pending.data(), static_cast<UINT>(pending.size()));
}

void CStdioFile::DropReadBuffer()
{
    const size_t unread = m_readBuffer.size() - m_readPos;
    m_readBuffer.clear();
    m_readPos = 0;
    if (unread > 0)
    {
        CFile::Seek(-static_cast<LONGLONG>(unread), current);
    }
}

void CStdioFile::WriteString(LPCTSTR lpsz)
{
    if (lpsz == nullptr)
    {
        AfxThrowFileException(CFileException::genericException,
                              shared::platform::fileerror::kInvalidArgument, m_strFileName);
    }
    Write(lpsz, static_cast<UINT>(std::strlen(lpsz)));
}

BOOL CStdioFile::ReadString(CString& rString)
{
    std::string line;
    bool any = false;
    for (int c = GetChar(); c >= 0; c = GetChar())
    {
        any = true;
        if (c == '\n')
        {
            break;
        }
        line.push_back(static_cast<char>(c));
    }
    rString = CString(line.data(), static_cast<int>(line.size()));
    return any ? TRUE : FALSE;
}

LPTSTR CStdioFile::ReadString(LPTSTR lpsz, UINT nMax)
{
    if (lpsz == nullptr || nMax == 0)
    {
        return nullptr;
    }
    UINT count = 0;
    while (count + 1 < nMax)
    {
        const int c = GetChar();
        if (c < 0)
        {
            break;
        }
        lpsz[count++] = static_cast<char>(c);
        if (c == '\n')
        {
            break;
        }
    }
    lpsz[count] = '\0';
    return (count == 0 && nMax > 1) ? nullptr : lpsz;
}

UINT CStdioFile::Read(void* lpBuf, UINT nCount)
{
    auto* out = static_cast<char*>(lpBuf);
    UINT count = 0;
    if (!m_bText)
    {
        while (count < nCount)
        {
            if (m_readPos >= m_readBuffer.size() && !FillReadBuffer())
            {
                break;
            }
            const size_t take = std::min<size_t>(nCount - count, m_readBuffer.size() - m_readPos);
            std::memcpy(out + count, m_readBuffer.data() + m_readPos, take);
            m_readPos += take;
            count += static_cast<UINT>(take);
        }
        return count;
    }
    while (count < nCount)
    {
        const int c = GetChar();
        if (c < 0)
        {
            break;
        }
        out[count++] = static_cast<char>(c);
    }
    return count;
}

void CStdioFile::Write(const void* lpBuf, UINT nCount)
{
    CheckOpen();
    DropReadBuffer();
    const auto* in = static_cast<const char*>(lpBuf);
    if (m_bText)
    {
        for (UINT i = 0; i < nCount; ++i)
        {
            if (in[i] == '\n')
            {
                m_writeBuffer.push_back('\r');
            }
            m_writeBuffer.push_back(in[i]);
        }
    }
    else
    {
        m_writeBuffer.append(in, nCount);
    }
    if (m_writeBuffer.size() >= kBufferSize)
    {
        FlushWriteBuffer();
    }
}

ULONGLONG CStdioFile::Seek(LONGLONG lOff, UINT nFrom)
{
    FlushWriteBuffer();
    if (nFrom == current)
    {
        // The descriptor runs ahead of the caller by the unread part of the buffer.
        lOff -= static_cast<LONGLONG>(m_readBuffer.size() - m_readPos);
    }
    m_readBuffer.clear();
    m_readPos = 0;
    return CFile::Seek(lOff, nFrom);
}

ULONGLONG CStdioFile::GetPosition() const
{
    const ULONGLONG raw = CFile::GetPosition();
    return raw - (m_readBuffer.size() - m_readPos) + m_writeBuffer.size();
}

ULONGLONG CStdioFile::GetLength() const
{
    return std::max(CFile::GetLength(), GetPosition());
}

void CStdioFile::SetLength(ULONGLONG dwNewLen)
{
    FlushWriteBuffer();
    m_readBuffer.clear();
    m_readPos = 0;
    CFile::SetLength(dwNewLen);
}

void CStdioFile::Flush()
{
    // Like the C library's fflush: the data reaches the operating system, not the disk.
    FlushWriteBuffer();
}

void CStdioFile::Close()
{
    try
    {
        FlushWriteBuffer();
    }
    catch (CException*)
    {
        CFile::Abort();
        throw;
    }
    m_readBuffer.clear();
    m_readPos = 0;
    CFile::Close();
}

void CStdioFile::Abort()
{
    m_writeBuffer.clear();
    m_readBuffer.clear();
    m_readPos = 0;
    CFile::Abort();
}
