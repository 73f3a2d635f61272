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
