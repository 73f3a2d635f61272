#pragma once

// Sleeping on a word until another thread changes it and wakes a sleeper: the futex of Linux,
// WaitOnAddress of Windows.
//
// The standard library's std::atomic wait and notify would do the same, but in MinGW-w64's
// libstdc++ 12 (which has no futex to build them on) a notify can be lost and the waiter sleeps
// for ever; a signal-slot stress test hung under Wine one run in two until this seam replaced
// them.

#include <atomic>
#include <shared/platform/Export.h>

namespace shared::platform
{

// Returns once word may no longer hold value (possibly spuriously: callers check again).
SHARED_API void WaitWhileEqual(std::atomic<int>& word, int value);
// Wakes one thread sleeping in WaitWhileEqual on word, if any.
SHARED_API void WakeOneWaiter(std::atomic<int>& word);

} // namespace shared::platform
