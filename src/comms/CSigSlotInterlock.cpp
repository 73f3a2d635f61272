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

void CSigSlotInterlock::WaitUntil(long value) const
{
    while (Get() != value)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
