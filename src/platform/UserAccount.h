#pragma once

// The operating system's answer to "who runs this process", without the test override of
// UserName.h; each platform has its own source file.

#include <optional>
#include <string>

namespace shared::platform
{

std::optional<std::string> LookUpEffectiveUser();

} // namespace shared::platform
