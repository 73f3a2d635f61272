#ifdef _WIN32

#include <shared/platform/ProcessId.h>
#include <windows.h>

namespace shared::platform
{

unsigned long CurrentProcessId()
{
    return ::GetCurrentProcessId();
}

bool IsProcessRunning(unsigned long processId)
{
    if (processId == 0)
        return false;
    HANDLE process = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    if (process == nullptr)
        // Someone else's process refuses the query but exists.
        return ::GetLastError() == ERROR_ACCESS_DENIED;
    DWORD code = 0;
    const bool running = ::GetExitCodeProcess(process, &code) && code == STILL_ACTIVE;
    ::CloseHandle(process);
    return running;
}

} // namespace shared::platform

#endif
