#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <shared/platform/SystemError.h>
#include <string_view>
#include <utility>

namespace shared::platform
{
namespace
{

struct MessageEntry
{
    unsigned long code;
    std::string_view text;
};

// The US English texts of the Windows system message table (winerror.h / FormatMessageA with
// FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS), trailing "\r\n" removed.
// Sorted by code for the binary search below.
constexpr std::array<MessageEntry, 57> kMessages{{
    {0, "The operation completed successfully."},
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {4, "The system cannot open the file."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {8, "Not enough memory resources are available to process this command."},
    {13, "The data is invalid."},
    {17, "The system cannot move the file to a different disk drive."},
    {20, "The system cannot find the device specified."},
    {21, "The device is not ready."},
    {22, "The device does not recognize the command."},
    {23, "Data error (cyclic redundancy check)."},
    {29, "The system cannot write to the specified device."},
    {30, "The system cannot read from the specified device."},
    {31, "A device attached to the system is not functioning."},
    {32, "The process cannot access the file because it is being used by another process."},
    {33, "The process cannot access the file because another process has locked a portion of "
         "the file."},
    {38, "Reached the end of the file."},
    {50, "The request is not supported."},
    {55, "The specified network resource or device is no longer available."},
    {80, "The file exists."},
    {87, "The parameter is incorrect."},
    {109, "The pipe has been ended."},
    {110, "The system cannot open the device or file specified."},
    {112, "There is not enough space on the disk."},
    {121, "The semaphore timeout period has expired."},
    {122, "The data area passed to a system call is too small."},
    {123, "The filename, directory name, or volume label syntax is incorrect."},
    {145, "The directory is not empty."},
    {161, "The specified path is invalid."},
    {170, "The requested resource is in use."},
    {183, "Cannot create a file when that file already exists."},
    {193, "%1 is not a valid Win32 application."},
    {206, "The filename or extension is too long."},
    {234, "More data is available."},
    {258, "The wait operation timed out."},
    {259, "No more data is available."},
    {995, "The I/O operation has been aborted because of either a thread exit or an application "
          "request."},
    {996, "Overlapped I/O event is not in a signaled state."},
    {997, "Overlapped I/O operation is in progress."},
    {998, "Invalid access to memory location."},
    {1009, "The configuration registry database is corrupt."},
    {1010, "The configuration registry key is invalid."},
    {1011, "The configuration registry key could not be opened."},
    {1012, "The configuration registry key could not be read."},
    {1013, "The configuration registry key could not be written."},
    {1018, "Illegal operation attempted on a registry key that has been marked for deletion."},
    {1117, "The request could not be performed because of an I/O device error."},
    {1167, "The device is not connected."},
    {1168, "Element not found."},
    {1460, "This operation returned because the timeout period expired."},
    {1812, "The specified image file did not contain a resource section."},
    {1813, "The specified resource type cannot be found in the image file."},
    {1814, "The specified resource name cannot be found in the image file."},
    {1815, "The specified resource language ID cannot be found in the image file."},
}};

static_assert(std::is_sorted(kMessages.begin(), kMessages.end(),
                             [](const MessageEntry& a, const MessageEntry& b)
                             { return a.code < b.code; }));

// errno values whose meaning a Windows code states exactly, as a Win32 call in the same
// situation would report it. A missing device node reads as "file not found" because that is
// what CreateFile says for a COM port that does not exist.
constexpr std::array<std::pair<int, unsigned long>, 26> kErrnoToWin{{
    {EPERM, winerror::kAccessDenied},
    {ENOENT, winerror::kFileNotFound},
    {EIO, winerror::kIoDevice},
    {ENXIO, winerror::kFileNotFound},
    {EBADF, winerror::kInvalidHandle},
    {ENOMEM, winerror::kNotEnoughMemory},
    {EACCES, winerror::kAccessDenied},
    {EFAULT, winerror::kNoaccess},
    {EBUSY, winerror::kBusy},
    {EEXIST, winerror::kFileExists},
    {EXDEV, winerror::kNotSameDevice},
    {ENODEV, winerror::kFileNotFound},
    {ENOTDIR, winerror::kPathNotFound},
    {EISDIR, winerror::kAccessDenied},
    {EINVAL, winerror::kInvalidParameter},
    {EMFILE, winerror::kTooManyOpenFiles},
    {ENOSPC, winerror::kDiskFull},
    {EROFS, winerror::kAccessDenied},
    {EPIPE, winerror::kBrokenPipe},
    {ENAMETOOLONG, winerror::kFilenameExcedRange},
    {ENOTEMPTY, winerror::kDirNotEmpty},
    {ENOTSUP, winerror::kNotSupported},
    {ETIMEDOUT, winerror::kTimeout},
    {ECANCELED, winerror::kOperationAborted},
    {ENOTCONN, winerror::kDeviceNotConnected},
    {ENOBUFS, winerror::kNotEnoughMemory},
}};

// strerror_r comes in two flavours (GNU returns the text, XSI fills the buffer); overloads pick
// the right reading of whichever one the C library declares.
[[maybe_unused]] std::string FromStrerror(const char* result, const char*)
{
    return result;
}
[[maybe_unused]] std::string FromStrerror(int result, const char* buffer)
{
    return result == 0 ? std::string(buffer) : std::string();
}

} // namespace

unsigned long WinErrorFromErrno(int err)
{
    if (err == 0)
    {
        return winerror::kSuccess;
    }
    for (const auto& [e, code] : kErrnoToWin)
    {
        if (e == err)
        {
            return code;
        }
    }
    return kErrnoErrorFlag | static_cast<unsigned long>(err);
}

int ErrnoFromWinError(unsigned long code)
{
    if ((code & kErrnoErrorFlag) == 0 || (code & ~kErrnoErrorFlag) > 0xFFFFUL)
    {
        return 0;
    }
    return static_cast<int>(code & ~kErrnoErrorFlag);
}

std::string SystemErrorText(unsigned long code)
{
    if (const int err = ErrnoFromWinError(code); err != 0)
    {
        char buffer[256] = {};
#if defined(_WIN32)
        // The C runtime's thread-safe counterpart; same contract as the XSI strerror_r.
        return FromStrerror(strerror_s(buffer, sizeof buffer, err), buffer);
#else
        return FromStrerror(strerror_r(err, buffer, sizeof buffer), buffer);
#endif
    }
    const auto it =
        std::lower_bound(kMessages.begin(), kMessages.end(), code,
                         [](const MessageEntry& e, unsigned long c) { return e.code < c; });
    if (it == kMessages.end() || it->code != code)
    {
        return {};
    }
    return std::string(it->text);
}

} // namespace shared::platform
