#pragma once

#include <atomic>
#include <shared/platform/Export.h>
#include <shared/platform/WordWait.h>
#include <thread>

// The recursive lock of every signal and slot. Recursive because a slot may connect, disconnect
// or emit from inside a call that already holds the lock further up the stack.
//
// An emission releases and retakes its signal's lock around every slot it calls, so the lock is
// inline and takes one atomic step each way when nobody else wants it; a thread that finds it
// taken sleeps on the word itself (a futex on Linux, WaitOnAddress on Windows).
class SHARED_API CSigSlotMutex
{
public:
    CSigSlotMutex() = default;
    // A copy is a new, unlocked lock: locks are never shared by copying.
    CSigSlotMutex(CSigSlotMutex const&) : CSigSlotMutex() {}
    CSigSlotMutex& operator=(CSigSlotMutex const&) { return *this; }

    void Lock() { LockAs(std::this_thread::get_id()); }
    // Lock for a caller that already knows its thread's id: an emission retakes its lock after
    // every slot and asks for the id once (about 3 % of a 100-slot emission).
    void LockAs(std::thread::id self)
    {
        // Only this thread can have stored its own id, so a relaxed read is enough to tell.
        if (m_owner.load(std::memory_order_relaxed) == self)
        {
            ++m_uDepth;
            return;
        }
        int expected = kFree;
        if (!m_state.compare_exchange_strong(expected, kLocked, std::memory_order_acquire))
        {
            LockContended();
        }
        m_owner.store(self, std::memory_order_relaxed);
        m_uDepth = 1;
    }
    void Unlock()
    {
        if (--m_uDepth != 0)
        {
            return;
        }
        m_owner.store(std::thread::id(), std::memory_order_relaxed);
        if (m_state.exchange(kFree, std::memory_order_release) == kContended)
        {
            shared::platform::WakeOneWaiter(m_state);
        }
    }
    bool TryLock()
    {
        std::thread::id const self = std::this_thread::get_id();
        if (m_owner.load(std::memory_order_relaxed) == self)
        {
            ++m_uDepth;
            return true;
        }
        int expected = kFree;
        if (!m_state.compare_exchange_strong(expected, kLocked, std::memory_order_acquire))
        {
            return false;
        }
        m_owner.store(self, std::memory_order_relaxed);
        m_uDepth = 1;
        return true;
    }

    // Standard Lockable spelling, so std::lock_guard and std::scoped_lock work with it.
    void lock() { Lock(); }
    void unlock() { Unlock(); }
    bool try_lock() { return TryLock(); }

private:
    static constexpr int kFree = 0;
    static constexpr int kLocked = 1;
    static constexpr int kContended = 2; // locked, and someone may be sleeping on it

    void LockContended()
    {
        // Marking the word contended before sleeping makes the holder's Unlock wake us.
        while (m_state.exchange(kContended, std::memory_order_acquire) != kFree)
        {
            shared::platform::WaitWhileEqual(m_state, kContended);
        }
    }

    std::atomic<int> m_state{kFree};
    std::atomic<std::thread::id> m_owner{};
    unsigned m_uDepth = 0; // touched only by the owner
};
