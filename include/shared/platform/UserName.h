#pragma once

// The name of the user the process runs as: the effective user's login name from the user
// database, the POSIX counterpart of GetUserNameA. Tests replace it with ScopedUserName.

#include <optional>
#include <shared/platform/Export.h>
#include <string>

namespace shared::platform
{

// The effective user's name, or nothing when the user database has no entry for the user.
SHARED_API std::optional<std::string> EffectiveUserName();

// Replaces the answer of EffectiveUserName for the lifetime of the object (nothing simulates
// a failing look-up) and restores the previous answer after. Process-wide.
class SHARED_API ScopedUserName
{
public:
    explicit ScopedUserName(std::optional<std::string> name);
    ~ScopedUserName();
    ScopedUserName(const ScopedUserName&) = delete;
    ScopedUserName& operator=(const ScopedUserName&) = delete;

private:
    std::optional<std::optional<std::string>> m_previous;
};

} // namespace shared::platform
