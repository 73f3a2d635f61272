#pragma once

#include <shared/comms/CBaseSignal.h>
#include <shared/comms/CBaseSlot2.h>

// A signal with two arguments, passed to every slot by value.
template <class A, class B> class CSignal2 : public CBaseSignal
{
public:
    CSignal2() = default;
    CSignal2(CSignal2 const&) = default;
    CSignal2& operator=(CSignal2 const&) = default;
    ~CSignal2() override = default;

    // Connecting a connected slot again changes nothing (its priority stays).
    void Connect(CBaseSlot2<A, B>& slot, unsigned char priority = DefaultPriority)
    {
        ConnectSlot(slot, priority);
    }
    void Disconnect(CBaseSlot2<A, B>& slot) { DisconnectSlot(slot); }

    // True when some slot handled the event.
    bool Send(A a, B b)
    {
        return Emit([&](CBaseSlot& slot)
                    { return static_cast<CBaseSlot2<A, B>&>(slot).Invoke(a, b); });
    }
    bool operator()(A a, B b) { return Send(a, b); }
};
