#pragma once

#include <shared/foundation/Cint64.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
#include <shared/places/IWardenCollectionItem.h>
#include <shared/platform/Export.h>

// One contact that can be uploaded to a tracking device, with the checks of the device's limits.
class SHARED_API CPhonebookEntry : public IWardenCollectionItem
{
public:
    CPhonebookEntry();
    // Over-long texts are cut silently to the device's limits (nickname 16, number 20, last
    // name 255 characters); the vCard id becomes the id's text.
    CPhonebookEntry(const Cint64& id, const CString& nick, const CString& voiceNumber,
                    const CString& lastName);
    CPhonebookEntry(const CPhonebookEntry&) = default;
    CPhonebookEntry& operator=(const CPhonebookEntry&) = default;
    ~CPhonebookEntry() override;

    // IWardenCollectionItem: the id and the nickname.
    Cint64 GetItemId() override { return m_ID; }
    CString GetItemName() override { return m_sNick; }
    int GetNumUploadBytes() const override;

    Cint64 GetID() const { return m_ID; }
    // The stored vCard id, or the id's text while none is stored.
    CString GetPhonebookEntryId() const;
    CString GetCompanyId() const { return m_sCompanyId; }
    CString GetNick() const { return m_sNick; }
    CString GetFirstName() const { return m_sFirstName; }
    CString GetLastName() const { return m_sLastName; }
    CString GetVoiceNumber() const { return m_sVoiceNumber; }
    CString GetDataNumber() const { return m_sDataNumber; }
    CString GetDescription() const { return m_sDescription; }
    CPhonebookEntryAttributes GetAttributes() const { return m_Attributes; }
    COleDateTime GetCreationTime() const { return m_CreationTime; }
    COleDateTime GetDeletionTime() const { return m_DeletionTime; }
    bool IsFlagged() const { return m_ulFlag != 0; }

    // Setters store the text as given: only the constructor cuts to the limits.
    void SetID(const Cint64& id) { m_ID = id; }
    void SetPhonebookEntryId(const CString& id) { m_sPhonebookEntryId = id; }
    void SetCompanyId(const CString& id) { m_sCompanyId = id; }
    void SetNick(const CString& nick) { m_sNick = nick; }
    void SetFirstName(const CString& name) { m_sFirstName = name; }
    void SetLastName(const CString& name) { m_sLastName = name; }
    void SetVoiceNumber(const CString& number) { m_sVoiceNumber = number; }
    void SetDataNumber(const CString& number) { m_sDataNumber = number; }
    void SetDescription(const CString& text) { m_sDescription = text; }
    void SetAttributes(const CPhonebookEntryAttributes& attributes) { m_Attributes = attributes; }
    void SetCreationTime(const COleDateTime& time) { m_CreationTime = time; }
    void SetDeletionTime(const COleDateTime& time) { m_DeletionTime = time; }
    // Returns the previous flag.
    unsigned long SetFlag(unsigned long flag);

    // Checks against the device's limits.
    static bool CheckValidCharsOK(const CString& number);
    // At least 3 characters once normalised, at most 20 as entered: the device counts digits
    // but the entry field counts keystrokes, so the two limits apply at different stages.
    static bool CheckNumberLengthOK(const CString& number);
    static bool CheckNickLengthOK(const CString& nick);
    static bool CheckLastNameLengthOK(const CString& name);
    // A '+' may only open the number, and only once.
    static bool CheckSyntaxOK(const CString& number);
    // Only the characters a device dials: spaces and anything else are dropped.
    static CString Normalize(const CString& number);
    static void SetValidNumberChars(const CString& chars);
    static void SetValidNormalizedNumberChars(const CString& chars);
    // Numbers travel two digits to a byte, and each entry has three bytes of framing.
    static int GetNumUploadBytes(const CString& nick, const CString& number);

    static int s_numMinNickLength;
    static int s_numMaxNickLength;
    static int s_numMinLastNameLength;
    static int s_numMaxLastNameLength;
    static int s_numMinChars;
    static int s_numMaxChars;
    static CString s_sValidNumberChars;
    static CString s_sValidNormalizedNumberChars;

private:
    Cint64 m_ID;
    CPhonebookEntryAttributes m_Attributes;
    CString m_sPhonebookEntryId;
    CString m_sCompanyId;
    CString m_sNick;
    CString m_sFirstName;
    CString m_sLastName;
    CString m_sVoiceNumber;
    CString m_sDataNumber;
    CString m_sDescription;
    unsigned long m_ulFlag = 0;
    COleDateTime m_CreationTime;
    COleDateTime m_DeletionTime;
};
