#ifdef _WIN32

#include <shared/platform/FileSystem.h>
#include <shared/platform/SystemError.h>
#include <windows.h>

namespace shared::platform
{
namespace
{

FileError LastError()
{
    return static_cast<FileError>(::GetLastError());
}

HANDLE Native(FileHandle handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

FileError Open(const char* path, unsigned openFlags, FileHandle& handle)
{
    handle = kNoFileHandle;
    DWORD access = 0;
    if ((openFlags & fileopen::kRead) != 0)
        access |= GENERIC_READ;
    if ((openFlags & fileopen::kWrite) != 0)
        access |= GENERIC_WRITE;
    if (access == 0)
        return ERROR_INVALID_PARAMETER;
    const bool create = (openFlags & fileopen::kCreate) != 0;
    const bool truncate = (openFlags & fileopen::kTruncate) != 0;
    DWORD disposition = OPEN_EXISTING;
    if (create && (openFlags & fileopen::kExclusive) != 0)
        disposition = CREATE_NEW;
    else if (create)
        disposition = truncate ? CREATE_ALWAYS : OPEN_ALWAYS;
    else if (truncate)
        disposition = TRUNCATE_EXISTING;
    // Others may read and write alongside, and a save may rename or delete the file while it is
    // open, as MFC's shareDenyNone lets them; Windows otherwise refuses the atomic replacement.
    const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    DWORD attributes = FILE_ATTRIBUTE_NORMAL;
    if ((openFlags & fileopen::kWriteThrough) != 0)
        attributes |= FILE_FLAG_WRITE_THROUGH;
    const DWORD existing = ::GetFileAttributesA(path);
    if (existing != INVALID_FILE_ATTRIBUTES && (existing & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return fileerror::kIsDirectory;
    HANDLE file = ::CreateFileA(path, access, share, nullptr, disposition, attributes, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return LastError();
    handle = reinterpret_cast<FileHandle>(file);
    return 0;
}

FileError Read(FileHandle handle, void* buffer, std::size_t count, std::size_t& got)
{
    DWORD n = 0;
    const DWORD want = count > 0x40000000u ? 0x40000000u : static_cast<DWORD>(count);
    if (!::ReadFile(Native(handle), buffer, want, &n, nullptr))
    {
        // The writer of a pipe has gone: the end of the data, as on POSIX.
        if (::GetLastError() == ERROR_BROKEN_PIPE)
        {
            got = 0;
            return 0;
        }
        return LastError();
    }
    got = n;
    return 0;
}

FileError Write(FileHandle handle, const void* data, std::size_t count, std::size_t& put)
{
    DWORD n = 0;
    const DWORD want = count > 0x40000000u ? 0x40000000u : static_cast<DWORD>(count);
    if (!::WriteFile(Native(handle), data, want, &n, nullptr))
        return LastError();
    put = n;
    return 0;
}

FileError Seek(FileHandle handle, std::int64_t offset, EFileSeek from, std::int64_t& position)
{
    const DWORD method = from == EFileSeek::begin     ? FILE_BEGIN
                         : from == EFileSeek::current ? FILE_CURRENT
                                                      : FILE_END;
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    LARGE_INTEGER at;
    if (!::SetFilePointerEx(Native(handle), distance, &at, method))
        return LastError();
    position = at.QuadPart;
    return 0;
}

FileError GetSize(FileHandle handle, std::int64_t& size)
{
    LARGE_INTEGER value;
    if (!::GetFileSizeEx(Native(handle), &value))
        return LastError();
    size = value.QuadPart;
    return 0;
}

FileError SetSize(FileHandle handle, std::int64_t size)
{
    // SetEndOfFile cuts at the file pointer, which must stay where the caller left it.
    LARGE_INTEGER zero{};
    LARGE_INTEGER was;
    if (!::SetFilePointerEx(Native(handle), zero, &was, FILE_CURRENT))
        return LastError();
    LARGE_INTEGER to;
    to.QuadPart = size;
    FileError error = 0;
    if (!::SetFilePointerEx(Native(handle), to, nullptr, FILE_BEGIN) ||
        !::SetEndOfFile(Native(handle)))
        error = LastError();
    ::SetFilePointerEx(Native(handle), was, nullptr, FILE_BEGIN);
    return error;
}

FileError Sync(FileHandle handle)
{
    if (::FlushFileBuffers(Native(handle)))
        return 0;
    // Consoles and pipes cannot be flushed; that is not a failure of the data.
    const DWORD error = ::GetLastError();
    return error == ERROR_INVALID_HANDLE || error == ERROR_INVALID_FUNCTION ? 0 : LastError();
}

FileError Close(FileHandle handle)
{
    return ::CloseHandle(Native(handle)) ? 0 : LastError();
}

FileError Rename(const char* from, const char* to)
{
    return ::MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)
               ? 0
               : LastError();
}

FileError RenameNoReplace(const char* from, const char* to)
{
    if (::MoveFileExA(from, to, MOVEFILE_WRITE_THROUGH))
        return 0;
    // Windows says "already exists" in two ways; callers test for one.
    const DWORD error = ::GetLastError();
    return error == ERROR_ALREADY_EXISTS ? fileerror::kExists : static_cast<FileError>(error);
}

FileError Remove(const char* path)
{
    return ::DeleteFileA(path) ? 0 : LastError();
}

FileError SyncFolder(const char*)
{
    // MOVEFILE_WRITE_THROUGH already made the rename durable.
    return 0;
}

FileError ListFolder(const char* folder, std::vector<std::string>& names)
{
    std::string pattern = folder;
    if (!pattern.empty() && pattern.back() != '\\' && pattern.back() != '/')
        pattern += '\\';
    pattern += '*';
    WIN32_FIND_DATAA entry;
    HANDLE find = ::FindFirstFileA(pattern.c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
    {
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? 0 : static_cast<FileError>(error);
    }
    do
    {
        const std::string name = entry.cFileName;
        if (name != "." && name != "..")
            names.push_back(name);
    } while (::FindNextFileA(find, &entry));
    ::FindClose(find);
    return 0;
}

FileError SetPermissions(FileHandle handle, unsigned permissions)
{
    FILE_BASIC_INFO info{};
    if (!::GetFileInformationByHandleEx(Native(handle), FileBasicInfo, &info, sizeof info))
        return LastError();
    if ((permissions & 0200) != 0)
        info.FileAttributes &= ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    else
        info.FileAttributes |= FILE_ATTRIBUTE_READONLY;
    if (info.FileAttributes == 0)
        info.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    return ::SetFileInformationByHandle(Native(handle), FileBasicInfo, &info, sizeof info)
               ? 0
               : LastError();
}

FileError SetModificationTime(FileHandle handle, std::int64_t utcSeconds)
{
    // FILETIME counts 100 ns steps from 1601; 11644473600 s separate that from 1970.
    const auto ticks = static_cast<std::uint64_t>((utcSeconds + 11644473600LL) * 10000000LL);
    FILETIME time;
    time.dwLowDateTime = static_cast<DWORD>(ticks);
    time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return ::SetFileTime(Native(handle), nullptr, nullptr, &time) ? 0 : LastError();
}

} // namespace

const FileSystemCalls& GetRealFileSystemCalls()
{
    // In the order of the table's declaration.
    static const FileSystemCalls real{
        Open,    Read,       Write,      Seek,           GetSize,
        SetSize, Sync,       Close,      Rename,         RenameNoReplace,
        Remove,  SyncFolder, ListFolder, SetPermissions, SetModificationTime};
    return real;
}

std::string FileErrorText(FileError error)
{
    return SystemErrorText(static_cast<unsigned long>(error));
}

} // namespace shared::platform

#endif
