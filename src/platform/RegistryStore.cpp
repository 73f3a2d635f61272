#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <pwd.h>
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

constexpr std::string_view kValuesFile = ".values";
constexpr std::string_view kTempFile = ".values.tmp";
constexpr std::string_view kDamagedFile = ".values.damaged";
constexpr std::string_view kLockFile = ".lock";
constexpr std::string_view kHeader = "shared-registry-values 1";

// Windows' own limits: 255 characters for a key name, 16383 for a value name.
constexpr std::size_t kMaxKeyNameLength = 255;
constexpr std::size_t kMaxValueNameLength = 16383;
// A values file larger than this is not one the store wrote (a value of Windows' registry is
// limited to about 1 MB by its documentation; this leaves room for many of them).
constexpr std::size_t kMaxValuesFileSize = std::size_t{64} << 20;

constexpr std::array<std::string_view, 12> kTypeNames{"REG_NONE",
                                                      "REG_SZ",
                                                      "REG_EXPAND_SZ",
                                                      "REG_BINARY",
                                                      "REG_DWORD",
                                                      "REG_DWORD_BIG_ENDIAN",
                                                      "REG_LINK",
                                                      "REG_MULTI_SZ",
                                                      "REG_RESOURCE_LIST",
                                                      "REG_FULL_RESOURCE_DESCRIPTOR",
                                                      "REG_RESOURCE_REQUIREMENTS_LIST",
                                                      "REG_QWORD"};

char FoldAscii(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

bool EqualNoCase(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(),
                      [](char x, char y) { return FoldAscii(x) == FoldAscii(y); });
}

bool LessNoCase(const std::string& a, const std::string& b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](char x, char y) {
                                            return static_cast<unsigned char>(FoldAscii(x)) <
                                                   static_cast<unsigned char>(FoldAscii(y));
                                        });
}

constexpr char kHexDigits[] = "0123456789abcdef";

void AppendEscaped(std::string& out, unsigned char byte)
{
    constexpr char kUpperHex[] = "0123456789ABCDEF";
    out += '%';
    out += kUpperHex[byte >> 4];
    out += kUpperHex[byte & 0xF];
}

int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Key names become directory names: printable ASCII stays readable, while '/', '%', control and
// 8-bit bytes and a leading '.' (which would hide the key among the store's own files, or be "."
// or "..") are escaped.
std::string EncodeKeyName(std::string_view name)
{
    std::string out;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        const auto byte = static_cast<unsigned char>(name[i]);
        if (byte < 0x20 || byte > 0x7E || byte == '/' || byte == '%' || (i == 0 && byte == '.'))
            AppendEscaped(out, byte);
        else
            out += static_cast<char>(byte);
    }
    return out;
}

// Value names share a line with other fields, so blanks are escaped as well, and '@' alone stands
// for the unnamed value.
std::string EncodeValueName(std::string_view name)
{
    if (name.empty())
        return "@";
    std::string out;
    for (const char c : name)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte > 0x7E || byte == '%' || byte == '@')
            AppendEscaped(out, byte);
        else
            out += c;
    }
    return out;
}

std::optional<std::string> DecodeName(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '%')
        {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size())
            return std::nullopt;
        const int hi = HexValue(text[i + 1]);
        const int lo = HexValue(text[i + 2]);
        if (hi < 0 || lo < 0)
            return std::nullopt;
        out += static_cast<char>(hi * 16 + lo);
        i += 2;
    }
    return out;
}

std::optional<std::string> DecodeValueName(std::string_view text)
{
    if (text == "@")
        return std::string();
    if (text.empty())
        return std::nullopt;
    return DecodeName(text);
}

std::string TypeName(unsigned long type)
{
    if (type < kTypeNames.size())
        return std::string(kTypeNames[type]);
    return std::to_string(type);
}

std::optional<unsigned long> ParseType(std::string_view text)
{
    for (std::size_t i = 0; i < kTypeNames.size(); ++i)
    {
        if (text == kTypeNames[i])
            return static_cast<unsigned long>(i);
    }
    std::uint32_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty())
        return std::nullopt;
    return value;
}

std::optional<std::vector<std::uint8_t>> ParseHex(std::string_view text)
{
    std::vector<std::uint8_t> out;
    if (text == "-")
        return out;
    if (text.empty() || text.size() % 2 != 0)
        return std::nullopt;
    out.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2)
    {
        const int hi = HexValue(text[i]);
        const int lo = HexValue(text[i + 1]);
        if (hi < 0 || lo < 0)
            return std::nullopt;
        out.push_back(static_cast<std::uint8_t>(hi * 16 + lo));
    }
    return out;
}

std::vector<std::string_view> SplitAt(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (true)
    {
        const std::size_t pos = text.find(separator, start);
        if (pos == std::string_view::npos)
        {
            parts.push_back(text.substr(start));
            return parts;
        }
        parts.push_back(text.substr(start, pos - start));
        start = pos + 1;
    }
}

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

bool ParseValues(std::string_view text, std::vector<RegistryNamedValue>& values)
{
    if (text.empty() || text.back() != '\n')
        return false;
    text.remove_suffix(1);
    const auto lines = SplitAt(text, '\n');
    if (lines.size() < 2 || lines.front() != kHeader)
        return false;
    for (std::size_t i = 1; i + 1 < lines.size(); ++i)
    {
        const auto fields = SplitAt(lines[i], '\t');
        if (fields.size() != 3)
            return false;
        auto name = DecodeValueName(fields[0]);
        auto type = ParseType(fields[1]);
        auto data = ParseHex(fields[2]);
        if (!name || !type || !data)
            return false;
        values.push_back({std::move(*name), RegistryValue{*type, std::move(*data)}});
    }
    const auto trailer = SplitAt(lines.back(), '\t');
    return trailer.size() == 2 && trailer[0] == "end" &&
           trailer[1] == std::to_string(values.size());
}

ValuesFile LoadValues(const fs::path& dir)
{
    ValuesFile file;
    const int fd = ::open((dir / kValuesFile).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
    {
        // Missing is an empty key; anything else (a directory in its place...) is damage.
        file.damaged = errno != ENOENT;
        return file;
    }
    std::string text;
    struct stat st
    {
    };
    bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) &&
              static_cast<std::uint64_t>(st.st_size) <= kMaxValuesFileSize;
    if (ok)
    {
        text.resize(static_cast<std::size_t>(st.st_size));
        std::size_t done = 0;
        while (done < text.size())
        {
            const ssize_t n = ::read(fd, text.data() + done, text.size() - done);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
            {
                ok = false;
                break;
            }
            done += static_cast<std::size_t>(n);
        }
    }
    ::close(fd);
    if (!ok || !ParseValues(text, file.values))
    {
        file.values.clear();
        file.damaged = true;
    }
    return file;
}

std::string SerialiseValues(const std::vector<RegistryNamedValue>& values)
{
    std::string out(kHeader);
    out += '\n';
    for (const auto& [name, value] : values)
    {
        out += EncodeValueName(name);
        out += '\t';
        out += TypeName(value.type);
        out += '\t';
        if (value.data.empty())
            out += '-';
        for (const std::uint8_t byte : value.data)
        {
            out += kHexDigits[byte >> 4];
            out += kHexDigits[byte & 0xF];
        }
        out += '\n';
    }
    out += "end\t" + std::to_string(values.size()) + "\n";
    return out;
}

unsigned long WriteFileFully(int fd, std::string_view data)
{
    while (!data.empty())
    {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 ? ErrorFromErrno(errno) : kWriteFault;
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return kSuccess;
}

// Replaces the key's values file atomically. The caller holds the write lock, so one temporary
// name per key is enough; a leftover from a writer that died is simply overwritten.
unsigned long StoreValues(const fs::path& dir, const ValuesFile& file)
{
    const fs::path target = dir / kValuesFile;
    if (file.damaged)
    {
        // Keep what could not be read for whoever wants to look at it.
        ::rename(target.c_str(), (dir / kDamagedFile).c_str());
    }
    const fs::path temp = dir / kTempFile;
    const int fd =
        ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0)
        return ErrorFromErrno(errno);
    unsigned long error = WriteFileFully(fd, SerialiseValues(file.values));
    if (error == kSuccess && ::fsync(fd) != 0)
        error = ErrorFromErrno(errno);
    if (::close(fd) != 0 && error == kSuccess)
        error = ErrorFromErrno(errno);
    if (error == kSuccess && ::rename(temp.c_str(), target.c_str()) != 0)
        error = ErrorFromErrno(errno);
    if (error != kSuccess)
    {
        ::unlink(temp.c_str());
        return error;
    }
    SyncDirectory(dir);
    return kSuccess;
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
