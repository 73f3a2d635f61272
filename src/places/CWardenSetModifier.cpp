#include <shared/foundation/CLog.h>
#include <shared/places/CSetCollection.h>
#include <shared/places/CWardenSetModifier.h>
#include <shared/time/CClock.h>

CWardenSetModifier::CWardenSetModifier(CSetCollection* pSetCollection)
    : m_pSetCollection(pSetCollection)
{
}

CWardenSetModifier::~CWardenSetModifier() = default;

bool CWardenSetModifier::DeleteItem(Cint64 id)
{
    return ChangeSetsForItemChange(id, eItemDeleted);
}

bool CWardenSetModifier::ModifyItem(Cint64 id)
{
    return ChangeSetsForItemChange(id, eItemModified);
}

bool CWardenSetModifier::ChangeSetsForItemChange(Cint64 id, E_ItemChangeType type)
{
    if (m_pSetCollection == nullptr)
    {
        CLog::AddToLog(1, "CWardenSetModifier::ChangeSetsForItemChange() m_pSetCollection not set");
        return false;
    }
    if (m_pSetCollection->GetNumberInCollection() <= 0)
        return false;

    bool changed = false;
    m_pSetCollection->GotoStart();
    while (CSet* set = m_pSetCollection->GetNext())
    {
        if (!set->IsItemInSet(id))
            continue;
        switch (type)
        {
        case eItemDeleted:
            set->RemoveItem(id);
            changed = true;
            break;
        case eItemModified:
            set->SetLastUpdatedTime(CClock::GetUTCCurrentDateTime());
            changed = true;
            break;
        }
    }
    return changed;
}
