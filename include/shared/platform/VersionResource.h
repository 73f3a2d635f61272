#pragma once

// Version resources of Windows modules (.exe, .dll; 32- and 64-bit PE images), read on any host:
// what GetFileVersionInfoA and VerQueryValueA provide on Windows.
//
// ExtractVersionResource finds the RT_VERSION resource through the PE headers, the section table
// and the resource directory, and returns its bytes: the VS_VERSIONINFO block tree. Its language
// is chosen as the loader's neutral lookup does in practice: language-neutral first, then US
// English, then the first one present. QueryVersionValue walks that tree by a VerQueryValue path
// ("\", "\VarFileInfo\Translation", "\StringFileInfo\040904b0\CompanyName"; names compared without
// regard to ASCII case).
//
// Every offset and length read from the file is checked against the bytes that are really there,
// so a truncated, damaged or foreign file (ELF, text) gives nullopt, never a read out of bounds.
// Texts in the resource are UTF-16; they are returned as UTF-8, the narrow encoding of POSIX
// hosts (unpaired surrogates become U+FFFD).

#include <cstdint>
#include <optional>
#include <shared/platform/Export.h>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <shared/platform/WinTypes.h>

// The fixed part of a version resource, as <winver.h> publishes it.
struct VS_FIXEDFILEINFO
{
    DWORD dwSignature; // 0xFEEF04BD
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS; // file version: major << 16 | minor
    DWORD dwFileVersionLS; // build << 16 | revision
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};
#endif

namespace shared::platform
{

inline constexpr std::uint32_t kFixedFileInfoSignature = 0xFEEF04BDu;

// A value found by QueryVersionValue: its bytes inside the block, and whether the resource marks
// it as text (then the bytes are UTF-16LE, possibly with a terminating zero).
struct VersionValue
{
    std::span<const std::uint8_t> bytes;
    bool isText = false;
};

// One StringFileInfo table: its key (eight hexadecimal digits, language then code page) and its
// entries in file order.
struct VersionStringTable
{
    std::string key;
    std::vector<std::pair<std::string, std::string>> entries;
};

// The version resource of the PE image held in image, or nullopt when it has none.
SHARED_API std::optional<std::vector<std::uint8_t>>
ExtractVersionResource(std::span<const std::uint8_t> image);

// The same for the file at path, reading only the parts it needs.
SHARED_API std::optional<std::vector<std::uint8_t>> ReadVersionResource(const char* path);

// The value at path inside a version resource, or nullopt when the path does not lead to one.
SHARED_API std::optional<VersionValue> QueryVersionValue(std::span<const std::uint8_t> resource,
                                                         std::string_view path);

// The text of a value (up to its first zero character), converted to UTF-8.
SHARED_API std::string VersionValueText(const VersionValue& value);

// The fixed block ("\"), when present, long enough and carrying its signature.
SHARED_API std::optional<VS_FIXEDFILEINFO>
ReadFixedFileInfo(std::span<const std::uint8_t> resource);

// Every pair of "\VarFileInfo\Translation" as language << 16 | code page.
SHARED_API std::vector<std::uint32_t> ReadTranslations(std::span<const std::uint8_t> resource);

// Every string table with all its entries.
SHARED_API std::vector<VersionStringTable> ReadStringTables(std::span<const std::uint8_t> resource);

} // namespace shared::platform
