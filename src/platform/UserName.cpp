#include <cerrno>
#include <mutex>
#include <pwd.h>
#include <shared/platform/UserName.h>
#include <unistd.h>
#include <vector>

namespace shared::platform
{

namespace
{

std::mutex g_overrideLock;
// Outer optional: whether an override is installed; inner: the name it gives.
std::optional<std::optional<std::string>> g_override;

std::optional<std::string> LookUpEffectiveUser()
{
    const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<size_t>(suggested) : 1024);
    for (;;)
    {
        struct passwd entry;
        struct passwd* result = nullptr;
        const int error = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &result);
        if (error == ERANGE && buffer.size() < (1u << 20))
        {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0 || result == nullptr || result->pw_name == nullptr)
        {
            return std::nullopt;
        }
        return std::string(result->pw_name);
    }
}

} // namespace

std::optional<std::string> EffectiveUserName()
{
    {
        std::lock_guard<std::mutex> lock(g_overrideLock);
        if (g_override.has_value())
        {
            return *g_override;
        }
    }
    return LookUpEffectiveUser();
}

ScopedUserName::ScopedUserName(std::optional<std::string> name)
{
    std::lock_guard<std::mutex> lock(g_overrideLock);
    m_previous = g_override;
    g_override = std::move(name);
}

ScopedUserName::~ScopedUserName()
{
    std::lock_guard<std::mutex> lock(g_overrideLock);
    g_override = m_previous;
}

} // namespace shared::platform
