#pragma once

// The framework's binary archive: a buffered reader or writer over a CFile that produces and
// consumes exactly the bytes MFC's CArchive does, so files move between the Windows
// application and this library unchanged.
//
// Wire format (little-endian on disk whatever the host):
//   - integers in their width; bool and char as one byte; float and double in IEEE form;
//   - strings: length prefix of 1 byte, or 0xFF + 16-bit, or 0xFF 0xFFFF + 32-bit (or, past
//     that, 0xFF 0xFFFF 0xFFFFFFFF + 64-bit), then the characters without terminator. The
//     prefix 0xFF 0xFFFE marks UTF-16 text written by a Unicode build; it is read and converted
//     to this library's 8-bit text (code points above 0xFF become '?');
//   - dates and spans: 32-bit status, then the 8-byte double;
//   - objects: a 16-bit tag. 0x0000 is the null object. 0xFFFF introduces a new class
//     (16-bit schema, 16-bit name length, name) followed by the object's own Serialize body.
//     0x8000 | i refers to the class with index i, followed by a new object of that class.
//     i alone (below 0x7FFF) refers back to the object with index i. Classes and objects share
//     one index sequence counted from 1. From index 0x7FFF on, the tag is 0x7FFF followed by a
//     32-bit index, with the bit 0x80000000 set for a class.
//
// `long` follows the width the framework's types give it: 32 bits (as on Windows, where files
// written with `long` members come from) unless LONGLONG itself is `long` on this host, in
// which case it is 64 bits. Persisted members should say LONG or LONGLONG to be unambiguous.
//
// Errors are thrown by pointer, exactly as the framework does: a CArchiveException* (end of
// file, bad index, bad class, bad schema, wrong direction) or the CFileException* of the file
// beneath. The catcher frees it with Delete(). A truncated or corrupt input always ends in
// such an exception; the archive never reads past the data the file returns.
//
// Objects read through ReadObject belong to the caller. A back-reference in the input hands
// out the same pointer again, as the framework does; callers that free what they read call
// UnmapObject first, so a corrupt file cannot make them free a pointer twice.

#include <cstring>
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>
#include <type_traits>
#include <unordered_map>
#include <vector>

class COleDateTime;
class COleDateTimeSpan;

class SHARED_API CArchive
{
public:
    enum Mode
    {
        store = 0,
        load = 1,
        bNoFlushOnDelete = 2,
        bNoByteSwap = 4
    };

    // Buffers smaller than this are enlarged to it.
    static constexpr int nBufSizeMin = 128;

    // nBufSize bytes of buffer; lpBuf, when given, is used instead of an own allocation and
    // must outlive the archive. The file is not owned.
    CArchive(CFile* pFile, UINT nMode, int nBufSize = 4096, void* lpBuf = nullptr);
    // Closes (flushing a store archive) unless bNoFlushOnDelete was given; errors are dropped.
    ~CArchive();

    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    BOOL IsLoading() const { return (m_nMode & load) != 0; }
    BOOL IsStoring() const { return (m_nMode & load) == 0; }
    BOOL IsByteSwapping() const { return FALSE; }
    // TRUE when a load archive has no buffered bytes left.
    BOOL IsBufferEmpty() const { return m_bufCur == m_bufMax; }
    CFile* GetFile() const { return m_pFile; }

    // Store: writes the buffer to the file. Load: gives back the read-ahead so the file's
    // position is just past the last byte consumed.
    void Flush();
    // Flushes and detaches from the file, which stays open.
    void Close();
    // Detaches without flushing; buffered output is dropped. Never throws.
    void Abort();

    // Raw bytes. Read returns the count read, fewer at the end of the file, and never throws
    // for the end.
    UINT Read(void* lpBuf, UINT nMax);
    void Write(const void* lpBuf, UINT nMax);

    // Text lines: ReadString stops at a line feed and drops it with a carriage return before
    // it; it returns FALSE at the end of the file when nothing was read. WriteString writes
    // the characters as they are, without terminator or line ending.
    BOOL ReadString(CString& rString);
    LPTSTR ReadString(LPTSTR lpsz, UINT nMax);
    void WriteString(LPCTSTR lpsz);

    // The framework's element count of collections: 16 bits, or 0xFFFF + 32 bits, or
    // 0xFFFF 0xFFFFFFFF + 64 bits.
    DWORD_PTR ReadCount();
    void WriteCount(DWORD_PTR dwCount);

    // Objects.
    CObject* ReadObject(const CRuntimeClass* pClass);
    void WriteObject(const CObject* pOb);
    // Store: registers an object as already written, so later writes refer to it by index.
    // Load: registers an object that later back-references in the input may name.
    void MapObject(const CObject* pOb);
    // Load: tells the archive that an object it handed out has been freed, so a later
    // back-reference to it fails with badIndex instead of handing out a dangling pointer.
    // Not in the framework; readers that copy and free what they read should call it.
    void UnmapObject(const CObject* pOb);

    void WriteClass(const CRuntimeClass* pClassRef);
    // Reads a class tag. With pClassRefRequested, the class read must derive from it
    // (badClass otherwise). A tag that names an object instead of a class is badIndex unless
    // pObTag is given, in which case the tag goes there and the result is null.
    CRuntimeClass* ReadClass(const CRuntimeClass* pClassRefRequested = nullptr,
                             UINT* pSchema = nullptr, DWORD* pObTag = nullptr);
    void SerializeClass(const CRuntimeClass* pClassRef);

    // The schema of the object being read, as the file gave it; -1 after the first call
    // within one Serialize.
    UINT GetObjectSchema();
    void SetObjectSchema(UINT nSchema) { m_nObjectSchema = nSchema; }

    // Tuning knobs of the framework; accepted and without effect here.
    void SetStoreParams(UINT nHashSize = 2053, UINT nBlockSize = 128);
    void SetLoadParams(UINT nGrowBy = 1024);

    // Primitive values.
    CArchive& operator<<(bool b) { return WriteRaw<BYTE>(b ? 1 : 0); }
    CArchive& operator<<(char ch) { return WriteRaw<BYTE>(static_cast<BYTE>(ch)); }
    CArchive& operator<<(signed char ch) { return WriteRaw<BYTE>(static_cast<BYTE>(ch)); }
    CArchive& operator<<(unsigned char by) { return WriteRaw<BYTE>(by); }
    CArchive& operator<<(short w) { return WriteRaw<WORD>(static_cast<WORD>(w)); }
    CArchive& operator<<(unsigned short w) { return WriteRaw<WORD>(w); }
    CArchive& operator<<(wchar_t ch) { return WriteRaw<WORD>(static_cast<WORD>(ch)); }
    CArchive& operator<<(int i) { return WriteRaw<DWORD>(static_cast<DWORD>(i)); }
    CArchive& operator<<(unsigned int u) { return WriteRaw<DWORD>(u); }
    CArchive& operator<<(long l) { return WriteRaw<LongWire>(static_cast<LongWire>(l)); }
    CArchive& operator<<(unsigned long l) { return WriteRaw<LongWire>(static_cast<LongWire>(l)); }
    CArchive& operator<<(long long l) { return WriteRaw<ULONGLONG>(static_cast<ULONGLONG>(l)); }
    CArchive& operator<<(unsigned long long l)
    {
        return WriteRaw<ULONGLONG>(static_cast<ULONGLONG>(l));
    }
    CArchive& operator<<(float f);
    CArchive& operator<<(double d);

    CArchive& operator>>(bool& b);
    CArchive& operator>>(char& ch) { return ReadInto<BYTE>(ch); }
    CArchive& operator>>(signed char& ch) { return ReadInto<BYTE>(ch); }
    CArchive& operator>>(unsigned char& by) { return ReadInto<BYTE>(by); }
    CArchive& operator>>(short& w) { return ReadInto<WORD>(w); }
    CArchive& operator>>(unsigned short& w) { return ReadInto<WORD>(w); }
    CArchive& operator>>(wchar_t& ch)
    {
        ch = static_cast<wchar_t>(ReadRaw<WORD>());
        return *this;
    }
    CArchive& operator>>(int& i) { return ReadInto<DWORD>(i); }
    CArchive& operator>>(unsigned int& u) { return ReadInto<DWORD>(u); }
    CArchive& operator>>(long& l) { return ReadInto<LongWire>(l); }
    CArchive& operator>>(unsigned long& l) { return ReadInto<LongWire>(l); }
    CArchive& operator>>(long long& l) { return ReadInto<ULONGLONG>(l); }
    CArchive& operator>>(unsigned long long& l) { return ReadInto<ULONGLONG>(l); }
    CArchive& operator>>(float& f);
    CArchive& operator>>(double& d);

    // Strings, dates and objects (the framework declares these as friends of its types).
    CArchive& operator<<(const CString& str);
    CArchive& operator>>(CString& str);
    CArchive& operator<<(const COleDateTime& date);
    CArchive& operator>>(COleDateTime& date);
    CArchive& operator<<(const COleDateTimeSpan& span);
    CArchive& operator>>(COleDateTimeSpan& span);
    // The framework would write a bare character pointer as a bool (the pointer's truth);
    // that is never what the caller meant, so it does not compile here. Say CString.
    CArchive& operator<<(const char* psz) = delete;

    // The archive's file name, used in exception texts.
    CString m_strFileName;
    // Free for the application's document, as in the framework.
    void* m_pDocument = nullptr;
    BOOL m_bForceFlat = TRUE;

private:
    // 4 bytes where `long` is the Windows 32-bit long; 8 where this host's LONGLONG is long.
    using LongWire = std::conditional_t<std::is_same_v<LONGLONG, long>, ULONGLONG, DWORD>;

    template <typename Wire> CArchive& WriteRaw(Wire value)
    {
        unsigned char bytes[sizeof(Wire)];
        for (size_t i = 0; i < sizeof(Wire); ++i)
        {
            bytes[i] = static_cast<unsigned char>(static_cast<ULONGLONG>(value) >> (8 * i));
        }
        WriteBytes(bytes, sizeof(Wire));
        return *this;
    }

    template <typename Wire> Wire ReadRaw()
    {
        unsigned char bytes[sizeof(Wire)];
        ReadBytes(bytes, sizeof(Wire));
        ULONGLONG value = 0;
        for (size_t i = 0; i < sizeof(Wire); ++i)
        {
            value |= static_cast<ULONGLONG>(bytes[i]) << (8 * i);
        }
        return static_cast<Wire>(value);
    }

    // Reads the wire width and widens or narrows into the caller's type; signed targets
    // whose wire is narrower are sign-extended from the wire width.
    template <typename Wire, typename T> CArchive& ReadInto(T& target)
    {
        const Wire raw = ReadRaw<Wire>();
        if constexpr (std::is_signed_v<T> && sizeof(Wire) < sizeof(T))
        {
            using SignedWire = std::make_signed_t<Wire>;
            target = static_cast<T>(static_cast<SignedWire>(raw));
        }
        else
        {
            target = static_cast<T>(raw);
        }
        return *this;
    }

    void WriteBytes(const void* data, size_t count);
    // Fills exactly count bytes or throws endOfFile.
    void ReadBytes(void* data, size_t count);
    // Makes count bytes available in the buffer or throws endOfFile.
    void FillBuffer(size_t count);
    void RequireLoading() const;
    void RequireStoring() const;
    [[noreturn]] void Throw(int cause) const;
    void CheckCount() const;

    CFile* m_pFile;
    UINT m_nMode;
    std::vector<BYTE> m_ownBuffer;
    BYTE* m_bufStart = nullptr;
    BYTE* m_bufCur = nullptr;
    BYTE* m_bufMax = nullptr;
    size_t m_bufSize = 0;

    UINT m_nObjectSchema = static_cast<UINT>(-1);
    // Index 0 is the null object; classes and objects take the following indices in turn.
    DWORD m_nMapCount = 1;
    // Storing: what was written, with its index.
    std::unordered_map<const void*, DWORD> m_storeMap;
    // Loading: what each index names, and which kind it is.
    struct LoadEntry
    {
        CRuntimeClass* pClass = nullptr; // the class, or the class the object was read as
        CObject* pObject = nullptr;
        UINT schema = 0; // for a class: the schema the file gave it
        bool isClass = false;
        bool forgotten = false; // the object was freed; references to it are bad
    };
    std::vector<LoadEntry> m_loadArray;
    // Loading: where each object still handed out stands in m_loadArray.
    std::unordered_map<const CObject*, DWORD> m_loadIndex;
};

// The framework's free operators for objects.
SHARED_API CArchive& AFXAPI operator<<(CArchive& ar, const CObject* pOb);
SHARED_API CArchive& AFXAPI operator>>(CArchive& ar, CObject*& pOb);
SHARED_API CArchive& AFXAPI operator>>(CArchive& ar, const CObject*& pOb);

// The string length prefix on its own. nCharSize receives 1 for 8-bit text, 2 for UTF-16.
SHARED_API UINT_PTR AFXAPI AfxReadStringLength(CArchive& ar, int& nCharSize);
SHARED_API void AFXAPI AfxWriteStringLength(CArchive& ar, UINT_PTR nLength, BOOL bUnicode);
