#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/platform/Environment.h>
#include <shared/platform/SerialPortPath.h>
#include <shared/platform/SystemError.h>
#include <system_error>

using shared::platform::CSerialLine;
using shared::platform::SerialLineCounters;
using shared::platform::SerialLineMarks;
using shared::platform::SerialLineSettings;
namespace winerror = shared::platform::winerror;

CSignal2<int const, bool const> CSerialPortDevice::s_sigPortOpen;

namespace
{

// Windows result codes that the device names itself.
constexpr unsigned long kBadUnit = 20;    // a port number below 1
constexpr unsigned long kWriteFault = 29; // a write that ended short
constexpr unsigned long kTimeout = 1460;  // a write that timed out

// The event mask Open sets: received character, CTS, DSR, RLSD, break, line error and ring.
constexpr unsigned long kOpenEventMask = 0x1F9;
// The line events the event signal reports: CTS, DSR, RLSD, break and ring.
constexpr unsigned long kLineEvents = 0x178;
// Line errors that raise the line-error event (Windows: framing, overrun, parity); the driver's
// own buffer overflow is added because it loses data just the same.
constexpr unsigned long kLineStatusErrors = 0x1 | 0x2 | 0x4 | 0x8;

// Reads go straight from the driver into the FIFO in pieces this large: at full pseudo-terminal
// speed smaller pieces cost more in system calls than the FIFO can afford.
constexpr std::size_t kReadChunk = 16 * 1024;
// How often a receive thread that holds input back looks whether the reader made room.
constexpr int kHeldInputPollMs = 1;

// Linux has no notification of modem-line changes that poll() can wait for: TIOCMIWAIT blocks
// a thread and only a signal handler can interrupt it, which a library has no business
// installing. Where the driver keeps transition counters (or at least modem status) the receive
// thread therefore also wakes at this interval and compares; the counters record every
// transition, so none is lost, only reported up to this late. Pseudo-terminals have neither,
// and there the thread sleeps until data or a request arrives.
constexpr int kLineWatchMs = 50;

// The debug trace of every report; printed only when SHARED_SERIAL_TRACE is set.
void Trace(char const* operation, int port, char const* message, unsigned long code)
{
    static bool const enabled =
        shared::platform::GetEnvironmentValue("SHARED_SERIAL_TRACE").has_value();
    if (enabled)
    {
        std::fprintf(stderr, "CSerialPortDevice::%s COM%d - %s (%d)\n", operation, port, message,
                     static_cast<int>(code));
    }
}

unsigned long Delta(unsigned long now, unsigned long before)
{
    return now - before; // the driver's counters wrap; unsigned subtraction follows them
}

} // namespace

CSerialPortDevice::CSerialPortDevice() = default;

CSerialPortDevice::CSerialPortDevice(CSerialPortDevice const& other)
    : m_sigError(other.m_sigError), m_sigEvent(other.m_sigEvent),
      m_sigLineError(other.m_sigLineError)
{
}

CSerialPortDevice& CSerialPortDevice::operator=(CSerialPortDevice const& other)
{
    if (this != &other)
    {
        Close();
        m_sigError = other.m_sigError;
        m_sigEvent = other.m_sigEvent;
        m_sigLineError = other.m_sigLineError;
    }
    return *this;
}

CSerialPortDevice::~CSerialPortDevice()
{
    Close();
    m_sigError.DisconnectAll();
    m_sigEvent.DisconnectAll();
    m_sigLineError.DisconnectAll();
}

std::string CSerialPortDevice::GetDevicePath(int port)
{
    return shared::platform::SerialPortDevicePath(port);
}

void CSerialPortDevice::SetDevicePath(int port, char const* path)
{
    shared::platform::SetSerialPortDevicePath(port, path != nullptr ? path : "");
}

CSerialPortDevice::EPort CSerialPortDevice::CheckPort(int port)
{
    if (port < 1)
    {
        return PORT_NOT_PRESENT; // Windows finds no "\\.\COM0"
    }
    CSerialLine line;
    switch (line.Open(GetDevicePath(port), false))
    {
    case 0:
        return PORT_AVAILABLE;
    case winerror::kFileNotFound:
        return PORT_NOT_PRESENT;
    case winerror::kAccessDenied:
    case winerror::kGenFailure:
        return PORT_IN_USE;
    default:
        return PORT_ERROR;
    }
}

void CSerialPortDevice::Report(char const* operation, char const* message, unsigned long code,
                               EErrorLevel level)
{
    int const port = m_nPort.load();
    Trace(operation, port, message, code);
    m_sigError.Send(port, level, code, message);
}

unsigned long CSerialPortDevice::FailOpen(char const* message, unsigned long code)
{
    Report("Open", message, code);
    Close();
    return code;
}

unsigned long CSerialPortDevice::Open(int port, EBaudrate baudrate, EDataBits dataBits,
                                      EParity parity, EStopBits stopBits, EHandshake handshake,
                                      unsigned long bufferSize)
{
    if (port < 1)
    {
        return kBadUnit;
    }
    Close();
    m_nPort = port;

    if (unsigned long const code = m_line.Open(GetDevicePath(port), true); code != 0)
    {
        return FailOpen("Unable to open device", code);
    }

    try
    {
        m_pFifo = std::make_unique<CByteFifo>(bufferSize <= 1024 ? 1024 : bufferSize);
    }
    catch (std::bad_alloc const&)
    {
        // Not the queue-size message of the next step: that one blames the driver.
        return FailOpen("Unable to allocate the receive buffer", winerror::kNotEnoughMemory);
    }
    // The driver's queue sizes (bufferSize, at least 16, when it is not 0) and its timeouts
    // (return at once with what is there) have no settable counterpart here: the kernel's tty
    // buffers are fixed and the descriptor is non-blocking. Nor is there a stored default
    // configuration to apply, so those steps cannot fail.

    SerialLineSettings settings;
    if (unsigned long const code = m_line.GetSettings(settings); code != 0)
    {
        return FailOpen("Unable to get DCB information", code);
    }
    settings.baudRate = baudrate;
    settings.dataBits = dataBits;
    settings.parity = parity;
    settings.stopBits = stopBits;
    settings.checkParity = parity != PARITY_BIT_NONE;
    if (unsigned long const code = m_line.SetSettings(settings); code != 0)
    {
        return FailOpen("Unable to set DCB information", code);
    }

    if (unsigned long const code = SetHandshake(handshake); code != 0)
    {
        Close(); // SetHandshake has reported
        return code;
    }
    if (unsigned long const code = SetEventMask(kOpenEventMask); code != 0)
    {
        Close();
        return code;
    }
    if (unsigned long const code = m_wake.Create(); code != 0)
    {
        return FailOpen("Unable to create event", code);
    }
    m_bLineLost = false;
    if (unsigned long const code = StartReceiveThread(); code != 0)
    {
        Close(); // StartReceiveThread has reported
        return code;
    }
    m_bOpen = true;
    s_sigPortOpen.Send(port, true);
    return 0;
}

void CSerialPortDevice::Close()
{
    if (m_receiveThread.joinable() && m_receiveThread.get_id() == std::this_thread::get_id())
    {
        // Called from one of this device's slots: the thread cannot wait for itself.
        Report("Close", "Unable to stop receive thread from its own slot", winerror::kBusy);
        return;
    }
    StopReceiveThread(5000);
    {
        // Take the port so that no borrower is still using the descriptor being closed.
        std::lock_guard portGuard(m_portLock);
        TakeToken();
        m_line.Close();
        GiveToken();
    }
    m_wake.Close();
    m_pFifo.reset();
    m_dwEventMask = 0;
    m_dwEventType = 0;
    m_dwErrors = 0;
    int const port = m_nPort.load();
    if (m_bOpen.exchange(false))
    {
        s_sigPortOpen.Send(port, false);
    }
    m_nPort = 0;
}

unsigned long CSerialPortDevice::StartReceiveThread()
{
    if (m_receiveThread.joinable())
    {
        return 0;
    }
    m_bStop = false;
    try
    {
        m_receiveThread = std::thread([this] { ReceiveThreadProc(); });
    }
    catch (std::system_error const& e)
    {
        unsigned long const code = shared::platform::WinErrorFromErrno(e.code().value());
        Report("StartReceiveThread", "Unable to start receive thread", code);
        return code;
    }
    return 0;
}

void CSerialPortDevice::StopReceiveThread(unsigned long /*timeoutMs*/)
{
    if (!m_receiveThread.joinable())
    {
        return;
    }
    m_bStop = true;
    m_wake.Signal();
    // Waits for the thread however long a slot keeps it: abandoning a thread that still runs
    // a slot (as a timed wait would) leaves it to touch this device after it has been freed.
    m_receiveThread.join();
}

void CSerialPortDevice::TakeToken()
{
    std::unique_lock guard(m_tokenLock);
    m_tokenChanged.wait(guard, [this] { return m_bTokenFree; });
    m_bTokenFree = false;
}

void CSerialPortDevice::GiveToken()
{
    {
        std::lock_guard guard(m_tokenLock);
        m_bTokenFree = true;
    }
    m_tokenChanged.notify_all();
}

void CSerialPortDevice::AcquirePortFromReceiveThread()
{
    std::lock_guard portGuard(m_portLock);
    ++m_nPortRequests;
    if (m_wake.IsOpen())
    {
        m_wake.Signal();
    }
    TakeToken();
}

void CSerialPortDevice::ReleasePortToReceiveThread()
{
    // A count rather than a flag: a second caller queued behind the first keeps its request
    // standing when the first one lets go.
    --m_nPortRequests;
    GiveToken();
}

void CSerialPortDevice::ReleasePortToWriteThread(EReleasePortMode mode)
{
    GiveToken();
    if (mode == RELEASE_AND_WAIT)
    {
        // Once the port lock is free the requester has taken the token; only then wait for it
        // to come back, or this thread could take its own token straight back.
        {
            std::lock_guard portGuard(m_portLock);
        }
        TakeToken();
    }
}

unsigned long CSerialPortDevice::SetEventMask(unsigned long mask)
{
    // The mask is this device's own filter, read by the receive thread at its next pass; there
    // is no driver call that could fail.
    m_dwEventMask = mask;
    if (m_wake.IsOpen())
    {
        m_wake.Signal();
    }
    return 0;
}

CSerialPortDevice::EError CSerialPortDevice::GetError()
{
    if (!m_line.IsOpen())
    {
        Report("GetError", "Unable to obtain the comms status", winerror::kInvalidHandle);
        return LINE_NONE;
    }
    return static_cast<EError>(m_dwErrors.exchange(0));
}

void CSerialPortDevice::ReceiveThreadProc()
{
    TakeToken();
    SerialLineCounters last;
    bool const counters = m_line.ReadCounters(last);
    unsigned long lastStatus = 0;
    bool const modemStatus = !counters && m_line.GetModemStatus(lastStatus) == 0;
    bool lineAlive = true;

    for (;;)
    {
        unsigned long const mask = m_dwEventMask.load();
        bool const watchLines = (counters || modemStatus) && lineAlive && (mask & kLineEvents) != 0;
        bool const heldBack = lineAlive && ReadRoom() == 0;
        bool const readData = lineAlive && !heldBack && (mask & EVENT_RXCHAR) != 0;
        unsigned waitEvents = 0;
        unsigned long const waitError = m_line.Wait(m_wake, readData,
                                                    heldBack     ? kHeldInputPollMs
                                                    : watchLines ? kLineWatchMs
                                                                 : INFINITE_TIMEOUT,
                                                    waitEvents);
        if (waitError != 0)
        {
            Report("ReceiveThreadProc", "Error waiting for I/O completion", waitError);
            // Such a wait fails only for reasons that persist; do not flood the error signal.
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            continue;
        }
        if (m_bStop.load())
        {
            break;
        }
        if (m_nPortRequests.load() > 0)
        {
            ReleasePortToWriteThread(RELEASE_AND_WAIT);
            continue;
        }

        unsigned long events = 0;
        unsigned long errors = 0;
        if ((waitEvents & shared::platform::kSerialReadable) != 0)
        {
            lineAlive = ReadAvailable(!counters, events, errors);
        }
        if (counters)
        {
            SerialLineCounters now;
            if (m_line.ReadCounters(now))
            {
                events |= (Delta(now.cts, last.cts) != 0 ? EVENT_CTS : 0) |
                          (Delta(now.dsr, last.dsr) != 0 ? EVENT_DSR : 0) |
                          (Delta(now.dcd, last.dcd) != 0 ? EVENT_RLSD : 0) |
                          (Delta(now.ring, last.ring) != 0 ? EVENT_RING : 0) |
                          (Delta(now.breaks, last.breaks) != 0 ? EVENT_BREAK : 0);
                errors |=
                    (Delta(now.frame, last.frame) != 0 ? 0UL + LINE_FRAME : 0UL) |
                    (Delta(now.parity, last.parity) != 0 ? 0UL + LINE_PARITY : 0UL) |
                    (Delta(now.overrun, last.overrun) != 0 ? 0UL + LINE_OVERRUN : 0UL) |
                    (Delta(now.bufferOverrun, last.bufferOverrun) != 0 ? 0UL + LINE_RXOVER : 0UL);
                last = now;
            }
        }
        else if (modemStatus && lineAlive)
        {
            unsigned long status = 0;
            if (m_line.GetModemStatus(status) == 0)
            {
                unsigned long const changed = status ^ lastStatus;
                events |= ((changed & 0x10) != 0 ? EVENT_CTS : 0) |
                          ((changed & 0x20) != 0 ? EVENT_DSR : 0) |
                          ((changed & 0x40) != 0 ? EVENT_RING : 0) |
                          ((changed & 0x80) != 0 ? EVENT_RLSD : 0);
                lastStatus = status;
            }
        }
        if ((events & EVENT_BREAK) != 0)
        {
            errors |= LINE_BREAK;
        }
        if ((errors & kLineStatusErrors) != 0)
        {
            events |= EVENT_ERR;
        }
        m_dwErrors |= errors;
        m_dwEventType = events;

        if (unsigned long const lineEvents = events & mask & kLineEvents; lineEvents != 0)
        {
            m_sigEvent.Send(m_nPort.load(), lineEvents);
        }
        if ((events & mask & EVENT_ERR) != 0)
        {
            m_sigLineError.Send(m_nPort.load(), GetError());
        }
    }
    ReleasePortToWriteThread(RELEASE_FINAL);
}

unsigned long CSerialPortDevice::ReadRoom() const
{
    if (!m_bHoldInput.load())
    {
        return kReadChunk;
    }
    unsigned long const capacity = m_pFifo->GetSize() - 1;
    unsigned long const held = m_pFifo->GetBytesReady();
    unsigned long const room = held >= capacity ? 0 : capacity - held;
    return room < kReadChunk ? room : kReadChunk;
}

bool CSerialPortDevice::ReadAvailable(bool useMarks, unsigned long& events, unsigned long& errors)
{
    unsigned char buffer[kReadChunk];
    for (;;)
    {
        // Held back, a read never takes more than fits, so what is left stays in the driver.
        unsigned long const room = ReadRoom();
        if (room == 0)
        {
            return true;
        }
        SerialLineMarks marks;
        unsigned long error = 0;
        long const count = m_line.Read(buffer, room, marks, error);
        if (useMarks)
        {
            // Without the driver's counters the marks are all there is; a damaged byte is a
            // parity error when parity is checked and a framing error otherwise.
            if (marks.breaks != 0)
            {
                events |= EVENT_BREAK;
            }
            if (marks.errors != 0)
            {
                SerialLineSettings settings;
                bool const parityChecked =
                    m_line.GetSettings(settings) == 0 && settings.checkParity;
                errors |= parityChecked ? LINE_PARITY : LINE_FRAME;
            }
        }
        if (count < 0)
        {
            // A hung-up or failed line stays so: report it once and stop watching it.
            m_bLineLost = true;
            Report("ReceiveThreadProc", "Unable to read serial data", error);
            return false;
        }
        if (count > 0)
        {
            auto const stored = m_pFifo->PutBytes(buffer, static_cast<unsigned long>(count));
            if (stored != static_cast<unsigned long>(count))
            {
                m_sigLineError.Send(m_nPort.load(), LINE_OVERRUN);
            }
        }
        if (marks.breaks == 0 && marks.errors == 0 && static_cast<unsigned long>(count) < room)
        {
            // A short read without marks drained the driver: the next poll says when more is
            // there, which saves a read that would only answer "nothing".
            return true;
        }
    }
}

bool CSerialPortDevice::Read(unsigned char& byte, unsigned long timeoutMs)
{
    return m_pFifo != nullptr && m_pFifo->GetByte(byte, timeoutMs);
}

unsigned long CSerialPortDevice::Read(void* buffer, unsigned long count,
                                      unsigned long firstTimeoutMs, unsigned long nextTimeoutMs)
{
    if (m_pFifo == nullptr || buffer == nullptr)
    {
        return 0;
    }
    // Whatever is already there is taken in blocks; the timeouts apply only to bytes that are
    // still to come, each one waited for by itself as the interface describes.
    auto* out = static_cast<unsigned char*>(buffer);
    unsigned long taken = m_pFifo->GetBytes(out, count, firstTimeoutMs);
    while (taken != 0 && taken < count)
    {
        unsigned long const more = m_pFifo->GetBytes(out + taken, count - taken, nextTimeoutMs);
        if (more == 0)
        {
            break;
        }
        taken += more;
    }
    return taken;
}

bool CSerialPortDevice::Unread(unsigned char byte)
{
    return Unread(&byte, 1);
}

bool CSerialPortDevice::Unread(void const* buffer, unsigned long count)
{
    if (m_pFifo == nullptr || (buffer == nullptr && count != 0))
    {
        return false;
    }
    auto const* bytes = static_cast<unsigned char const*>(buffer);
    bool kept = true;
    for (unsigned long i = count; i-- > 0;)
    {
        kept = m_pFifo->UngetByte(bytes[i]) && kept;
    }
    if (!kept)
    {
        m_sigLineError.Send(m_nPort.load(), LINE_OVERRUN);
    }
    return kept;
}

void CSerialPortDevice::PurgeInput()
{
    if (m_pFifo != nullptr)
    {
        m_pFifo->Empty();
    }
}

unsigned long CSerialPortDevice::GetBytesReady() const
{
    return m_pFifo != nullptr ? m_pFifo->GetBytesReady() : 0;
}

bool CSerialPortDevice::Write(void const* buffer, unsigned long count, unsigned long timeoutMs)
{
    AcquirePortFromReceiveThread();
    ClearErrorState();
    bool result = false;
    auto const* bytes = static_cast<unsigned char const*>(buffer);
    unsigned long written = 0;
    using Clock = std::chrono::steady_clock;
    auto const deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;)
    {
        if (written == count)
        {
            result = true;
            break;
        }
        unsigned long error = 0;
        long const n = bytes == nullptr ? (error = winerror::kInvalidParameter, -1)
                                        : m_line.Write(bytes + written, count - written, error);
        if (n > 0)
        {
            written += static_cast<unsigned long>(n);
            continue;
        }
        if (n < 0)
        {
            if (written != 0)
            {
                Report("Write", "Short write", kWriteFault);
            }
            else
            {
                Report("Write", "Write error", error);
            }
            break;
        }
        // The driver takes nothing now: wait for room until the deadline.
        unsigned long left = INFINITE_TIMEOUT;
        if (timeoutMs != INFINITE_TIMEOUT)
        {
            auto const remaining =
                std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
            left = remaining <= 0 ? 0 : static_cast<unsigned long>(remaining);
        }
        bool ready = false;
        unsigned long const waitError = m_line.WaitWritable(left, ready);
        if (waitError != 0 || !ready)
        {
            if (waitError != 0)
            {
                Report("Write", "Error waiting for I/O completion", waitError);
            }
            else
            {
                Report("Write", "Write timeout", kTimeout, LEVEL_WARNING);
            }
            // What the driver still holds of this write is discarded, as an aborted Windows write
            // is purged from the transmit queue.
            m_line.DiscardOutput();
            break;
        }
    }
    ClearErrorState();
    ReleasePortToReceiveThread();
    return result;
}

unsigned long CSerialPortDevice::Break(unsigned long durationMs)
{
    AcquirePortFromReceiveThread();
    ClearErrorState();
    unsigned long code = m_line.SetBreak(true);
    if (code != 0)
    {
        // "Unable set" without "to": the messages are the interface's own.
        Report("Break", "Unable set line break condition", code);
    }
    else
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(durationMs));
        code = m_line.SetBreak(false);
        if (code != 0)
        {
            Report("Break", "Unable clear line break condition", code);
        }
    }
    ClearErrorState();
    ReleasePortToReceiveThread();
    return code;
}

unsigned long CSerialPortDevice::SetLine(char const* operation, char const* message, bool rts,
                                         bool on)
{
    AcquirePortFromReceiveThread();
    ClearErrorState();
    unsigned long const code = rts ? m_line.SetRts(on) : m_line.SetDtr(on);
    if (code != 0)
    {
        Report(operation, message, code);
    }
    ClearErrorState();
    ReleasePortToReceiveThread();
    return code;
}

unsigned long CSerialPortDevice::SetDTR(bool on)
{
    return SetLine("SetDTR", "Unable to set DTR control line", false, on);
}

unsigned long CSerialPortDevice::SetRTS(bool on)
{
    return SetLine("SetRTS", "Unable to set RTS control line", true, on);
}

unsigned long CSerialPortDevice::SetHandshake(EHandshake handshake)
{
    SerialLineSettings settings;
    if (unsigned long const code = m_line.GetSettings(settings); code != 0)
    {
        Report("SetHandshake", "Unable to get DCB information", code);
        return code;
    }
    // CTS output flow and RTS handshaking are one termios flag (CRTSCTS); DSR output flow and
    // DTR handshaking have no termios counterpart, so with HANDSHAKE_HARDWARE DTR is simply
    // kept raised.
    bool const cts = handshake == HANDSHAKE_HARDWARE || handshake == HANDSHAKE_CTS;
    bool const xon = handshake == HANDSHAKE_XONXOFF;
    if (unsigned long const code = m_line.SetFlowControl(cts, xon); code != 0)
    {
        Report("SetHandshake", "Unable to set DCB information", code);
        return code;
    }
    if (handshake == HANDSHAKE_HARDWARE)
    {
        m_line.SetDtr(true);
        return 0;
    }
    // "Disabled" DTR and RTS control holds both lines low. A terminal without modem lines
    // (a pseudo-terminal) refuses; that is no failure of the handshake setting.
    m_line.SetDtr(false);
    m_line.SetRts(false);
    if (handshake == HANDSHAKE_CTS)
    {
        if (unsigned long const code = SetRTS(true); code != 0)
        {
            return code;
        }
        return SetDTR(true);
    }
    return 0;
}

unsigned long CSerialPortDevice::GetModemBit(char const* operation, unsigned long bit, bool& on)
{
    unsigned long status = 0;
    unsigned long const code = m_line.GetModemStatus(status);
    if (code != 0)
    {
        Report(operation, "Unable to obtain the modem status", code);
        on = false;
        return code;
    }
    on = (status & bit) != 0;
    return 0;
}

unsigned long CSerialPortDevice::GetCTS(bool& on)
{
    return GetModemBit("GetCTS", 0x10, on);
}

unsigned long CSerialPortDevice::GetDSR(bool& on)
{
    return GetModemBit("GetDSR", 0x20, on);
}

unsigned long CSerialPortDevice::GetRing(bool& on)
{
    return GetModemBit("GetRing", 0x40, on);
}

unsigned long CSerialPortDevice::GetRLSD(bool& on)
{
    return GetModemBit("GetRLSD", 0x80, on);
}

void CSerialPortDevice::ConnectErrorHandler(ErrorSlot& slot, unsigned char priority)
{
    m_sigError.Connect(slot, priority);
}

void CSerialPortDevice::ConnectEventHandler(EventSlot& slot, unsigned char priority)
{
    m_sigEvent.Connect(slot, priority);
}

void CSerialPortDevice::ConnectLineErrorHandler(LineErrorSlot& slot, unsigned char priority)
{
    m_sigLineError.Connect(slot, priority);
}

void CSerialPortDevice::ConnectPortOpenHandler(PortOpenSlot& slot, unsigned char priority)
{
    s_sigPortOpen.Connect(slot, priority);
}
