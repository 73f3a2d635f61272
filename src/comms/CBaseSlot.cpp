#include <memory>
#include <mutex>
#include <shared/comms/CBaseSignal.h>
#include <shared/comms/CBaseSlot.h>
#include <utility>
#include <vector>

CBaseSlot::CBaseSlot(CBaseSlot const& other)
    : CSigSlotCollection(other), m_eMode(other.m_eMode.load())
{
    CopyLinksFrom(other);
}

CBaseSlot& CBaseSlot::operator=(CBaseSlot const& other)
{
    if (this != &other)
    {
        DisconnectAll();
        m_eMode.store(other.m_eMode.load());
        m_bDestroying.store(false);
        CopyLinksFrom(other);
    }
    return *this;
}

CBaseSlot::~CBaseSlot()
{
    BeginDestroy();
    DisconnectAll();
    DetachIterators();
}

void CBaseSlot::BeginDestroy()
{
    // The flag is set before the guards are read, and Enter raises a guard before reading the
    // flag; all of these are sequentially consistent, so either the call sees the flag or we see
    // its guard. A skip-if-busy call is counted by the busy flag alone: one atomic step fewer
    // per slot and emission than raising the count as well.
    m_bDestroying.store(true);
    m_calls.WaitUntil(0);
    m_busy.WaitUntil(0);
}

bool CBaseSlot::Busy(bool enter)
{
    if (enter)
    {
        E_SigSlotReentrancyMode mode;
        return Enter(mode) || !Admit(mode);
    }
    Leave(m_eMode.load());
    return false;
}

void CBaseSlot::ConnectSignal(CBaseSignal& signal, unsigned char priority)
{
    signal.ConnectSlot(*this, priority);
}

void CBaseSlot::DisconnectSignal(CBaseSignal& signal)
{
    signal.DisconnectSlot(*this);
}

void CBaseSlot::Add(CBaseSignal& signal)
{
    CSigSlotCollection::Add(&signal);
}

void CBaseSlot::Remove(CBaseSignal& signal)
{
    CSigSlotCollection::Remove(&signal);
}

namespace
{
struct SignalRef
{
    CBaseSignal* signal;
    std::shared_ptr<CSigSlotMutex> lock;
};
} // namespace

void CBaseSlot::DisconnectAll()
{
    // The signal's lock comes before ours, so ours cannot be held while taking it. Each round
    // pins the first signal's lock handle under our lock, then takes both locks in order and
    // checks that the link still exists (and still leads to that signal, not to a new one at the
    // same address): a signal being destroyed on another thread may have removed it meanwhile.
    for (;;)
    {
        SignalRef ref{};
        {
            std::lock_guard guard(GetLock());
            CSigSlotCollectionItem* item = GetFirst();
            if (item == nullptr)
            {
                return;
            }
            ref.signal = static_cast<CBaseSignal*>(item->GetData());
            ref.lock = ref.signal->GetLockHandle();
        }
        std::lock_guard signalGuard(*ref.lock);
        std::lock_guard slotGuard(GetLock());
        if (Find(ref.signal) != nullptr && ref.signal->GetLockHandle() == ref.lock)
        {
            ref.signal->Remove(*this);
            Remove(*ref.signal);
        }
    }
}

void CBaseSlot::CopyLinksFrom(CBaseSlot const& other)
{
    std::vector<SignalRef> signals;
    {
        std::lock_guard guard(other.GetLock());
        for (CSigSlotCollectionItem* item = other.GetFirst(); item != nullptr;
             item = item->GetNext())
        {
            auto* signal = static_cast<CBaseSignal*>(item->GetData());
            signals.push_back({signal, signal->GetLockHandle()});
        }
    }
    // Our list is built by pushing at the head: walk the source backwards to end up in its order.
    for (auto it = signals.rbegin(); it != signals.rend(); ++it)
    {
        std::lock_guard signalGuard(*it->lock);
        unsigned char priority = DefaultPriority;
        {
            std::lock_guard sourceGuard(other.GetLock());
            if (other.Find(it->signal) == nullptr || it->signal->GetLockHandle() != it->lock)
            {
                continue;
            }
            priority = it->signal->GetSlotPriority(&other);
        }
        it->signal->ConnectSlot(*this, priority);
    }
}
