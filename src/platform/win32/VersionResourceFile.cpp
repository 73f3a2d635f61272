#include "../VersionImage.h"

#include <shared/platform/VersionResource.h>
#include <windows.h>

namespace shared::platform
{

// Windows reads the resource itself, with the loader's own choice of language; the portable
// parser then sees exactly the block that VerQueryValueA would walk.
std::optional<std::vector<std::uint8_t>> ReadVersionResource(const char* path)
{
    if (path == nullptr)
        return std::nullopt;
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeA(path, &ignored);
    if (size < 2)
        return std::nullopt;
    std::vector<std::uint8_t> data(size);
    if (!::GetFileVersionInfoA(path, 0, size, data.data()))
        return std::nullopt;
    // GetFileVersionInfoA appends a scratch area of its own after the block; the block's first
    // word is its real length.
    const std::size_t length = static_cast<std::size_t>(data[0] | (data[1] << 8));
    if (length < 2 || length > data.size())
        return std::nullopt;
    data.resize(length);
    if (!QueryVersionValue(data, "\\"))
        return std::nullopt;
    return data;
}

} // namespace shared::platform
