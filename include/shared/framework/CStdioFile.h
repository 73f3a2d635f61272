#pragma once

// The framework's buffered text file. The text mode is the one the library's files were
// written with on Windows, and it is the same on every host:
//   - a line feed written reaches the file as carriage return + line feed;
//   - on reading, carriage return + line feed becomes one line feed (a lone carriage return
//     is kept), so files from either world read alike.
// With typeBinary no translation happens. Positions are byte offsets in the file.
//
// Reading and writing may be mixed on one open file; the buffers are reconciled at each
// change of direction, so the position seen by the caller is always the logical one.

#include <shared/framework/CFile.h>
#include <string>
#include <vector>

class SHARED_API CStdioFile : public CFile
{
    DECLARE_DYNAMIC(CStdioFile)

public:
    CStdioFile();
    // Opens the file and throws a CFileException* when that fails.
    CStdioFile(LPCTSTR lpszFileName, UINT nOpenFlags);
    virtual ~CStdioFile();

    // Text mode unless typeBinary is given.
    virtual BOOL Open(LPCTSTR lpszFileName, UINT nOpenFlags, CFileException* pError = nullptr);

    // Writes the text; each line feed becomes carriage return + line feed in text mode.
    virtual void WriteString(LPCTSTR lpsz);

    // Reads one line without its line ending into rString. Returns FALSE, with rString
    // empty, only at the end of the file; an empty line gives TRUE and an empty string.
    virtual BOOL ReadString(CString& rString);

    // Reads at most nMax - 1 characters, stopping after a line feed, which is kept (as the
    // C library's fgets). Returns nullptr when nothing could be read at the end of the file.
    virtual LPTSTR ReadString(LPTSTR lpsz, UINT nMax);

    virtual UINT Read(void* lpBuf, UINT nCount);
    virtual void Write(const void* lpBuf, UINT nCount);
    virtual ULONGLONG Seek(LONGLONG lOff, UINT nFrom);
    virtual ULONGLONG GetPosition() const;
    virtual ULONGLONG GetLength() const;
    virtual void SetLength(ULONGLONG dwNewLen);
    virtual void Flush();
    virtual void Close();
    virtual void Abort();

private:
    static constexpr size_t kBufferSize = 4096;

    // Reads one raw byte from the buffer, refilling it; returns -1 at the end of the file.
    int GetRawByte();
    // Looks at the next raw byte without taking it; -1 at the end of the file.
    int PeekRawByte();
    // One character after the text-mode translation; -1 at the end of the file.
    int GetChar();
    bool FillReadBuffer();
    // Pushes pending output to the descriptor.
    void FlushWriteBuffer();
    // Gives back read-ahead bytes so the descriptor's position is the logical one.
    void DropReadBuffer();

    bool m_bText = true;
    std::vector<char> m_readBuffer;
    size_t m_readPos = 0;
    std::string m_writeBuffer;
};
