#pragma once

// The Windows base types that code written against MFC expects. Sizes follow the Windows
// (LLP64) data model where the width is part of a file format or of an API contract: LONG and
// DWORD are 32 bits on every platform, and WORD/BYTE are unsigned 16/8 bits. Characters are
// 8-bit throughout this library, so the TCHAR family maps onto char.

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
// On Windows the real declarations serve, so that code using this library can also include
// <windows.h>; only what MFC adds on top is declared below.
#include <tchar.h>
#include <windows.h>
using PCXSTR = const char*;
using PXSTR = char*;
#else
using BOOL = int;
#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using INT = int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using SHORT = short;
using USHORT = unsigned short;
// `long long`, not int64_t (which is `long` on 64-bit Linux): a `long` must stay a distinct type
// so that archives write it as the 32-bit Windows long, the width files from Windows carry.
using LONGLONG = long long;
using ULONGLONG = unsigned long long;
using INT_PTR = std::ptrdiff_t;
using UINT_PTR = std::size_t;
using LONG_PTR = std::ptrdiff_t;
using DWORD_PTR = std::size_t;
using SIZE_T = std::size_t;

using CHAR = char;
using TCHAR = char;
using LPSTR = char*;
using LPCSTR = const char*;
using LPTSTR = char*;
using LPCTSTR = const char*;
using PCXSTR = const char*;
using PXSTR = char*;
using LPVOID = void*;
using LPCVOID = const void*;
using PUINT = UINT*;
using LPBYTE = BYTE*;
using LPWORD = WORD*;
using LPDWORD = DWORD*;
using LPLONG = LONG*;

#ifndef _T
#define _T(x) x
#endif
#ifndef _TEXT
#define _TEXT(x) x
#endif

// Calling-convention and linkage decorations of the Windows headers; meaningless elsewhere.
#ifndef PASCAL
#define PASCAL
#endif
#ifndef WINAPI
#define WINAPI
#endif
#ifndef CALLBACK
#define CALLBACK
#endif

// Windows' broken-down time (GetSystemTime/GetLocalTime/SetSystemTime). wDayOfWeek counts from
// 0 = Sunday.
struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

// Message-box answers and styles, for the framework's error reporting (there is no message box
// here, but code passes and compares these values).
#ifndef IDOK
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#endif
#ifndef MB_OK
#define MB_OK 0x00000000L
#define MB_OKCANCEL 0x00000001L
#define MB_YESNO 0x00000004L
#define MB_ICONERROR 0x00000010L
#define MB_ICONQUESTION 0x00000020L
#define MB_ICONEXCLAMATION 0x00000030L
#define MB_ICONINFORMATION 0x00000040L
#endif

// Locale identifiers, accepted where MFC takes them; the library formats one way regardless.
using LCID = DWORD;
#ifndef LANG_USER_DEFAULT
#define LANG_USER_DEFAULT 0x0400
#endif
#endif // _WIN32

#ifndef AFXAPI
#define AFXAPI
#endif
#ifndef AFX_COMDAT
#define AFX_COMDAT
#endif
// A macro rather than an alias so that "unsigned __int64" keeps working as it does in MSVC.
#if !defined(_MSC_VER) && !defined(__int64)
#define __int64 long long
#endif

// The OLE automation date: days since 1899-12-30 00:00, the fraction being the time of day.
using DATE = double;

// An opaque iterator into the framework's lists. Only the list that handed it out can read it.
struct __POSITION
{
};
using POSITION = __POSITION*;
