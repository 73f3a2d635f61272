#include <algorithm>
#include <shared/framework/CFile.h>

namespace fs = shared::platform;

IMPLEMENT_DYNAMIC(CFile, CObject)

namespace
{
const fs::FileSystemCalls& Calls()
{
    return fs::GetFileSystemCalls();
}
} // namespace

CFile::CFile() : m_hFile(hFileNull), m_bCloseOnDelete(FALSE) {}

CFile::CFile(fs::FileHandle hFile) : m_hFile(hFile), m_bCloseOnDelete(TRUE) {}

CFile::CFile(LPCTSTR lpszFileName, UINT nOpenFlags) : m_hFile(hFileNull), m_bCloseOnDelete(FALSE)
{
    CFileException error;
    if (!Open(lpszFileName, nOpenFlags, &error))
    {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CFile::~CFile()
{
    if (m_hFile != hFileNull && m_bCloseOnDelete)
    {
        // A destructor cannot report; a failing close is dropped as the framework does.
        Abort();
    }
}

fs::FileError CFile::OpenHandle(LPCTSTR lpszFileName, UINT nOpenFlags)
{
    unsigned flags = 0;
    switch (nOpenFlags & 3u)
    {
    case modeRead:
        flags = fs::fileopen::kRead;
        break;
    case modeWrite:
        flags = fs::fileopen::kWrite;
        break;
    case modeReadWrite:
        flags = fs::fileopen::kRead | fs::fileopen::kWrite;
        break;
    default:
        return fs::fileerror::kInvalidArgument;
    }
    if ((nOpenFlags & modeCreate) != 0)
    {
        flags |= fs::fileopen::kCreate;
        if ((nOpenFlags & modeNoTruncate) == 0)
        {
            flags |= fs::fileopen::kTruncate;
        }
    }
    if ((nOpenFlags & osWriteThrough) != 0)
    {
        flags |= fs::fileopen::kWriteThrough;
    }
    if (lpszFileName == nullptr || *lpszFileName == '\0')
    {
        return fs::fileerror::kNotFound;
    }
    fs::FileHandle handle = hFileNull;
    fs::FileError error;
    do
    {
        error = Calls().open(lpszFileName, flags, handle);
    } while (error == fs::fileerror::kInterrupted);
    if (error != 0)
    {
        return error;
    }
    m_hFile = handle;
    m_bCloseOnDelete = TRUE;
    m_strFileName = lpszFileName;
    return 0;
}

BOOL CFile::Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError)
{
    if (m_hFile != hFileNull)
    {
        Abort();
    }
    const fs::FileError error = OpenHandle(lpszFileName, nOpenFlags);
    if (error == 0)
    {
        return TRUE;
    }
    if (pError != nullptr)
    {
        pError->m_cause = CFileException::OsErrorToException(static_cast<LONG>(error));
        pError->m_lOsError = static_cast<LONG>(error);
        pError->m_strFileName = lpszFileName != nullptr ? lpszFileName : "";
    }
    return FALSE;
}

void CFile::ThrowLastError(fs::FileError error) const
{
    CFileException::ThrowOsError(static_cast<LONG>(error), m_strFileName);
}

void CFile::CheckOpen() const
{
    if (m_hFile == hFileNull)
    {
        AfxThrowFileException(CFileException::invalidFile, fs::fileerror::kBadHandle,
                              m_strFileName);
    }
}

UINT CFile::Read(void* lpBuf, UINT nCount)
{
    CheckOpen();
    // One read, as the framework's: a pipe or terminal gives what it has; 0 means the end.
    std::size_t got = 0;
    if (const fs::FileError error = fs::ReadSome(m_hFile, lpBuf, nCount, got); error != 0)
    {
        ThrowLastError(error);
    }
    return static_cast<UINT>(got);
}

void CFile::Write(const void* lpBuf, UINT nCount)
{
    CheckOpen();
    if (const fs::FileError error = fs::WriteAll(m_hFile, lpBuf, nCount); error != 0)
    {
        ThrowLastError(error);
    }
}

ULONGLONG CFile::Seek(LONGLONG lOff, UINT nFrom)
{
    CheckOpen();
    fs::EFileSeek from = fs::EFileSeek::begin;
    switch (nFrom)
    {
    case begin:
        break;
    case current:
        from = fs::EFileSeek::current;
        break;
    case end:
        from = fs::EFileSeek::end;
        break;
    default:
        AfxThrowFileException(CFileException::badSeek, fs::fileerror::kInvalidArgument,
                              m_strFileName);
    }
    std::int64_t position = 0;
    if (const fs::FileError error = Calls().seek(m_hFile, lOff, from, position); error != 0)
    {
        AfxThrowFileException(CFileException::badSeek, static_cast<LONG>(error), m_strFileName);
    }
    return static_cast<ULONGLONG>(position);
}

void CFile::SeekToBegin()
{
    Seek(0, begin);
}

ULONGLONG CFile::SeekToEnd()
{
    return Seek(0, end);
}

ULONGLONG CFile::GetPosition() const
{
    CheckOpen();
    std::int64_t position = 0;
    if (const fs::FileError error = Calls().seek(m_hFile, 0, fs::EFileSeek::current, position);
        error != 0)
    {
        AfxThrowFileException(CFileException::badSeek, static_cast<LONG>(error), m_strFileName);
    }
    return static_cast<ULONGLONG>(position);
}

ULONGLONG CFile::GetLength() const
{
    CheckOpen();
    std::int64_t size = 0;
    if (const fs::FileError error = Calls().getSize(m_hFile, size); error != 0)
    {
        ThrowLastError(error);
    }
    return static_cast<ULONGLONG>(size);
}

void CFile::SetLength(ULONGLONG dwNewLen)
{
    Seek(static_cast<LONGLONG>(dwNewLen), begin);
    if (const fs::FileError error = Calls().setSize(m_hFile, static_cast<std::int64_t>(dwNewLen));
        error != 0)
    {
        ThrowLastError(error);
    }
}

void CFile::Flush()
{
    if (m_hFile == hFileNull)
    {
        return;
    }
    if (const fs::FileError error = Calls().sync(m_hFile); error != 0)
    {
        ThrowLastError(error);
    }
}

void CFile::Close()
{
    fs::FileError error = 0;
    if (m_hFile != hFileNull)
    {
        error = Calls().close(m_hFile);
    }
    m_hFile = hFileNull;
    m_bCloseOnDelete = FALSE;
    if (error != 0)
    {
        ThrowLastError(error);
    }
}

void CFile::Abort()
{
    if (m_hFile != hFileNull)
    {
        Calls().close(m_hFile);
        m_hFile = hFileNull;
    }
    m_bCloseOnDelete = FALSE;
}

CString CFile::GetFileName() const
{
    // Either slash ends a folder, as in MFC, so Windows paths split the same way everywhere.
    const CString path = GetFilePath();
    const int slash = std::max(path.ReverseFind('/'), path.ReverseFind('\\'));
    return slash < 0 ? path : path.Mid(slash + 1);
}

CString CFile::GetFileTitle() const
{
    const CString name = GetFileName();
    const int dot = name.ReverseFind('.');
    return dot <= 0 ? name : name.Left(dot);
}

CString CFile::GetFilePath() const
{
    return m_strFileName;
}

void CFile::SetFilePath(LPCTSTR lpszNewName)
{
    m_strFileName = lpszNewName != nullptr ? lpszNewName : "";
}

void PASCAL CFile::Rename(LPCTSTR lpszOldName, LPCTSTR lpszNewName)
{
    if (const fs::FileError error = Calls().rename(lpszOldName, lpszNewName); error != 0)
    {
        CFileException::ThrowOsError(static_cast<LONG>(error), lpszOldName);
    }
}

void PASCAL CFile::Remove(LPCTSTR lpszFileName)
{
    if (const fs::FileError error = Calls().remove(lpszFileName); error != 0)
    {
        CFileException::ThrowOsError(static_cast<LONG>(error), lpszFileName);
    }
}
