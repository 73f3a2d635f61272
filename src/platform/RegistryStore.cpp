#include "RegistryFileFormat.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <pwd.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/platform/FileSystem.h>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace shared::platform
{
namespace
{

using namespace winerror;
using namespace registryformat;

constexpr std::string_view kValuesFile = ".values";
constexpr std::string_view kDamagedFile = ".values.damaged";
constexpr std::string_view kLockFile = ".lock";

// Windows' own limits: 255 characters for a key name, 16383 for a value name.
constexpr std::size_t kMaxKeyNameLength = 255;
constexpr std::size_t kMaxValueNameLength = 16383;
// A values file larger than this is not one the store wrote (a value of Windows' registry is
// limited to about 1 MB by its documentation; this leaves room for many of them).
constexpr std::size_t kMaxValuesFileSize = std::size_t{64} << 20;

constexpr std::array<std::string_view, 6> kRootNames{
    "HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER",     "HKEY_LOCAL_MACHINE",
    "HKEY_USERS",        "HKEY_PERFORMANCE_DATA", "HKEY_CURRENT_CONFIG"};

// The components of a backslash-separated key path. One trailing backslash is tolerated, as
// Windows does; a leading one or an empty component is a malformed path.
unsigned long SplitKeyPath(std::string_view subKey, std::vector<std::string>& components)
{
    components.clear();
    if (subKey.empty())
        return kSuccess;
    if (subKey.back() == '\\')
        subKey.remove_suffix(1);
    for (const std::string_view part : SplitAt(subKey, '\\'))
    {
        if (part.empty())
            return kBadPathname;
        if (part.size() > kMaxKeyNameLength)
            return kInvalidParameter;
        components.emplace_back(part);
    }
    return kSuccess;
}

unsigned long ErrorFromErrno(int err)
{
    return err == 0 ? kGenFailure : WinErrorFromErrno(err);
}

bool IsDirectory(const fs::path& path)
{
    struct stat st
    {
    };
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The store's directory entries that are keys, with their decoded names.
std::vector<std::pair<std::string, std::string>> ListKeyDirectories(const fs::path& dir)
{
    std::vector<std::pair<std::string, std::string>> keys;
    DIR* handle = ::opendir(dir.c_str());
    if (handle == nullptr)
        return keys;
    while (const dirent* entry = ::readdir(handle))
    {
        const std::string_view name = entry->d_name;
        if (name.empty() || name.front() == '.')
            continue;
        auto decoded = DecodeName(name);
        if (decoded && !decoded->empty() && decoded->find('\\') == std::string::npos &&
            IsDirectory(dir / std::string(name)))
            keys.emplace_back(std::string(name), std::move(*decoded));
    }
    ::closedir(handle);
    return keys;
}

// The directory of the existing subkey called name below dir, matched without regard to case.
std::optional<fs::path> FindSubKey(const fs::path& dir, const std::string& name)
{
    fs::path exact = dir / EncodeKeyName(name);
    if (IsDirectory(exact))
        return exact;
    for (auto& [entry, decoded] : ListKeyDirectories(dir))
    {
        if (EqualNoCase(decoded, name))
            return dir / entry;
    }
    return std::nullopt;
}

bool SyncDirectory(const fs::path& dir)
{
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

unsigned long MakeDirectory(const fs::path& dir)
{
    if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST)
        return ErrorFromErrno(errno);
    if (!IsDirectory(dir))
        return kPathNotFound;
    SyncDirectory(dir.parent_path());
    return kSuccess;
}

// Serialises writers of one store, in this process and in others: flock locks belong to the
// open file description, so every holder opens the lock file itself.
class WriteLock
{
public:
    explicit WriteLock(const fs::path& root)
    {
        if (root.empty())
        {
            m_error = kPathNotFound;
            return;
        }
        std::error_code ec;
        fs::create_directories(root, ec);
        if (!IsDirectory(root))
        {
            m_error = ec ? ErrorFromErrno(ec.value()) : kPathNotFound;
            return;
        }
        m_fd = ::open((root / kLockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (m_fd < 0)
        {
            m_error = ErrorFromErrno(errno);
            return;
        }
        while (::flock(m_fd, LOCK_EX) != 0)
        {
            if (errno != EINTR)
            {
                m_error = ErrorFromErrno(errno);
                return;
            }
        }
    }
    ~WriteLock()
    {
        if (m_fd >= 0)
            ::close(m_fd); // releases the flock
    }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

    unsigned long Error() const { return m_error; }

private:
    int m_fd = -1;
    unsigned long m_error = kSuccess;
};

struct ValuesFile
{
    bool damaged = false;
    std::vector<RegistryNamedValue> values;
};

ValuesFile LoadValues(const fs::path& dir)
{
    ValuesFile file;
    const FileSystemCalls& calls = GetFileSystemCalls();
    FileHandle handle = kNoFileHandle;
    // The store's own files are regular files; a link or folder in their place is damage.
    struct stat st
    {
    };
    const fs::path path = dir / kValuesFile;
    if (::lstat(path.c_str(), &st) != 0)
    {
        // Missing is an empty key; anything else is damage.
        file.damaged = errno != ENOENT;
        return file;
    }
    if (!S_ISREG(st.st_mode) || calls.open(path.c_str(), fileopen::kRead, handle) != 0)
    {
        file.damaged = true;
        return file;
    }
    std::string text;
    std::int64_t size = 0;
    bool ok =
        calls.getSize(handle, size) == 0 && static_cast<std::uint64_t>(size) <= kMaxValuesFileSize;
    if (ok)
    {
        text.resize(static_cast<std::size_t>(size));
        std::size_t got = 0;
        ok = ReadAll(handle, text.data(), text.size(), got) == 0 && got == text.size();
    }
    calls.close(handle);
    if (!ok || !ParseValues(text, file.values))
    {
        file.values.clear();
        file.damaged = true;
    }
    return file;
}

unsigned long ErrorOf(FileError error)
{
    return ErrorFromErrno(static_cast<int>(error));
}

// Replaces the key's values file atomically; the caller holds the write lock.
unsigned long StoreValues(const fs::path& dir, const ValuesFile& file)
{
    const FileSystemCalls& calls = GetFileSystemCalls();
    const fs::path target = dir / kValuesFile;
    if (file.damaged)
    {
        // Keep what could not be read for whoever wants to look at it.
        calls.rename(target.c_str(), (dir / kDamagedFile).c_str());
    }
    CAtomicFileReplacement replacement(target.string());
    FileHandle handle = kNoFileHandle;
    FileError error = calls.open(
        replacement.GetTemporaryPath(),
        fileopen::kWrite | fileopen::kCreate | fileopen::kTruncate | fileopen::kPrivate, handle);
    if (error != 0)
        return ErrorOf(error);
    const std::string text = SerialiseValues(file.values);
    error = WriteAll(handle, text.data(), text.size());
    if (error == 0)
        error = calls.sync(handle);
    if (const FileError closed = calls.close(handle); error == 0)
        error = closed;
    if (error == 0 && !replacement.Commit())
        error = replacement.GetError();
    return error == 0 ? kSuccess : ErrorOf(error);
}

std::vector<RegistryNamedValue>::iterator FindValue(std::vector<RegistryNamedValue>& values,
                                                    std::string_view name)
{
    return std::find_if(values.begin(), values.end(),
                        [&](const RegistryNamedValue& v) { return EqualNoCase(v.name, name); });
}

std::mutex g_rootMutex;
std::optional<fs::path> g_rootOverride;

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

RegistryStore::RegistryStore(fs::path root) : m_root(std::move(root)) {}

RegistryStore RegistryStore::Default()
{
    return RegistryStore(DefaultRoot());
}

fs::path RegistryStore::DefaultRoot()
{
    {
        std::lock_guard lock(g_rootMutex);
        if (g_rootOverride)
            return *g_rootOverride;
    }
    if (const char* root = std::getenv("SHARED_REGISTRY_ROOT"); root != nullptr && *root != 0)
        return fs::path(root);
    // The XDG base directory rules ignore a relative XDG_CONFIG_HOME.
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config == '/')
        return fs::path(config) / "shared-registry";
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home == 0)
    {
        const passwd* pw = ::getpwuid(::getuid());
        home = pw != nullptr ? pw->pw_dir : nullptr;
    }
    if (home == nullptr || *home == 0)
        return {};
    return fs::path(home) / ".config" / "shared-registry";
}

void RegistryStore::SetDefaultRoot(std::optional<fs::path> root)
{
    std::lock_guard lock(g_rootMutex);
    g_rootOverride = std::move(root);
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
        if (EqualNoCase(name, shortName) || EqualNoCase(name, kRootNames[value - 0x80000000u]))
            return SHARED_PREDEFINED_HKEY(value);
    }
    return std::nullopt;
}

namespace
{

// Finds (or, with create, makes) the directory of root\subKey.
unsigned long ResolveKey(const fs::path& storeRoot, HKEY root, std::string_view subKey, bool create,
                         fs::path& dir)
{
    const std::string_view rootName = RegistryStore::RootKeyName(root);
    if (rootName.empty())
        return kInvalidHandle;
    if (storeRoot.empty())
        return kPathNotFound;
    std::vector<std::string> components;
    if (const unsigned long error = SplitKeyPath(subKey, components); error != kSuccess)
        return error;
    dir = storeRoot / std::string(rootName);
    if (!IsDirectory(dir))
    {
        if (components.empty() && !create)
            return kSuccess; // a predefined key always exists, even in an empty store
        if (!create)
            return kFileNotFound;
        if (const unsigned long error = MakeDirectory(dir); error != kSuccess)
            return error;
    }
    for (const std::string& component : components)
    {
        if (auto found = FindSubKey(dir, component))
        {
            dir = std::move(*found);
            continue;
        }
        if (!create)
            return kFileNotFound;
        fs::path next = dir / EncodeKeyName(component);
        if (next.filename().native().size() > NAME_MAX)
            return kFilenameExcedRange;
        if (const unsigned long error = MakeDirectory(next); error != kSuccess)
            return error;
        dir = std::move(next);
    }
    return kSuccess;
}

} // namespace

unsigned long RegistryStore::OpenKey(HKEY root, std::string_view subKey) const
{
    fs::path dir;
    return ResolveKey(m_root, root, subKey, false, dir);
}

unsigned long RegistryStore::CreateKey(HKEY root, std::string_view subKey) const
{
    if (RootKeyName(root).empty())
        return kInvalidHandle;
    WriteLock lock(m_root);
    if (lock.Error() != kSuccess)
        return lock.Error();
    fs::path dir;
    return ResolveKey(m_root, root, subKey, true, dir);
}

unsigned long RegistryStore::QueryValue(HKEY root, std::string_view subKey, std::string_view name,
                                        RegistryValue& value) const
{
    fs::path dir;
    if (const unsigned long error = ResolveKey(m_root, root, subKey, false, dir); error != kSuccess)
        return error;
    ValuesFile file = LoadValues(dir);
    const auto it = FindValue(file.values, name);
    if (it == file.values.end())
        return kFileNotFound;
    value = std::move(it->value);
    return kSuccess;
}

unsigned long RegistryStore::SetValue(HKEY root, std::string_view subKey, std::string_view name,
                                      const RegistryValue& value) const
{
    if (name.size() > kMaxValueNameLength)
        return kInvalidParameter;
    if (RootKeyName(root).empty())
        return kInvalidHandle;
    WriteLock lock(m_root);
    if (lock.Error() != kSuccess)
        return lock.Error();
    fs::path dir;
    if (const unsigned long error = ResolveKey(m_root, root, subKey, false, dir); error != kSuccess)
        return error;
    if (!IsDirectory(dir)) // the root key's directory of an empty store
    {
        if (const unsigned long error = MakeDirectory(dir); error != kSuccess)
            return error;
    }
    ValuesFile file = LoadValues(dir);
    if (auto it = FindValue(file.values, name); it != file.values.end())
        it->value = value; // the name keeps the case it was created with, as on Windows
    else
        file.values.push_back({std::string(name), value});
    return StoreValues(dir, file);
}

unsigned long RegistryStore::DeleteValue(HKEY root, std::string_view subKey,
                                         std::string_view name) const
{
    if (RootKeyName(root).empty())
        return kInvalidHandle;
    WriteLock lock(m_root);
    if (lock.Error() != kSuccess)
        return lock.Error();
    fs::path dir;
    if (const unsigned long error = ResolveKey(m_root, root, subKey, false, dir); error != kSuccess)
        return error;
    ValuesFile file = LoadValues(dir);
    const auto it = FindValue(file.values, name);
    if (it == file.values.end())
        return kFileNotFound;
    file.values.erase(it);
    return StoreValues(dir, file);
}

unsigned long RegistryStore::EnumValues(HKEY root, std::string_view subKey,
                                        std::vector<RegistryNamedValue>& values) const
{
    values.clear();
    fs::path dir;
    if (const unsigned long error = ResolveKey(m_root, root, subKey, false, dir); error != kSuccess)
        return error;
    values = LoadValues(dir).values;
    return kSuccess;
}

unsigned long RegistryStore::EnumSubKeys(HKEY root, std::string_view subKey,
                                         std::vector<std::string>& names) const
{
    names.clear();
    fs::path dir;
    if (const unsigned long error = ResolveKey(m_root, root, subKey, false, dir); error != kSuccess)
        return error;
    for (auto& [entry, decoded] : ListKeyDirectories(dir))
        names.push_back(std::move(decoded));
    std::sort(names.begin(), names.end(), LessNoCase);
    return kSuccess;
}

} // namespace shared::platform
