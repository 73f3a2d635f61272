#pragma once

// The process environment. Settings the library takes from it (port paths, the registry root,
// diagnostic switches) are read through here so that the rest of the library stays free of OS
// calls.

#include <optional>
#include <shared/platform/Export.h>
#include <string>

namespace shared::platform
{

// The variable's value, or nothing when it is not set (an empty value is a value).
SHARED_API std::optional<std::string> GetEnvironmentValue(char const* name);

} // namespace shared::platform
