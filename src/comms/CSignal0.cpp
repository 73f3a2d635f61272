#include <shared/comms/CSignal0.h>

CSignal0::~CSignal0() = default;

bool CSignal0::Send()
{
    return Emit([](CBaseSlot& slot) { return static_cast<CBaseSlot0&>(slot).Invoke(); });
}
