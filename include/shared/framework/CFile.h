#pragma once

// The framework's unbuffered binary file, on a handle of the platform's file-system calls
// (shared/platform/FileSystem.h), which tests may replace to inject faults.
//
// Open reports failure by result (and fills the optional CFileException); every other
// operation on a failing or closed file throws a CFileException* as the framework does, which
// the caller catches and frees with Delete().
//
// The share flags (shareDenyNone, shareExclusive, ...) are accepted and not enforced: POSIX
// has no mandatory sharing modes, and advisory locks would only bind cooperating processes.
// Descriptors are always opened close-on-exec, so modeNoInherit is the behaviour in any case.

#include <shared/framework/CException.h>
#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>
#include <shared/platform/FileSystem.h>

class SHARED_API CFile : public CObject
{
    DECLARE_DYNAMIC(CFile)

public:
    enum OpenFlags
    {
        modeRead = 0x00000,
        modeWrite = 0x00001,
        modeReadWrite = 0x00002,
        shareCompat = 0x00000,
        shareExclusive = 0x00010,
        shareDenyWrite = 0x00020,
        shareDenyRead = 0x00030,
        shareDenyNone = 0x00040,
        modeNoInherit = 0x00080,
        modeCreate = 0x01000,
        modeNoTruncate = 0x02000,
        typeText = 0x04000,
        typeBinary = 0x08000,
        osNoBuffer = 0x10000,
        osWriteThrough = 0x20000,
        osRandomAccess = 0x40000,
        osSequentialScan = 0x80000,
    };

    enum SeekPosition
    {
        begin = 0x0,
        current = 0x1,
        end = 0x2
    };

    // The handle of a closed file.
    static constexpr shared::platform::FileHandle hFileNull = shared::platform::kNoFileHandle;

    CFile();
    // Attaches an open handle; the file closes it when it is closed or destroyed.
    explicit CFile(shared::platform::FileHandle hFile);
    // Opens the file and throws a CFileException* when that fails.
    CFile(LPCTSTR lpszFileName, UINT nOpenFlags);
    virtual ~CFile();

    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    virtual BOOL Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError = nullptr);

    virtual UINT Read(void* lpBuf, UINT nCount);
    virtual void Write(const void* lpBuf, UINT nCount);

    virtual ULONGLONG Seek(LONGLONG lOff, UINT nFrom);
    void SeekToBegin();
    ULONGLONG SeekToEnd();
    virtual ULONGLONG GetPosition() const;
    virtual ULONGLONG GetLength() const;
    // Moves the position to the new length, then cuts or extends the file there.
    virtual void SetLength(ULONGLONG dwNewLen);

    // Forces written data to the storage device.
    virtual void Flush();
    virtual void Close();
    // Closes without reporting errors; harmless on a closed file.
    virtual void Abort();

    virtual CString GetFileName() const;
    virtual CString GetFileTitle() const;
    virtual CString GetFilePath() const;
    virtual void SetFilePath(LPCTSTR lpszNewName);

    // Replaces an existing target in one atomic step, which safe saves through a temporary file
    // rely on.
    static void PASCAL Rename(LPCTSTR lpszOldName, LPCTSTR lpszNewName);
    static void PASCAL Remove(LPCTSTR lpszFileName);

    // The platform's handle, hFileNull when closed.
    shared::platform::FileHandle m_hFile;

protected:
    BOOL m_bCloseOnDelete;
    CString m_strFileName;

    // Opens the handle for the flags; returns the platform's error code on failure, 0 on
    // success.
    shared::platform::FileError OpenHandle(LPCTSTR lpszFileName, UINT nOpenFlags);
    [[noreturn]] void ThrowLastError(shared::platform::FileError error) const;
    // Throws invalidFile when the file is closed.
    void CheckOpen() const;
};
