#include <mutex>
#include <shared/comms/CSigSlotCollection.h>
#include <shared/comms/CSigSlotIterator.h>

CSigSlotCollection::CSigSlotCollection() : m_pLock(std::make_shared<CSigSlotMutex>()) {}

CSigSlotCollection::CSigSlotCollection(CSigSlotCollection const&) : CSigSlotCollection() {}

CSigSlotCollection::~CSigSlotCollection()
{
    // Signals and slots take their links down before getting here; whatever is left (a
    // collection used on its own) is freed without touching peers.
    DetachIterators();
    std::lock_guard guard(*m_pLock);
    while (m_pFirst != nullptr)
    {
        CSigSlotCollectionItem* next = m_pFirst->GetNext();
        delete m_pFirst;
        m_pFirst = next;
    }
}

CSigSlotCollectionItem* CSigSlotCollection::Find(CSigSlotCollection const* peer) const
{
    for (CSigSlotCollectionItem* item = m_pFirst; item != nullptr; item = item->GetNext())
    {
        if (item->GetData() == peer)
        {
            return item;
        }
    }
    return nullptr;
}

void CSigSlotCollection::Add(CSigSlotCollection* peer)
{
    std::lock_guard guard(*m_pLock);
    if (!Exists(peer))
    {
        m_pFirst = new CSigSlotCollectionItem(m_pFirst, DefaultPriority, peer);
    }
}

void CSigSlotCollection::Add(CSigSlotCollection* peer, unsigned char priority)
{
    std::lock_guard guard(*m_pLock);
    if (Exists(peer))
    {
        return;
    }
    // Behind every link of the same or higher priority: equal priorities keep connection order.
    CSigSlotCollectionItem* before = nullptr;
    for (CSigSlotCollectionItem* item = m_pFirst;
         item != nullptr && item->GetPriority() >= priority; item = item->GetNext())
    {
        before = item;
    }
    if (before == nullptr)
    {
        m_pFirst = new CSigSlotCollectionItem(m_pFirst, priority, peer);
    }
    else
    {
        before->SetNext(new CSigSlotCollectionItem(before->GetNext(), priority, peer));
    }
}

void CSigSlotCollection::Remove(CSigSlotCollection* peer)
{
    std::lock_guard guard(*m_pLock);
    CSigSlotCollectionItem* before = nullptr;
    CSigSlotCollectionItem* item = m_pFirst;
    while (item != nullptr && item->GetData() != peer)
    {
        before = item;
        item = item->GetNext();
    }
    if (item == nullptr)
    {
        return;
    }
    if (before == nullptr)
    {
        m_pFirst = item->GetNext();
    }
    else
    {
        before->SetNext(item->GetNext());
    }
    CSigSlotIterator::CollectionItemRemoved(this, item, before);
    delete item;
}

void CSigSlotCollection::DetachIterators()
{
    CSigSlotIterator::CollectionRemoved(this);
}
