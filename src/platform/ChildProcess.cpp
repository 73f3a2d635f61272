#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <shared/platform/ChildProcess.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace shared::platform
{
namespace
{

using SteadyClock = std::chrono::steady_clock;

void CloseDescriptor(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

// Polls until done() holds or the time is up; true when it held.
template <class Done> bool WaitUntil(Done done, unsigned long ms)
{
    const auto limit = SteadyClock::now() + std::chrono::milliseconds(ms);
    for (;;)
    {
        if (done())
            return true;
        if (SteadyClock::now() >= limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace

CChildProcess::CChildProcess() = default;

CChildProcess::~CChildProcess()
{
    Stop(0);
}

bool CChildProcess::Start(const std::string& command)
{
    if (m_pid > 0)
    {
        m_error = "already started";
        return false;
    }
    int toChild[2] = {-1, -1};
    int fromChild[2] = {-1, -1};
    if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0)
    {
        m_error = std::string("cannot create a pipe: ") + std::strerror(errno);
        for (int fd : {toChild[0], toChild[1]})
            if (fd >= 0)
                ::close(fd);
        return false;
    }
    const char* text = command.c_str();
    const pid_t pid = ::fork();
    if (pid < 0)
    {
        m_error = std::string("cannot start the command: ") + std::strerror(errno);
        for (int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]})
            ::close(fd);
        return false;
    }
    if (pid == 0)
    {
        // Only async-signal-safe calls from here on: the parent may have other threads.
        ::setpgid(0, 0);
        ::signal(SIGPIPE, SIG_DFL);
        ::signal(SIGINT, SIG_DFL);
        ::signal(SIGTERM, SIG_DFL);
        ::dup2(toChild[0], 0);
        ::dup2(fromChild[1], 1);
        ::execl("/bin/sh", "sh", "-c", text, static_cast<char*>(nullptr));
        ::_exit(127);
    }
    // Set here too, so that the group exists before anyone can try to end it.
    ::setpgid(pid, pid);
    ::close(toChild[0]);
    ::close(fromChild[1]);
    m_pid = pid;
    m_toChild = toChild[1];
    m_fromChild = fromChild[0];
    m_exitCode = -1;
    ::fcntl(m_fromChild, F_SETFL, ::fcntl(m_fromChild, F_GETFL) | O_NONBLOCK);
    return true;
}

long CChildProcess::Read(unsigned char* buffer, unsigned long size, unsigned long timeoutMs)
{
    if (m_fromChild < 0)
        return -1;
    const auto limit = SteadyClock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;)
    {
        const ssize_t n = ::read(m_fromChild, buffer, size);
        if (n > 0)
            return static_cast<long>(n);
        if (n == 0)
            return -1;
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK)
            return -1;
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(limit - SteadyClock::now());
        if (left.count() <= 0)
            return 0;
        pollfd p{m_fromChild, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(left.count())) == 0)
            return 0;
    }
}

bool CChildProcess::Write(const unsigned char* data, unsigned long count)
{
    if (m_toChild < 0)
        return false;
    // A command that stopped reading must not end the caller with SIGPIPE, and a library may
    // not change the process's handlers: the signal is blocked on this thread while writing
    // and a SIGPIPE raised by the write is taken off again.
    sigset_t pipeSet;
    sigset_t previous;
    sigemptyset(&pipeSet);
    sigaddset(&pipeSet, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipeSet, &previous);
    sigset_t pending;
    sigpending(&pending);
    const bool alreadyPending = sigismember(&pending, SIGPIPE) == 1;
    bool ok = true;
    while (count > 0)
    {
        const ssize_t n = ::write(m_toChild, data, count);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            if (errno == EPIPE && !alreadyPending)
            {
                const timespec none{0, 0};
                ::sigtimedwait(&pipeSet, nullptr, &none);
            }
            ok = false;
            break;
        }
        data += n;
        count -= static_cast<unsigned long>(n);
    }
    ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return ok;
}

void CChildProcess::DiscardOutput()
{
    unsigned char scrap[4096];
    while (m_fromChild >= 0 && ::read(m_fromChild, scrap, sizeof scrap) > 0)
    {
    }
}

void CChildProcess::Terminate(bool forced)
{
    if (m_pid > 0)
        ::kill(-m_pid, forced ? SIGKILL : SIGTERM);
}

void CChildProcess::CloseLine()
{
    CloseDescriptor(m_toChild);
    CloseDescriptor(m_fromChild);
}

int CChildProcess::Stop(unsigned long graceMs, unsigned long killAfterMs)
{
    CloseLine();
    if (m_pid <= 0)
        return m_exitCode;
    const pid_t pid = m_pid;
    bool reaped = false;
    auto reap = [&](int options)
    {
        int status = 0;
        pid_t r = 0;
        do
            r = ::waitpid(pid, &status, options);
        while (r < 0 && errno == EINTR);
        if (r == pid)
        {
            reaped = true;
            m_exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        else if (r < 0)
            reaped = true; // not ours any more; nothing to wait for
        return reaped;
    };
    WaitUntil([&] { return reap(WNOHANG); }, graceMs);

    // The group is named after the command's id, which stays reserved while any member lives.
    // Members that honoured the request may linger as zombies until whoever adopted them reaps
    // them, so the group cannot be watched until it is empty: once the command itself is gone
    // (or after killAfterMs), whatever is left is killed, which costs a zombie nothing.
    ::kill(-pid, SIGTERM);
    WaitUntil([&] { return reaped || reap(WNOHANG); }, killAfterMs);
    ::kill(-pid, SIGKILL);
    if (!reaped)
        reap(0);
    m_pid = -1;
    return m_exitCode;
}

} // namespace shared::platform
