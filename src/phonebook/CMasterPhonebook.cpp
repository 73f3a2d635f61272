#include <shared/phonebook/CMasterPhonebook.h>
#include <shared/phonebook/CVCard.h>
#include <shared/time/CClock.h>

CMasterPhonebook::CEqualNumbers::CEqualNumbers(const CString& number, const Cint64& excludeId)
    : m_sNormalizedNumber(CPhonebookEntry::Normalize(number)), m_ExcludeId(excludeId)
{
}

bool CMasterPhonebook::CEqualNumbers::operator()(const Cint64& id,
                                                 const CPhonebookEntry& entry) const
{
    return id != m_ExcludeId &&
           CPhonebookEntry::Normalize(entry.GetVoiceNumber()) == m_sNormalizedNumber;
}

CMasterPhonebook::CEqualNicks::CEqualNicks(const CString& nick, const Cint64& excludeId)
    : m_sNick(nick), m_ExcludeId(excludeId)
{
}

bool CMasterPhonebook::CEqualNicks::operator()(const Cint64& id, const CPhonebookEntry& entry) const
{
    return id != m_ExcludeId && entry.GetNick() == m_sNick;
}

// The walk position comes first among the members, before the map it points into, so it is set
// once the map exists.
CMasterPhonebook::CMasterPhonebook()
{
    m_WalkPosition = m_Entries.end();
}

CMasterPhonebook::~CMasterPhonebook() = default;

Cint64 CMasterPhonebook::CreateNewID() const
{
    Cint64 id(static_cast<unsigned int>(m_ulHighPart),
              static_cast<unsigned int>(
                  CClock::ConvertCOleDateTime2DWORD(CClock::GetUTCCurrentDateTime())));
    while (m_Entries.count(id) != 0)
        ++id;
    return id;
}

Cint64 CMasterPhonebook::AddEntry(const CString& nick, const CString& voiceNumber,
                                  const CString& lastName,
                                  const CPhonebookEntryAttributes& attributes)
{
    return AddEntry(CreateNewID(), nick, voiceNumber, lastName, attributes);
}

Cint64 CMasterPhonebook::AddEntry(const Cint64& id, const CString& nick, const CString& voiceNumber,
                                  const CString& lastName,
                                  const CPhonebookEntryAttributes& attributes)
{
    auto entry = std::make_unique<CPhonebookEntry>(id, nick, voiceNumber, lastName);
    entry->SetAttributes(attributes);
    auto existing = m_Entries.find(id);
    if (existing != m_Entries.end())
        existing->second = std::move(entry); // the walk position stays valid: same node
    else
        m_Entries.emplace(id, std::move(entry));
    return id;
}

CPhonebookEntry* CMasterPhonebook::GetEntry(const Cint64& id) const
{
    const auto found = m_Entries.find(id);
    return found == m_Entries.end() ? nullptr : found->second.get();
}

bool CMasterPhonebook::DeleteEntry(const Cint64& id)
{
    // Ids are unsigned, so "0 or below" is 0 alone.
    if (id == Cint64())
        return false;
    const auto found = m_Entries.find(id);
    if (found == m_Entries.end())
        return false;
    // A walk in progress goes on with the entry after the deleted one.
    if (m_WalkPosition == found)
        ++m_WalkPosition;
    m_Entries.erase(found);
    return true;
}

void CMasterPhonebook::DeleteEntries()
{
    m_Entries.clear();
    m_WalkPosition = m_Entries.end();
}

void CMasterPhonebook::GotoStart()
{
    m_WalkPosition = m_Entries.begin();
}

bool CMasterPhonebook::GetNext(CPhonebookEntry*& entry, ECondition condition)
{
    for (; m_WalkPosition != m_Entries.end(); ++m_WalkPosition)
    {
        CPhonebookEntry* candidate = m_WalkPosition->second.get();
        const bool meets = condition == eAnyEntry ||
                           (condition == eFlaggedEntry && candidate->IsFlagged()) ||
                           (condition == eUnflaggedEntry && !candidate->IsFlagged());
        if (meets)
        {
            ++m_WalkPosition;
            entry = candidate;
            return true;
        }
    }
    entry = nullptr;
    return false;
}

bool CMasterPhonebook::GetNext(CPhonebookEntry*& entry)
{
    return GetNext(entry, eAnyEntry);
}

const CPhonebookEntry* CMasterPhonebook::GetNext()
{
    CPhonebookEntry* entry = nullptr;
    GetNext(entry, eAnyEntry);
    return entry;
}

bool CMasterPhonebook::GetNextFlagged(CPhonebookEntry*& entry)
{
    return GetNext(entry, eFlaggedEntry);
}

bool CMasterPhonebook::GetNextUnflagged(CPhonebookEntry*& entry)
{
    return GetNext(entry, eUnflaggedEntry);
}

void CMasterPhonebook::GotoStartItem()
{
    GotoStart();
}

bool CMasterPhonebook::GetNextItem(IWardenCollectionItem*& item)
{
    CPhonebookEntry* entry = nullptr;
    if (!GetNext(entry))
        return false; // the caller's pointer is left alone, unlike the user-place collection
    item = entry;
    return true;
}

IWardenCollectionItem* CMasterPhonebook::GetItemById(Cint64 id)
{
    return GetEntry(id);
}

template <typename Predicate> Cint64 CMasterPhonebook::FindFirst(const Predicate& matches) const
{
    for (const auto& [id, entry] : m_Entries)
        if (matches(id, *entry))
            return id;
    return Cint64();
}

Cint64 CMasterPhonebook::FindEntryByVoiceNumber(const CString& number,
                                                const Cint64& excludeId) const
{
    return FindFirst(CEqualNumbers(number, excludeId));
}

Cint64 CMasterPhonebook::FindEntryByNick(const CString& nick, const Cint64& excludeId) const
{
    return FindFirst(CEqualNicks(nick, excludeId));
}

int CMasterPhonebook::GetNumEntries() const
{
    return static_cast<int>(m_Entries.size());
}

int CMasterPhonebook::GetNumUploadBytes() const
{
    int total = 0;
    for (const auto& [id, entry] : m_Entries)
        total += entry->GetNumUploadBytes();
    return total;
}

COleDateTime CMasterPhonebook::SetLastUpdated(const COleDateTime& time)
{
    const COleDateTime previous = m_LastUpdated;
    if (time.GetStatus() != COleDateTime::valid)
        return previous;
    m_LastUpdated = time;
    return previous;
}

bool CMasterPhonebook::IsHighPartComparisonOk(const Cint64& id) const
{
    return id.GetHighPart() == m_ulHighPart;
}

int CMasterPhonebook::NybbleFromHex2Dec(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

Cint64 CMasterPhonebook::ConvertHexString2ID(const CString& text)
{
    unsigned long long value = 0;
    for (int i = 0; i < text.GetLength(); ++i)
    {
        const int nybble = NybbleFromHex2Dec(text.GetAt(i));
        if (nybble < 0)
            return Cint64();
        value = (value << 4) | static_cast<unsigned long long>(nybble);
    }
    return Cint64(static_cast<unsigned int>(value >> 32), static_cast<unsigned int>(value));
}

bool CMasterPhonebook::SaveAsVCards(CStdioFile& file) const
{
    for (const auto& [id, entry] : m_Entries)
    {
        const CVCard card(entry->GetPhonebookEntryId(), entry->GetNick(), entry->GetLastName(),
                          entry->GetVoiceNumber(), entry->GetAttributes());
        card.WriteToTextFile(file);
    }
    return true;
}

bool CMasterPhonebook::ReadFromVCards(CStdioFile& file)
{
    DeleteEntries();
    for (;;)
    {
        CVCard card;
        if (!card.ReadFromTextFile(file))
            break;
        // A card whose uid is not hexadecimal gets id 0, so such cards replace one another;
        // the uid is the device's key and a card without a usable one cannot be matched to it.
        AddEntry(ConvertHexString2ID(card.GetUID()), card.GetNickName(), card.GetVoiceNumber(),
                 card.GetFormattedName(), card.GetAttributes());
    }
    return true;
}
