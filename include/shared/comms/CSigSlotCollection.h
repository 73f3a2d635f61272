#pragma once

#include <memory>
#include <shared/comms/CSigSlotCollectionItem.h>
#include <shared/comms/CSigSlotMutex.h>
#include <shared/platform/Export.h>

class CSigSlotIterator;

// The common base of signals and slots: a list of links to peers, the iterators walking it and
// the collection's recursive lock.
//
// The lock is held through a shared handle: an iterator keeps it alive, so an emission that is
// running a slot while another thread destroys the signal can still take the lock afterwards,
// see that the collection is gone and stop, instead of locking freed memory.
class SHARED_API CSigSlotCollection
{
public:
    virtual ~CSigSlotCollection();

    // Priority given to links made without one; also the neutral connection priority.
    static constexpr unsigned char DefaultPriority = 128;

protected:
    CSigSlotCollection();
    // Links are never copied here: the derived signal or slot rewires a copy on both sides.
    CSigSlotCollection(CSigSlotCollection const&);
    CSigSlotCollection& operator=(CSigSlotCollection const&) { return *this; }

    CSigSlotCollectionItem* GetFirst() const { return m_pFirst; }
    void Lock() const { m_pLock->Lock(); }
    void Unlock() const { m_pLock->Unlock(); }
    CSigSlotMutex& GetLock() const { return *m_pLock; }
    std::shared_ptr<CSigSlotMutex> const& GetLockHandle() const { return m_pLock; }

    // Callers hold the lock for these.
    void Add(CSigSlotCollection* peer);
    void Add(CSigSlotCollection* peer, unsigned char priority);
    void Remove(CSigSlotCollection* peer);
    CSigSlotCollectionItem* Find(CSigSlotCollection const* peer) const;

    // Ends every iterator over this collection (they return null from then on).
    void DetachIterators();

private:
    friend class CSigSlotIterator;

    bool Exists(CSigSlotCollection const* peer) const { return Find(peer) != nullptr; }

    // The chain is owned here: items are allocated by Add and freed by Remove or the destructor.
    CSigSlotCollectionItem* m_pFirst = nullptr;
    CSigSlotIterator* m_pIterators = nullptr;
    std::shared_ptr<CSigSlotMutex> m_pLock;
};
