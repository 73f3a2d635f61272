#pragma once

// What the library asks of the application's user interface, routed through hooks that the
// application installs: messages to its main window (the map symbols of user places) and
// message boxes. A library without a user interface must still run, so with no hook installed
// a window message goes nowhere and a message box text goes nowhere beyond the log line its
// caller already wrote.
//
// The hooks are process-wide and may be installed, replaced and called from any thread; a
// hook runs synchronously on the calling thread, as a sent window message would.

#include <cstdint>
#include <functional>
#include <shared/platform/Export.h>
#include <string>

namespace shared::platform
{

// Messages for the main window about a place's map symbol. The first parameter is the address
// of the place concerned (valid only during the call), the second is 0.
constexpr unsigned kCreatePlaceSymbolMessage = 0x8198;
constexpr unsigned kDeletePlaceSymbolMessage = 0x8199;
constexpr unsigned kModifyPlaceSymbolMessage = 0x819A;

// Receives a message sent to the main window: (message, first parameter, second parameter).
using MainWindowSink = std::function<void(unsigned, std::uintptr_t, std::intptr_t)>;
// Shows a text to the user.
using MessageBoxSink = std::function<void(const std::string&)>;

// The application's main window (an HWND on Windows, null for none). On Windows, messages then
// go to it with SendMessageA and texts to MessageBoxA whenever no hook is installed; a process
// that never names a window (a console tool, a test) never blocks on a message box. Elsewhere the
// handle is only kept.
SHARED_API void SetMainWindowHandle(void* window);
SHARED_API void* GetMainWindowHandle();

// An empty function removes the hook. Returns the hook that was installed before.
SHARED_API MainWindowSink SetMainWindowSink(MainWindowSink sink);
SHARED_API MessageBoxSink SetMessageBoxSink(MessageBoxSink sink);

SHARED_API bool HasMainWindow();
// Hands the message to the installed sink (or the main window, see above); false when there is
// none.
SHARED_API bool SendToMainWindow(unsigned message, std::uintptr_t wParam, std::intptr_t lParam);
// Hands the text to the installed message-box hook (or a message box, see above); false when
// there is none.
SHARED_API bool ShowMessageBox(const std::string& text);

// Installs a main-window sink for its own lifetime and puts the previous one back after.
class SHARED_API CScopedMainWindowSink
{
public:
    explicit CScopedMainWindowSink(MainWindowSink sink);
    ~CScopedMainWindowSink();
    CScopedMainWindowSink(const CScopedMainWindowSink&) = delete;
    CScopedMainWindowSink& operator=(const CScopedMainWindowSink&) = delete;

private:
    MainWindowSink m_previous;
};

// Installs a message-box hook for its own lifetime and puts the previous one back after.
class SHARED_API CScopedMessageBoxSink
{
public:
    explicit CScopedMessageBoxSink(MessageBoxSink sink);
    ~CScopedMessageBoxSink();
    CScopedMessageBoxSink(const CScopedMessageBoxSink&) = delete;
    CScopedMessageBoxSink& operator=(const CScopedMessageBoxSink&) = delete;

private:
    MessageBoxSink m_previous;
};

} // namespace shared::platform
