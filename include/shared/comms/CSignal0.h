#pragma once

#include <shared/comms/CBaseSignal.h>
#include <shared/comms/CBaseSlot0.h>
#include <shared/platform/Export.h>

// A signal without arguments.
class SHARED_API CSignal0 : public CBaseSignal
{
public:
    CSignal0() = default;
    CSignal0(CSignal0 const&) = default;
    CSignal0& operator=(CSignal0 const&) = default;
    ~CSignal0() override;

    // Connecting a connected slot again changes nothing (its priority stays).
    void Connect(CBaseSlot0& slot, unsigned char priority = DefaultPriority)
    {
        ConnectSlot(slot, priority);
    }
    void Disconnect(CBaseSlot0& slot) { DisconnectSlot(slot); }

    // True when some slot handled the event.
    bool Send();
    bool operator()() { return Send(); }
};
