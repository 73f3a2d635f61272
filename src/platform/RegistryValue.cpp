#include <array>
#include <shared/platform/RegistryStore.h>
#include <utility>

// What every registry backend shares: typed values and the names of the predefined keys.

namespace shared::platform
{
namespace
{

constexpr std::array<std::string_view, 6> kRootNames{
    "HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER",     "HKEY_LOCAL_MACHINE",
    "HKEY_USERS",        "HKEY_PERFORMANCE_DATA", "HKEY_CURRENT_CONFIG"};

bool SameNameNoCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
        if (upper(a[i]) != upper(b[i]))
            return false;
    }
    return true;
}

} // namespace

RegistryValue RegistryValue::Dword(std::uint32_t value)
{
    return {REG_DWORD,
            {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
             static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)}};
}

RegistryValue RegistryValue::String(std::string_view text)
{
    RegistryValue value{REG_SZ, std::vector<std::uint8_t>(text.begin(), text.end())};
    value.data.push_back(0);
    return value;
}

RegistryValue RegistryValue::Binary(std::vector<std::uint8_t> bytes)
{
    return {REG_BINARY, std::move(bytes)};
}

std::string_view RegistryStore::RootKeyName(HKEY root)
{
    const auto value = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(root));
    const auto wide = static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(root));
    // Predefined handles are sign-extended 32-bit values, as <windows.h> casts them.
    if (wide != static_cast<std::int32_t>(value) || value < 0x80000000u || value > 0x80000005u ||
        value == 0x80000004u)
        return {};
    return kRootNames[value - 0x80000000u];
}

std::optional<HKEY> RegistryStore::ParseRootKey(std::string_view name)
{
    static constexpr std::array<std::pair<std::string_view, std::uint32_t>, 5> kShort{
        {{"HKCR", 0x80000000u},
         {"HKCU", 0x80000001u},
         {"HKLM", 0x80000002u},
         {"HKU", 0x80000003u},
         {"HKCC", 0x80000005u}}};
    for (const auto& [shortName, value] : kShort)
    {
        if (SameNameNoCase(name, shortName) ||
            SameNameNoCase(name, kRootNames[value - 0x80000000u]))
            return SHARED_PREDEFINED_HKEY(value);
    }
    return std::nullopt;
}

} // namespace shared::platform
