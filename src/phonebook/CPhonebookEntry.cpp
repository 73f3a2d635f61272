#include <shared/foundation/CStringManipulator.h>
#include <shared/phonebook/CPhonebookEntry.h>
#include <shared/time/CClock.h>

// Limits of the tracking devices' phonebook memory.
int CPhonebookEntry::s_numMinNickLength = 1;
int CPhonebookEntry::s_numMaxNickLength = 16;
int CPhonebookEntry::s_numMinLastNameLength = 0;
int CPhonebookEntry::s_numMaxLastNameLength = 255;
int CPhonebookEntry::s_numMinChars = 3;
int CPhonebookEntry::s_numMaxChars = 20;
CString CPhonebookEntry::s_sValidNumberChars(" +0123456789");
CString CPhonebookEntry::s_sValidNormalizedNumberChars("+0123456789");

CPhonebookEntry::CPhonebookEntry()
    : m_sCompanyId("n/a"), m_CreationTime(CClock::GetUTCCurrentDateTime()), m_DeletionTime(0.0)
{
}

CPhonebookEntry::CPhonebookEntry(const Cint64& id, const CString& nick, const CString& voiceNumber,
                                 const CString& lastName)
    : CPhonebookEntry()
{
    m_ID = id;
    m_sPhonebookEntryId = id.GetFormattedString();
    m_sNick = nick.Left(s_numMaxNickLength);
    m_sVoiceNumber = voiceNumber.Left(s_numMaxChars);
    m_sLastName = lastName.Left(s_numMaxLastNameLength);
}

CPhonebookEntry::~CPhonebookEntry() = default;

CString CPhonebookEntry::GetPhonebookEntryId() const
{
    return m_sPhonebookEntryId.IsEmpty() ? m_ID.GetFormattedString() : m_sPhonebookEntryId;
}

unsigned long CPhonebookEntry::SetFlag(unsigned long flag)
{
    const unsigned long previous = m_ulFlag;
    m_ulFlag = flag;
    return previous;
}

int CPhonebookEntry::GetNumUploadBytes() const
{
    return GetNumUploadBytes(m_sNick, m_sVoiceNumber);
}

bool CPhonebookEntry::CheckValidCharsOK(const CString& number)
{
    int invalidCount = 0;
    return CStringManipulator::CheckValidCharacters(number, s_sValidNumberChars, invalidCount) ==
           -1;
}

bool CPhonebookEntry::CheckNumberLengthOK(const CString& number)
{
    return Normalize(number).GetLength() >= s_numMinChars && number.GetLength() <= s_numMaxChars;
}

bool CPhonebookEntry::CheckNickLengthOK(const CString& nick)
{
    return nick.GetLength() >= s_numMinNickLength && nick.GetLength() <= s_numMaxNickLength;
}

bool CPhonebookEntry::CheckLastNameLengthOK(const CString& name)
{
    return name.GetLength() >= s_numMinLastNameLength && name.GetLength() <= s_numMaxLastNameLength;
}

bool CPhonebookEntry::CheckSyntaxOK(const CString& number)
{
    const CString normalized = Normalize(number);
    const int plus = normalized.Find('+');
    return plus == -1 || (plus == 0 && normalized.Find('+', 1) == -1);
}

CString CPhonebookEntry::Normalize(const CString& number)
{
    CString valid;
    CString invalid;
    CStringManipulator::StripOnValid(number, s_sValidNormalizedNumberChars, valid, invalid);
    return valid;
}

void CPhonebookEntry::SetValidNumberChars(const CString& chars)
{
    s_sValidNumberChars = chars;
}

void CPhonebookEntry::SetValidNormalizedNumberChars(const CString& chars)
{
    s_sValidNormalizedNumberChars = chars;
}

int CPhonebookEntry::GetNumUploadBytes(const CString& nick, const CString& number)
{
    return (number.GetLength() + 1) / 2 + nick.GetLength() + 3;
}
