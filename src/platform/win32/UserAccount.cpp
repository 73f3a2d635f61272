#include "../UserAccount.h"

#include <lmcons.h>
#include <windows.h>

namespace shared::platform
{

std::optional<std::string> LookUpEffectiveUser()
{
    char buffer[UNLEN + 1] = {};
    DWORD size = sizeof buffer;
    if (!::GetUserNameA(buffer, &size) || size == 0)
        return std::nullopt;
    // size counts the terminating zero.
    return std::string(buffer, size - 1);
}

} // namespace shared::platform
