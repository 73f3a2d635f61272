#include <shared/archive/CArchive.h>
#include <shared/places/CSet.h>
#include <shared/time/CClock.h>

IMPLEMENT_SERIAL(CSet, CObject, VERSIONABLE_SCHEMA | 1)

namespace
{
unsigned long long Key(const Cint64& id)
{
    return static_cast<unsigned long long>(id.GetNumber());
}
} // namespace

CSet::CSet() : m_LastUpdated(CClock::GetUTCCurrentDateTime()), m_Cursor(m_Members.begin()) {}

CSet::CSet(const CSet& other)
    : CObject(), m_SetId(other.m_SetId), m_SetName(other.m_SetName),
      m_LastUpdated(other.m_LastUpdated), m_Cursor(m_Members.end()), m_Signal(other.m_Signal)
{
    for (const Cint64& id : other.m_Members)
        AppendMember(id);
}

CSet& CSet::operator=(const CSet& other)
{
    if (this == &other)
        return *this;
    for (const Cint64& id : other.m_Members)
        AppendMember(id);
    m_SetName = other.m_SetName;
    m_SetId = other.m_SetId;
    m_LastUpdated = other.m_LastUpdated;
    m_Signal = other.m_Signal;
    return *this;
}

CSet::~CSet() = default;

void CSet::AppendMember(Cint64 id)
{
    m_Members.push_back(id);
    ++m_MemberCounts[Key(id)];
}

int CSet::GetNumberOfItems() const
{
    return static_cast<int>(m_Members.size());
}

bool CSet::IsItemInSet(Cint64 id) const
{
    return m_MemberCounts.count(Key(id)) != 0;
}

bool CSet::InsertItem(Cint64 id, bool bUpdateTime)
{
    const bool isNew = !IsItemInSet(id);
    if (isNew)
        AppendMember(id);
    if (bUpdateTime)
        m_LastUpdated = CClock::GetUTCCurrentDateTime();
    SendSignal(id, 'A');
    return isNew;
}

bool CSet::RemoveItem(Cint64 id)
{
    bool found = false;
    const auto count = m_MemberCounts.find(Key(id));
    if (count != m_MemberCounts.end())
    {
        for (auto member = m_Members.begin(); member != m_Members.end(); ++member)
        {
            if (*member != id)
                continue;
            if (m_Cursor == member)
                ++m_Cursor;
            m_Members.erase(member);
            break;
        }
        if (--count->second == 0)
            m_MemberCounts.erase(count);
        found = true;
    }
    m_LastUpdated = CClock::GetUTCCurrentDateTime();
    SendSignal(id, 'D');
    return found;
}

void CSet::GotoStart()
{
    m_Cursor = m_Members.begin();
}

Cint64 CSet::GetNext()
{
    if (m_Cursor == m_Members.end())
        return Cint64();
    return *m_Cursor++;
}

void CSet::EmptyList()
{
    m_Members.clear();
    m_MemberCounts.clear();
    m_Cursor = m_Members.begin();
}

void CSet::SendSignal(Cint64 id, char change)
{
    m_Signal.Send(id, change);
}

void CSet::ConnectSignal(CBaseSlot2<const Cint64, const char>& slot)
{
    m_Signal.Connect(slot);
}

void CSet::Serialize(CArchive& ar)
{
    if (ar.IsStoring())
    {
        m_SetId.Serialize(ar);
        ar << m_SetName;
        ar << static_cast<LONG>(m_Members.size());
        ar << m_LastUpdated;
        for (Cint64 id : m_Members)
            id.Serialize(ar);
        return;
    }

    // Every schema so far has this one layout.
    (void)ar.GetObjectSchema();
    m_SetId.Serialize(ar);
    ar >> m_SetName;
    LONG count = 0;
    ar >> count;
    ar >> m_LastUpdated;
    // Members are added one by one, so duplicates in the file collapse and a count larger than
    // the data ends in the archive's end-of-file exception rather than a large allocation.
    for (LONG i = 0; i < count; ++i)
    {
        Cint64 id;
        id.Serialize(ar);
        InsertItem(id, false);
    }
}
