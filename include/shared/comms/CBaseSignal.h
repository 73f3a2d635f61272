#pragma once

#include <shared/comms/CBaseSlot.h>
#include <shared/comms/CSigSlotCollection.h>
#include <shared/comms/CSigSlotIterator.h>
#include <shared/platform/Export.h>

// The untyped half of a signal: its slots in non-increasing priority order (equal priorities in
// order of connection). Lock order everywhere is signal first, then slot.
class SHARED_API CBaseSignal : public CSigSlotCollection
{
public:
    ~CBaseSignal() override;

    void DisconnectAll();
    // The priority at which slot is connected, or 128 when it is not.
    unsigned char GetSlotPriority(CBaseSlot const* slot) const;

protected:
    CBaseSignal() = default;
    // A copy is wired exactly like its source: same slots, same priorities, same order.
    CBaseSignal(CBaseSignal const& other);
    CBaseSignal& operator=(CBaseSignal const& other);

    void ConnectSlot(CBaseSlot& slot, unsigned char priority);
    void DisconnectSlot(CBaseSlot& slot);
    void Add(CBaseSlot& slot, unsigned char priority);
    void Remove(CBaseSlot& slot);

    // Calls call(slot) for each slot in priority order until one returns true. The signal's lock
    // is held while stepping and while asking a slot's guard, never while a slot runs or while
    // a serialised slot is waited for, so a slot may connect, disconnect or emit from inside its
    // call.
    template <class Call> bool Emit(Call&& call);

private:
    friend class CBaseSlot;
    void CopyLinksFrom(CBaseSignal const& other);
};

template <class Call> bool CBaseSignal::Emit(Call&& call)
{
    CSigSlotIterator iterator(*this, CSigSlotIterator::KeepLocked{});
    CSigSlotMutex& lock = iterator.GetLock();
    std::thread::id const self = std::this_thread::get_id();
    bool handled = false;
    while (!handled)
    {
        auto* slot = static_cast<CBaseSlot*>(iterator.StepLocked());
        if (slot == nullptr)
        {
            break;
        }
        E_SigSlotReentrancyMode mode;
        if (slot->Enter(mode))
        {
            continue;
        }
        lock.Unlock();
        if (slot->Admit(mode))
        {
            handled = call(*slot);
            slot->Leave(mode);
        }
        lock.LockAs(self);
    }
    iterator.FinishLocked();
    return handled;
}
