#pragma once

#include <shared/foundation/Cint64.h>
#include <shared/platform/Export.h>

class IWardenCollectionItem;

// A collection of items walked through one internal cursor. The cursor is shared by every
// caller: a walk started by one caller moves the place of any other walk of the same collection.
class SHARED_API IWardenCollection
{
public:
    IWardenCollection() = default;
    IWardenCollection(const IWardenCollection&) = default;
    IWardenCollection& operator=(const IWardenCollection&) = default;
    virtual ~IWardenCollection() = default;

    virtual void GotoStartItem() = 0;
    // True with the next item, false once the cursor has passed the last one. Implementations
    // differ in what they leave in the out parameter on false, so test the result, not the
    // pointer.
    virtual bool GetNextItem(IWardenCollectionItem*& item) = 0;
    // The item with that identifier, or null. The collection keeps ownership.
    virtual IWardenCollectionItem* GetItemById(Cint64 id) = 0;
};
