#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <shared/comms/CByteFifo.h>
#include <shared/comms/CSignal2.h>
#include <shared/comms/CSignal4.h>
#include <shared/platform/Export.h>
#include <shared/platform/SerialLine.h>
#include <shared/platform/WakeDescriptor.h>
#include <string>
#include <thread>

// One serial port with a receive thread of its own.
//
// The receive thread sleeps until bytes arrive, a line event happens, a caller wants the port
// or the device closes; it copies every byte into a CByteFifo and reports line events, line
// errors and its own failures through signals, whose slots therefore run on that thread. The
// application reads the FIFO with timeouts and writes with a timeout; a write, break or
// control-line change borrows the port from the receive thread for its duration. Every failure
// is returned as a Windows error code (0 for success) and emitted on the error signal.
//
// COM n is the device file that shared::platform::SerialPortDevicePath names: /dev/ttyS<n-1>
// unless SHARED_COM<n> in the environment or SetDevicePath says otherwise.
//
// Slots of this device must not call Write, Break, SetDTR, SetRTS or Close of the same device:
// they run on the receive thread, which would wait for itself.
class SHARED_API CSerialPortDevice
{
public:
    // Result of CheckPort.
    enum EPort : std::int32_t
    {
        PORT_AVAILABLE = 0,
        PORT_NOT_PRESENT = 1, // error 2: no such device
        PORT_IN_USE = 2,      // error 5 or 31: held by someone else or not ours to open
        PORT_ERROR = -1,      // any other failure
    };

    // Any other value acts as HANDSHAKE_NONE.
    enum EHandshake : std::int32_t
    {
        HANDSHAKE_NONE = 0,
        HANDSHAKE_HARDWARE = 1,
        HANDSHAKE_XONXOFF = 2,
        HANDSHAKE_CTS = 3,
    };

    enum EErrorLevel : std::int32_t
    {
        LEVEL_ERROR = 0,   // the operation failed
        LEVEL_WARNING = 1, // the operation went on, or a write timed out
    };

    // Line error bits as Windows reports them; the device also reports LINE_OVERRUN itself when
    // its FIFO overflows (or a push-back drops a byte).
    enum EError : std::uint32_t
    {
        LINE_NONE = 0,
        LINE_RXOVER = 0x1,   // the driver's receive buffer overflowed
        LINE_OVERRUN = 0x2,  // characters lost
        LINE_PARITY = 0x4,   // parity error
        LINE_FRAME = 0x8,    // framing error
        LINE_BREAK = 0x10,   // break received
        LINE_TXFULL = 0x100, // transmit queue full
    };

    // The Windows device-control values themselves; any rate may be passed as a number.
    enum EBaudrate : std::uint32_t
    {
        BAUDRATE_110 = 110,
        BAUDRATE_300 = 300,
        BAUDRATE_600 = 600,
        BAUDRATE_1200 = 1200,
        BAUDRATE_2400 = 2400,
        BAUDRATE_4800 = 4800,
        BAUDRATE_9600 = 9600,
        BAUDRATE_14400 = 14400,
        BAUDRATE_19200 = 19200,
        BAUDRATE_38400 = 38400,
        BAUDRATE_56000 = 56000,
        BAUDRATE_57600 = 57600,
        BAUDRATE_115200 = 115200,
        BAUDRATE_128000 = 128000,
        BAUDRATE_256000 = 256000,
    };
    enum EDataBits : std::uint32_t
    {
        DATA_BITS_5 = 5,
        DATA_BITS_6 = 6,
        DATA_BITS_7 = 7,
        DATA_BITS_8 = 8,
    };
    enum EParity : std::uint32_t
    {
        PARITY_BIT_NONE = 0,
        PARITY_BIT_ODD = 1,
        PARITY_BIT_EVEN = 2,
        PARITY_BIT_MARK = 3,
        PARITY_BIT_SPACE = 4,
    };
    enum EStopBits : std::uint32_t
    {
        STOP_BITS_ONE = 0,
        STOP_BITS_ONE_HALF = 1,
        STOP_BITS_TWO = 2,
    };
    enum EReleasePortMode : std::int32_t
    {
        RELEASE_AND_WAIT = 0, // lend the port and wait to get it back
        RELEASE_FINAL = 1,    // give it up for good
    };

    // Event bits of the event signal (and of the event mask), the Windows EV_* values.
    static constexpr unsigned long EVENT_RXCHAR = 0x1;
    static constexpr unsigned long EVENT_CTS = 0x8;
    static constexpr unsigned long EVENT_DSR = 0x10;
    static constexpr unsigned long EVENT_RLSD = 0x20;
    static constexpr unsigned long EVENT_BREAK = 0x40;
    static constexpr unsigned long EVENT_ERR = 0x80;
    static constexpr unsigned long EVENT_RING = 0x100;
    // A timeout that waits for ever.
    static constexpr unsigned long INFINITE_TIMEOUT = 0xFFFFFFFFUL;

    using ErrorSlot = CBaseSlot4<int, EErrorLevel, unsigned long, char const*>;
    using EventSlot = CBaseSlot2<int, unsigned long>;
    using LineErrorSlot = CBaseSlot2<int, EError>;
    using PortOpenSlot = CBaseSlot2<int const, bool const>;

    CSerialPortDevice();
    // A copy is closed and its signals are wired like the source's; an open port is not shared.
    CSerialPortDevice(CSerialPortDevice const& other);
    CSerialPortDevice& operator=(CSerialPortDevice const& other);
    // Closes the device and disconnects its signals.
    virtual ~CSerialPortDevice();

    // Opens the port exclusively and closes it again at once.
    static EPort CheckPort(int port);

    // 0 or the Windows code of the first failure (20 for a port number below 1, without a
    // report). A failed Open leaves the device closed. bufferSize sizes the FIFO (at least
    // 1024 bytes).
    unsigned long Open(int port, EBaudrate baudrate, EDataBits dataBits, EParity parity,
                       EStopBits stopBits, EHandshake handshake, unsigned long bufferSize);
    // Stops the receive thread, closes the port and frees the FIFO; emits the port-open signal
    // with false when the device was open. Harmless on a closed device.
    void Close();
    bool IsOpen() const { return m_bOpen.load(); }
    // The open port's number; 0 while closed.
    int GetPort() const { return m_nPort.load(); }

    bool Read(unsigned char& byte, unsigned long timeoutMs);
    // Up to count bytes: waits firstTimeoutMs for the first and nextTimeoutMs for each later one;
    // stops at the first timeout and answers how many were taken.
    unsigned long Read(void* buffer, unsigned long count, unsigned long firstTimeoutMs,
                       unsigned long nextTimeoutMs);
    // Pushes bytes back so that they are read again in their first order. False, and the line
    // error signal with LINE_OVERRUN, when the FIFO had to drop a byte to make room.
    bool Unread(unsigned char byte);
    bool Unread(void const* buffer, unsigned long count);
    void PurgeInput();
    unsigned long GetBytesReady() const;

    // Off by default: a full FIFO loses what does not fit and reports LINE_OVERRUN. On, the
    // receive thread leaves bytes that do not fit in the driver until the reader makes room, so
    // the driver's own flow control (or a pseudo-terminal's full buffer) holds the sender back
    // and nothing is lost however slowly the FIFO is read. Kept across Open and Close.
    void SetHoldInputWhenFull(bool hold) { m_bHoldInput = hold; }
    bool GetHoldInputWhenFull() const { return m_bHoldInput.load(); }
    // True once the open line has hung up or failed for good (the far end of a pseudo-terminal
    // closed, a USB adapter pulled out); the error signal said so once. Cleared by Open.
    bool IsLineLost() const { return m_bLineLost.load(); }

    // True when every byte went out within timeoutMs; false after a report ("Write timeout" with
    // 1460 at LEVEL_WARNING when the line would not take the bytes in time).
    bool Write(void const* buffer, unsigned long count, unsigned long timeoutMs);
    unsigned long Break(unsigned long durationMs);
    unsigned long SetDTR(bool on);
    unsigned long SetRTS(bool on);
    unsigned long SetHandshake(EHandshake handshake);
    unsigned long GetCTS(bool& on);
    unsigned long GetDSR(bool& on);
    unsigned long GetRing(bool& on);
    unsigned long GetRLSD(bool& on);

    void ConnectErrorHandler(ErrorSlot& slot, unsigned char priority);
    void ConnectEventHandler(EventSlot& slot, unsigned char priority);
    void ConnectLineErrorHandler(LineErrorSlot& slot, unsigned char priority);
    static void ConnectPortOpenHandler(PortOpenSlot& slot, unsigned char priority);

    // The device file of COM port, and a per-process override of it (an empty path removes it).
    static std::string GetDevicePath(int port);
    static void SetDevicePath(int port, char const* path);

private:
    using ErrorSignal = CSignal4<int, EErrorLevel, unsigned long, char const*>;

    unsigned long StartReceiveThread();
    void StopReceiveThread(unsigned long timeoutMs);
    void ReceiveThreadProc();
    void AcquirePortFromReceiveThread();
    void ReleasePortToReceiveThread();
    void ReleasePortToWriteThread(EReleasePortMode mode);
    unsigned long SetEventMask(unsigned long mask);
    unsigned long GetEventMask() const { return m_dwEventMask.load(); }
    unsigned long GetEventType() const { return m_dwEventType.load(); }
    EError GetError();

    void Report(char const* operation, char const* message, unsigned long code,
                EErrorLevel level = LEVEL_ERROR);
    unsigned long FailOpen(char const* message, unsigned long code);
    unsigned long GetModemBit(char const* operation, unsigned long bit, bool& on);
    unsigned long SetLine(char const* operation, char const* message, bool rts, bool on);
    bool ReadAvailable(bool useMarks, unsigned long& events, unsigned long& errors);
    // Bytes the FIFO can still take when input is held back, else the largest read.
    unsigned long ReadRoom() const;
    void TakeToken();
    void GiveToken();
    void ClearErrorState() { m_dwErrors.store(0); }

    std::unique_ptr<CByteFifo> m_pFifo;
    std::atomic<bool> m_bOpen{false};
    std::atomic<int> m_nPort{0};
    shared::platform::CSerialLine m_line;
    std::atomic<unsigned long> m_dwEventMask{0};
    std::atomic<unsigned long> m_dwEventType{0};
    std::thread m_receiveThread;
    // Wakes the receive thread out of poll() for stop and port requests.
    shared::platform::CWakeDescriptor m_wake;
    // Callers waiting for or holding the port; the receive thread lends it while this is not 0.
    std::atomic<int> m_nPortRequests{0};
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bHoldInput{false};
    std::atomic<bool> m_bLineLost{false};
    // The port token, an auto-reset event: whoever has taken it owns the port.
    std::mutex m_tokenLock;
    std::condition_variable m_tokenChanged;
    bool m_bTokenFree = true;
    // Serialises callers that borrow the port.
    std::mutex m_portLock;
    // The accumulated line errors that GetError reads and clears (the Windows comm error state).
    std::atomic<unsigned long> m_dwErrors{0};

    ErrorSignal m_sigError;
    CSignal2<int, unsigned long> m_sigEvent;
    CSignal2<int, EError> m_sigLineError;

    static CSignal2<int const, bool const> s_sigPortOpen;
};
