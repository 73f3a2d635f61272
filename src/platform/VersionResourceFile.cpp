#include "VersionImage.h"

#include <cerrno>
#include <fcntl.h>
#include <shared/platform/VersionResource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace shared::platform
{
namespace
{

class FileImage final : public ImageSource
{
public:
    explicit FileImage(int fd, std::uint64_t size) : m_fd(fd), m_size(size) {}
    bool Read(std::uint64_t offset, std::size_t count,
              std::vector<std::uint8_t>& out) const override
    {
        if (offset > m_size || count > m_size - offset)
            return false;
        out.resize(count);
        std::size_t done = 0;
        while (done < count)
        {
            const ssize_t n =
                ::pread(m_fd, out.data() + done, count - done, static_cast<off_t>(offset + done));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }

private:
    int m_fd;
    std::uint64_t m_size;
};

} // namespace

std::optional<std::vector<std::uint8_t>> ReadVersionResource(const char* path)
{
    if (path == nullptr)
        return std::nullopt;
    // Non-blocking so that a FIFO in the path cannot hang the open; regular files ignore it.
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return std::nullopt;
    std::optional<std::vector<std::uint8_t>> result;
    struct stat st
    {
    };
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode))
        result = ExtractFromImage(FileImage(fd, static_cast<std::uint64_t>(st.st_size)));
    ::close(fd);
    return result;
}

} // namespace shared::platform
