#pragma once

#include <map>
#include <memory>
#include <shared/foundation/Cint64.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CStdioFile.h>
#include <shared/framework/CString.h>
#include <shared/phonebook/CPhonebookEntry.h>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
#include <shared/places/IWardenCollection.h>
#include <shared/platform/Export.h>

// Every phonebook entry, keyed by id: issues ids, detects duplicate numbers and nicknames,
// sizes device uploads and exchanges the whole book as a file of vCards.
class SHARED_API CMasterPhonebook : public IWardenCollection
{
public:
    enum ECondition : unsigned int
    {
        eAnyEntry = 0,
        eFlaggedEntry = 1,
        eUnflaggedEntry = 2,
    };

    // Matches entries whose normalised voice number equals a number, other than one entry.
    class SHARED_API CEqualNumbers
    {
    public:
        CEqualNumbers(const CString& number, const Cint64& excludeId);
        bool operator()(const Cint64& id, const CPhonebookEntry& entry) const;

    private:
        CString m_sNormalizedNumber;
        Cint64 m_ExcludeId;
    };

    // Matches entries whose nickname equals a text exactly (case-sensitive), other than one.
    class SHARED_API CEqualNicks
    {
    public:
        CEqualNicks(const CString& nick, const Cint64& excludeId);
        bool operator()(const Cint64& id, const CPhonebookEntry& entry) const;

    private:
        CString m_sNick;
        Cint64 m_ExcludeId;
    };

    CMasterPhonebook();
    // The book owns its entries, so it is not copied.
    CMasterPhonebook(const CMasterPhonebook&) = delete;
    CMasterPhonebook& operator=(const CMasterPhonebook&) = delete;
    ~CMasterPhonebook() override;

    // Adds an entry under a new id and returns the id. Over-long texts are cut to the device's
    // limits (see CPhonebookEntry).
    Cint64 AddEntry(const CString& nick, const CString& voiceNumber, const CString& lastName,
                    const CPhonebookEntryAttributes& attributes);
    // The same with a given id; an entry already under that id is replaced and freed.
    Cint64 AddEntry(const Cint64& id, const CString& nick, const CString& voiceNumber,
                    const CString& lastName, const CPhonebookEntryAttributes& attributes);
    // The entry, still owned by the book, or null.
    CPhonebookEntry* GetEntry(const Cint64& id) const;
    // False for an id of 0 or below and for an id that is not in the book.
    bool DeleteEntry(const Cint64& id);

    // Walking in id order through the book's one cursor.
    void GotoStart();
    bool GetNext(CPhonebookEntry*& entry);
    const CPhonebookEntry* GetNext();
    bool GetNextFlagged(CPhonebookEntry*& entry);
    bool GetNextUnflagged(CPhonebookEntry*& entry);

    // IWardenCollection.
    void GotoStartItem() override;
    // Leaves the out parameter as it was when the walk has ended.
    bool GetNextItem(IWardenCollectionItem*& item) override;
    IWardenCollectionItem* GetItemById(Cint64 id) override;

    // The id of the first entry in id order with that number (resp. nickname), other than
    // excludeId, or 0. Pass the id of the entry being edited to find duplicates among the rest.
    Cint64 FindEntryByVoiceNumber(const CString& number, const Cint64& excludeId) const;
    Cint64 FindEntryByNick(const CString& nick, const Cint64& excludeId) const;

    int GetNumEntries() const;
    int GetNumUploadBytes() const;

    // A valid time is stored and the previous one returned; an invalid time changes nothing
    // and the current one is returned.
    COleDateTime SetLastUpdated(const COleDateTime& time);
    COleDateTime GetLastUpdated() const { return m_LastUpdated; }

    void SetHighPart(unsigned long highPart) { m_ulHighPart = highPart; }
    unsigned long GetHighPart() const { return m_ulHighPart; }
    bool IsHighPartComparisonOk(const Cint64& id) const;

    // Hexadecimal text to id. Any character that is not a hex digit makes the whole result 0:
    // a half-read id must never be mistaken for another entry's.
    static Cint64 ConvertHexString2ID(const CString& text);
    // 0-15 for a hex digit, -1 otherwise.
    static int NybbleFromHex2Dec(char digit);

    // Writes every entry as a card, in id order; always true.
    bool SaveAsVCards(CStdioFile& file) const;
    // Replaces the book with the cards of the file; always true.
    bool ReadFromVCards(CStdioFile& file);

protected:
    void DeleteEntries();
    bool GetNext(CPhonebookEntry*& entry, ECondition condition);

private:
    using EntryMap = std::map<Cint64, std::unique_ptr<CPhonebookEntry>>;

    Cint64 CreateNewID() const;
    template <typename Predicate> Cint64 FindFirst(const Predicate& matches) const;

    EntryMap::iterator m_WalkPosition;
    unsigned long m_ulHighPart = 0;
    EntryMap m_Entries;
    COleDateTime m_LastUpdated;
};
