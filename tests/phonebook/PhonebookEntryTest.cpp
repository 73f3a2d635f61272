#include "PhonebookTestSupport.h"

#include <shared/phonebook/CPhonebookEntry.h>

TEST(PhonebookEntry, ConstructorCutsToTheDeviceLimitsAndSettersDoNot)
{
    const CString nick17("ABCDEFGHIJKLMNOPQ");
    CPhonebookEntry entry(Cint64(1, 2), nick17, CString('9', 25), CString('n', 300));
    EXPECT_EQ(entry.GetNick().GetLength(), 16);
    EXPECT_EQ(entry.GetVoiceNumber().GetLength(), 20);
    EXPECT_EQ(entry.GetLastName().GetLength(), 255);
    EXPECT_STREQ(entry.GetPhonebookEntryId(), "0000000100000002");
    EXPECT_STREQ(entry.GetCompanyId(), "n/a");

    entry.SetNick(nick17);
    EXPECT_STREQ(entry.GetNick(), nick17);
    EXPECT_FALSE(CPhonebookEntry::CheckNickLengthOK(nick17));
    EXPECT_FALSE(CPhonebookEntry::CheckNickLengthOK(""));
    EXPECT_TRUE(CPhonebookEntry::CheckNickLengthOK("A"));
}

TEST(PhonebookEntry, NumberChecks)
{
    EXPECT_FALSE(CPhonebookEntry::CheckNumberLengthOK("12"));
    EXPECT_TRUE(CPhonebookEntry::CheckNumberLengthOK("1 23")) << "three digits are enough";
    EXPECT_TRUE(CPhonebookEntry::CheckNumberLengthOK("+44 12"));
    EXPECT_FALSE(CPhonebookEntry::CheckNumberLengthOK("1 2")) << "blanks do not count as digits";
    EXPECT_FALSE(CPhonebookEntry::CheckNumberLengthOK(CString('1', 21)));
    EXPECT_TRUE(CPhonebookEntry::CheckNumberLengthOK(CString('1', 20)));

    EXPECT_FALSE(CPhonebookEntry::CheckSyntaxOK("+44+1"));
    EXPECT_FALSE(CPhonebookEntry::CheckSyntaxOK("44+1"));
    EXPECT_TRUE(CPhonebookEntry::CheckSyntaxOK("+441"));
    EXPECT_TRUE(CPhonebookEntry::CheckSyntaxOK("0123"));
    EXPECT_TRUE(CPhonebookEntry::CheckSyntaxOK(" +44 1")) << "judged after normalising";

    EXPECT_TRUE(CPhonebookEntry::CheckValidCharsOK("+44 1234"));
    EXPECT_FALSE(CPhonebookEntry::CheckValidCharsOK("+44-1234"));
    EXPECT_STREQ(CPhonebookEntry::Normalize(" +44 (0) 12-34"), "+4401234");
}

TEST(PhonebookEntry, UploadSizeCountsTwoDigitsToAByte)
{
    EXPECT_EQ(CPhonebookEntry::GetNumUploadBytes("Bob", "01234567890"), 12);
    EXPECT_EQ(CPhonebookEntry::GetNumUploadBytes("", ""), 3);
    const CPhonebookEntry entry(Cint64(), "Ann", "1234", "");
    EXPECT_EQ(entry.GetNumUploadBytes(), 2 + 3 + 3);
}

TEST(PhonebookEntry, DefaultsAndTheItemView)
{
    CPhonebookEntry entry;
    EXPECT_EQ(entry.SetFlag(5), 0UL);
    EXPECT_EQ(entry.SetFlag(0), 5UL);
    EXPECT_FALSE(entry.IsFlagged());
    // Only voice calls are allowed until the user says otherwise.
    EXPECT_TRUE(entry.GetAttributes() == Permissions(1));

    entry.SetID(Cint64(0, 0x2A));
    IWardenCollectionItem& item = entry;
    EXPECT_EQ(item.GetItemId(), Cint64(0, 0x2A));
    EXPECT_STREQ(entry.GetPhonebookEntryId(), "000000000000002A");
}
