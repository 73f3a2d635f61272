#pragma once

#include <memory>
#include <shared/comms/CSigSlotCollection.h>
#include <shared/platform/Export.h>

// A cursor over one collection that stays valid while links are removed under it and ends
// cleanly when the collection itself is destroyed.
class SHARED_API CSigSlotIterator
{
public:
    explicit CSigSlotIterator(CSigSlotCollection& collection);
    virtual ~CSigSlotIterator();
    CSigSlotIterator(CSigSlotIterator const&) = delete;
    CSigSlotIterator& operator=(CSigSlotIterator const&) = delete;

    // Both return the peer of the new current link, or null at the end or when the collection
    // is gone; the link's priority is written through priority when it is given.
    CSigSlotCollection* GetFirst(unsigned char* priority = nullptr);
    CSigSlotCollection* GetNext(unsigned char* priority = nullptr);

    // The collection's lock, alive as long as the iterator is.
    CSigSlotMutex& GetLock() const { return *m_pLock; }

private:
    friend class CSigSlotCollection;

    void Unlink();
    static void CollectionItemRemoved(CSigSlotCollection* collection,
                                      CSigSlotCollectionItem const* removed,
                                      CSigSlotCollectionItem* before);
    static void CollectionRemoved(CSigSlotCollection* collection);

    CSigSlotIterator* m_pNext = nullptr;
    CSigSlotCollection* m_pCollection;
    CSigSlotCollectionItem* m_pCurrent = nullptr;
    // Once the end has been reached, GetNext keeps answering null instead of starting over.
    bool m_bAtEnd = false;
    std::shared_ptr<CSigSlotMutex> m_pLock;
};
