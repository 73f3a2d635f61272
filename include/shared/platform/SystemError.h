#pragma once

// Windows system error codes and their message texts on every host.
//
// The library reports failures with Windows error codes (0 for success), as its callers were
// written against Win32. On a POSIX host two kinds of code occur:
//
//   * Windows codes proper (2 "file not found", 5 "access denied", 87 "parameter incorrect",
//     1460 "timeout", ...). The host's errno values with a clear Windows equivalent are turned
//     into that code by WinErrorFromErrno (ENOENT -> 2, EACCES -> 5, EINVAL -> 87, ...), so code
//     that tests for a Windows code works unchanged.
//   * errno values without such an equivalent, carried as kErrnoErrorFlag | errno. Bit 29 is the
//     bit Windows reserves for application-defined codes, so these never collide with a system
//     code. Their text is the host's strerror_r text.
//
// SystemErrorText gives the text that FormatMessageA returns for a Windows code in US English
// (inserts such as "%1" left as they are), without the trailing line break; the table covers the
// codes this library and its serial, file and registry seams produce. Codes outside the table
// have no text (an empty string), just as FormatMessageA fails for a code it does not know.

#include <cstdint>
#include <shared/platform/Export.h>
#include <string>

namespace shared::platform
{

// Windows codes used by the library's platform seams. Named constants rather than the
// ERROR_* macros so that they never collide with <windows.h> on a Windows build.
namespace winerror
{
inline constexpr unsigned long kSuccess = 0;
inline constexpr unsigned long kInvalidFunction = 1;
inline constexpr unsigned long kFileNotFound = 2;
inline constexpr unsigned long kPathNotFound = 3;
inline constexpr unsigned long kTooManyOpenFiles = 4;
inline constexpr unsigned long kAccessDenied = 5;
inline constexpr unsigned long kInvalidHandle = 6;
inline constexpr unsigned long kNotEnoughMemory = 8;
inline constexpr unsigned long kInvalidData = 13;
inline constexpr unsigned long kNotSameDevice = 17;
inline constexpr unsigned long kBadUnit = 20;
inline constexpr unsigned long kNotReady = 21;
inline constexpr unsigned long kWriteFault = 29;
inline constexpr unsigned long kReadFault = 30;
inline constexpr unsigned long kGenFailure = 31;
inline constexpr unsigned long kSharingViolation = 32;
inline constexpr unsigned long kLockViolation = 33;
inline constexpr unsigned long kHandleEof = 38;
inline constexpr unsigned long kNotSupported = 50;
inline constexpr unsigned long kFileExists = 80;
inline constexpr unsigned long kInvalidParameter = 87;
inline constexpr unsigned long kBrokenPipe = 109;
inline constexpr unsigned long kOpenFailed = 110;
inline constexpr unsigned long kDiskFull = 112;
inline constexpr unsigned long kSemTimeout = 121;
inline constexpr unsigned long kInsufficientBuffer = 122;
inline constexpr unsigned long kInvalidName = 123;
inline constexpr unsigned long kDirNotEmpty = 145;
inline constexpr unsigned long kBadPathname = 161;
inline constexpr unsigned long kBusy = 170;
inline constexpr unsigned long kAlreadyExists = 183;
inline constexpr unsigned long kBadExeFormat = 193;
inline constexpr unsigned long kFilenameExcedRange = 206;
inline constexpr unsigned long kMoreData = 234;
inline constexpr unsigned long kWaitTimeout = 258;
inline constexpr unsigned long kNoMoreItems = 259;
inline constexpr unsigned long kOperationAborted = 995;
inline constexpr unsigned long kIoIncomplete = 996;
inline constexpr unsigned long kIoPending = 997;
inline constexpr unsigned long kNoaccess = 998;
inline constexpr unsigned long kBadDbCorrupt = 1009;
inline constexpr unsigned long kBadKey = 1010;
inline constexpr unsigned long kCantOpenKey = 1011;
inline constexpr unsigned long kCantReadKey = 1012;
inline constexpr unsigned long kCantWriteKey = 1013;
inline constexpr unsigned long kKeyDeleted = 1018;
inline constexpr unsigned long kIoDevice = 1117;
inline constexpr unsigned long kDeviceNotConnected = 1167;
inline constexpr unsigned long kNotFound = 1168;
inline constexpr unsigned long kTimeout = 1460;
inline constexpr unsigned long kResourceDataNotFound = 1812;
inline constexpr unsigned long kResourceTypeNotFound = 1813;
inline constexpr unsigned long kResourceNameNotFound = 1814;
inline constexpr unsigned long kResourceLangNotFound = 1815;
} // namespace winerror

// Marks a code that carries a host errno value without a Windows equivalent.
inline constexpr unsigned long kErrnoErrorFlag = 0x20000000UL;

// The Windows code for a host errno value: its Windows equivalent where there is one, otherwise
// kErrnoErrorFlag | err. 0 stays 0.
SHARED_API unsigned long WinErrorFromErrno(int err);

// The host errno value carried by an errno-derived code, or 0 when the code is not one.
SHARED_API int ErrnoFromWinError(unsigned long code);

// The message text for a code as described above, or an empty string for an unknown code.
SHARED_API std::string SystemErrorText(unsigned long code);

} // namespace shared::platform
