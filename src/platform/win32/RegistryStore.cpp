#include <algorithm>
#include <mutex>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <windows.h>

// On Windows the store is the real registry: the root folder of the POSIX store has no meaning
// here and is kept only so that code handling it compiles and behaves the same on both sides.

namespace fs = std::filesystem;

namespace shared::platform
{
namespace
{

// An open key, closed when it goes out of scope. A predefined key is never closed.
class Key
{
public:
    Key() = default;
    ~Key()
    {
        if (m_key != nullptr && !RegistryStore::RootKeyName(m_key).empty())
            return;
        if (m_key != nullptr)
            ::RegCloseKey(m_key);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    unsigned long Open(HKEY root, std::string_view subKey, REGSAM access)
    {
        if (RegistryStore::RootKeyName(root).empty())
            return winerror::kInvalidHandle;
        const std::string path(subKey);
        return static_cast<unsigned long>(::RegOpenKeyExA(root, path.c_str(), 0, access, &m_key));
    }

    unsigned long Create(HKEY root, std::string_view subKey)
    {
        if (RegistryStore::RootKeyName(root).empty())
            return winerror::kInvalidHandle;
        const std::string path(subKey);
        return static_cast<unsigned long>(::RegCreateKeyExA(root, path.c_str(), 0, nullptr,
                                                            REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                                                            nullptr, &m_key, nullptr));
    }

    HKEY Get() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

unsigned long ReadValue(HKEY key, const std::string& name, RegistryValue& value)
{
    for (;;)
    {
        DWORD type = 0;
        DWORD size = 0;
        LONG error = ::RegQueryValueExA(key, name.c_str(), nullptr, &type, nullptr, &size);
        if (error != ERROR_SUCCESS)
            return static_cast<unsigned long>(error);
        std::vector<std::uint8_t> data(size);
        error = ::RegQueryValueExA(key, name.c_str(), nullptr, &type, data.data(), &size);
        // Another writer may have grown the value between the two calls: ask again.
        if (error == ERROR_MORE_DATA)
            continue;
        if (error != ERROR_SUCCESS)
            return static_cast<unsigned long>(error);
        data.resize(size);
        value = RegistryValue{type, std::move(data)};
        return winerror::kSuccess;
    }
}

} // namespace

RegistryStore::RegistryStore(fs::path root) : m_root(std::move(root)) {}

RegistryStore RegistryStore::Default()
{
    return RegistryStore(DefaultRoot());
}

namespace
{
// Kept only so that a root set by SetDefaultRoot reads back; the registry itself has no folder.
struct RootOverride
{
    std::mutex lock;
    std::optional<fs::path> root;
};
RootOverride& TheRootOverride()
{
    static RootOverride instance;
    return instance;
}
} // namespace

fs::path RegistryStore::DefaultRoot()
{
    RootOverride& override = TheRootOverride();
    std::lock_guard guard(override.lock);
    return override.root ? *override.root : fs::path();
}

void RegistryStore::SetDefaultRoot(std::optional<fs::path> root)
{
    RootOverride& override = TheRootOverride();
    std::lock_guard guard(override.lock);
    override.root = std::move(root);
}

unsigned long RegistryStore::OpenKey(HKEY root, std::string_view subKey) const
{
    Key key;
    return key.Open(root, subKey, KEY_READ);
}

unsigned long RegistryStore::CreateKey(HKEY root, std::string_view subKey) const
{
    Key key;
    return key.Create(root, subKey);
}

unsigned long RegistryStore::QueryValue(HKEY root, std::string_view subKey, std::string_view name,
                                        RegistryValue& value) const
{
    Key key;
    if (const unsigned long error = key.Open(root, subKey, KEY_QUERY_VALUE); error != 0)
        return error;
    return ReadValue(key.Get(), std::string(name), value);
}

unsigned long RegistryStore::SetValue(HKEY root, std::string_view subKey, std::string_view name,
                                      const RegistryValue& value) const
{
    Key key;
    if (const unsigned long error = key.Open(root, subKey, KEY_SET_VALUE); error != 0)
        return error;
    const std::string valueName(name);
    return static_cast<unsigned long>(
        ::RegSetValueExA(key.Get(), valueName.c_str(), 0, static_cast<DWORD>(value.type),
                         value.data.data(), static_cast<DWORD>(value.data.size())));
}

unsigned long RegistryStore::DeleteValue(HKEY root, std::string_view subKey,
                                         std::string_view name) const
{
    Key key;
    if (const unsigned long error = key.Open(root, subKey, KEY_SET_VALUE); error != 0)
        return error;
    const std::string valueName(name);
    return static_cast<unsigned long>(::RegDeleteValueA(key.Get(), valueName.c_str()));
}

unsigned long RegistryStore::EnumValues(HKEY root, std::string_view subKey,
                                        std::vector<RegistryNamedValue>& values) const
{
    values.clear();
    Key key;
    if (const unsigned long error = key.Open(root, subKey, KEY_READ); error != 0)
        return error;
    // Value names are at most 16383 characters.
    std::vector<char> name(16384);
    for (DWORD index = 0;; ++index)
    {
        DWORD length = static_cast<DWORD>(name.size());
        const LONG error = ::RegEnumValueA(key.Get(), index, name.data(), &length, nullptr, nullptr,
                                           nullptr, nullptr);
        if (error == ERROR_NO_MORE_ITEMS)
            return winerror::kSuccess;
        if (error != ERROR_SUCCESS)
            return static_cast<unsigned long>(error);
        RegistryNamedValue entry{std::string(name.data(), length), {}};
        if (const unsigned long readError = ReadValue(key.Get(), entry.name, entry.value);
            readError != 0)
            return readError;
        values.push_back(std::move(entry));
    }
}

unsigned long RegistryStore::EnumSubKeys(HKEY root, std::string_view subKey,
                                         std::vector<std::string>& names) const
{
    names.clear();
    Key key;
    if (const unsigned long error = key.Open(root, subKey, KEY_READ); error != 0)
        return error;
    char name[256];
    for (DWORD index = 0;; ++index)
    {
        DWORD length = sizeof name;
        const LONG error =
            ::RegEnumKeyExA(key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_NO_MORE_ITEMS)
            break;
        if (error != ERROR_SUCCESS)
            return static_cast<unsigned long>(error);
        names.emplace_back(name, length);
    }
    // Same order as the POSIX store promises, whatever order the registry keeps.
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b)
              { return ::lstrcmpiA(a.c_str(), b.c_str()) < 0; });
    return winerror::kSuccess;
}

} // namespace shared::platform
