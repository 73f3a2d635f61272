#include <shared/platform/WordWait.h>

namespace shared::platform
{

// On Linux libstdc++ builds these on the futex directly.

void WaitWhileEqual(std::atomic<int>& word, int value)
{
    word.wait(value, std::memory_order_relaxed);
}

void WakeOneWaiter(std::atomic<int>& word)
{
    word.notify_one();
}

} // namespace shared::platform
