#include <chrono>
#include <mutex>
#include <shared/comms/CSigSlotInterlock.h>
#include <thread>

CSigSlotInterlock& CSigSlotInterlock::operator=(CSigSlotInterlock const& other)
{
    if (this != &other)
    {
        Set(other.Get());
    }
    return *this;
}

long CSigSlotInterlock::Inc()
{
    std::lock_guard guard(m_lock);
    return ++m_lValue;
}

long CSigSlotInterlock::Dec()
{
    std::lock_guard guard(m_lock);
    return --m_lValue;
}

long CSigSlotInterlock::Get() const
{
    std::lock_guard guard(m_lock);
    return m_lValue;
}

void CSigSlotInterlock::Set(long value)
{
    std::lock_guard guard(m_lock);
    m_lValue = value;
}

long CSigSlotInterlock::CmpSet(long expected, long value)
{
    std::lock_guard guard(m_lock);
    long const found = m_lValue;
    if (found == expected)
    {
        m_lValue = value;
    }
    return found;
}

void CSigSlotInterlock::WaitUntil(long value) const
{
    while (Get() != value)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
