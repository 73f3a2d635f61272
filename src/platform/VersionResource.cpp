#include "VersionImage.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <shared/platform/VersionResource.h>

namespace shared::platform
{
namespace
{

// PE/COFF layout, as Microsoft documents it in "PE Format".
constexpr std::uint32_t kPeSignature = 0x00004550; // "PE\0\0"
constexpr std::uint16_t kPe32Magic = 0x10B;
constexpr std::uint16_t kPe32PlusMagic = 0x20B;
constexpr std::size_t kCoffHeaderSize = 20;
constexpr std::size_t kSectionHeaderSize = 40;
constexpr std::size_t kResourceDirectoryIndex = 2;
constexpr std::uint32_t kRtVersion = 16;
constexpr std::uint32_t kVsVersionInfoId = 1;
constexpr std::uint32_t kHighBit = 0x80000000u;
constexpr std::uint16_t kLangNeutral = 0x0000;
constexpr std::uint16_t kLangEnglishUs = 0x0409;
// A VS_VERSIONINFO block states its length in 16 bits, so nothing past 64 KiB belongs to it.
constexpr std::size_t kMaxVersionBlock = 0xFFFF;
// Bytes of a block header: wLength, wValueLength, wType.
constexpr std::size_t kNodeHeaderSize = 6;
constexpr std::size_t kFixedFileInfoSize = 52;

std::uint16_t Le16(const std::uint8_t* p)
{
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t Le32(const std::uint8_t* p)
{
    return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
           (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

class MemoryImage final : public ImageSource
{
public:
    explicit MemoryImage(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}
    bool Read(std::uint64_t offset, std::size_t count,
              std::vector<std::uint8_t>& out) const override
    {
        if (offset > m_bytes.size() || count > m_bytes.size() - offset)
            return false;
        const auto first = m_bytes.begin() + static_cast<std::ptrdiff_t>(offset);
        out.assign(first, first + static_cast<std::ptrdiff_t>(count));
        return true;
    }

private:
    std::span<const std::uint8_t> m_bytes;
};

struct Section
{
    std::uint32_t virtualAddress;
    std::uint32_t virtualSize;
    std::uint32_t rawSize;
    std::uint32_t rawPointer;
};

// An image's sections and its resource directory, enough to read resources by RVA.
class PeImage
{
public:
    explicit PeImage(const ImageSource& source) : m_source(source) {}

    bool Load()
    {
        std::vector<std::uint8_t> buf;
        if (!m_source.Read(0, 64, buf) || buf[0] != 'M' || buf[1] != 'Z')
            return false;
        const std::uint64_t peOffset = Le32(&buf[0x3C]);
        if (!m_source.Read(peOffset, 4 + kCoffHeaderSize, buf) || Le32(&buf[0]) != kPeSignature)
            return false;
        const std::uint16_t sectionCount = Le16(&buf[4 + 2]);
        const std::uint16_t optionalSize = Le16(&buf[4 + 16]);
        const std::uint64_t optionalOffset = peOffset + 4 + kCoffHeaderSize;
        std::vector<std::uint8_t> optional;
        if (optionalSize < 2 || !m_source.Read(optionalOffset, optionalSize, optional))
            return false;
        std::size_t countOffset = 0;
        switch (Le16(&optional[0]))
        {
        case kPe32Magic:
            countOffset = 92;
            break;
        case kPe32PlusMagic:
            countOffset = 108;
            break;
        default:
            return false;
        }
        const std::size_t directoriesOffset = countOffset + 4;
        const std::size_t resourceEntry = directoriesOffset + kResourceDirectoryIndex * 8;
        if (resourceEntry + 8 > optional.size() ||
            Le32(&optional[countOffset]) <= kResourceDirectoryIndex)
            return false;
        m_resourceRva = Le32(&optional[resourceEntry]);
        if (m_resourceRva == 0)
            return false;

        if (!m_source.Read(optionalOffset + optionalSize, sectionCount * kSectionHeaderSize, buf))
            return false;
        for (std::size_t i = 0; i < sectionCount; ++i)
        {
            const std::uint8_t* s = &buf[i * kSectionHeaderSize];
            m_sections.push_back({Le32(s + 12), Le32(s + 8), Le32(s + 16), Le32(s + 20)});
        }
        return true;
    }

    // count bytes at an RVA, all of them within one section's data in the file.
    bool ReadRva(std::uint64_t rva, std::size_t count, std::vector<std::uint8_t>& out) const
    {
        for (const Section& s : m_sections)
        {
            const std::uint64_t extent = std::max(s.virtualSize, s.rawSize);
            if (rva < s.virtualAddress || rva >= std::uint64_t{s.virtualAddress} + extent)
                continue;
            const std::uint64_t delta = rva - s.virtualAddress;
            // Bytes past the raw data exist only in memory (zero-filled); a resource never
            // lives there.
            if (delta > s.rawSize || count > s.rawSize - delta)
                return false;
            return m_source.Read(std::uint64_t{s.rawPointer} + delta, count, out);
        }
        return false;
    }

    struct DirectoryEntry
    {
        std::uint32_t name;   // an ID, or kHighBit | offset of a name string
        std::uint32_t target; // offset of a data entry, or kHighBit | offset of a subdirectory
    };

    // The entries of the resource directory at offset (from the start of the resources).
    bool ReadDirectory(std::uint32_t offset, std::vector<DirectoryEntry>& entries) const
    {
        std::vector<std::uint8_t> buf;
        const std::uint64_t rva = std::uint64_t{m_resourceRva} + offset;
        if (!ReadRva(rva, 16, buf))
            return false;
        const std::size_t count = std::size_t{Le16(&buf[12])} + Le16(&buf[14]);
        if (!ReadRva(rva + 16, count * 8, buf))
            return false;
        entries.clear();
        for (std::size_t i = 0; i < count; ++i)
            entries.push_back({Le32(&buf[i * 8]), Le32(&buf[i * 8 + 4])});
        return true;
    }

    // The bytes of the resource whose data entry is at offset.
    bool ReadData(std::uint32_t offset, std::vector<std::uint8_t>& out) const
    {
        std::vector<std::uint8_t> entry;
        if (!ReadRva(std::uint64_t{m_resourceRva} + offset, 16, entry))
            return false;
        const std::uint32_t size = Le32(&entry[4]);
        if (size < kNodeHeaderSize)
            return false;
        return ReadRva(Le32(&entry[0]), std::min<std::size_t>(size, kMaxVersionBlock), out);
    }

private:
    const ImageSource& m_source;
    std::uint32_t m_resourceRva = 0;
    std::vector<Section> m_sections;
};

bool IsId(const PeImage::DirectoryEntry& e)
{
    return (e.name & kHighBit) == 0;
}
bool IsDirectory(const PeImage::DirectoryEntry& e)
{
    return (e.target & kHighBit) != 0;
}

// The first entry satisfying good whose ID is one of preferred (in that order of preference),
// else the first one satisfying good at all.
const PeImage::DirectoryEntry* Choose(const std::vector<PeImage::DirectoryEntry>& entries,
                                      std::initializer_list<std::uint32_t> preferred,
                                      bool directory)
{
    for (const std::uint32_t id : preferred)
    {
        for (const auto& e : entries)
        {
            if (IsId(e) && e.name == id && IsDirectory(e) == directory)
                return &e;
        }
    }
    for (const auto& e : entries)
    {
        if (IsDirectory(e) == directory)
            return &e;
    }
    return nullptr;
}

void AppendUtf8(std::string& out, std::uint32_t cp)
{
    if (cp < 0x80)
    {
        out += static_cast<char>(cp);
    }
    else if (cp < 0x800)
    {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
    else if (cp < 0x10000)
    {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
    else
    {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// UTF-16LE up to the first zero unit (or the end) as UTF-8.
std::string Utf16ToUtf8(std::span<const std::uint8_t> bytes)
{
    constexpr std::uint32_t kReplacement = 0xFFFD;
    std::string out;
    const std::size_t units = bytes.size() / 2;
    for (std::size_t i = 0; i < units; ++i)
    {
        const std::uint32_t u = Le16(&bytes[i * 2]);
        if (u == 0)
            break;
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units)
        {
            const std::uint32_t low = Le16(&bytes[(i + 1) * 2]);
            if (low >= 0xDC00 && low <= 0xDFFF)
            {
                AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00));
                ++i;
                continue;
            }
        }
        AppendUtf8(out, (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : u);
    }
    return out;
}

std::size_t Align4(std::size_t offset)
{
    return (offset + 3) & ~std::size_t{3};
}

bool EqualNoCase(std::string_view a, std::string_view b)
{
    auto fold = [](char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; };
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [&](char x, char y) { return fold(x) == fold(y); });
}

// One block of the VS_VERSIONINFO tree: wLength, wValueLength, wType, a zero-terminated UTF-16
// key, padding to 32 bits, the value, padding, and the child blocks. Offsets are from the start
// of the resource, which the image keeps 32-bit aligned.
struct Node
{
    std::size_t end = 0;
    std::string key;
    std::size_t valueStart = 0;
    std::size_t valueEnd = 0;
    std::size_t childrenStart = 0;
    bool isText = false;
};

std::optional<Node> ParseNode(std::span<const std::uint8_t> block, std::size_t pos,
                              std::size_t limit)
{
    if (limit > block.size() || pos > limit || limit - pos < kNodeHeaderSize)
        return std::nullopt;
    const std::size_t length = Le16(&block[pos]);
    const std::size_t valueLength = Le16(&block[pos + 2]);
    const std::uint16_t type = Le16(&block[pos + 4]);
    if (length < kNodeHeaderSize || length > limit - pos)
        return std::nullopt;
    Node node;
    node.end = pos + length;
    node.isText = type == 1;
    std::size_t keyEnd = pos + kNodeHeaderSize;
    while (true)
    {
        if (keyEnd + 2 > node.end)
            return std::nullopt; // key without its terminating zero
        if (Le16(&block[keyEnd]) == 0)
            break;
        keyEnd += 2;
    }
    node.key = Utf16ToUtf8(block.subspan(pos + kNodeHeaderSize, keyEnd - pos - kNodeHeaderSize));
    // Text values count their length in characters, binary ones in bytes.
    const std::size_t valueBytes = node.isText ? valueLength * 2 : valueLength;
    node.valueStart = std::min(Align4(keyEnd + 2), node.end);
    node.valueEnd = std::min(node.valueStart + valueBytes, node.end);
    node.childrenStart = std::min(Align4(node.valueStart + valueBytes), node.end);
    return node;
}

template <typename Visit>
void ForEachChild(std::span<const std::uint8_t> block, const Node& parent, Visit visit)
{
    std::size_t pos = parent.childrenStart;
    while (pos < parent.end)
    {
        auto child = ParseNode(block, pos, parent.end);
        if (!child || !visit(*child))
            return;
        pos = Align4(child->end); // every child is at least a header long, so this advances
    }
}

std::optional<Node> FindChild(std::span<const std::uint8_t> block, const Node& parent,
                              std::string_view key)
{
    std::optional<Node> found;
    ForEachChild(block, parent,
                 [&](const Node& child)
                 {
                     if (!EqualNoCase(child.key, key))
                         return true;
                     found = child;
                     return false;
                 });
    return found;
}

std::optional<Node> ParseRoot(std::span<const std::uint8_t> resource)
{
    return ParseNode(resource, 0, std::min(resource.size(), kMaxVersionBlock));
}

} // namespace

std::optional<std::vector<std::uint8_t>> ExtractFromImage(const ImageSource& source)
{
    PeImage image(source);
    if (!image.Load())
        return std::nullopt;
    std::vector<PeImage::DirectoryEntry> entries;
    if (!image.ReadDirectory(0, entries))
        return std::nullopt;
    const PeImage::DirectoryEntry* type = nullptr;
    for (const auto& e : entries)
    {
        if (IsId(e) && e.name == kRtVersion && IsDirectory(e))
            type = &e;
    }
    if (type == nullptr || !image.ReadDirectory(type->target & ~kHighBit, entries))
        return std::nullopt;
    const auto* name = Choose(entries, {kVsVersionInfoId}, true);
    if (name == nullptr || !image.ReadDirectory(name->target & ~kHighBit, entries))
        return std::nullopt;
    const auto* language = Choose(entries, {kLangNeutral, kLangEnglishUs}, false);
    std::vector<std::uint8_t> data;
    if (language == nullptr || !image.ReadData(language->target, data))
        return std::nullopt;
    const auto root = ParseRoot(data);
    if (!root || root->key != "VS_VERSION_INFO")
        return std::nullopt;
    data.resize(root->end);
    return data;
}

std::optional<std::vector<std::uint8_t>> ExtractVersionResource(std::span<const std::uint8_t> image)
{
    return ExtractFromImage(MemoryImage(image));
}

std::optional<VersionValue> QueryVersionValue(std::span<const std::uint8_t> resource,
                                              std::string_view path)
{
    auto node = ParseRoot(resource);
    std::size_t start = 0;
    while (node && start <= path.size())
    {
        std::size_t stop = path.find('\\', start);
        if (stop == std::string_view::npos)
            stop = path.size();
        if (stop > start)
            node = FindChild(resource, *node, path.substr(start, stop - start));
        start = stop + 1;
    }
    if (!node)
        return std::nullopt;
    return VersionValue{resource.subspan(node->valueStart, node->valueEnd - node->valueStart),
                        node->isText};
}

std::string VersionValueText(const VersionValue& value)
{
    return Utf16ToUtf8(value.bytes);
}

std::optional<VS_FIXEDFILEINFO> ReadFixedFileInfo(std::span<const std::uint8_t> resource)
{
    const auto value = QueryVersionValue(resource, "\\");
    if (!value || value->bytes.size() < kFixedFileInfoSize ||
        Le32(value->bytes.data()) != kFixedFileInfoSignature)
        return std::nullopt;
    DWORD words[kFixedFileInfoSize / 4];
    for (std::size_t i = 0; i < std::size(words); ++i)
        words[i] = Le32(&value->bytes[i * 4]);
    VS_FIXEDFILEINFO info{};
    static_assert(sizeof info == sizeof words);
    std::memcpy(&info, words, sizeof info);
    return info;
}

std::vector<std::uint32_t> ReadTranslations(std::span<const std::uint8_t> resource)
{
    std::vector<std::uint32_t> result;
    const auto value = QueryVersionValue(resource, "\\VarFileInfo\\Translation");
    if (!value)
        return result;
    for (std::size_t i = 0; i + 4 <= value->bytes.size(); i += 4)
    {
        const std::uint32_t language = Le16(&value->bytes[i]);
        const std::uint32_t codePage = Le16(&value->bytes[i + 2]);
        result.push_back(language << 16 | codePage);
    }
    return result;
}

std::vector<VersionStringTable> ReadStringTables(std::span<const std::uint8_t> resource)
{
    std::vector<VersionStringTable> tables;
    const auto root = ParseRoot(resource);
    if (!root)
        return tables;
    const auto info = FindChild(resource, *root, "StringFileInfo");
    if (!info)
        return tables;
    ForEachChild(resource, *info,
                 [&](const Node& table)
                 {
                     VersionStringTable entry{table.key, {}};
                     ForEachChild(resource, table,
                                  [&](const Node& item)
                                  {
                                      entry.entries.emplace_back(
                                          item.key,
                                          Utf16ToUtf8(resource.subspan(
                                              item.valueStart, item.valueEnd - item.valueStart)));
                                      return true;
                                  });
                     tables.push_back(std::move(entry));
                     return true;
                 });
    return tables;
}

} // namespace shared::platform
