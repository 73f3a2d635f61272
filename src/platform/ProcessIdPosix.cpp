#ifndef _WIN32

#include <cerrno>
#include <csignal>
#include <shared/platform/ProcessId.h>
#include <unistd.h>

namespace shared::platform
{

unsigned long CurrentProcessId()
{
    return static_cast<unsigned long>(::getpid());
}

bool IsProcessRunning(unsigned long processId)
{
    const auto pid = static_cast<pid_t>(processId);
    if (pid <= 0 || static_cast<unsigned long>(pid) != processId)
        return false;
    return ::kill(pid, 0) == 0 || errno != ESRCH;
}

} // namespace shared::platform

#endif
