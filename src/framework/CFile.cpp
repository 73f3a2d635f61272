#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <shared/framework/CFile.h>
#include <sys/stat.h>
#include <unistd.h>

IMPLEMENT_DYNAMIC(CFile, CObject)

CFile::CFile() : m_hFile(hFileNull), m_bCloseOnDelete(FALSE) {}

CFile::CFile(int hFile) : m_hFile(hFile), m_bCloseOnDelete(TRUE) {}

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

int CFile::OpenDescriptor(LPCTSTR lpszFileName, UINT nOpenFlags)
{
    int flags = O_CLOEXEC;
    switch (nOpenFlags & 3u)
    {
    case modeRead:
        flags |= O_RDONLY;
        break;
    case modeWrite:
        flags |= O_WRONLY;
        break;
    case modeReadWrite:
        flags |= O_RDWR;
        break;
    default:
        return EINVAL;
    }
    if ((nOpenFlags & modeCreate) != 0)
    {
        flags |= O_CREAT;
        if ((nOpenFlags & modeNoTruncate) == 0)
        {
            flags |= O_TRUNC;
        }
    }
    if ((nOpenFlags & osWriteThrough) != 0)
    {
        flags |= O_DSYNC;
    }
    if (lpszFileName == nullptr || *lpszFileName == '\0')
    {
        return ENOENT;
    }
    int fd;
    do
    {
        fd = ::open(lpszFileName, flags, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0)
    {
        return errno;
    }
    // Windows refuses to open a directory as a file; so do we, for every mode.
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode))
    {
        ::close(fd);
        return EISDIR;
    }
    m_hFile = fd;
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
    const int error = OpenDescriptor(lpszFileName, nOpenFlags);
    if (error == 0)
    {
        return TRUE;
    }
    if (pError != nullptr)
    {
        pError->m_cause = CFileException::ErrnoToException(error);
        pError->m_lOsError = error;
        pError->m_strFileName = lpszFileName != nullptr ? lpszFileName : "";
    }
    return FALSE;
}

void CFile::ThrowLastError(int error) const
{
    CFileException::ThrowErrno(error, m_strFileName);
}

UINT CFile::Read(void* lpBuf, UINT nCount)
{
    if (m_hFile == hFileNull)
    {
        AfxThrowFileException(CFileException::invalidFile, EBADF, m_strFileName);
    }
    // One read, as the framework's: a pipe or terminal gives what it has; 0 means the end.
    for (;;)
    {
        const ssize_t got = ::read(m_hFile, lpBuf, nCount);
        if (got >= 0)
        {
            return static_cast<UINT>(got);
        }
        if (errno != EINTR)
        {
            ThrowLastError(errno);
        }
    }
}

void CFile::Write(const void* lpBuf, UINT nCount)
{
    if (m_hFile == hFileNull)
    {
        AfxThrowFileException(CFileException::invalidFile, EBADF, m_strFileName);
    }
    const auto* in = static_cast<const char*>(lpBuf);
    UINT total = 0;
    while (total < nCount)
    {
        const ssize_t put = ::write(m_hFile, in + total, nCount - total);
        if (put < 0)
        {
            if (errno == EINTR)
            {
                continue;
            }
            ThrowLastError(errno);
        }
        if (put == 0)
        {
            AfxThrowFileException(CFileException::diskFull, ENOSPC, m_strFileName);
        }
        total += static_cast<UINT>(put);
    }
}

ULONGLONG CFile::Seek(LONGLONG lOff, UINT nFrom)
{
    if (m_hFile == hFileNull)
    {
        AfxThrowFileException(CFileException::invalidFile, EBADF, m_strFileName);
    }
    int whence = SEEK_SET;
    switch (nFrom)
    {
    case begin:
        whence = SEEK_SET;
        break;
    case current:
        whence = SEEK_CUR;
        break;
    case end:
        whence = SEEK_END;
        break;
    default:
        AfxThrowFileException(CFileException::badSeek, EINVAL, m_strFileName);
    }
    const off_t position = ::lseek(m_hFile, static_cast<off_t>(lOff), whence);
    if (position < 0)
    {
        AfxThrowFileException(CFileException::badSeek, errno, m_strFileName);
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
    if (m_hFile == hFileNull)
    {
        AfxThrowFileException(CFileException::invalidFile, EBADF, m_strFileName);
    }
    const off_t position = ::lseek(m_hFile, 0, SEEK_CUR);
    if (position < 0)
    {
        AfxThrowFileException(CFileException::badSeek, errno, m_strFileName);
    }
    return static_cast<ULONGLONG>(position);
}

ULONGLONG CFile::GetLength() const
{
    if (m_hFile == hFileNull)
    {
        AfxThrowFileException(CFileException::invalidFile, EBADF, m_strFileName);
    }
    struct stat info;
    if (::fstat(m_hFile, &info) != 0)
    {
        ThrowLastError(errno);
    }
    return static_cast<ULONGLONG>(info.st_size);
}

void CFile::SetLength(ULONGLONG dwNewLen)
{
    Seek(static_cast<LONGLONG>(dwNewLen), begin);
    if (::ftruncate(m_hFile, static_cast<off_t>(dwNewLen)) != 0)
    {
        ThrowLastError(errno);
    }
}

void CFile::Flush()
{
    if (m_hFile == hFileNull)
    {
        return;
    }
    // Pipes and terminals cannot be synchronised; that is not a failure of the data.
    if (::fsync(m_hFile) != 0 && errno != EINVAL && errno != EROFS)
    {
        ThrowLastError(errno);
    }
}

void CFile::Close()
{
    int error = 0;
    if (m_hFile != hFileNull)
    {
        // The descriptor is gone after close() whatever it returns, so EINTR is not retried.
        if (::close(m_hFile) != 0 && errno != EINTR)
        {
            error = errno;
        }
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
        ::close(m_hFile);
        m_hFile = hFileNull;
    }
    m_bCloseOnDelete = FALSE;
}

CString CFile::GetFileName() const
{
    const CString path = GetFilePath();
    const int slash = path.ReverseFind('/');
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
    if (::rename(lpszOldName, lpszNewName) != 0)
    {
        CFileException::ThrowErrno(errno, lpszOldName);
    }
}

void PASCAL CFile::Remove(LPCTSTR lpszFileName)
{
    if (::unlink(lpszFileName) != 0)
    {
        CFileException::ThrowErrno(errno, lpszFileName);
    }
}
