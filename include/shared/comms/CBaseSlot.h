#pragma once

#include <atomic>
#include <cstdint>
#include <shared/comms/CSigSlotCollection.h>
#include <shared/comms/CSigSlotInterlock.h>
#include <shared/comms/CSigSlotMutex.h>
#include <shared/platform/Export.h>

class CBaseSignal;

// How a slot treats a call that arrives while another call into it is in progress.
enum E_SigSlotReentrancyMode : std::int32_t
{
    // Calls are serialised by the slot's call mutex; the calling thread itself may re-enter.
    SSRM_SERIALIZE = 0,
    // No guard at all.
    SSRM_UNRESTRICTED = 1,
    // While a call is in progress every further emission passes the slot by (the default).
    SSRM_SKIP_IF_BUSY = 2,
};

// The untyped half of a slot: the signals it is connected to and the guard around its calls.
// Application slots derive from CBaseSlot0, CBaseSlot2 or CBaseSlot4 and override Invoke.
//
// Destruction waits until calls running on other threads have returned and lets no new call
// start. That wait happens in this base destructor, after the derived parts are gone; a derived
// slot whose Invoke uses its own members calls BeginDestroy() first thing in its destructor so
// that no call can run into a half-destroyed object. A slot must never be destroyed from inside
// its own Invoke (it would wait for itself).
class SHARED_API CBaseSlot : public CSigSlotCollection
{
public:
    ~CBaseSlot() override;

    void SetReentrancyMode(E_SigSlotReentrancyMode mode) { m_eMode.store(mode); }
    E_SigSlotReentrancyMode GetReentrancyMode() const { return m_eMode.load(); }
    void DisconnectAll();

protected:
    CBaseSlot() = default;
    CBaseSlot(CBaseSlot const& other);
    CBaseSlot& operator=(CBaseSlot const& other);

    // Stops new calls and waits for running ones; idempotent.
    void BeginDestroy();

    // The reentrancy guard: true on entry means "pass this slot by".
    bool Busy(bool enter);

    void ConnectSignal(CBaseSignal& signal, unsigned char priority);
    void DisconnectSignal(CBaseSignal& signal);
    void Add(CBaseSignal& signal);
    void Remove(CBaseSignal& signal);

private:
    friend class CBaseSignal;

    // Busy in steps, so that leaving undoes exactly what entering did even when the mode changed
    // while the call ran, and so that a serialised call waits for the running one only after
    // the emission has released the signal's lock. Waiting with the signal locked (the simpler
    // way) deadlocks as soon as the running call touches its signal while another thread emits.
    // Enter: true means "pass by" (nothing to undo). Admit: false means the slot started dying
    // while this thread waited (already undone). Leave ends an admitted call.
    bool Enter(E_SigSlotReentrancyMode& mode);
    bool Admit(E_SigSlotReentrancyMode mode);
    void Leave(E_SigSlotReentrancyMode mode);
    void CopyLinksFrom(CBaseSlot const& other);

    CSigSlotInterlock m_busy;
    std::atomic<E_SigSlotReentrancyMode> m_eMode{SSRM_SKIP_IF_BUSY};
    CSigSlotMutex m_callMutex;
    CSigSlotInterlock m_calls;
    std::atomic<bool> m_bDestroying{false};
};

// Every emission runs these for every slot it calls: inline, so that a call into a slot costs its
// atomic steps and nothing more.
inline bool CBaseSlot::Enter(E_SigSlotReentrancyMode& mode)
{
    mode = m_eMode.load();
    if (mode == SSRM_SKIP_IF_BUSY)
    {
        // Whoever finds the flag set passes by; whoever finds it clear sets it.
        if (m_busy.CmpSet(0, 1) != 0)
        {
            return true;
        }
        if (m_bDestroying.load())
        {
            m_busy.Set(0);
            return true;
        }
        return false;
    }
    m_calls.Inc();
    if (m_bDestroying.load())
    {
        m_calls.Dec();
        return true;
    }
    return false;
}

inline bool CBaseSlot::Admit(E_SigSlotReentrancyMode mode)
{
    if (mode != SSRM_SERIALIZE)
    {
        return true;
    }
    m_callMutex.Lock();
    // The slot may have started dying while this thread waited for the running call.
    if (m_bDestroying.load())
    {
        m_callMutex.Unlock();
        m_calls.Dec();
        return false;
    }
    return true;
}

inline void CBaseSlot::Leave(E_SigSlotReentrancyMode mode)
{
    if (mode == SSRM_SKIP_IF_BUSY)
    {
        m_busy.Set(0);
        return;
    }
    if (mode == SSRM_SERIALIZE)
    {
        m_callMutex.Unlock();
    }
    m_calls.Dec();
}
