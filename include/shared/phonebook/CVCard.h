#pragma once

#include <shared/framework/CStdioFile.h>
#include <shared/framework/CString.h>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
#include <shared/phonebook/CVCFFormattedName.h>
#include <shared/phonebook/CVCFLocatorAttributes.h>
#include <shared/phonebook/CVCFNickName.h>
#include <shared/phonebook/CVCFTelephoneNumber.h>
#include <shared/phonebook/CVCFUid.h>
#include <shared/phonebook/CVCFVersion.h>
#include <shared/phonebook/CVCFWardenAttributes.h>
#include <shared/platform/Export.h>

// One phonebook entry as a vCard 2.1, in the fixed form the tracking devices read.
class SHARED_API CVCard
{
public:
    CVCard() = default;
    CVCard(const CString& uid, const CString& nick, const CString& formattedName,
           const CString& voiceNumber, const CPhonebookEntryAttributes& attributes);
    CVCard(const CVCard&) = default;
    CVCard& operator=(const CVCard&) = default;
    virtual ~CVCard();

    // Writes the whole card in one text write; always true.
    bool WriteToTextFile(CStdioFile& file) const;
    // Reads the next card, leaving the file after its "END:VCARD" so that the next call reads
    // the card behind it. False when the file ends before the card does.
    bool ReadFromTextFile(CStdioFile& file);

    CString GetUID() const { return m_Uid.GetValue(); }
    CString GetFormattedName() const { return m_FormattedName.GetValue(); }
    CString GetNickName() const { return m_NickName.GetValue(); }
    CString GetVoiceNumber() const { return m_TelephoneNumber.GetValue(); }
    CString GetVersion() const { return m_Version.GetValue(); }
    CPhonebookEntryAttributes GetAttributes() const;

    // Trims white space on both sides and converts to upper case: how property names compare.
    static void Normalize(CString& text);

    static const CString s_sBeginDelimiter;
    static const CString s_sEndDelimiter;
    static const CString s_sLineEndTextMode;
    // Kept beside the text-mode ending for callers that write cards to binary streams; the
    // card itself always uses the text-mode ending.
    static const CString s_sLineEndBinaryMode;

protected:
    CString GetDataStream() const;

private:
    CVCFUid m_Uid;
    CVCFFormattedName m_FormattedName;
    CVCFNickName m_NickName;
    CVCFTelephoneNumber m_TelephoneNumber;
    CVCFVersion m_Version;
    CVCFLocatorAttributes m_LocatorAttributes;
    CVCFWardenAttributes m_WardenAttributes;
};
