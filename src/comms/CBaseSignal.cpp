#include <mutex>
#include <shared/comms/CBaseSignal.h>

CBaseSignal::CBaseSignal(CBaseSignal const& other) : CSigSlotCollection(other)
{
    CopyLinksFrom(other);
}

CBaseSignal& CBaseSignal::operator=(CBaseSignal const& other)
{
    if (this != &other)
    {
        DisconnectAll();
        CopyLinksFrom(other);
    }
    return *this;
}

CBaseSignal::~CBaseSignal()
{
    // Emissions still running on other threads (or further up this stack) hold the lock handle
    // through their iterator; detaching makes them stop at their next step.
    DisconnectAll();
    DetachIterators();
}

void CBaseSignal::CopyLinksFrom(CBaseSignal const& other)
{
    // Both signal locks at once, deadlock-free whatever order other threads use; the source's
    // slots cannot die while its lock is held, because a dying slot must take it to unlink.
    std::scoped_lock guard(GetLock(), other.GetLock());
    for (CSigSlotCollectionItem* item = other.GetFirst(); item != nullptr; item = item->GetNext())
    {
        ConnectSlot(*static_cast<CBaseSlot*>(item->GetData()), item->GetPriority());
    }
}

void CBaseSignal::DisconnectAll()
{
    std::lock_guard guard(GetLock());
    while (CSigSlotCollectionItem* item = GetFirst())
    {
        DisconnectSlot(*static_cast<CBaseSlot*>(item->GetData()));
    }
}

unsigned char CBaseSignal::GetSlotPriority(CBaseSlot const* slot) const
{
    std::lock_guard guard(GetLock());
    CSigSlotCollectionItem const* item = Find(slot);
    return item != nullptr ? item->GetPriority() : DefaultPriority;
}

void CBaseSignal::ConnectSlot(CBaseSlot& slot, unsigned char priority)
{
    std::lock_guard signalGuard(GetLock());
    std::lock_guard slotGuard(slot.GetLock());
    Add(slot, priority);
    slot.Add(*this);
}

void CBaseSignal::DisconnectSlot(CBaseSlot& slot)
{
    std::lock_guard signalGuard(GetLock());
    std::lock_guard slotGuard(slot.GetLock());
    Remove(slot);
    slot.Remove(*this);
}

void CBaseSignal::Add(CBaseSlot& slot, unsigned char priority)
{
    CSigSlotCollection::Add(&slot, priority);
}

void CBaseSignal::Remove(CBaseSlot& slot)
{
    CSigSlotCollection::Remove(&slot);
}
