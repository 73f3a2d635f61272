#include "HostWindow.h"

namespace shared::platform
{

// No window system the library could address: without a hook, messages and texts go nowhere.
bool SendToWindow(void*, unsigned, std::uintptr_t, std::intptr_t)
{
    return false;
}

bool ShowBoxOverWindow(void*, const std::string&)
{
    return false;
}

} // namespace shared::platform
