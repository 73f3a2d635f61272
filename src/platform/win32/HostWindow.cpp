#include "../HostWindow.h"

#include <windows.h>

namespace shared::platform
{

// SendMessageA, not PostMessageA: the first parameter of the place-symbol messages points at a
// place that is valid only while the call lasts.
bool SendToWindow(void* window, unsigned message, std::uintptr_t wParam, std::intptr_t lParam)
{
    if (window == nullptr)
        return false;
    ::SendMessageA(static_cast<HWND>(window), message, static_cast<WPARAM>(wParam),
                   static_cast<LPARAM>(lParam));
    return true;
}

bool ShowBoxOverWindow(void* window, const std::string& text)
{
    if (window == nullptr)
        return false;
    ::MessageBoxA(static_cast<HWND>(window), text.c_str(), nullptr, MB_OK | MB_ICONEXCLAMATION);
    return true;
}

} // namespace shared::platform
