#pragma once

// The part of the version-resource reader that the file readers of each platform share.

#include <cstdint>
#include <optional>
#include <vector>

namespace shared::platform
{

// Random access to the bytes of an image, whether in memory or in a file.
class ImageSource
{
public:
    virtual ~ImageSource() = default;
    // Fills out with count bytes from offset; false unless all of them exist.
    virtual bool Read(std::uint64_t offset, std::size_t count,
                      std::vector<std::uint8_t>& out) const = 0;
};

// The version resource of the image, or nullopt when it has none.
std::optional<std::vector<std::uint8_t>> ExtractFromImage(const ImageSource& source);

} // namespace shared::platform
