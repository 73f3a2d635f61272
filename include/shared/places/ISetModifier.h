#pragma once

#include <shared/foundation/Cint64.h>
#include <shared/platform/Export.h>

// The hook through which the owner of items tells the sets that an item was deleted or edited.
class SHARED_API ISetModifier
{
public:
    ISetModifier() = default;
    ISetModifier(const ISetModifier&) = default;
    ISetModifier& operator=(const ISetModifier&) = default;

    virtual bool DeleteItem(Cint64 id) = 0;
    virtual bool ModifyItem(Cint64 id) = 0;

protected:
    // Not deleted through the interface: modifiers are owned by their concrete type.
    ~ISetModifier() = default;
};
