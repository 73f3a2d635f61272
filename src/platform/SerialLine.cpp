#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <shared/platform/SerialLine.h>
#include <shared/platform/SystemError.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#if defined(__linux__)
#include <linux/serial.h>
#endif

namespace shared::platform
{

namespace
{

struct BaudEntry
{
    unsigned long rate;
    speed_t speed;
};

// The rates termios names. Windows rates without a termios constant (14400, 56000, 128000,
// 256000) are refused with 87, as Windows refuses a rate that its driver cannot make.
constexpr std::array kBaudRates
{
    BaudEntry{50, B50}, BaudEntry{75, B75}, BaudEntry{110, B110}, BaudEntry{134, B134},
        BaudEntry{150, B150}, BaudEntry{200, B200}, BaudEntry{300, B300}, BaudEntry{600, B600},
        BaudEntry{1200, B1200}, BaudEntry{1800, B1800}, BaudEntry{2400, B2400},
        BaudEntry{4800, B4800}, BaudEntry{9600, B9600}, BaudEntry{19200, B19200},
        BaudEntry{38400, B38400}, BaudEntry{57600, B57600}, BaudEntry{115200, B115200},
        BaudEntry{230400, B230400},
#if defined(B460800)
        BaudEntry{460800, B460800}, BaudEntry{500000, B500000}, BaudEntry{576000, B576000},
        BaudEntry{921600, B921600}, BaudEntry{1000000, B1000000}, BaudEntry{1152000, B1152000},
        BaudEntry{1500000, B1500000}, BaudEntry{2000000, B2000000}, BaudEntry{2500000, B2500000},
        BaudEntry{3000000, B3000000}, BaudEntry{3500000, B3500000}, BaudEntry{4000000, B4000000},
#endif
};

unsigned long OpenError(int err)
{
    switch (err)
    {
    case ENOENT:
    case ENXIO:
    case ENODEV:
    case EIO: // a /dev/ttyS node without a UART behind it
        return winerror::kFileNotFound;
    case EBUSY:       // TIOCEXCL set by the holder
    case EWOULDBLOCK: // flock held by another open
    case EACCES:
    case EPERM:
        return winerror::kAccessDenied;
    default:
        return WinErrorFromErrno(err);
    }
}

unsigned long LineError(int err)
{
    // A terminal without modem-control lines (a pseudo-terminal) refuses their ioctls.
    if (err == ENOTTY || err == EINVAL)
    {
        return winerror::kInvalidFunction;
    }
    if (err == EIO)
    {
        return winerror::kDeviceNotConnected;
    }
    return WinErrorFromErrno(err);
}

unsigned long SetModemBit(int fd, int bit, bool on)
{
    if (fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    return ::ioctl(fd, on ? TIOCMBIS : TIOCMBIC, &bit) == 0 ? 0 : LineError(errno);
}

} // namespace

CSerialLine::~CSerialLine()
{
    Close();
}

unsigned long CSerialLine::Open(std::string const& path, bool markExclusive)
{
    Close();
    if (path.empty())
    {
        return winerror::kFileNotFound;
    }
    int const fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
    {
        return OpenError(errno);
    }
    if (::isatty(fd) == 0)
    {
        ::close(fd);
        return winerror::kInvalidFunction;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0)
    {
        int const err = errno;
        ::close(fd);
        return OpenError(err);
    }
    m_fd = fd;
    m_bMarkedExclusive = markExclusive && ::ioctl(fd, TIOCEXCL) == 0;
    m_marks.Reset();
    return 0;
}

void CSerialLine::Close()
{
    if (m_fd < 0)
    {
        return;
    }
    if (m_bMarkedExclusive)
    {
        ::ioctl(m_fd, TIOCNXCL);
    }
    ::close(m_fd); // releases the flock too
    m_fd = -1;
    m_bMarkedExclusive = false;
}

unsigned long CSerialLine::GetSettings(SerialLineSettings& settings) const
{
    termios t{};
    if (m_fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    if (::tcgetattr(m_fd, &t) != 0)
    {
        return LineError(errno);
    }
    speed_t const speed = ::cfgetospeed(&t);
    settings.baudRate = 0;
    for (BaudEntry const& entry : kBaudRates)
    {
        if (entry.speed == speed)
        {
            settings.baudRate = entry.rate;
        }
    }
    switch (t.c_cflag & CSIZE)
    {
    case CS5:
        settings.dataBits = 5;
        break;
    case CS6:
        settings.dataBits = 6;
        break;
    case CS7:
        settings.dataBits = 7;
        break;
    default:
        settings.dataBits = 8;
        break;
    }
    settings.parity = 0;
    if ((t.c_cflag & PARENB) != 0)
    {
        bool const odd = (t.c_cflag & PARODD) != 0;
#if defined(CMSPAR)
        if ((t.c_cflag & CMSPAR) != 0)
        {
            settings.parity = odd ? 3 : 4;
        }
        else
#endif
        {
            settings.parity = odd ? 1 : 2;
        }
    }
    settings.stopBits = (t.c_cflag & CSTOPB) != 0 ? (settings.dataBits == 5 ? 1 : 2) : 0;
    settings.checkParity = (t.c_iflag & INPCK) != 0;
    settings.ctsFlow = (t.c_cflag & CRTSCTS) != 0;
    settings.xonXoff = (t.c_iflag & IXON) != 0;
    return 0;
}

unsigned long CSerialLine::SetSettings(SerialLineSettings const& settings)
{
    if (m_fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    termios t{};
    if (::tcgetattr(m_fd, &t) != 0)
    {
        return LineError(errno);
    }
    speed_t speed = B0;
    bool known = false;
    for (BaudEntry const& entry : kBaudRates)
    {
        if (entry.rate == settings.baudRate)
        {
            speed = entry.speed;
            known = true;
        }
    }
    tcflag_t size = CS8;
    switch (settings.dataBits)
    {
    case 5:
        size = CS5;
        break;
    case 6:
        size = CS6;
        break;
    case 7:
        size = CS7;
        break;
    case 8:
        size = CS8;
        break;
    default:
        known = false;
        break;
    }
    // Windows allows one and a half stop bits only with 5 data bits and two only with more;
    // a UART asked for "two" with 5-bit words sends one and a half, so CSTOPB serves both.
    bool const stopsValid = settings.stopBits == 0 ||
                            (settings.stopBits == 1 && settings.dataBits == 5) ||
                            (settings.stopBits == 2 && settings.dataBits != 5);
#if !defined(CMSPAR)
    bool const parityValid = settings.parity <= 2;
#else
    bool const parityValid = settings.parity <= 4;
#endif
    if (!known || !stopsValid || !parityValid)
    {
        return winerror::kInvalidParameter;
    }

    t.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | IGNPAR | ISTRIP | INLCR | IGNCR | ICRNL |
                                        IXON | IXOFF | IXANY | INPCK);
#if defined(IUCLC)
    t.c_iflag &= ~static_cast<tcflag_t>(IUCLC);
#endif
    t.c_iflag |= PARMRK;
    if (settings.checkParity)
    {
        t.c_iflag |= INPCK;
    }
    if (settings.xonXoff)
    {
        t.c_iflag |= IXON | IXOFF;
    }
    t.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    t.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
    t.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
#if defined(CMSPAR)
    t.c_cflag &= ~static_cast<tcflag_t>(CMSPAR);
#endif
    t.c_cflag |= CREAD | CLOCAL | size;
    switch (settings.parity)
    {
    case 1:
        t.c_cflag |= PARENB | PARODD;
        break;
    case 2:
        t.c_cflag |= PARENB;
        break;
#if defined(CMSPAR)
    case 3:
        t.c_cflag |= PARENB | PARODD | CMSPAR;
        break;
    case 4:
        t.c_cflag |= PARENB | CMSPAR;
        break;
#endif
    default:
        break;
    }
    if (settings.stopBits != 0)
    {
        t.c_cflag |= CSTOPB;
    }
    if (settings.ctsFlow)
    {
        t.c_cflag |= CRTSCTS;
    }
    t.c_cc[VMIN] = 1;
    t.c_cc[VTIME] = 0;
    if (::cfsetispeed(&t, speed) != 0 || ::cfsetospeed(&t, speed) != 0)
    {
        return winerror::kInvalidParameter;
    }
    if (::tcsetattr(m_fd, TCSANOW, &t) != 0)
    {
        return LineError(errno);
    }
    return 0;
}

unsigned long CSerialLine::SetFlowControl(bool ctsFlow, bool xonXoff)
{
    if (m_fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    termios t{};
    if (::tcgetattr(m_fd, &t) != 0)
    {
        return LineError(errno);
    }
    t.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS);
    t.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    if (ctsFlow)
    {
        t.c_cflag |= CRTSCTS;
    }
    if (xonXoff)
    {
        t.c_iflag |= IXON | IXOFF;
    }
    return ::tcsetattr(m_fd, TCSANOW, &t) == 0 ? 0 : LineError(errno);
}

unsigned long CSerialLine::SetBreak(bool on)
{
    if (m_fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    return ::ioctl(m_fd, on ? TIOCSBRK : TIOCCBRK) == 0 ? 0 : LineError(errno);
}

unsigned long CSerialLine::SetDtr(bool on)
{
    return SetModemBit(m_fd, TIOCM_DTR, on);
}

unsigned long CSerialLine::SetRts(bool on)
{
    return SetModemBit(m_fd, TIOCM_RTS, on);
}

unsigned long CSerialLine::GetModemStatus(unsigned long& status) const
{
    status = 0;
    if (m_fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    int bits = 0;
    if (::ioctl(m_fd, TIOCMGET, &bits) != 0)
    {
        return LineError(errno);
    }
    // The Windows MS_*_ON values.
    status = ((bits & TIOCM_CTS) != 0 ? 0x10UL : 0) | ((bits & TIOCM_DSR) != 0 ? 0x20UL : 0) |
             ((bits & TIOCM_RNG) != 0 ? 0x40UL : 0) | ((bits & TIOCM_CAR) != 0 ? 0x80UL : 0);
    return 0;
}

bool CSerialLine::ReadCounters(SerialLineCounters& counters) const
{
#if defined(TIOCGICOUNT)
    serial_icounter_struct c{};
    if (m_fd < 0 || ::ioctl(m_fd, TIOCGICOUNT, &c) != 0)
    {
        return false;
    }
    auto const u = [](int v) { return static_cast<unsigned long>(static_cast<unsigned>(v)); };
    counters.cts = u(c.cts);
    counters.dsr = u(c.dsr);
    counters.ring = u(c.rng);
    counters.dcd = u(c.dcd);
    counters.frame = u(c.frame);
    counters.overrun = u(c.overrun);
    counters.parity = u(c.parity);
    counters.breaks = u(c.brk);
    counters.bufferOverrun = u(c.buf_overrun);
    return true;
#else
    (void)counters;
    return false;
#endif
}

namespace
{
constexpr ssize_t kNothingYet = -2;

// One read or write on the line: its count, kNothingYet when the line had nothing to give or
// take just now (or a signal came first), or -1 with the line error set.
template <typename Call> ssize_t Transfer(int fd, Call call, unsigned long& error)
{
    error = 0;
    if (fd < 0)
    {
        error = winerror::kInvalidHandle;
        return -1;
    }
    ssize_t const n = call();
    if (n >= 0)
        return n;
    int const err = errno;
    if (err == EAGAIN || err == EWOULDBLOCK || err == EINTR)
        return kNothingYet;
    error = LineError(err);
    return -1;
}
} // namespace

long CSerialLine::Read(unsigned char* buffer, unsigned long size, SerialLineMarks& marks,
                       unsigned long& error)
{
    ssize_t const n = Transfer(
        m_fd, [&] { return ::read(m_fd, buffer, size); }, error);
    if (n < 0)
        return n == kNothingYet ? 0 : -1;
    if (n == 0)
    {
        // End of file on a terminal: the line has been hung up.
        error = winerror::kDeviceNotConnected;
        return -1;
    }
    return static_cast<long>(m_marks.Strip(buffer, static_cast<unsigned long>(n), marks));
}

long CSerialLine::Write(void const* buffer, unsigned long size, unsigned long& error)
{
    ssize_t const n = Transfer(
        m_fd, [&] { return ::write(m_fd, buffer, size); }, error);
    if (n < 0)
        return n == kNothingYet ? 0 : -1;
    return static_cast<long>(n);
}

unsigned long CSerialLine::Wait(CWakeDescriptor& wake, bool watchInput, unsigned long timeoutMs,
                                unsigned& events)
{
    events = 0;
    pollfd fds[2] = {{wake.GetDescriptor(), POLLIN, 0}, {watchInput ? m_fd : -1, POLLIN, 0}};
    int const wait = timeoutMs == 0xFFFFFFFFUL
                         ? -1
                         : static_cast<int>(std::min<unsigned long>(timeoutMs, INT_MAX));
    int const n = ::poll(fds, 2, wait);
    if (n < 0)
    {
        // An interrupted sleep is an early timeout: the caller looks around and sleeps again.
        return errno == EINTR ? 0 : WinErrorFromErrno(errno);
    }
    if (fds[0].revents != 0)
    {
        wake.Drain();
        events |= kSerialWoken;
    }
    if (fds[1].revents != 0)
    {
        events |= kSerialReadable;
    }
    return 0;
}

unsigned long CSerialLine::WaitWritable(unsigned long timeoutMs, bool& ready) const
{
    ready = false;
    if (m_fd < 0)
    {
        return winerror::kInvalidHandle;
    }
    using Clock = std::chrono::steady_clock;
    bool const forever = timeoutMs == 0xFFFFFFFFUL;
    auto const deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;)
    {
        int wait = -1;
        if (!forever)
        {
            auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            wait = left.count() <= 0 ? 0
                                     : static_cast<int>(std::min<long long>(left.count(), INT_MAX));
        }
        pollfd p{m_fd, POLLOUT, 0};
        int const n = ::poll(&p, 1, wait);
        if (n > 0)
        {
            ready = true; // writable, or an error that the next write reports
            return 0;
        }
        if (n == 0)
        {
            return 0;
        }
        if (errno != EINTR)
        {
            return WinErrorFromErrno(errno);
        }
    }
}

void CSerialLine::DiscardOutput()
{
    if (m_fd >= 0)
    {
        ::tcflush(m_fd, TCOFLUSH);
    }
}

void CSerialLine::DiscardInput()
{
    if (m_fd >= 0)
    {
        ::tcflush(m_fd, TCIFLUSH);
    }
    m_marks.Reset();
}

} // namespace shared::platform
