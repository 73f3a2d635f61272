#pragma once

#include <shared/comms/CSigSlotMutex.h>
#include <shared/platform/Export.h>

// A counter guarded by its own lock: the busy flag and the count of calls in progress of a slot.
class SHARED_API CSigSlotInterlock
{
public:
    explicit CSigSlotInterlock(long value = 0) : m_lValue(value) {}
    CSigSlotInterlock(CSigSlotInterlock const& other) : m_lValue(other.Get()) {}
    CSigSlotInterlock& operator=(CSigSlotInterlock const& other);

    long Inc();
    long Dec();
    long Get() const;
    void Set(long value);
    // Stores value only when the counter equals expected; returns the value found.
    long CmpSet(long expected, long value);
    // Polls every millisecond until the counter equals value; used only while a slot is dying,
    // where an event per slot would cost more than the rare wait.
    void WaitUntil(long value) const;

private:
    long m_lValue;
    mutable CSigSlotMutex m_lock;
};
