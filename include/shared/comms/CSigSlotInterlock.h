#pragma once

#include <atomic>
#include <shared/platform/Export.h>

// A counter shared between threads: the busy flag and the count of calls in progress of a slot.
// Every emission touches both for every slot, so they are single atomic words rather than a
// value behind a lock.
class SHARED_API CSigSlotInterlock
{
public:
    explicit CSigSlotInterlock(long value = 0) : m_lValue(value) {}
    CSigSlotInterlock(CSigSlotInterlock const& other) : m_lValue(other.Get()) {}
    CSigSlotInterlock& operator=(CSigSlotInterlock const& other);

    long Inc() { return m_lValue.fetch_add(1) + 1; }
    long Dec() { return m_lValue.fetch_sub(1) - 1; }
    long Get() const { return m_lValue.load(); }
    // A release store: whoever later reads the new value also sees what was written before it.
    void Set(long value) { m_lValue.store(value, std::memory_order_release); }
    // Stores value only when the counter equals expected; returns the value found.
    long CmpSet(long expected, long value)
    {
        m_lValue.compare_exchange_strong(expected, value);
        return expected; // on failure compare_exchange stored the value it found there
    }
    // Polls every millisecond until the counter equals value; used only while a slot is dying,
    // where an event per slot would cost more than the rare wait.
    void WaitUntil(long value) const;

private:
    std::atomic<long> m_lValue;
};
