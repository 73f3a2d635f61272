#include <cstdlib>
#include <shared/platform/Environment.h>

namespace shared::platform
{

// getenv serves both hosts: the C runtime of MinGW and MSVC keeps its copy of the environment in
// step with SetEnvironmentVariableA made through _putenv, which is all the library relies on.
std::optional<std::string> GetEnvironmentValue(char const* name)
{
    if (char const* value = std::getenv(name))
    {
        return std::string(value);
    }
    return std::nullopt;
}

} // namespace shared::platform
