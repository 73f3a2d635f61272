#include <atomic>
#include <shared/platform/FileSystem.h>

namespace shared::platform
{
namespace
{
std::atomic<const FileSystemCalls*>& Installed()
{
    static std::atomic<const FileSystemCalls*> installed{nullptr};
    return installed;
}
} // namespace

const FileSystemCalls& GetFileSystemCalls()
{
    const FileSystemCalls* calls = Installed().load(std::memory_order_acquire);
    return calls != nullptr ? *calls : GetRealFileSystemCalls();
}

CScopedFileSystemCalls::CScopedFileSystemCalls(const FileSystemCalls& calls)
    : m_calls(calls), m_previous(Installed().exchange(&m_calls, std::memory_order_acq_rel))
{
}

CScopedFileSystemCalls::~CScopedFileSystemCalls()
{
    Installed().store(m_previous, std::memory_order_release);
}

FileError ReadSome(FileHandle handle, void* buffer, std::size_t count, std::size_t& got)
{
    const FileSystemCalls& calls = GetFileSystemCalls();
    FileError error;
    do
    {
        got = 0;
        error = calls.read(handle, buffer, count, got);
    } while (error == fileerror::kInterrupted);
    return error;
}

FileError ReadAll(FileHandle handle, void* buffer, std::size_t count, std::size_t& got)
{
    auto* out = static_cast<char*>(buffer);
    got = 0;
    while (got < count)
    {
        std::size_t n = 0;
        if (const FileError error = ReadSome(handle, out + got, count - got, n); error != 0)
            return error;
        if (n == 0)
            break;
        got += n;
    }
    return 0;
}

FileError WriteAll(FileHandle handle, const void* data, std::size_t count)
{
    const FileSystemCalls& calls = GetFileSystemCalls();
    const auto* in = static_cast<const char*>(data);
    while (count > 0)
    {
        std::size_t put = 0;
        const FileError error = calls.write(handle, in, count, put);
        if (error == fileerror::kInterrupted)
            continue;
        if (error != 0)
            return error;
        // A device that takes nothing without saying why is full in every way that matters.
        if (put == 0)
            return fileerror::kDiskFull;
        in += put;
        count -= put;
    }
    return 0;
}

std::string FolderOfPath(const std::string& path)
{
#ifdef _WIN32
    const auto slash = path.find_last_of("/\\");
#else
    const auto slash = path.find_last_of('/');
#endif
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? path.substr(0, 1) : path.substr(0, slash);
}

} // namespace shared::platform
