#pragma once

#include <map>
#include <shared/comms/CSignal2.h>
#include <shared/foundation/Cint64.h>
#include <shared/framework/CObject.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/places/CSet.h>
#include <shared/platform/Export.h>

// All the sets of one kind, keyed by set id, with their file. Additions and removals are
// announced on the change signal with the set's id: "A" and "D".
//
// Two clocks on purpose: the collection's own stamp is local time (it is shown to the user as
// "last saved"), while new ids and the sets' stamps are corrected UTC.
class SHARED_API CSetCollection : public CObject
{
    DECLARE_SERIAL(CSetCollection)

public:
    CSetCollection();
    CSetCollection(const CSetCollection& other);
    // Replaces the sets with copies of the source's, then takes its cursor, stamp and high part,
    // and finally its listeners: this collection's own listeners are disconnected.
    CSetCollection& operator=(const CSetCollection& other);
    ~CSetCollection() override;

    // Holds a copy of the set and returns its id. A set with a zero id gets a new one, written
    // back into the caller's set. A set whose id is already held is not stored again (the held
    // set stays as it is) but the "A" signal still fires.
    Cint64 AddSet(CSet& set);
    // Drops the set if held; "D" fires either way.
    void RemoveSet(Cint64 id);
    // The held set or null; the collection keeps ownership.
    CSet* GetSet(Cint64 id);
    // The first set in id order with exactly that name, or null. Moves the shared cursor.
    CSet* GetSetByName(CString name);

    void GotoStart();
    CSet* GetNext();
    int GetNumberInCollection() const;

    COleDateTime GetLastUpdatedTime() const { return m_LastUpdated; }
    void SetLastUpdatedTime(COleDateTime time) { m_LastUpdated = time; }
    void SetHighPart(unsigned long highPart) { m_HighPart = static_cast<unsigned int>(highPart); }
    // The next free id made of the high part and the current UTC second; nothing is stored.
    Cint64 CreateNewSetId() const;

    void SendSignal(Cint64 id, char change);
    void ConnectSignal(CBaseSlot2<const Cint64, const char>& slot);

    // False when the file cannot be written; the previous file is replaced only by a whole new
    // one.
    bool SaveCollection(CString path);
    // False when the file cannot be read or is not a whole set collection; this collection is
    // then left as it was. On success its listeners are disconnected: connect them again.
    bool ReadCollection(CString path);

    void Serialize(CArchive& ar) override;

private:
    using SetMap = std::map<Cint64, CSet>;

    // AddSet's rules, with the held set made by makeHeld (a copy, or the read set moved in).
    template <typename MakeHeld> Cint64 Store(CSet& set, MakeHeld makeHeld);
    // Assignment from a collection about to be thrown away: its sets are moved, not copied.
    void TakeFrom(CSetCollection& other);

    SetMap m_Sets;
    SetMap::iterator m_Cursor;
    COleDateTime m_LastUpdated;
    unsigned int m_HighPart = 0;
    CSignal2<const Cint64, const char> m_Signal;
};
