#pragma once

// The framework's exception classes. As in MFC they are thrown by pointer
// (`throw new CArchiveException(...)`) and the catcher owns the object:
//
//     try { ar >> value; }
//     catch (CException* e) { e->GetErrorMessage(text, 255); e->Delete(); }
//
// Only the file and archive classes throw them; every other part of the library reports
// failures by result.

#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class SHARED_API CException : public CObject
{
    DECLARE_DYNAMIC(CException)

public:
    explicit CException(BOOL bAutoDelete = TRUE);
    virtual ~CException();

    // Frees the exception when it was created on the heap (the usual case); exceptions built
    // with bAutoDelete FALSE live elsewhere and are left alone.
    void Delete();

    // Copies the message (at most nMaxError - 1 characters plus the terminator) and returns
    // TRUE when there is a message to give.
    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError,
                                 PUINT pnHelpContext = nullptr) const;

    // There is no message box in this library; the message goes to standard error and the
    // answer is always IDOK.
    virtual int ReportError(UINT nType = 0, UINT nMessageID = 0);

    BOOL m_bAutoDelete;

protected:
    // Shared by the derived classes: copies text into the caller's buffer.
    static BOOL CopyMessage(const CString& text, LPTSTR lpszError, UINT nMaxError);
};

class SHARED_API CSimpleException : public CException
{
    DECLARE_DYNAMIC(CSimpleException)

public:
    explicit CSimpleException(BOOL bAutoDelete = TRUE) : CException(bAutoDelete) {}
};

class SHARED_API CMemoryException : public CSimpleException
{
    DECLARE_DYNAMIC(CMemoryException)

public:
    CMemoryException() = default;
    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError,
                                 PUINT pnHelpContext = nullptr) const;
};

class SHARED_API CNotSupportedException : public CSimpleException
{
    DECLARE_DYNAMIC(CNotSupportedException)

public:
    CNotSupportedException() = default;
    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError,
                                 PUINT pnHelpContext = nullptr) const;
};

class SHARED_API CFileException : public CException
{
    DECLARE_DYNAMIC(CFileException)

public:
    enum
    {
        none,
        genericException,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };

    explicit CFileException(int cause = CFileException::none, LONG lOsError = -1,
                            LPCTSTR lpszArchiveName = nullptr);

    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError,
                                 PUINT pnHelpContext = nullptr) const;

    // On this platform the operating-system error is an errno value.
    static int PASCAL OsErrorToException(LONG lOsError);
    static int PASCAL ErrnoToException(int nErrno);
    [[noreturn]] static void PASCAL ThrowOsError(LONG lOsError, LPCTSTR lpszFileName = nullptr);
    [[noreturn]] static void PASCAL ThrowErrno(int nErrno, LPCTSTR lpszFileName = nullptr);

    int m_cause;
    LONG m_lOsError;
    CString m_strFileName;
};

class SHARED_API CArchiveException : public CException
{
    DECLARE_DYNAMIC(CArchiveException)

public:
    enum
    {
        none,
        genericException,
        readOnly,
        endOfFile,
        writeOnly,
        badIndex,
        badClass,
        badSchema,
        bufferFull
    };

    explicit CArchiveException(int cause = CArchiveException::none,
                               LPCTSTR lpszArchiveName = nullptr);

    virtual BOOL GetErrorMessage(LPTSTR lpszError, UINT nMaxError,
                                 PUINT pnHelpContext = nullptr) const;

    int m_cause;
    CString m_strFileName;
};

// The framework's throw helpers; each throws a new heap object that the catcher deletes.
[[noreturn]] SHARED_API void AFXAPI AfxThrowFileException(int cause, LONG lOsError = -1,
                                                          LPCTSTR lpszFileName = nullptr);
[[noreturn]] SHARED_API void AFXAPI AfxThrowArchiveException(int cause,
                                                             LPCTSTR lpszArchiveName = nullptr);
[[noreturn]] SHARED_API void AFXAPI AfxThrowMemoryException();
[[noreturn]] SHARED_API void AFXAPI AfxThrowNotSupportedException();

// The framework's old exception macros, mapped onto C++ exceptions as MFC itself does.
#ifndef TRY
#define TRY try
#define CATCH(class_name, e) catch (class_name * e)
#define AND_CATCH(class_name, e) catch (class_name * e)
#define CATCH_ALL(e) catch (CException * e)
#define AND_CATCH_ALL(e) catch (CException * e)
#define END_CATCH
#define END_CATCH_ALL
#define THROW(e) throw e
#define THROW_LAST() throw
#endif
