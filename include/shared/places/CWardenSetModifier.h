#pragma once

#include <shared/places/ISetModifier.h>
#include <shared/platform/Export.h>

class CSetCollection;

// Keeps the sets of one set collection in step with item changes: a deleted item leaves every
// set that held it, an edited item refreshes those sets' time stamps. It walks the collection
// with the collection's shared cursor, so a caller's own walk of it loses its place.
class SHARED_API CWardenSetModifier : public ISetModifier
{
public:
    // The collection is not owned; it may be null (every call then fails and logs).
    explicit CWardenSetModifier(CSetCollection* pSetCollection);
    CWardenSetModifier(const CWardenSetModifier&) = default;
    CWardenSetModifier& operator=(const CWardenSetModifier&) = default;
    virtual ~CWardenSetModifier();

    // True when at least one set held the item.
    bool DeleteItem(Cint64 id) override;
    bool ModifyItem(Cint64 id) override;

private:
    enum E_ItemChangeType
    {
        eItemDeleted = 0,
        eItemModified = 1,
    };

    bool ChangeSetsForItemChange(Cint64 id, E_ItemChangeType type);

    CSetCollection* m_pSetCollection;
};
