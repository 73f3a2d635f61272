#include <shared/platform/WakeDescriptor.h>
#include <windows.h>

namespace shared::platform
{

CWakeDescriptor::~CWakeDescriptor()
{
    Close();
}

unsigned long CWakeDescriptor::Create()
{
    Close();
    // Manual reset: a signal stays until Drain, however many waits look at it meanwhile.
    m_event = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    return m_event != nullptr ? 0 : ::GetLastError();
}

void CWakeDescriptor::Close()
{
    if (m_event != nullptr)
    {
        ::CloseHandle(m_event);
        m_event = nullptr;
    }
}

void CWakeDescriptor::Signal()
{
    ::SetEvent(m_event);
}

void CWakeDescriptor::Drain()
{
    ::ResetEvent(m_event);
}

} // namespace shared::platform
