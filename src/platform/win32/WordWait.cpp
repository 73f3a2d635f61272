#include <shared/platform/WordWait.h>
#include <windows.h>

namespace shared::platform
{

static_assert(sizeof(std::atomic<int>) == sizeof(int), "WaitOnAddress compares the plain word");

void WaitWhileEqual(std::atomic<int>& word, int value)
{
    ::WaitOnAddress(&word, &value, sizeof value, INFINITE);
}

void WakeOneWaiter(std::atomic<int>& word)
{
    ::WakeByAddressSingle(&word);
}

} // namespace shared::platform
