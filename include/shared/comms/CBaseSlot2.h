#pragma once

#include <shared/comms/CBaseSlot.h>

// Base of slots for CSignal2<A,B>. Invoke returns true when the slot has handled the event,
// which ends the emission.
template <class A, class B> class CBaseSlot2 : public CBaseSlot
{
public:
    ~CBaseSlot2() override = default;
    virtual bool Invoke(A a, B b) = 0;

protected:
    CBaseSlot2() = default;
    CBaseSlot2(CBaseSlot2 const&) = default;
    CBaseSlot2& operator=(CBaseSlot2 const&) = default;
};
