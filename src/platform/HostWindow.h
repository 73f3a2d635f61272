#pragma once

// What the host hooks fall back on when the application installed no hook: the operating
// system's own window messages and message boxes, where there are any. Each platform has its
// own source file.

#include <cstdint>
#include <string>

namespace shared::platform
{

// Both answer false when there is no window or the platform has none.
bool SendToWindow(void* window, unsigned message, std::uintptr_t wParam, std::intptr_t lParam);
bool ShowBoxOverWindow(void* window, const std::string& text);

} // namespace shared::platform
