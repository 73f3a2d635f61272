#pragma once

// The host side of a serial port: a terminal device opened non-blocking and driven through
// termios and the modem-control ioctls. Every call answers 0 or a Windows error code, so the
// device layer above reports the same codes on every host.
//
// Line errors and breaks reach user space in two ways on Linux, and the line uses both:
//   * in-band: with PARMRK the driver marks a byte received with a parity or framing error as
//     0xFF 0x00 <byte>, a break as 0xFF 0x00 0x00, and doubles a genuine 0xFF. Read strips the
//     marks (across read boundaries) and counts them.
//   * counters: drivers of real UARTs and most USB adapters keep transition and error counters
//     (TIOCGICOUNT) that tell framing, parity, overrun and buffer overrun apart and count every
//     CTS, DSR, DCD and ring change. Pseudo-terminals keep none, have no modem lines and never
//     see line errors or breaks.

#include <memory>
#include <shared/platform/Export.h>
#include <shared/platform/WakeDescriptor.h>
#include <string>

namespace shared::platform
{

// Line settings in the terms of the Windows device-control block.
struct SerialLineSettings
{
    unsigned long baudRate = 9600; // bits per second
    unsigned dataBits = 8;         // 5 to 8
    unsigned parity = 0;           // 0 none, 1 odd, 2 even, 3 mark, 4 space
    unsigned stopBits = 0;         // 0 one, 1 one and a half, 2 two
    bool checkParity = false;      // mark received parity errors
    bool ctsFlow = false;          // hardware flow control (CTS gates output, RTS follows input)
    bool xonXoff = false;          // software flow control in both directions
};

// Totals kept by the driver since it was loaded; only differences mean anything.
struct SerialLineCounters
{
    unsigned long cts = 0, dsr = 0, ring = 0, dcd = 0;
    unsigned long frame = 0, overrun = 0, parity = 0, breaks = 0, bufferOverrun = 0;
};

// What the in-band marks of one Read announced.
struct SerialLineMarks
{
    unsigned long breaks = 0;
    unsigned long errors = 0; // bytes received with a parity or framing error
};

// What ended a CSerialLine::Wait; several may be set at once, none when the time ran out.
enum SerialWaitEvents : unsigned
{
    kSerialReadable = 0x1,    // bytes (or a hang-up, which the next Read reports) are waiting
    kSerialModemChange = 0x2, // a modem line changed (where the host can tell; Linux cannot)
    kSerialWoken = 0x4,       // the wake object was signalled
};

// Removes the driver's PARMRK marks from received bytes, keeping its state across reads so that
// a mark split between two reads is still recognised.
class SHARED_API CSerialMarkDecoder
{
public:
    // Decodes size bytes in place and answers how many data bytes remain at the front.
    unsigned long Strip(unsigned char* buffer, unsigned long size, SerialLineMarks& marks);
    void Reset() { m_state = State::Data; }

private:
    enum class State
    {
        Data,
        SawFF,
        SawFF00,
    };
    State m_state = State::Data;
};

class SHARED_API CSerialLine
{
public:
    CSerialLine() = default;
    ~CSerialLine();
    CSerialLine(CSerialLine const&) = delete;
    CSerialLine& operator=(CSerialLine const&) = delete;

    // Opens a terminal device for reading and writing, non-blocking, never as controlling
    // terminal, and locks it against other opens (flock, which also binds root; with
    // markExclusive also TIOCEXCL, which makes the kernel refuse other opens outright).
    // 2: no such device (including a UART node without hardware behind it, which fails with
    // EIO); 5: the device is held by someone else or may not be opened; 1: not a terminal.
    unsigned long Open(std::string const& path, bool markExclusive);
    void Close();
#ifdef _WIN32
    bool IsOpen() const
    {
        return m_port != nullptr;
    }
#else
    bool IsOpen() const
    {
        return m_fd >= 0;
    }
    int GetDescriptor() const
    {
        return m_fd;
    }
#endif

    unsigned long GetSettings(SerialLineSettings& settings) const;
    // Raw mode (no echo, no translation, no signals), receiver on, modem control lines not
    // gating the open, PARMRK marks on; then the given fields. 87 for a value the host cannot do.
    unsigned long SetSettings(SerialLineSettings const& settings);
    // Changes only the flow-control flags.
    unsigned long SetFlowControl(bool ctsFlow, bool xonXoff);

    unsigned long SetBreak(bool on);
    unsigned long SetDtr(bool on);
    unsigned long SetRts(bool on);
    // The modem status as Windows bits: 0x10 CTS, 0x20 DSR, 0x40 ring, 0x80 RLSD (carrier).
    unsigned long GetModemStatus(unsigned long& status) const;
    // False when the driver keeps no counters (pseudo-terminals, some USB adapters).
    bool ReadCounters(SerialLineCounters& counters) const;

    // Reads up to size bytes with the marks removed. Answers the number of data bytes (0 when
    // none are waiting, which can also happen when only marks arrived) or -1 with error set;
    // a hung-up line (the far end of a pseudo-terminal closed, a USB adapter unplugged) gives
    // -1 with 1167 (device not connected).
    long Read(unsigned char* buffer, unsigned long size, SerialLineMarks& marks,
              unsigned long& error);
    // Writes what the driver takes at once: the count (0 when it takes nothing now) or -1.
    long Write(void const* buffer, unsigned long size, unsigned long& error);
    // Waits up to timeoutMs (0xFFFFFFFF: for ever) until a write can make progress; 0 with
    // ready false on timeout.
    unsigned long WaitWritable(unsigned long timeoutMs, bool& ready) const;
    void DiscardOutput();
    void DiscardInput();

    // The receive thread's sleep: until the line is readable (only when watchInput), a modem
    // line changes, wake is signalled, or timeoutMs passes (0xFFFFFFFF: never). events tells
    // which; 0 or a Windows error code for a wait that failed. A host that cannot wait for
    // modem changes never reports them, and its caller polls the counters on a timeout; one
    // that can (Windows, WaitCommEvent on an overlapped handle) reports them here.
    unsigned long Wait(CWakeDescriptor& wake, bool watchInput, unsigned long timeoutMs,
                       unsigned& events);

private:
#ifdef _WIN32
    // The overlapped handle with the event waits and writes that outlive one call.
    struct Port;
    struct PortDeleter
    {
        void operator()(Port* port) const;
    };
    std::unique_ptr<Port, PortDeleter> m_port;
#else
    int m_fd = -1;
    bool m_bMarkedExclusive = false;
#endif
    CSerialMarkDecoder m_marks;
};

} // namespace shared::platform
