#include <shared/comms/CBaseSlot0.h>

CBaseSlot0::~CBaseSlot0() = default;
