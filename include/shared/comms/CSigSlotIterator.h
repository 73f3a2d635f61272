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
    // For an emission: takes the collection's lock and keeps it, so that the walk pays for one
    // lock per slot (the one released around each call) instead of one per step.
    struct KeepLocked
    {
    };
    CSigSlotIterator(CSigSlotCollection& collection, KeepLocked);
    virtual ~CSigSlotIterator();
    CSigSlotIterator(CSigSlotIterator const&) = delete;
    CSigSlotIterator& operator=(CSigSlotIterator const&) = delete;

    // Both return the peer of the new current link, or null at the end or when the collection
    // is gone; the link's priority is written through priority when it is given.
    CSigSlotCollection* GetFirst(unsigned char* priority = nullptr);
    CSigSlotCollection* GetNext(unsigned char* priority = nullptr);

    // The collection's lock, alive as long as the iterator is.
    CSigSlotMutex& GetLock() const { return *m_pLock; }

    // GetNext for a caller that holds the collection's lock.
    CSigSlotCollection* StepLocked()
    {
        if (m_pCollection == nullptr || m_bAtEnd)
        {
            return nullptr;
        }
        m_pCurrent = m_pCurrent == nullptr ? m_pCollection->m_pFirst : m_pCurrent->GetNext();
        m_bAtEnd = m_pCurrent == nullptr;
        return m_bAtEnd ? nullptr : m_pCurrent->GetData();
    }
    // Ends an iterator made with KeepLocked while its lock is held, and releases the lock.
    void FinishLocked();

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
    bool m_bFinished = false;
    std::shared_ptr<CSigSlotMutex> m_pLock;
};
