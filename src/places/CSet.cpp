#include <algorithm>
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

// Ids share their high part and count seconds in the low one, so they are mixed before the
// table's low bits are taken.
std::size_t Home(unsigned long long key, std::size_t mask)
{
    const unsigned long long h = key * 0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(h ^ (h >> 32)) & mask;
}
} // namespace

CSet::CSet() : m_LastUpdated(CClock::GetUTCCurrentDateTime()) {}

CSet::CSet(const CSet& other)
    : CObject(), m_SetId(other.m_SetId), m_SetName(other.m_SetName),
      m_LastUpdated(other.m_LastUpdated), m_Members(other.m_Members), m_Index(other.m_Index),
      m_IndexUsed(other.m_IndexUsed), m_MayHaveListeners(other.m_MayHaveListeners),
      m_Signal(other.m_Signal)
{
}

CSet::CSet(CSet&& other)
    : CObject(), m_SetId(other.m_SetId), m_SetName(std::move(other.m_SetName)),
      m_LastUpdated(other.m_LastUpdated), m_Members(std::move(other.m_Members)),
      m_Cursor(other.m_Cursor), m_Index(std::move(other.m_Index)), m_IndexUsed(other.m_IndexUsed),
      m_MayHaveListeners(other.m_MayHaveListeners), m_Signal(other.m_Signal)
{
    other.EmptyList();
}

CSet& CSet::operator=(const CSet& other)
{
    if (this == &other)
        return *this;
    m_Members.reserve(m_Members.size() + other.m_Members.size());
    for (const Cint64& id : other.m_Members)
        AppendMember(id);
    m_SetName = other.m_SetName;
    m_SetId = other.m_SetId;
    m_LastUpdated = other.m_LastUpdated;
    m_Signal = other.m_Signal;
    m_MayHaveListeners = other.m_MayHaveListeners;
    return *this;
}

CSet::~CSet() = default;

void CSet::AppendMember(Cint64 id)
{
    ++SlotFor(Key(id)).count;
    m_Members.push_back(id);
}

CSet::IndexSlot* CSet::FindSlot(unsigned long long key)
{
    return const_cast<IndexSlot*>(static_cast<const CSet*>(this)->FindSlot(key));
}

const CSet::IndexSlot* CSet::FindSlot(unsigned long long key) const
{
    if (m_Index.empty())
        return nullptr;
    const std::size_t mask = m_Index.size() - 1;
    for (std::size_t i = Home(key, mask);; i = (i + 1) & mask)
    {
        const IndexSlot& slot = m_Index[i];
        if (slot.count == 0)
            return nullptr;
        if (slot.key == key)
            return &slot;
    }
}

CSet::IndexSlot& CSet::SlotFor(unsigned long long key)
{
    if ((m_IndexUsed + 1) * 2 > m_Index.size())
        GrowIndex();
    const std::size_t mask = m_Index.size() - 1;
    std::size_t i = Home(key, mask);
    while (m_Index[i].count != 0 && m_Index[i].key != key)
        i = (i + 1) & mask;
    IndexSlot& slot = m_Index[i];
    if (slot.count == 0)
    {
        slot.key = key;
        ++m_IndexUsed;
    }
    return slot;
}

void CSet::UncountMember(IndexSlot* slot)
{
    if (--slot->count != 0)
        return;
    // Backward-shift deletion: later slots of the same probe run move up into the hole, so
    // lookups never need tombstones.
    const std::size_t mask = m_Index.size() - 1;
    std::size_t hole = static_cast<std::size_t>(slot - m_Index.data());
    for (std::size_t next = (hole + 1) & mask; m_Index[next].count != 0; next = (next + 1) & mask)
    {
        const std::size_t home = Home(m_Index[next].key, mask);
        const bool stays =
            hole <= next ? (hole < home && home <= next) : (hole < home || home <= next);
        if (stays)
            continue;
        m_Index[hole] = m_Index[next];
        hole = next;
    }
    m_Index[hole] = IndexSlot{};
    --m_IndexUsed;
}

void CSet::GrowIndex()
{
    std::vector<IndexSlot> old(m_Index.empty() ? 16 : m_Index.size() * 2);
    old.swap(m_Index);
    const std::size_t mask = m_Index.size() - 1;
    for (const IndexSlot& slot : old)
    {
        if (slot.count == 0)
            continue;
        std::size_t i = Home(slot.key, mask);
        while (m_Index[i].count != 0)
            i = (i + 1) & mask;
        m_Index[i] = slot;
    }
}

int CSet::GetNumberOfItems() const
{
    return static_cast<int>(m_Members.size());
}

bool CSet::IsItemInSet(Cint64 id) const
{
    return FindSlot(Key(id)) != nullptr;
}

bool CSet::InsertItem(Cint64 id, bool bUpdateTime)
{
    IndexSlot& slot = SlotFor(Key(id));
    const bool isNew = slot.count == 0;
    if (isNew)
    {
        slot.count = 1;
        m_Members.push_back(id);
    }
    if (bUpdateTime)
        m_LastUpdated = CClock::GetUTCCurrentDateTime();
    SendSignal(id, 'A');
    return isNew;
}

bool CSet::RemoveItem(Cint64 id)
{
    IndexSlot* const slot = FindSlot(Key(id));
    if (slot != nullptr)
    {
        const auto member = std::find(m_Members.begin(), m_Members.end(), id);
        const auto position = static_cast<std::size_t>(member - m_Members.begin());
        m_Members.erase(member);
        // The cursor keeps to the member it was on; on the removed one it moves to the next.
        if (m_Cursor != npos && position < m_Cursor)
            --m_Cursor;
        if (m_Cursor != npos && m_Cursor >= m_Members.size())
            m_Cursor = npos;
        UncountMember(slot);
        // The last member takes the storage with it.
        if (m_Members.empty())
            EmptyList();
    }
    m_LastUpdated = CClock::GetUTCCurrentDateTime();
    SendSignal(id, 'D');
    return slot != nullptr;
}

void CSet::GotoStart()
{
    m_Cursor = m_Members.empty() ? npos : 0;
}

Cint64 CSet::GetNext()
{
    if (m_Cursor == npos)
        return Cint64();
    const Cint64 id = m_Members[m_Cursor];
    if (++m_Cursor == m_Members.size())
        m_Cursor = npos;
    return id;
}

void CSet::EmptyList()
{
    std::vector<Cint64>().swap(m_Members);
    std::vector<IndexSlot>().swap(m_Index);
    m_IndexUsed = 0;
    m_Cursor = npos;
}

void CSet::SendSignal(Cint64 id, char change)
{
    if (m_MayHaveListeners)
        m_Signal.Send(id, change);
}

void CSet::ConnectSignal(CBaseSlot2<const Cint64, const char>& slot)
{
    m_MayHaveListeners = true;
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
