#include <mutex>
#include <shared/comms/CSigSlotIterator.h>

CSigSlotIterator::CSigSlotIterator(CSigSlotCollection& collection)
    : m_pCollection(&collection), m_pLock(collection.m_pLock)
{
    std::lock_guard guard(*m_pLock);
    m_pNext = collection.m_pIterators;
    collection.m_pIterators = this;
}

CSigSlotIterator::CSigSlotIterator(CSigSlotCollection& collection, KeepLocked)
    : m_pCollection(&collection), m_pLock(collection.m_pLock)
{
    m_pLock->Lock();
    m_pNext = collection.m_pIterators;
    collection.m_pIterators = this;
}

CSigSlotIterator::~CSigSlotIterator()
{
    if (!m_bFinished)
    {
        std::lock_guard guard(*m_pLock);
        Unlink();
    }
}

void CSigSlotIterator::FinishLocked()
{
    Unlink();
    m_bFinished = true;
    m_pLock->Unlock();
}

CSigSlotCollection* CSigSlotIterator::GetFirst(unsigned char* priority)
{
    {
        std::lock_guard guard(*m_pLock);
        m_pCurrent = nullptr;
        m_bAtEnd = false;
    }
    return GetNext(priority);
}

CSigSlotCollection* CSigSlotIterator::GetNext(unsigned char* priority)
{
    std::lock_guard guard(*m_pLock);
    CSigSlotCollection* const peer = StepLocked();
    if (peer != nullptr && priority != nullptr)
    {
        *priority = m_pCurrent->GetPriority();
    }
    return peer;
}

// Called with the collection's lock held.
void CSigSlotIterator::Unlink()
{
    if (m_pCollection == nullptr)
    {
        return;
    }
    CSigSlotIterator** link = &m_pCollection->m_pIterators;
    while (*link != nullptr && *link != this)
    {
        link = &(*link)->m_pNext;
    }
    if (*link == this)
    {
        *link = m_pNext;
    }
    m_pNext = nullptr;
    m_pCollection = nullptr;
    m_pCurrent = nullptr;
}

// Called with the collection's lock held. An iterator standing on the removed link steps back
// to the link before it (or before the head), so its next step lands on the removed link's
// successor: nothing is skipped and freed memory is never touched.
void CSigSlotIterator::CollectionItemRemoved(CSigSlotCollection* collection,
                                             CSigSlotCollectionItem const* removed,
                                             CSigSlotCollectionItem* before)
{
    for (CSigSlotIterator* it = collection->m_pIterators; it != nullptr; it = it->m_pNext)
    {
        if (it->m_pCurrent == removed)
        {
            it->m_pCurrent = before;
        }
    }
}

void CSigSlotIterator::CollectionRemoved(CSigSlotCollection* collection)
{
    std::lock_guard guard(*collection->m_pLock);
    while (collection->m_pIterators != nullptr)
    {
        collection->m_pIterators->Unlink();
    }
}
