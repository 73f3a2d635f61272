#include "UserAccount.h"

#include <mutex>
#include <shared/platform/UserName.h>

namespace shared::platform
{

namespace
{

std::mutex g_overrideLock;
// Outer optional: whether an override is installed; inner: the name it gives.
std::optional<std::optional<std::string>> g_override;

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
