#pragma once

#include <map>
#include <shared/foundation/Cint64.h>
#include <shared/framework/CObject.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/places/CUserPlace.h>
#include <shared/places/IWardenCollection.h>
#include <shared/platform/Export.h>

// All user places keyed by identifier, with their file (conventionally "UserPlaces.dat"; the
// caller passes the full path). Walks and symbol lookups share one cursor. Not locked: one
// thread owns the collection.
//
// Every failure is one line in the application log at the error level; reading failures are
// also shown through the application's message-box hook.
class SHARED_API CUserPlaceCollection : public IWardenCollection, public CObject
{
    DECLARE_SERIAL(CUserPlaceCollection)

public:
    // The most places the application lets a user make; published for it, not enforced here.
    static constexpr int s_iTemporaryMaxNumberInCollection = 240;
    // The collection the application's address lookup consults; installed by the application,
    // never owned through this pointer.
    static CUserPlaceCollection* s_pUserPlaceCollection;

    CUserPlaceCollection();
    CUserPlaceCollection(const CUserPlaceCollection& other);
    CUserPlaceCollection& operator=(const CUserPlaceCollection& other);
    ~CUserPlaceCollection() override;

    // Stores a copy under id (the place's own id field is left as it is); false, with a log
    // line, when id is already held.
    bool AddUserPlace(Cint64 id, CUserPlace place);
    // The held place, owned by the collection, or null with a log line.
    CUserPlace* GetUserPlace(Cint64 id);
    // Replaces the held place and asks the main window to redraw its symbol.
    bool ModifyUserPlace(Cint64 id, CUserPlace place);
    // Removes the place and asks the main window to remove its symbol. Sets holding the id are
    // not touched: that is the set modifier's job.
    bool DeleteUserPlace(Cint64 id);
    // The first place in id order with that symbol, or null. Moves the shared cursor.
    CUserPlace* GetUserPlaceBySymbolId(long symbolId);
    // The map label of the place, or empty.
    CString GetGeofenceName(Cint64 id);
    CString GetGeofenceName(long symbolId);

    void GotoStart();
    CUserPlace* GetNext();
    int GetNumberInCollection() const { return static_cast<int>(m_Places.size()); }
    COleDateTime GetLastUpdatedTime() const { return m_LastUpdated; }
    void SetLastUpdatedTime(COleDateTime time) { m_LastUpdated = time; }
    void SetHighPart(unsigned long highPart) { m_HighPart = static_cast<unsigned int>(highPart); }
    // The next free id made of the high part and the current UTC second; nothing is stored.
    Cint64 CreateNewUserPlaceId() const;

    void GotoStartItem() override { GotoStart(); }
    bool GetNextItem(IWardenCollectionItem*& item) override;
    IWardenCollectionItem* GetItemById(Cint64 id) override;

    // Replaces the file whole, or leaves the old one in place and returns false.
    bool SaveCollection(CString path);
    // Reads a whole collection object, or failing that a bare collection body, from the file.
    // On success the places are those of the file (a bare body adds its places to the ones
    // already held); on failure the collection is left as it was.
    bool ReadCollection(CString path);
    // (The high part is a setting of this application and is kept across a read.)

    void Serialize(CArchive& ar) override;

private:
    using PlaceMap = std::map<Cint64, CUserPlace>;

    // AddUserPlace without the time stamp.
    bool Insert(Cint64 id, CUserPlace&& place);
    void TakePlacesFrom(CUserPlaceCollection& other);

    PlaceMap m_Places;
    PlaceMap::iterator m_Cursor;
    COleDateTime m_LastUpdated;
    unsigned int m_HighPart = 0;
};
