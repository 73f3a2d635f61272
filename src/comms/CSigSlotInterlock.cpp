#include <chrono>
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

long CSigSlotInterlock::CmpSet(long expected, long value)
{
    m_lValue.compare_exchange_strong(expected, value);
    return expected; // on failure compare_exchange stored the value it found there
}

void CSigSlotInterlock::WaitUntil(long value) const
{
    while (Get() != value)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
