// Version resources from arbitrary bytes, read both as a PE image and as a bare VS_VERSIONINFO
// block: nothing may read outside the input, every value found lies inside the block it came
// from, and reading the same bytes from a file gives the same resource as reading them from
// memory.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <shared/platform/VersionResource.h>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace platform = shared::platform;

namespace
{

void ExpectInside(std::span<const std::uint8_t> block, const platform::VersionValue& value)
{
    if (!value.bytes.empty() &&
        (value.bytes.data() < block.data() ||
         value.bytes.data() + value.bytes.size() > block.data() + block.size()))
        std::abort();
}

void ReadBlock(std::span<const std::uint8_t> block)
{
    for (const char* path : {"\\", "\\VarFileInfo\\Translation",
                             "\\StringFileInfo\\040904b0\\CompanyName", "\\StringFileInfo"})
    {
        if (const auto value = platform::QueryVersionValue(block, path))
        {
            ExpectInside(block, *value);
            platform::VersionValueText(*value);
        }
    }
    platform::ReadFixedFileInfo(block);
    platform::ReadTranslations(block);
    platform::ReadStringTables(block);
}

// The same bytes through the file reader, via an in-memory file.
std::optional<std::vector<std::uint8_t>> ReadThroughFile(std::span<const std::uint8_t> bytes)
{
    static const int fd = ::memfd_create("file_version_fuzz", MFD_CLOEXEC);
    if (fd < 0 || ::ftruncate(fd, 0) != 0 ||
        ::pwrite(fd, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        std::abort();
    const std::string path = "/proc/self/fd/" + std::to_string(fd);
    return platform::ReadVersionResource(path.c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    const std::span<const std::uint8_t> bytes(data, size);
    const auto resource = platform::ExtractVersionResource(bytes);
    if (resource)
        ReadBlock(*resource);
    if (ReadThroughFile(bytes) != resource)
        std::abort();
    ReadBlock(bytes);
    return 0;
}
