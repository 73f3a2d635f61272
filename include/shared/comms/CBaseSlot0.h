#pragma once

#include <shared/comms/CBaseSlot.h>
#include <shared/platform/Export.h>

// Base of slots for CSignal0. Invoke returns true when the slot has handled the event, which
// ends the emission.
class SHARED_API CBaseSlot0 : public CBaseSlot
{
public:
    ~CBaseSlot0() override;
    virtual bool Invoke() = 0;

protected:
    CBaseSlot0() = default;
    CBaseSlot0(CBaseSlot0 const&) = default;
    CBaseSlot0& operator=(CBaseSlot0 const&) = default;
};
