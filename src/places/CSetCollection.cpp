#include "ObjectFileWriter.h"

#include <memory>
#include <shared/archive/CArchive.h>
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/places/CSetCollection.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/time/CClock.h>
#include <utility>

IMPLEMENT_SERIAL(CSetCollection, CObject, VERSIONABLE_SCHEMA | 1)

namespace
{
// Reading in larger pieces than the 4096 bytes a save uses saves system calls on big files.
constexpr int kReadBufferSize = 64 * 1024;
} // namespace

CSetCollection::CSetCollection()
    : m_Cursor(m_Sets.begin()), m_LastUpdated(COleDateTime::GetCurrentTime())
{
}

CSetCollection::CSetCollection(const CSetCollection& other) : CSetCollection()
{
    *this = other;
}

CSetCollection& CSetCollection::operator=(const CSetCollection& other)
{
    if (this == &other)
        return *this;
    m_Sets = other.m_Sets;
    // A cursor cannot point into another map: it takes the same place in the copy.
    m_Cursor =
        other.m_Cursor == other.m_Sets.end() ? m_Sets.end() : m_Sets.find(other.m_Cursor->first);
    m_LastUpdated = other.m_LastUpdated;
    m_HighPart = other.m_HighPart;
    m_Signal = other.m_Signal;
    return *this;
}

CSetCollection::~CSetCollection() = default;

void CSetCollection::TakeFrom(CSetCollection& other)
{
    // As the assignment does, but the sets move instead of being copied.
    const bool atEnd = other.m_Cursor == other.m_Sets.end();
    const Cint64 cursorKey = atEnd ? Cint64() : other.m_Cursor->first;
    m_Sets = std::move(other.m_Sets);
    m_Cursor = atEnd ? m_Sets.end() : m_Sets.find(cursorKey);
    m_LastUpdated = other.m_LastUpdated;
    m_HighPart = other.m_HighPart;
    m_Signal = other.m_Signal;
}

Cint64 CSetCollection::CreateNewSetId() const
{
    Cint64 id(m_HighPart, CClock::ConvertCOleDateTime2DWORD(CClock::GetUTCCurrentDateTime()));
    while (m_Sets.count(id) != 0)
        ++id;
    return id;
}

Cint64 CSetCollection::AddSet(CSet& set)
{
    return Store(set, [&set] { return CSet(set); });
}

template <typename MakeHeld> Cint64 CSetCollection::Store(CSet& set, MakeHeld makeHeld)
{
    Cint64 id = set.GetSetId();
    bool store = true;
    if (id == Cint64())
    {
        id = CreateNewSetId();
        set.SetSetId(id);
    }
    else if (m_Sets.count(id) != 0)
    {
        store = false;
    }
    if (store)
    {
        m_Sets.emplace(id, makeHeld());
        m_LastUpdated = COleDateTime::GetCurrentTime();
    }
    SendSignal(id, 'A');
    return id;
}

void CSetCollection::RemoveSet(Cint64 id)
{
    const auto found = m_Sets.find(id);
    if (found != m_Sets.end())
    {
        if (m_Cursor == found)
            ++m_Cursor;
        m_Sets.erase(found);
        m_LastUpdated = COleDateTime::GetCurrentTime();
    }
    SendSignal(id, 'D');
}

CSet* CSetCollection::GetSet(Cint64 id)
{
    const auto found = m_Sets.find(id);
    return found == m_Sets.end() ? nullptr : &found->second;
}

CSet* CSetCollection::GetSetByName(CString name)
{
    GotoStart();
    while (CSet* set = GetNext())
        if (set->GetSetName() == name)
            return set;
    return nullptr;
}

void CSetCollection::GotoStart()
{
    m_Cursor = m_Sets.begin();
}

CSet* CSetCollection::GetNext()
{
    if (m_Cursor == m_Sets.end())
        return nullptr;
    CSet* set = &m_Cursor->second;
    ++m_Cursor;
    return set;
}

int CSetCollection::GetNumberInCollection() const
{
    return static_cast<int>(m_Sets.size());
}

void CSetCollection::SendSignal(Cint64 id, char change)
{
    m_Signal.Send(id, change);
}

void CSetCollection::ConnectSignal(CBaseSlot2<const Cint64, const char>& slot)
{
    m_Signal.Connect(slot);
}

void CSetCollection::Serialize(CArchive& ar)
{
    if (ar.IsStoring())
    {
        ar << static_cast<LONG>(m_Sets.size());
        Cint64 reserved;
        reserved.Serialize(ar);
        ar << m_LastUpdated;
        for (const auto& [id, set] : m_Sets)
            ar.WriteObject(&set);
        return;
    }

    // Every schema so far has this one layout.
    (void)ar.GetObjectSchema();
    LONG count = 0;
    ar >> count;
    Cint64 reserved;
    reserved.Serialize(ar);
    ar >> m_LastUpdated;
    for (LONG i = 0; i < count; ++i)
    {
        CObject* object = ar.ReadObject(RUNTIME_CLASS(CSet));
        if (object == nullptr)
            AfxThrowArchiveException(CArchiveException::badIndex);
        // The read set moves into the map and is freed; the archive must forget it so that a
        // back-reference to it in a corrupt file fails instead of handing out a freed pointer.
        ar.UnmapObject(object);
        const std::unique_ptr<CSet> read(static_cast<CSet*>(object));
        Store(*read, [&read] { return std::move(*read); });
    }
}

bool CSetCollection::SaveCollection(CString path)
{
    CAtomicFileReplacement replacement(static_cast<const char*>(path));
    try
    {
        if (!WriteObjectFile(replacement, this))
            return false;
    }
    catch (CException* error)
    {
        // The message is of no use to the caller, who only learns that the save failed.
        error->Delete();
        return false;
    }
    return replacement.Commit();
}

bool CSetCollection::ReadCollection(CString path)
{
    CFile file;
    if (!file.Open(path, CFile::modeRead))
        return false;
    try
    {
        CArchive archive(&file, CArchive::load, kReadBufferSize);
        const std::unique_ptr<CObject> read(archive.ReadObject(RUNTIME_CLASS(CSetCollection)));
        archive.Close();
        if (!read)
            return false;
        TakeFrom(*static_cast<CSetCollection*>(read.get()));
        return true;
    }
    catch (CException* error)
    {
        error->Delete();
        return false;
    }
    catch (...)
    {
        return false;
    }
}
