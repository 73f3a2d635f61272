#pragma once

#include <shared/comms/CBaseSlot.h>

// Base of slots for CSignal4<A,B,C,D>. Invoke returns true when the slot has handled the event,
// which ends the emission.
template <class A, class B, class C, class D> class CBaseSlot4 : public CBaseSlot
{
public:
    ~CBaseSlot4() override = default;
    virtual bool Invoke(A a, B b, C c, D d) = 0;

protected:
    CBaseSlot4() = default;
    CBaseSlot4(CBaseSlot4 const&) = default;
    CBaseSlot4& operator=(CBaseSlot4 const&) = default;
};
