#ifndef _WIN32

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <shared/platform/FileSystem.h>
#include <sys/stat.h>
#include <unistd.h>

namespace shared::platform
{
namespace
{

FileError LastError()
{
    return static_cast<FileError>(errno);
}

int Descriptor(FileHandle handle)
{
    return static_cast<int>(handle);
}

FileError Open(const char* path, unsigned openFlags, FileHandle& handle)
{
    handle = kNoFileHandle;
    int flags = O_CLOEXEC;
    const unsigned access = openFlags & (fileopen::kRead | fileopen::kWrite);
    if (access == fileopen::kRead)
        flags |= O_RDONLY;
    else if (access == fileopen::kWrite)
        flags |= O_WRONLY;
    else if (access == (fileopen::kRead | fileopen::kWrite))
        flags |= O_RDWR;
    else
        return EINVAL;
    if ((openFlags & fileopen::kCreate) != 0)
        flags |= O_CREAT;
    if ((openFlags & fileopen::kTruncate) != 0)
        flags |= O_TRUNC;
    if ((openFlags & fileopen::kExclusive) != 0)
        flags |= O_EXCL;
    if ((openFlags & fileopen::kWriteThrough) != 0)
        flags |= O_DSYNC;
    const mode_t mode = (openFlags & fileopen::kPrivate) != 0 ? 0600 : 0666;
    const int fd = ::open(path, flags, mode);
    if (fd < 0)
        return LastError();
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode))
    {
        ::close(fd);
        return EISDIR;
    }
    handle = fd;
    return 0;
}

FileError Read(FileHandle handle, void* buffer, std::size_t count, std::size_t& got)
{
    const ssize_t n = ::read(Descriptor(handle), buffer, count);
    if (n < 0)
        return LastError();
    got = static_cast<std::size_t>(n);
    return 0;
}

FileError Write(FileHandle handle, const void* data, std::size_t count, std::size_t& put)
{
    const ssize_t n = ::write(Descriptor(handle), data, count);
    if (n < 0)
        return LastError();
    put = static_cast<std::size_t>(n);
    return 0;
}

FileError Seek(FileHandle handle, std::int64_t offset, EFileSeek from, std::int64_t& position)
{
    const int whence = from == EFileSeek::begin     ? SEEK_SET
                       : from == EFileSeek::current ? SEEK_CUR
                                                    : SEEK_END;
    const off_t at = ::lseek(Descriptor(handle), static_cast<off_t>(offset), whence);
    if (at < 0)
        return LastError();
    position = static_cast<std::int64_t>(at);
    return 0;
}

FileError GetSize(FileHandle handle, std::int64_t& size)
{
    struct stat info;
    if (::fstat(Descriptor(handle), &info) != 0)
        return LastError();
    size = static_cast<std::int64_t>(info.st_size);
    return 0;
}

FileError SetSize(FileHandle handle, std::int64_t size)
{
    return ::ftruncate(Descriptor(handle), static_cast<off_t>(size)) == 0 ? 0 : LastError();
}

FileError Sync(FileHandle handle)
{
    if (::fsync(Descriptor(handle)) == 0)
        return 0;
    // Pipes and terminals cannot be synchronised; that is not a failure of the data.
    return errno == EINVAL || errno == EROFS ? 0 : LastError();
}

FileError Close(FileHandle handle)
{
    // The descriptor is released even when close() reports EINTR, so that is no failure.
    if (::close(Descriptor(handle)) == 0 || errno == EINTR)
        return 0;
    return LastError();
}

FileError Rename(const char* from, const char* to)
{
    return ::rename(from, to) == 0 ? 0 : LastError();
}

FileError RenameNoReplace(const char* from, const char* to)
{
#ifdef RENAME_NOREPLACE
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return LastError();
#endif
    // File systems without the flag: a hard link also refuses an existing name; the old name
    // goes after.
    if (::link(from, to) != 0)
        return LastError();
    ::unlink(from);
    return 0;
}

FileError Remove(const char* path)
{
    return ::unlink(path) == 0 ? 0 : LastError();
}

FileError SyncFolder(const char* folder)
{
    const int fd = ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return LastError();
    const FileError error = ::fsync(fd) == 0 || errno == EINVAL ? 0 : LastError();
    ::close(fd);
    return error;
}

FileError ListFolder(const char* folder, std::vector<std::string>& names)
{
    DIR* dir = ::opendir(folder);
    if (dir == nullptr)
        return LastError();
    while (const dirent* entry = ::readdir(dir))
    {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    ::closedir(dir);
    return 0;
}

FileError SetPermissions(FileHandle handle, unsigned permissions)
{
    return ::fchmod(Descriptor(handle), static_cast<mode_t>(permissions & 0777)) == 0 ? 0
                                                                                      : LastError();
}

FileError SetModificationTime(FileHandle handle, std::int64_t utcSeconds)
{
    const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(utcSeconds), 0}};
    return ::futimens(Descriptor(handle), times) == 0 ? 0 : LastError();
}

} // namespace

const FileSystemCalls& GetRealFileSystemCalls()
{
    static const FileSystemCalls real{.open = Open,
                                      .read = Read,
                                      .write = Write,
                                      .seek = Seek,
                                      .getSize = GetSize,
                                      .setSize = SetSize,
                                      .sync = Sync,
                                      .close = Close,
                                      .rename = Rename,
                                      .renameNoReplace = RenameNoReplace,
                                      .remove = Remove,
                                      .syncFolder = SyncFolder,
                                      .listFolder = ListFolder,
                                      .setPermissions = SetPermissions,
                                      .setModificationTime = SetModificationTime};
    return real;
}

std::string FileErrorText(FileError error)
{
    return std::strerror(static_cast<int>(error));
}

} // namespace shared::platform

#endif
