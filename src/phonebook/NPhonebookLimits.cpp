#include <shared/foundation/CStringManipulator.h>
#include <shared/phonebook/CPhonebookEntry.h>
#include <shared/phonebook/NPhonebookLimits.h>

namespace NPhonebookLimits
{

std::vector<CString> Describe(const CString& nick, const CString& number)
{
    std::vector<CString> problems;
    CString text;
    if (!CPhonebookEntry::CheckNickLengthOK(nick))
    {
        text.Format("nickname has %d characters; a device takes %d to %d", nick.GetLength(),
                    CPhonebookEntry::s_numMinNickLength, CPhonebookEntry::s_numMaxNickLength);
        problems.push_back(text);
    }
    int invalidCount = 0;
    const int firstInvalid = CStringManipulator::CheckValidCharacters(
        number, CPhonebookEntry::s_sValidNumberChars, invalidCount);
    if (firstInvalid >= 0)
    {
        text.Format("number has %d character(s) a device cannot dial, the first '%c' at position "
                    "%d (only blanks, '+' and digits are allowed)",
                    invalidCount, number.GetAt(firstInvalid), firstInvalid + 1);
        problems.push_back(text);
    }
    if (CPhonebookEntry::Normalize(number).GetLength() < CPhonebookEntry::s_numMinChars)
    {
        text.Format("number has fewer than %d digits", CPhonebookEntry::s_numMinChars);
        problems.push_back(text);
    }
    if (number.GetLength() > CPhonebookEntry::s_numMaxChars)
    {
        text.Format("number is longer than %d characters", CPhonebookEntry::s_numMaxChars);
        problems.push_back(text);
    }
    if (!CPhonebookEntry::CheckSyntaxOK(number))
        problems.push_back(CString("number may hold one '+' only, as its first character"));
    return problems;
}

} // namespace NPhonebookLimits
