#include "ObjectFileWriter.h"

#include <iterator>
#include <memory>
#include <shared/archive/CArchive.h>
#include <shared/foundation/CLog.h>
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/platform/HostHooks.h>
#include <shared/time/CClock.h>
#include <utility>

IMPLEMENT_SERIAL(CUserPlaceCollection, CObject, VERSIONABLE_SCHEMA | 2)

CUserPlaceCollection* CUserPlaceCollection::s_pUserPlaceCollection = nullptr;

namespace
{
constexpr int kLogError = 1;
// Reading in larger pieces than the 4096 bytes a save uses saves system calls on big files.
constexpr int kReadBufferSize = 64 * 1024;

// The exception's own text, at most 255 characters.
CString MessageOf(const CException& error)
{
    char text[256] = {};
    error.GetErrorMessage(text, sizeof text);
    return CString(text);
}
} // namespace

CUserPlaceCollection::CUserPlaceCollection() : m_Cursor(m_Places.begin()) {}

CUserPlaceCollection::CUserPlaceCollection(const CUserPlaceCollection& other)
    : CUserPlaceCollection()
{
    *this = other;
}

CUserPlaceCollection& CUserPlaceCollection::operator=(const CUserPlaceCollection& other)
{
    if (this == &other)
        return *this;
    m_Places = other.m_Places;
    // A cursor cannot point into another map: it takes the same place in the copy.
    m_Cursor = other.m_Cursor == other.m_Places.end() ? m_Places.end()
                                                      : m_Places.find(other.m_Cursor->first);
    m_LastUpdated = other.m_LastUpdated;
    m_HighPart = other.m_HighPart;
    return *this;
}

CUserPlaceCollection::~CUserPlaceCollection() = default;

void CUserPlaceCollection::TakePlacesFrom(CUserPlaceCollection& other)
{
    // The assignment's effect for a collection about to be thrown away: the places move instead
    // of being copied. The high part is this application's setting, not the file's: it stays.
    const bool atEnd = other.m_Cursor == other.m_Places.end();
    const Cint64 cursorKey = atEnd ? Cint64() : other.m_Cursor->first;
    m_Places = std::move(other.m_Places);
    m_Cursor = atEnd ? m_Places.end() : m_Places.find(cursorKey);
    m_LastUpdated = other.m_LastUpdated;
}

bool CUserPlaceCollection::AddUserPlace(Cint64 id, CUserPlace place)
{
    if (!Insert(id, std::move(place)))
        return false;
    m_LastUpdated = CClock::GetUTCCurrentDateTime();
    return true;
}

bool CUserPlaceCollection::Insert(Cint64 id, CUserPlace&& place)
{
    // Files hold places in ascending id order, so a load appends at the end: checking the last
    // key first keeps that to one comparison per place.
    auto hint = m_Places.end();
    if (!m_Places.empty() && !(std::prev(hint)->first < id))
        hint = m_Places.lower_bound(id);
    if (hint != m_Places.end() && !(id < hint->first))
    {
        // "SymbolId" although it is the place's id: the log's readers search for this text.
        CLog::AddToLog(kLogError, "CUserPlaceCollection::AddUserPlace() Already have SymbolId %s",
                       static_cast<const char*>(id.GetFormattedString()));
        return false;
    }
    m_Places.emplace_hint(hint, id, std::move(place));
    return true;
}

CUserPlace* CUserPlaceCollection::GetUserPlace(Cint64 id)
{
    const auto found = m_Places.find(id);
    if (found == m_Places.end())
    {
        CLog::AddToLog(kLogError,
                       "CUserPlaceCollection::GetUserPlace() Error getting sidUserPlaceId %s",
                       static_cast<const char*>(id.GetFormattedString()));
        return nullptr;
    }
    return &found->second;
}

bool CUserPlaceCollection::ModifyUserPlace(Cint64 id, CUserPlace place)
{
    const auto found = m_Places.find(id);
    if (found == m_Places.end())
    {
        CLog::AddToLog(kLogError,
                       "CUserPlaceCollection::ModifyUserPlace() Error getting sidUserPlaceId %s",
                       static_cast<const char*>(id.GetFormattedString()));
        return false;
    }
    found->second = std::move(place);
    found->second.ModifyPlaceSymbol();
    m_LastUpdated = CClock::GetUTCCurrentDateTime();
    return true;
}

bool CUserPlaceCollection::DeleteUserPlace(Cint64 id)
{
    const auto found = m_Places.find(id);
    if (found == m_Places.end())
    {
        // The doubled "()" is in the text the log's readers search for; it stays.
        CLog::AddToLog(kLogError,
                       "CUserPlaceCollection::DeleteUserPlace()() Error getting sidUserPlaceId %s",
                       static_cast<const char*>(id.GetFormattedString()));
        return false;
    }
    // The window is told about a copy, so the message's place outlives the erase below for the
    // length of the call only.
    CUserPlace removed(found->second);
    removed.DeletePlaceSymbol();
    if (m_Cursor == found)
        ++m_Cursor;
    m_Places.erase(found);
    m_LastUpdated = CClock::GetUTCCurrentDateTime();
    return true;
}

CUserPlace* CUserPlaceCollection::GetUserPlaceBySymbolId(long symbolId)
{
    GotoStart();
    while (CUserPlace* place = GetNext())
        if (place->GetSymbolId() == symbolId)
            return place;
    return nullptr;
}

CString CUserPlaceCollection::GetGeofenceName(Cint64 id)
{
    const CUserPlace* place = GetUserPlace(id);
    return place == nullptr ? CString() : place->GetMapLabelText();
}

CString CUserPlaceCollection::GetGeofenceName(long symbolId)
{
    const CUserPlace* place = GetUserPlaceBySymbolId(symbolId);
    return place == nullptr ? CString() : place->GetMapLabelText();
}

void CUserPlaceCollection::GotoStart()
{
    m_Cursor = m_Places.begin();
}

CUserPlace* CUserPlaceCollection::GetNext()
{
    if (m_Cursor == m_Places.end())
        return nullptr;
    CUserPlace* place = &m_Cursor->second;
    ++m_Cursor;
    return place;
}

Cint64 CUserPlaceCollection::CreateNewUserPlaceId() const
{
    Cint64 id(m_HighPart, CClock::ConvertCOleDateTime2DWORD(CClock::GetUTCCurrentDateTime()));
    while (m_Places.count(id) != 0)
        ++id;
    return id;
}

bool CUserPlaceCollection::GetNextItem(IWardenCollectionItem*& item)
{
    CUserPlace* place = GetNext();
    item = place;
    return place != nullptr;
}

IWardenCollectionItem* CUserPlaceCollection::GetItemById(Cint64 id)
{
    return GetUserPlace(id);
}

void CUserPlaceCollection::Serialize(CArchive& ar)
{
    if (ar.IsStoring())
    {
        ar << static_cast<LONG>(m_Places.size());
        for (const auto& [id, place] : m_Places)
            ar.WriteObject(&place);
        ar << m_LastUpdated;
        return;
    }

    // A bare body read outside an object has no schema (all ones) and is read as the newest.
    const UINT schema = ar.GetObjectSchema();
    LONG count = 0;
    ar >> count;
    const CUserPlace::CSharedInstant loadInstant;
    // Places are read one at a time, so a count larger than the data ends in the archive's
    // end-of-file exception rather than a large allocation.
    for (LONG i = 0; i < count; ++i)
    {
        CObject* object = ar.ReadObject(RUNTIME_CLASS(CUserPlace));
        if (object == nullptr)
            AfxThrowArchiveException(CArchiveException::badIndex);
        // The read place is copied and freed; the archive forgets it so that a back-reference
        // to it in a corrupt file fails instead of handing out a freed pointer.
        ar.UnmapObject(object);
        const std::unique_ptr<CUserPlace> read(static_cast<CUserPlace*>(object));
        read->CreateNewPlaceSymbol();
        if (read->GetItemId() == Cint64())
            read->SetItemId(CreateNewUserPlaceId());
        // As AddUserPlace, without its time stamp: the stamp is set once the places are read.
        Insert(read->GetItemId(), std::move(*read));
    }
    if (schema >= 2)
        ar >> m_LastUpdated;
    else
        m_LastUpdated = CClock::GetUTCCurrentDateTime();
}

bool CUserPlaceCollection::SaveCollection(CString path)
{
    CAtomicFileReplacement replacement(static_cast<const char*>(path));
    try
    {
        if (!WriteObjectFile(replacement, this))
            return false;
    }
    catch (CFileException* error)
    {
        CLog::AddToLog(kLogError, "CUserPlaceCollection::SaveCollection() FileException=%s",
                       static_cast<const char*>(MessageOf(*error)));
        error->Delete();
        return false;
    }
    catch (CArchiveException* error)
    {
        CLog::AddToLog(kLogError, "CUserPlaceCollection::SaveCollection() ArchiveException=%s",
                       static_cast<const char*>(MessageOf(*error)));
        error->Delete();
        return false;
    }
    if (!replacement.Commit())
    {
        // The new file is complete but could not take the old one's place, which stays.
        CLog::AddToLog(kLogError, "CUserPlaceCollection::SaveCollection() FileException=%s",
                       static_cast<const char*>(CString("Cannot replace ") + path));
        return false;
    }
    return true;
}

namespace
{
// Runs one read attempt: logs and shows any exception it ends in and turns it into false.
template <typename Attempt> bool TryRead(Attempt attempt)
{
    CString message;
    try
    {
        return attempt();
    }
    catch (CFileException* error)
    {
        message = MessageOf(*error);
        error->Delete();
        CLog::AddToLog(kLogError, "CUserPlaceCollection::ReadCollection() FileException=%s",
                       static_cast<const char*>(message));
    }
    catch (CArchiveException* error)
    {
        message = MessageOf(*error);
        error->Delete();
        CLog::AddToLog(kLogError, "CUserPlaceCollection::ReadCollection() ArchiveException=%s",
                       static_cast<const char*>(message));
    }
    catch (CException* error)
    {
        error->Delete();
        message.Empty();
    }
    catch (...)
    {
        message.Empty();
    }
    if (message.IsEmpty())
    {
        CLog::AddToLog(kLogError, "CUserPlaceCollection::ReadCollection() UnknownException");
        message = "Problem reading UserPlaces.dat file";
    }
    shared::platform::ShowMessageBox(static_cast<const char*>(message));
    return false;
}
} // namespace

bool CUserPlaceCollection::ReadCollection(CString path)
{
    CFile file;
    if (!file.Open(path, CFile::modeRead))
    {
        CString opening;
        opening.Format("Error Opening %s", static_cast<const char*>(path));
        CLog::AddToLog(kLogError, "CUserPlaceCollection::ReadCollection() %s",
                       static_cast<const char*>(opening));
        return false;
    }

    const bool whole = TryRead(
        [&]
        {
            CArchive archive(&file, CArchive::load, kReadBufferSize);
            const std::unique_ptr<CObject> read(
                archive.ReadObject(RUNTIME_CLASS(CUserPlaceCollection)));
            archive.Close();
            if (!read)
            {
                CLog::AddToLog(kLogError,
                               "CUserPlaceCollection::ReadCollection() pUserPlaceCollection Error");
                return false;
            }
            // The high part is this application's setting, not the file's: it stays.
            TakePlacesFrom(*static_cast<CUserPlaceCollection*>(read.get()));
            return true;
        });
    if (whole)
        return true;

    // Some files hold a bare collection body without the object header. Its places are added
    // to those held, as Serialize does; they are read into a copy first so that a damaged body
    // leaves this collection as it was.
    return TryRead(
        [&]
        {
            file.Close();
            if (!file.Open(path, CFile::modeRead))
                AfxThrowFileException(CFileException::fileNotFound, -1, path);
            CArchive archive(&file, CArchive::load, kReadBufferSize);
            CUserPlaceCollection scratch(*this);
            scratch.Serialize(archive);
            archive.Close();
            *this = std::move(scratch);
            return true;
        });
}
