#pragma once

#include <mutex>
#include <shared/platform/Export.h>

// The recursive lock of every signal and slot. Recursive because a slot may connect, disconnect
// or emit from inside a call that already holds the lock further up the stack.
class SHARED_API CSigSlotMutex
{
public:
    CSigSlotMutex() = default;
    // A copy is a new, unlocked lock: locks are never shared by copying.
    CSigSlotMutex(CSigSlotMutex const&) : CSigSlotMutex() {}
    CSigSlotMutex& operator=(CSigSlotMutex const&) { return *this; }

    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }
    bool TryLock() { return m_mutex.try_lock(); }

    // Standard Lockable spelling, so std::lock_guard and std::scoped_lock work with it.
    void lock() { Lock(); }
    void unlock() { Unlock(); }
    bool try_lock() { return TryLock(); }

private:
    std::recursive_mutex m_mutex;
};
