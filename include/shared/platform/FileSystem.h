#pragma once

// The file-system calls of the library, behind one replaceable table.
//
// Everything that touches files (CFile and CStdioFile, the atomic replacement, the registry
// store, the log) goes through the calls of the installed FileSystemCalls. The real table
// wraps the host's API: descriptors and errno on POSIX, HANDLEs and GetLastError on Windows.
// A handle is therefore an opaque integer wide enough for either, and every call returns the
// host's own error code, 0 for success; the framework maps that code to a CFileException cause.
//
// Tests inject faults by copying the real table, replacing single calls and installing the copy
// for a scope (the way fmt's posix-mock does, but without link-time tricks):
//
//     auto calls = shared::platform::GetRealFileSystemCalls();
//     calls.write = [](FileHandle, const void*, std::size_t, std::size_t&) -> FileError
//     { return shared::platform::fileerror::kDiskFull; };
//     shared::platform::CScopedFileSystemCalls use(calls);
//
// The calls do no retrying of their own: an interrupted call reports kInterrupted and a write
// may be short, so that the loops above the seam (ReadSome, WriteAll) are the ones tested.

#include <cstddef>
#include <cstdint>
#include <shared/platform/Export.h>
#include <string>
#include <vector>

namespace shared::platform
{

// A descriptor (POSIX) or a HANDLE (Windows).
using FileHandle = std::intptr_t;
inline constexpr FileHandle kNoFileHandle = -1;

// errno (POSIX) or GetLastError (Windows); 0 for success.
using FileError = long;

// The codes the library itself tests for or reports, in the host's numbering.
namespace fileerror
{
#ifdef _WIN32
inline constexpr FileError kInterrupted = -1; // Win32 file calls are never interrupted
inline constexpr FileError kNotFound = 2;
inline constexpr FileError kAccessDenied = 5;
inline constexpr FileError kBadHandle = 6;
inline constexpr FileError kNotSupported = 50;
inline constexpr FileError kExists = 80;
inline constexpr FileError kInvalidArgument = 87;
inline constexpr FileError kDiskFull = 112;
inline constexpr FileError kIsDirectory = 5;
#else
inline constexpr FileError kInterrupted = 4;      // EINTR
inline constexpr FileError kNotFound = 2;         // ENOENT
inline constexpr FileError kAccessDenied = 13;    // EACCES
inline constexpr FileError kBadHandle = 9;        // EBADF
inline constexpr FileError kNotSupported = 95;    // EOPNOTSUPP
inline constexpr FileError kExists = 17;          // EEXIST
inline constexpr FileError kInvalidArgument = 22; // EINVAL
inline constexpr FileError kDiskFull = 28;        // ENOSPC
inline constexpr FileError kIsDirectory = 21;     // EISDIR
#endif
} // namespace fileerror

// How a file is opened; combine with |.
namespace fileopen
{
inline constexpr unsigned kRead = 0x01;
inline constexpr unsigned kWrite = 0x02;
inline constexpr unsigned kCreate = 0x04;    // create when missing
inline constexpr unsigned kTruncate = 0x08;  // cut an existing file to length 0
inline constexpr unsigned kExclusive = 0x10; // with kCreate: fail with kExists when present
inline constexpr unsigned kWriteThrough = 0x20;
inline constexpr unsigned kPrivate = 0x40; // readable by the owner only when created
} // namespace fileopen

enum class EFileSeek
{
    begin,
    current,
    end
};

struct SHARED_API FileSystemCalls
{
    // Opens a regular file; a folder is refused with kIsDirectory in every mode, as Windows does.
    FileError (*open)(const char* path, unsigned openFlags, FileHandle& handle);
    // One read of at most count bytes; got = 0 at the end of the file.
    FileError (*read)(FileHandle handle, void* buffer, std::size_t count, std::size_t& got);
    // One write; put may be less than count.
    FileError (*write)(FileHandle handle, const void* data, std::size_t count, std::size_t& put);
    FileError (*seek)(FileHandle handle, std::int64_t offset, EFileSeek from,
                      std::int64_t& position);
    FileError (*getSize)(FileHandle handle, std::int64_t& size);
    FileError (*setSize)(FileHandle handle, std::int64_t size);
    // Forces written data to the device; a handle that cannot be synchronised (a pipe, a
    // terminal) is not an error.
    FileError (*sync)(FileHandle handle);
    // The handle is gone afterwards whatever the result.
    FileError (*close)(FileHandle handle);
    // Moves a file over an existing one in one atomic step.
    FileError (*rename)(const char* from, const char* to);
    // Moves a file to a name that must not exist yet (kExists otherwise), atomically.
    FileError (*renameNoReplace)(const char* from, const char* to);
    FileError (*remove)(const char* path);
    // Makes the entries of a folder (a rename into it) durable; a no-op where that is implicit.
    FileError (*syncFolder)(const char* folder);
    // The names in a folder, "." and ".." excluded.
    FileError (*listFolder)(const char* folder, std::vector<std::string>& names);
    // POSIX permission bits (0777) of an open file; where the host has none, only the owner's
    // write bit counts (cleared: read-only).
    FileError (*setPermissions)(FileHandle handle, unsigned permissions);
    // The time of last modification, in seconds since 1970 UTC.
    FileError (*setModificationTime)(FileHandle handle, std::int64_t utcSeconds);
};

// The host's calls.
SHARED_API const FileSystemCalls& GetRealFileSystemCalls();

// The host's text for an error of these calls, for messages to people.
SHARED_API std::string FileErrorText(FileError error);
// The calls in use.
SHARED_API const FileSystemCalls& GetFileSystemCalls();

// Installs a copy of the calls for the lifetime of the object, then restores the previous ones.
// Installation is process-wide and the guards nest; a guard must outlive every file operation
// started while it is installed.
class SHARED_API CScopedFileSystemCalls
{
public:
    explicit CScopedFileSystemCalls(const FileSystemCalls& calls);
    ~CScopedFileSystemCalls();
    CScopedFileSystemCalls(const CScopedFileSystemCalls&) = delete;
    CScopedFileSystemCalls& operator=(const CScopedFileSystemCalls&) = delete;

private:
    FileSystemCalls m_calls;
    const FileSystemCalls* m_previous;
};

// --- Loops over the installed calls ---------------------------------------------------------

// One read, repeated while interrupted.
SHARED_API FileError ReadSome(FileHandle handle, void* buffer, std::size_t count, std::size_t& got);
// Reads until count bytes or the end of the file.
SHARED_API FileError ReadAll(FileHandle handle, void* buffer, std::size_t count, std::size_t& got);
// Writes every byte, completing short writes and retrying interrupted ones; a write that makes
// no progress reports kDiskFull.
SHARED_API FileError WriteAll(FileHandle handle, const void* data, std::size_t count);

// The folder part of a path ("." for a bare name).
SHARED_API std::string FolderOfPath(const std::string& path);

} // namespace shared::platform
