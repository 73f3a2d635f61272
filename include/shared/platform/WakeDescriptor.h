#pragma once

// A descriptor that a thread sleeping in poll() can be woken through: an eventfd on Linux, a
// pipe on other POSIX hosts, a manual-reset event object on Windows. Signal may be called from any
// thread, any number of times; Drain resets it.

#include <shared/platform/Export.h>

namespace shared::platform
{

class SHARED_API CWakeDescriptor
{
public:
    CWakeDescriptor() = default;
    ~CWakeDescriptor();
    CWakeDescriptor(CWakeDescriptor const&) = delete;
    CWakeDescriptor& operator=(CWakeDescriptor const&) = delete;

    // 0 or a Windows error code.
    unsigned long Create();
    void Close();
#ifdef _WIN32
    bool IsOpen() const
    {
        return m_event != nullptr;
    }
    // The event object (a HANDLE) to wait on.
    void* GetEvent() const
    {
        return m_event;
    }
#else
    bool IsOpen() const
    {
        return m_readFd >= 0;
    }

    // The descriptor to poll for POLLIN.
    int GetDescriptor() const
    {
        return m_readFd;
    }
#endif
    void Signal();
    void Drain();

private:
#ifdef _WIN32
    void* m_event = nullptr;
#else
    int m_readFd = -1;
    int m_writeFd = -1; // the same as m_readFd for an eventfd
#endif
};

} // namespace shared::platform
