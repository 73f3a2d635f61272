#pragma once

// A descriptor that a thread sleeping in poll() can be woken through: an eventfd on Linux, a
// pipe elsewhere. Signal may be called from any thread, any number of times; Drain resets it.

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
    bool IsOpen() const { return m_readFd >= 0; }

    // The descriptor to poll for POLLIN.
    int GetDescriptor() const { return m_readFd; }
    void Signal();
    void Drain();

private:
    int m_readFd = -1;
    int m_writeFd = -1; // the same as m_readFd for an eventfd
};

} // namespace shared::platform
