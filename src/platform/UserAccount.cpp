#include "UserAccount.h"

#include <cerrno>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace shared::platform
{

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

} // namespace shared::platform
