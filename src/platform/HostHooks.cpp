#include "HostWindow.h"

#include <atomic>
#include <mutex>
#include <shared/platform/HostHooks.h>
#include <utility>

namespace shared::platform
{
namespace
{
std::mutex& HookLock()
{
    static std::mutex lock;
    return lock;
}
MainWindowSink& WindowSink()
{
    static MainWindowSink sink;
    return sink;
}
MessageBoxSink& BoxSink()
{
    static MessageBoxSink sink;
    return sink;
}
std::atomic<void*> g_mainWindow{nullptr};
} // namespace

void SetMainWindowHandle(void* window)
{
    g_mainWindow = window;
}

void* GetMainWindowHandle()
{
    return g_mainWindow;
}

MainWindowSink SetMainWindowSink(MainWindowSink sink)
{
    std::lock_guard lock(HookLock());
    return std::exchange(WindowSink(), std::move(sink));
}

MessageBoxSink SetMessageBoxSink(MessageBoxSink sink)
{
    std::lock_guard lock(HookLock());
    return std::exchange(BoxSink(), std::move(sink));
}

bool HasMainWindow()
{
    std::lock_guard lock(HookLock());
    return static_cast<bool>(WindowSink()) || g_mainWindow != nullptr;
}

bool SendToMainWindow(unsigned message, std::uintptr_t wParam, std::intptr_t lParam)
{
    // The hook is called outside the lock, on a copy, so that it may itself send messages or
    // replace the hook without deadlocking.
    MainWindowSink sink;
    {
        std::lock_guard lock(HookLock());
        sink = WindowSink();
    }
    if (!sink)
        return SendToWindow(g_mainWindow, message, wParam, lParam);
    sink(message, wParam, lParam);
    return true;
}

bool ShowMessageBox(const std::string& text)
{
    MessageBoxSink sink;
    {
        std::lock_guard lock(HookLock());
        sink = BoxSink();
    }
    if (!sink)
        return ShowBoxOverWindow(g_mainWindow, text);
    sink(text);
    return true;
}

CScopedMainWindowSink::CScopedMainWindowSink(MainWindowSink sink)
    : m_previous(SetMainWindowSink(std::move(sink)))
{
}

CScopedMainWindowSink::~CScopedMainWindowSink()
{
    SetMainWindowSink(std::move(m_previous));
}

CScopedMessageBoxSink::CScopedMessageBoxSink(MessageBoxSink sink)
    : m_previous(SetMessageBoxSink(std::move(sink)))
{
}

CScopedMessageBoxSink::~CScopedMessageBoxSink()
{
    SetMessageBoxSink(std::move(m_previous));
}

} // namespace shared::platform
