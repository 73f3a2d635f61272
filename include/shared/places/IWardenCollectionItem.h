#pragma once

#include <shared/foundation/Cint64.h>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

// An item that can be grouped into sets (a phonebook entry, a user place), seen without its kind.
class SHARED_API IWardenCollectionItem
{
public:
    IWardenCollectionItem() = default;
    // Copying an item copies nothing of the interface: it has no state.
    IWardenCollectionItem(const IWardenCollectionItem&) = default;
    IWardenCollectionItem& operator=(const IWardenCollectionItem&) = default;
    virtual ~IWardenCollectionItem() = default;

    virtual Cint64 GetItemId() = 0;
    virtual CString GetItemName() = 0;
    // Bytes the item takes when uploaded to a device.
    virtual int GetNumUploadBytes() const = 0;
};
