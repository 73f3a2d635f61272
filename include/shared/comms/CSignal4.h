#pragma once

#include <shared/comms/CBaseSignal.h>
#include <shared/comms/CBaseSlot4.h>

// A signal with four arguments, passed to every slot by value.
template <class A, class B, class C, class D> class CSignal4 : public CBaseSignal
{
public:
    CSignal4() = default;
    CSignal4(CSignal4 const&) = default;
    CSignal4& operator=(CSignal4 const&) = default;
    ~CSignal4() override = default;

    // Connecting a connected slot again changes nothing (its priority stays).
    void Connect(CBaseSlot4<A, B, C, D>& slot, unsigned char priority = DefaultPriority)
    {
        ConnectSlot(slot, priority);
    }
    void Disconnect(CBaseSlot4<A, B, C, D>& slot) { DisconnectSlot(slot); }

    // True when some slot handled the event.
    bool Send(A a, B b, C c, D d)
    {
        return Emit([&](CBaseSlot& slot)
                    { return static_cast<CBaseSlot4<A, B, C, D>&>(slot).Invoke(a, b, c, d); });
    }
    bool operator()(A a, B b, C c, D d) { return Send(a, b, c, d); }
};
