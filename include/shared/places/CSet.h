#pragma once

#include <cstddef>
#include <shared/comms/CSignal2.h>
#include <shared/foundation/Cint64.h>
#include <shared/framework/CObject.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>
#include <vector>

// A named group of item identifiers (phonebook entries or user places), in insertion order.
// Every insertion and removal request is announced on the change signal: "A" for added (also
// when the id was already there), "D" for removal asked for (also when it was not there).
class SHARED_API CSet : public CObject
{
    DECLARE_SERIAL(CSet)

public:
    CSet();
    // Copies the members, name, id, time stamp and the signal's listeners. The copy's cursor is
    // not placed: call GotoStart before walking it.
    CSet(const CSet& other);
    // Appends the source's members to those already here, duplicates included, then copies the
    // name, id, time stamp and listeners. Assigning to a non-empty set therefore gives the union
    // in list form; callers rely on that to merge sets, so it stays.
    CSet& operator=(const CSet& other);
    // Takes the members, cursor, name, id, time stamp and listeners; the source is left empty.
    CSet(CSet&& other);
    ~CSet() override;

    Cint64 GetSetId() const { return m_SetId; }
    void SetSetId(Cint64 id) { m_SetId = id; }
    // The address of the id, for the collection that fixes ids in place.
    Cint64* GetSetIdPointer() { return &m_SetId; }
    CString GetSetName() const { return m_SetName; }
    void SetSetName(const CString& name) { m_SetName = name; }
    COleDateTime GetLastUpdatedTime() const { return m_LastUpdated; }
    void SetLastUpdatedTime(COleDateTime time) { m_LastUpdated = time; }

    int GetNumberOfItems() const;
    bool IsItemInSet(Cint64 id) const;
    // True when the id was new. The time stamp moves only when asked to; the signal fires always.
    bool InsertItem(Cint64 id, bool bUpdateTime);
    // True when the id was there. Unlike InsertItem, the time stamp always moves and the signal
    // always fires: a removal request is a change to the set's meaning even when it finds
    // nothing, and listeners are written to expect it.
    bool RemoveItem(Cint64 id);

    void GotoStart();
    // The member at the cursor, then the cursor moves on; a zero id once past the end.
    Cint64 GetNext();
    // Removes every member without a signal or a time change.
    void EmptyList();

    void SendSignal(Cint64 id, char change);
    void ConnectSignal(CBaseSlot2<const Cint64, const char>& slot);

    void Serialize(CArchive& ar) override;

private:
    // One slot of the membership index: an id and how often the member list holds it (zero
    // marks a free slot).
    struct IndexSlot
    {
        unsigned long long key = 0;
        int count = 0;
    };
    // The cursor past the end. It stays there when members are appended later, as a list's end
    // position would.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    void AppendMember(Cint64 id);
    IndexSlot* FindSlot(unsigned long long key);
    const IndexSlot* FindSlot(unsigned long long key) const;
    // The slot holding key, claimed for it (with a zero count) when key is new.
    IndexSlot& SlotFor(unsigned long long key);
    void UncountMember(IndexSlot* slot);
    void GrowIndex();

    Cint64 m_SetId;
    CString m_SetName;
    COleDateTime m_LastUpdated;
    std::vector<Cint64> m_Members;
    std::size_t m_Cursor = npos;
    // Counts of each member in an open-addressed table (linear probing, power-of-two size, at
    // most half full), so membership tests do not walk the list and a load allocates per set
    // rather than per member; the list keeps the order and any duplicates an assignment
    // brought in.
    std::vector<IndexSlot> m_Index;
    std::size_t m_IndexUsed = 0;
    // False while no listener can be connected, so that loading a set read from a file need
    // not emit one signal per member to nobody. Connecting, or copying a signal that may
    // have listeners, sets it.
    bool m_MayHaveListeners = false;
    CSignal2<const Cint64, const char> m_Signal;
};
