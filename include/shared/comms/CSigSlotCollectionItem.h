#pragma once

#include <shared/platform/Export.h>

class CSigSlotCollection;

// One link of a signal's or slot's list: the peer at the other end and its priority.
// A plain value; the collection that holds the chain allocates and frees the items.
class SHARED_API CSigSlotCollectionItem
{
public:
    CSigSlotCollectionItem(CSigSlotCollectionItem* next, unsigned char priority,
                           CSigSlotCollection* data)
        : m_pNext(next), m_ucPriority(priority), m_pData(data)
    {
    }

    void SetNext(CSigSlotCollectionItem* next) { m_pNext = next; }
    CSigSlotCollectionItem* GetNext() const { return m_pNext; }
    CSigSlotCollection* GetData() const { return m_pData; }
    unsigned char GetPriority() const { return m_ucPriority; }

private:
    CSigSlotCollectionItem* m_pNext;
    unsigned char m_ucPriority;
    CSigSlotCollection* m_pData;
};
