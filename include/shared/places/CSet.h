#pragma once

#include <list>
#include <shared/comms/CSignal2.h>
#include <shared/foundation/Cint64.h>
#include <shared/framework/CObject.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>
#include <unordered_map>

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
    void AppendMember(Cint64 id);

    Cint64 m_SetId;
    CString m_SetName;
    COleDateTime m_LastUpdated;
    std::list<Cint64> m_Members;
    std::list<Cint64>::iterator m_Cursor;
    // Count of each member, so membership tests do not walk the list; the list keeps the order
    // and any duplicates an assignment brought in.
    std::unordered_map<unsigned long long, int> m_MemberCounts;
    CSignal2<const Cint64, const char> m_Signal;
};
