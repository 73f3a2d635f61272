#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <shared/platform/SystemError.h>
#include <shared/platform/WakeDescriptor.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/eventfd.h>
#endif

namespace shared::platform
{

CWakeDescriptor::~CWakeDescriptor()
{
    Close();
}

unsigned long CWakeDescriptor::Create()
{
    Close();
#if defined(__linux__)
    m_readFd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_readFd < 0)
    {
        return WinErrorFromErrno(errno);
    }
    m_writeFd = m_readFd;
#else
    int fds[2];
    if (::pipe(fds) != 0)
    {
        return WinErrorFromErrno(errno);
    }
    for (int fd : fds)
    {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    m_readFd = fds[0];
    m_writeFd = fds[1];
#endif
    return 0;
}

void CWakeDescriptor::Close()
{
    if (m_writeFd >= 0 && m_writeFd != m_readFd)
    {
        ::close(m_writeFd);
    }
    if (m_readFd >= 0)
    {
        ::close(m_readFd);
    }
    m_readFd = m_writeFd = -1;
}

void CWakeDescriptor::Signal()
{
    // A full pipe or a saturated counter already means "wake up": EAGAIN is success here.
#if defined(__linux__)
    std::uint64_t const one = 1;
    [[maybe_unused]] auto const n = ::write(m_writeFd, &one, sizeof one);
#else
    char const one = 1;
    [[maybe_unused]] auto const n = ::write(m_writeFd, &one, 1);
#endif
}

void CWakeDescriptor::Drain()
{
    unsigned char buffer[64];
    while (::read(m_readFd, buffer, sizeof buffer) > 0)
    {
    }
}

} // namespace shared::platform
