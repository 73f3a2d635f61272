#include <shared/platform/SerialLine.h>
#include <shared/platform/SystemError.h>
#include <windows.h>

namespace shared::platform
{

namespace
{

// The line events that wake the receive thread besides received bytes.
constexpr DWORD kLineEventMask = EV_CTS | EV_DSR | EV_RLSD | EV_BREAK | EV_ERR | EV_RING;

// A write that the driver has not finished in this time is cut short and reported as partial,
// the way a non-blocking write on POSIX takes what fits; the caller waits and writes the rest.
constexpr DWORD kWriteSliceMs = 100;

class CEvent
{
public:
    CEvent() : m_handle(::CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}
    ~CEvent()
    {
        if (m_handle != nullptr)
            ::CloseHandle(m_handle);
    }
    CEvent(CEvent const&) = delete;
    CEvent& operator=(CEvent const&) = delete;
    HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

} // namespace

struct CSerialLine::Port
{
    HANDLE handle = INVALID_HANDLE_VALUE;
    CEvent waitEvent, readEvent, writeEvent;
    OVERLAPPED waitOverlapped{};
    DWORD eventMask = 0;
    // WaitCommEvent writes into eventMask when it completes, so a started wait is kept (with
    // its OVERLAPPED) across calls of Wait instead of being abandoned.
    bool waitPending = false;

    ~Port()
    {
        if (handle == INVALID_HANDLE_VALUE)
            return;
        if (waitPending)
        {
            // Setting the mask again ends the outstanding wait, which must finish before its
            // OVERLAPPED goes away.
            ::SetCommMask(handle, EV_RXCHAR | kLineEventMask);
            DWORD ignored = 0;
            ::GetOverlappedResult(handle, &waitOverlapped, &ignored, TRUE);
        }
        ::CloseHandle(handle);
    }

    // Clears the driver's error state (abort-on-error stops all I/O until then) and counts
    // what it reported.
    void ClearErrors(SerialLineMarks* marks, DWORD* queued = nullptr)
    {
        DWORD errors = 0;
        COMSTAT status{};
        if (!::ClearCommError(handle, &errors, &status))
            return;
        if (marks != nullptr)
        {
            marks->breaks += (errors & CE_BREAK) != 0 ? 1 : 0;
            marks->errors += (errors & (CE_FRAME | CE_RXPARITY)) != 0 ? 1 : 0;
        }
        if (queued != nullptr)
            *queued = status.cbInQue;
    }
};

void CSerialLine::PortDeleter::operator()(Port* port) const
{
    delete port;
}

namespace
{

unsigned long ReadState(HANDLE port, DCB& dcb)
{
    dcb.DCBlength = sizeof dcb;
    return ::GetCommState(port, &dcb) ? 0 : ::GetLastError();
}

} // namespace

CSerialLine::~CSerialLine()
{
    Close();
}

unsigned long CSerialLine::Open(std::string const& path, bool)
{
    Close();
    if (path.empty())
        return winerror::kFileNotFound;
    std::unique_ptr<Port, PortDeleter> port(new Port);
    if (port->waitEvent.Get() == nullptr || port->readEvent.Get() == nullptr ||
        port->writeEvent.Get() == nullptr)
        return ::GetLastError();
    // No sharing: a COM port has one owner at a time.
    port->handle = ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                 OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
    if (port->handle == INVALID_HANDLE_VALUE)
        return ::GetLastError();
    // Some drivers have fixed queues; a refusal here changes nothing that matters.
    ::SetupComm(port->handle, 4096, 4096);
    // Reads return at once with what is there; writes never time out by themselves.
    COMMTIMEOUTS timeouts{};
    timeouts.ReadIntervalTimeout = MAXDWORD;
    if (!::SetCommTimeouts(port->handle, &timeouts) ||
        !::SetCommMask(port->handle, EV_RXCHAR | kLineEventMask))
        return ::GetLastError();
    port->ClearErrors(nullptr);
    m_port = std::move(port);
    m_marks.Reset();
    return 0;
}

void CSerialLine::Close()
{
    m_port.reset();
}

unsigned long CSerialLine::GetSettings(SerialLineSettings& settings) const
{
    if (!m_port)
        return winerror::kInvalidHandle;
    DCB dcb{};
    if (unsigned long const error = ReadState(m_port->handle, dcb); error != 0)
        return error;
    settings.baudRate = dcb.BaudRate;
    settings.dataBits = dcb.ByteSize;
    settings.parity = dcb.Parity;
    settings.stopBits = dcb.StopBits;
    settings.checkParity = dcb.fParity != 0;
    settings.ctsFlow = dcb.fOutxCtsFlow != 0;
    settings.xonXoff = dcb.fOutX != 0;
    return 0;
}

unsigned long CSerialLine::SetSettings(SerialLineSettings const& settings)
{
    if (!m_port)
        return winerror::kInvalidHandle;
    DCB dcb{};
    if (unsigned long const error = ReadState(m_port->handle, dcb); error != 0)
        return error;
    dcb.fBinary = TRUE;
    dcb.BaudRate = settings.baudRate;
    dcb.ByteSize = static_cast<BYTE>(settings.dataBits);
    dcb.Parity = static_cast<BYTE>(settings.parity);
    dcb.StopBits = static_cast<BYTE>(settings.stopBits);
    dcb.fParity = settings.checkParity ? TRUE : FALSE;
    dcb.fAbortOnError = TRUE;
    if (!::SetCommState(m_port->handle, &dcb))
        return ::GetLastError();
    return SetFlowControl(settings.ctsFlow, settings.xonXoff);
}

unsigned long CSerialLine::SetFlowControl(bool ctsFlow, bool xonXoff)
{
    if (!m_port)
        return winerror::kInvalidHandle;
    DCB dcb{};
    if (unsigned long const error = ReadState(m_port->handle, dcb); error != 0)
        return error;
    dcb.fOutxCtsFlow = ctsFlow ? TRUE : FALSE;
    dcb.fRtsControl = ctsFlow ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_DISABLE;
    dcb.fOutX = dcb.fInX = xonXoff ? TRUE : FALSE;
    return ::SetCommState(m_port->handle, &dcb) ? 0 : ::GetLastError();
}

unsigned long CSerialLine::SetBreak(bool on)
{
    if (!m_port)
        return winerror::kInvalidHandle;
    BOOL const done = on ? ::SetCommBreak(m_port->handle) : ::ClearCommBreak(m_port->handle);
    return done ? 0 : ::GetLastError();
}

unsigned long CSerialLine::SetDtr(bool on)
{
    if (!m_port)
        return winerror::kInvalidHandle;
    return ::EscapeCommFunction(m_port->handle, on ? SETDTR : CLRDTR) ? 0 : ::GetLastError();
}

unsigned long CSerialLine::SetRts(bool on)
{
    if (!m_port)
        return winerror::kInvalidHandle;
    return ::EscapeCommFunction(m_port->handle, on ? SETRTS : CLRRTS) ? 0 : ::GetLastError();
}

unsigned long CSerialLine::GetModemStatus(unsigned long& status) const
{
    status = 0;
    if (!m_port)
        return winerror::kInvalidHandle;
    DWORD bits = 0;
    if (!::GetCommModemStatus(m_port->handle, &bits))
        return ::GetLastError();
    status = bits;
    return 0;
}

bool CSerialLine::ReadCounters(SerialLineCounters&) const
{
    // Windows reports line events instead of counting them; Wait delivers those.
    return false;
}

long CSerialLine::Read(unsigned char* buffer, unsigned long size, SerialLineMarks& marks,
                       unsigned long& error)
{
    error = 0;
    if (!m_port)
    {
        error = winerror::kInvalidHandle;
        return -1;
    }
    m_port->ClearErrors(&marks);
    OVERLAPPED overlapped{};
    overlapped.hEvent = m_port->readEvent.Get();
    ::ResetEvent(overlapped.hEvent);
    DWORD got = 0;
    if (!::ReadFile(m_port->handle, buffer, size, &got, &overlapped))
    {
        // With the read interval timeout at its maximum a pending read finishes at once.
        if (::GetLastError() != ERROR_IO_PENDING ||
            !::GetOverlappedResult(m_port->handle, &overlapped, &got, TRUE))
        {
            error = ::GetLastError();
            return -1;
        }
    }
    return static_cast<long>(got);
}

long CSerialLine::Write(void const* buffer, unsigned long size, unsigned long& error)
{
    error = 0;
    if (!m_port)
    {
        error = winerror::kInvalidHandle;
        return -1;
    }
    m_port->ClearErrors(nullptr);
    OVERLAPPED overlapped{};
    overlapped.hEvent = m_port->writeEvent.Get();
    ::ResetEvent(overlapped.hEvent);
    DWORD put = 0;
    if (::WriteFile(m_port->handle, buffer, size, &put, &overlapped))
        return static_cast<long>(put);
    if (::GetLastError() != ERROR_IO_PENDING)
    {
        error = ::GetLastError();
        return -1;
    }
    if (::WaitForSingleObject(overlapped.hEvent, kWriteSliceMs) != WAIT_OBJECT_0)
        ::CancelIoEx(m_port->handle, &overlapped);
    if (!::GetOverlappedResult(m_port->handle, &overlapped, &put, TRUE) &&
        ::GetLastError() != ERROR_OPERATION_ABORTED)
    {
        error = ::GetLastError();
        return -1;
    }
    return static_cast<long>(put);
}

unsigned long CSerialLine::Wait(CWakeDescriptor& wake, bool watchInput, unsigned long timeoutMs,
                                unsigned& events)
{
    events = 0;
    if (!m_port)
        return winerror::kInvalidHandle;
    Port& port = *m_port;
    DWORD const started = ::GetTickCount();
    for (;;)
    {
        // Bytes that were already queued raise no new EV_RXCHAR.
        DWORD queued = 0;
        if (watchInput)
        {
            port.ClearErrors(nullptr, &queued);
            if (queued > 0)
            {
                events |= kSerialReadable;
                return 0;
            }
        }
        if (!port.waitPending)
        {
            port.waitOverlapped = OVERLAPPED{};
            port.waitOverlapped.hEvent = port.waitEvent.Get();
            ::ResetEvent(port.waitEvent.Get());
            port.eventMask = 0;
            if (::WaitCommEvent(port.handle, &port.eventMask, &port.waitOverlapped))
                ::SetEvent(port.waitEvent.Get());
            else if (::GetLastError() != ERROR_IO_PENDING)
                return ::GetLastError();
            port.waitPending = true;
        }
        DWORD left = INFINITE;
        if (timeoutMs != 0xFFFFFFFFUL)
        {
            DWORD const spent = ::GetTickCount() - started;
            left = spent >= timeoutMs ? 0 : timeoutMs - spent;
        }
        HANDLE const handles[2] = {static_cast<HANDLE>(wake.GetEvent()), port.waitEvent.Get()};
        DWORD const which = ::WaitForMultipleObjects(2, handles, FALSE, left);
        if (which == WAIT_TIMEOUT)
            return 0;
        if (which == WAIT_OBJECT_0)
        {
            wake.Drain();
            events |= kSerialWoken;
            return 0;
        }
        if (which != WAIT_OBJECT_0 + 1)
            return ::GetLastError();
        DWORD ignored = 0;
        port.waitPending = false;
        if (!::GetOverlappedResult(port.handle, &port.waitOverlapped, &ignored, FALSE))
        {
            // A mask change ends the wait with an abort; the next round starts a new one.
            if (::GetLastError() != ERROR_OPERATION_ABORTED)
                return ::GetLastError();
            continue;
        }
        if ((port.eventMask & kLineEventMask) != 0)
            events |= kSerialModemChange;
        if (watchInput && (port.eventMask & EV_RXCHAR) != 0)
            events |= kSerialReadable;
        if (events != 0)
            return 0;
    }
}

unsigned long CSerialLine::WaitWritable(unsigned long, bool& ready) const
{
    // The driver queues every write; Write itself bounds how long one may take.
    ready = m_port != nullptr;
    return m_port ? 0 : winerror::kInvalidHandle;
}

void CSerialLine::DiscardOutput()
{
    if (m_port)
        ::PurgeComm(m_port->handle, PURGE_TXABORT | PURGE_TXCLEAR);
}

void CSerialLine::DiscardInput()
{
    if (m_port)
        ::PurgeComm(m_port->handle, PURGE_RXABORT | PURGE_RXCLEAR);
    m_marks.Reset();
}

} // namespace shared::platform
