#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <shared/framework/CException.h>

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CSimpleException, CException)
IMPLEMENT_DYNAMIC(CMemoryException, CSimpleException)
IMPLEMENT_DYNAMIC(CNotSupportedException, CSimpleException)
IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CArchiveException, CException)

namespace
{

// The framework's message texts name the file with %1; an unnamed file reads "an unnamed file".
CString FillFileName(const char* pattern, const CString& fileName)
{
    const CString name = fileName.IsEmpty() ? CString("an unnamed file") : fileName;
    CString text(pattern);
    text.Replace("%1", name);
    return text;
}

// The framework's texts by cause, for files and for archives. A cause outside the table reads
// as the generic one (1 in both classes).
const char* const kFileTexts[] = {
    "No error occurred.",
    "An unexpected error occurred while accessing %1.",
    "%1 was not found.",
    "%1 contains an invalid path.",
    "%1 could not be opened because there are too many open files.",
    "Access to %1 was denied.",
    "An invalid file handle was associated with %1.",
    "%1 could not be removed because it is the current directory.",
    "%1 could not be created because the directory is full.",
    "Seek failed on %1",
    "A hardware I/O error was reported while accessing %1.",
    "A sharing violation occurred while accessing %1.",
    "A locking violation occurred while accessing %1.",
    "Disk full while accessing %1.",
    "An attempt was made to access %1 past its end.",
};
const char* const kArchiveTexts[] = {
    "No error occurred.",
    "An unexpected error occurred while reading %1.",
    "An attempt was made to write to %1 while it was being read.",
    "An attempt was made to access %1 past its end.",
    "An attempt was made to read from %1 while it was being written.",
    "%1 has a bad format.",
    "%1 contained an unexpected object.",
    "%1 contains an incorrect schema.",
    "The archive buffer of %1 is full.",
};

template <std::size_t N>
CString CauseText(const char* const (&texts)[N], int cause, const CString& fileName,
                  PUINT pnHelpContext)
{
    if (pnHelpContext != nullptr)
        *pnHelpContext = 0;
    const bool known = cause >= 0 && static_cast<std::size_t>(cause) < N;
    return FillFileName(texts[known ? cause : 1], fileName);
}

#ifdef _WIN32
// The causes of the Windows errors that file operations give, as MFC groups them.
struct WindowsCause
{
    LONG error;
    int cause;
};
constexpr WindowsCause kWindowsCauses[] = {
    {0, CFileException::none},               // NO_ERROR
    {2, CFileException::fileNotFound},       // ERROR_FILE_NOT_FOUND
    {18, CFileException::fileNotFound},      // ERROR_NO_MORE_FILES
    {3, CFileException::badPath},            // ERROR_PATH_NOT_FOUND
    {15, CFileException::badPath},           // ERROR_INVALID_DRIVE
    {17, CFileException::badPath},           // ERROR_NOT_SAME_DEVICE
    {123, CFileException::badPath},          // ERROR_INVALID_NAME
    {161, CFileException::badPath},          // ERROR_BAD_PATHNAME
    {206, CFileException::badPath},          // ERROR_FILENAME_EXCED_RANGE
    {267, CFileException::badPath},          // ERROR_DIRECTORY
    {4, CFileException::tooManyOpenFiles},   // ERROR_TOO_MANY_OPEN_FILES
    {5, CFileException::accessDenied},       // ERROR_ACCESS_DENIED
    {12, CFileException::accessDenied},      // ERROR_INVALID_ACCESS
    {19, CFileException::accessDenied},      // ERROR_WRITE_PROTECT
    {80, CFileException::accessDenied},      // ERROR_FILE_EXISTS
    {183, CFileException::accessDenied},     // ERROR_ALREADY_EXISTS
    {6, CFileException::invalidFile},        // ERROR_INVALID_HANDLE
    {16, CFileException::removeCurrentDir},  // ERROR_CURRENT_DIRECTORY
    {145, CFileException::removeCurrentDir}, // ERROR_DIR_NOT_EMPTY
    {25, CFileException::badSeek},           // ERROR_SEEK
    {131, CFileException::badSeek},          // ERROR_NEGATIVE_SEEK
    {132, CFileException::badSeek},          // ERROR_SEEK_ON_DEVICE
    {21, CFileException::hardIO},            // ERROR_NOT_READY
    {23, CFileException::hardIO},            // ERROR_CRC
    {29, CFileException::hardIO},            // ERROR_WRITE_FAULT
    {30, CFileException::hardIO},            // ERROR_READ_FAULT
    {32, CFileException::sharingViolation},  // ERROR_SHARING_VIOLATION
    {33, CFileException::lockViolation},     // ERROR_LOCK_VIOLATION
    {167, CFileException::lockViolation},    // ERROR_LOCK_FAILED
    {38, CFileException::endOfFile},         // ERROR_HANDLE_EOF
    {39, CFileException::diskFull},          // ERROR_HANDLE_DISK_FULL
    {112, CFileException::diskFull},         // ERROR_DISK_FULL
};

int WindowsErrorToCause(LONG error)
{
    for (const WindowsCause& entry : kWindowsCauses)
        if (entry.error == error)
            return entry.cause;
    return CFileException::genericException;
}
#endif

} // namespace

CException::CException(BOOL bAutoDelete) : m_bAutoDelete(bAutoDelete) {}

CException::~CException() = default;

void CException::Delete()
{
    if (m_bAutoDelete > 0)
    {
        delete this;
    }
}

BOOL CException::CopyMessage(const CString& text, LPTSTR lpszError, UINT nMaxError)
{
    if (lpszError == nullptr || nMaxError == 0)
    {
        return FALSE;
    }
    const size_t length = std::min<size_t>(static_cast<size_t>(text.GetLength()), nMaxError - 1);
    std::memcpy(lpszError, static_cast<LPCTSTR>(text), length);
    lpszError[length] = '\0';
    return TRUE;
}

BOOL CException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const
{
    if (pnHelpContext != nullptr)
    {
        *pnHelpContext = 0;
    }
    if (lpszError != nullptr && nMaxError > 0)
    {
        lpszError[0] = '\0';
    }
    return FALSE;
}

int CException::ReportError(UINT, UINT)
{
    char text[512];
    if (!GetErrorMessage(text, sizeof text))
    {
        std::strcpy(text, "No error message is available.");
    }
    std::fprintf(stderr, "%s\n", text);
    return IDOK;
}

BOOL CMemoryException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const
{
    if (pnHelpContext != nullptr)
    {
        *pnHelpContext = 0;
    }
    return CopyMessage("Out of memory.", lpszError, nMaxError);
}

BOOL CNotSupportedException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError,
                                             PUINT pnHelpContext) const
{
    if (pnHelpContext != nullptr)
    {
        *pnHelpContext = 0;
    }
    return CopyMessage("Unsupported operation was attempted.", lpszError, nMaxError);
}

CFileException::CFileException(int cause, LONG lOsError, LPCTSTR lpszArchiveName)
    : m_cause(cause), m_lOsError(lOsError),
      m_strFileName(lpszArchiveName != nullptr ? lpszArchiveName : "")
{
}

BOOL CFileException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const
{
    return CopyMessage(CauseText(kFileTexts, m_cause, m_strFileName, pnHelpContext), lpszError,
                       nMaxError);
}

int PASCAL CFileException::OsErrorToException(LONG lOsError)
{
#ifdef _WIN32
    // On Windows the file-system seam reports GetLastError codes, as MFC's callers pass them.
    return WindowsErrorToCause(lOsError);
#else
    return ErrnoToException(static_cast<int>(lOsError));
#endif
}

int PASCAL CFileException::ErrnoToException(int nErrno)
{
    switch (nErrno)
    {
    case 0:
        return none;
    case ENOENT:
        return fileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
    case EFAULT:
        return badPath;
    case EMFILE:
    case ENFILE:
        return tooManyOpenFiles;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EEXIST:
        return accessDenied;
    case EBADF:
        return invalidFile;
    case EBUSY:
    case ETXTBSY:
        return sharingViolation;
    case EDEADLK:
    case ENOLCK:
        return lockViolation;
    case ESPIPE:
    case EOVERFLOW:
        return badSeek;
    case EIO:
        return hardIO;
    case ENOSPC:
#ifdef EDQUOT
    case EDQUOT:
#endif
    case EFBIG:
        return diskFull;
    default:
        return genericException;
    }
}

void PASCAL CFileException::ThrowOsError(LONG lOsError, LPCTSTR lpszFileName)
{
    AfxThrowFileException(OsErrorToException(lOsError), lOsError, lpszFileName);
}

void PASCAL CFileException::ThrowErrno(int nErrno, LPCTSTR lpszFileName)
{
    AfxThrowFileException(ErrnoToException(nErrno), nErrno, lpszFileName);
}

CArchiveException::CArchiveException(int cause, LPCTSTR lpszArchiveName)
    : m_cause(cause), m_strFileName(lpszArchiveName != nullptr ? lpszArchiveName : "")
{
}

BOOL CArchiveException::GetErrorMessage(LPTSTR lpszError, UINT nMaxError, PUINT pnHelpContext) const
{
    return CopyMessage(CauseText(kArchiveTexts, m_cause, m_strFileName, pnHelpContext), lpszError,
                       nMaxError);
}

void AFXAPI AfxThrowFileException(int cause, LONG lOsError, LPCTSTR lpszFileName)
{
    throw new CFileException(cause, lOsError, lpszFileName);
}

void AFXAPI AfxThrowArchiveException(int cause, LPCTSTR lpszArchiveName)
{
    throw new CArchiveException(cause, lpszArchiveName);
}

void AFXAPI AfxThrowMemoryException()
{
    throw new CMemoryException();
}

void AFXAPI AfxThrowNotSupportedException()
{
    throw new CNotSupportedException();
}
