#pragma once

// A registry for hosts without the Windows one: the predefined root keys, keys and typed values
// kept as files in a directory tree, with the lookup rules of the Windows registry (key and value
// names are case-insensitive and keep the case they were created with; key paths are separated by
// backslashes).
//
// Where it lives: $SHARED_REGISTRY_ROOT when set, else $XDG_CONFIG_HOME/shared-registry, else
// ~/.config/shared-registry. SetDefaultRoot overrides all of these for the process (tests use it).
//
// On disk, below the root:
//
//   .lock                               lock file serialising writers (flock)
//   HKEY_CURRENT_USER/                  one directory per predefined root key
//     .values                           the values of the root key itself
//     Software/                         one directory per key, named as it was created
//       .values                         the values of Software
//       Acme%2FTools/                   bytes outside printable ASCII, '/', '%' and a leading '.'
//                                       are written as %XX
//
// A .values file is text:
//
//   shared-registry-values 1
//   <name>\t<type>\t<data>              one line per value, in creation order
//   end\t<count>
//
// <name> is percent-encoded like a key name, additionally encoding blanks, tabs and '@'; the
// unnamed (default) value is written "@". <type> is REG_SZ, REG_DWORD, REG_BINARY, ... or the
// decimal type number, <data> the value's bytes in lower-case hexadecimal ("-" when empty), exactly
// as Windows stores them: a REG_DWORD is four little-endian bytes, a REG_SZ includes its
// terminating zero. A file that does not follow this form (truncated, garbled) reads as a key
// without values; the next write keeps it beside the new file as ".values.damaged".
//
// Writers take an exclusive flock on .lock, write a temporary file in the key's directory, fsync
// it, rename it over .values and fsync the directory, so readers (which take no lock) see either
// the old or the new file, and writers in several threads or processes never lose each other's
// values. Every member returns a Windows error code (0 for success, see SystemError.h).
//
// Machine-wide roots (HKEY_LOCAL_MACHINE, HKEY_USERS...) are per-user here unless
// SHARED_REGISTRY_ROOT points several users at one directory. Only ASCII letters are compared
// without regard to case; other bytes must match exactly.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <shared/platform/Export.h>
#include <string>
#include <string_view>
#include <vector>

// A predefined key handle from its 32-bit value, sign-extended as <windows.h> casts it.
#define SHARED_PREDEFINED_HKEY(value)                                                              \
    (reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<std::int32_t>(value))))

#if defined(_WIN32)
#include <windows.h>
#else
// The Win32 registry key handle and its predefined values, declared as <windows.h> declares them
// so that code written for Windows compiles unchanged.
struct HKEY__
{
    int unused;
};
using HKEY = HKEY__*;
using PHKEY = HKEY*;

#define HKEY_CLASSES_ROOT SHARED_PREDEFINED_HKEY(0x80000000u)
#define HKEY_CURRENT_USER SHARED_PREDEFINED_HKEY(0x80000001u)
#define HKEY_LOCAL_MACHINE SHARED_PREDEFINED_HKEY(0x80000002u)
#define HKEY_USERS SHARED_PREDEFINED_HKEY(0x80000003u)
#define HKEY_PERFORMANCE_DATA SHARED_PREDEFINED_HKEY(0x80000004u)
#define HKEY_CURRENT_CONFIG SHARED_PREDEFINED_HKEY(0x80000005u)

#define REG_NONE 0UL
#define REG_SZ 1UL
#define REG_EXPAND_SZ 2UL
#define REG_BINARY 3UL
#define REG_DWORD 4UL
#define REG_DWORD_LITTLE_ENDIAN 4UL
#define REG_DWORD_BIG_ENDIAN 5UL
#define REG_LINK 6UL
#define REG_MULTI_SZ 7UL
#define REG_QWORD 11UL
#endif

namespace shared::platform
{

// A typed registry value: its REG_* type and its bytes as the registry holds them.
struct SHARED_API RegistryValue
{
    unsigned long type = 0;
    std::vector<std::uint8_t> data;

    static RegistryValue Dword(std::uint32_t value);              // REG_DWORD, little-endian
    static RegistryValue String(std::string_view text);           // REG_SZ, zero counted
    static RegistryValue Binary(std::vector<std::uint8_t> bytes); // REG_BINARY

    bool operator==(const RegistryValue&) const = default;
};

// A named value as listed by EnumValues.
struct RegistryNamedValue
{
    std::string name;
    RegistryValue value;
};

class SHARED_API RegistryStore
{
public:
    // A store rooted at root; nothing is created until the first write.
    explicit RegistryStore(std::filesystem::path root);

    // The store at DefaultRoot(); the root is looked up anew on every call.
    static RegistryStore Default();

    // The override set by SetDefaultRoot, else the environment as described above. Empty when
    // none of them gives a directory (no HOME at all).
    static std::filesystem::path DefaultRoot();

    // Replaces the environment's choice for this process; nullopt restores it.
    static void SetDefaultRoot(std::optional<std::filesystem::path> root);

    // The directory name of a predefined root key ("HKEY_CURRENT_USER"...), or empty when the
    // handle is not one the store keeps (HKEY_PERFORMANCE_DATA, an arbitrary pointer).
    static std::string_view RootKeyName(HKEY root);

    // The predefined key for a name, long ("HKEY_LOCAL_MACHINE") or short ("HKLM"), any case.
    static std::optional<HKEY> ParseRootKey(std::string_view name);

    const std::filesystem::path& Root() const { return m_root; }

    // 0 when the key exists, kFileNotFound when it (or the root) does not. An empty subKey names
    // root itself, which always exists.
    unsigned long OpenKey(HKEY root, std::string_view subKey) const;

    // Creates the key and every missing key above it; 0 also when it existed already.
    unsigned long CreateKey(HKEY root, std::string_view subKey) const;

    // The value called name (empty for the default value): kFileNotFound when the key or value
    // is missing.
    unsigned long QueryValue(HKEY root, std::string_view subKey, std::string_view name,
                             RegistryValue& value) const;

    // Sets the value, replacing any value of that name whatever its type; the key must exist.
    unsigned long SetValue(HKEY root, std::string_view subKey, std::string_view name,
                           const RegistryValue& value) const;

    // Removes the value; kFileNotFound when it is not there.
    unsigned long DeleteValue(HKEY root, std::string_view subKey, std::string_view name) const;

    // The key's values in the order they were first written.
    unsigned long EnumValues(HKEY root, std::string_view subKey,
                             std::vector<RegistryNamedValue>& values) const;

    // The names of the key's direct subkeys, sorted without regard to case.
    unsigned long EnumSubKeys(HKEY root, std::string_view subKey,
                              std::vector<std::string>& names) const;

private:
    std::filesystem::path m_root;
};

} // namespace shared::platform
