#include "PhonebookTestSupport.h"

#include <random>
#include <set>
#include <shared/phonebook/CMasterPhonebook.h>
#include <shared/platform/SystemTime.h>

TEST(MasterPhonebook, IssuesTimeBasedIdsUnderItsHighPartWithoutCollisions)
{
    // 2024-01-02 03:04:05 UTC, 1704164645 seconds after 1970.
    shared::platform::CManualSystemTimeSource clock(1704164645LL * 1000);
    shared::platform::CScopedSystemTimeSource useClock(clock);

    CMasterPhonebook book;
    book.SetHighPart(0x77);
    for (unsigned i = 0; i < 5; ++i)
    {
        const Cint64 id = book.AddEntry("n", "0123", "", CPhonebookEntryAttributes());
        EXPECT_EQ(id, Cint64(0x77, 1704164645u + i)) << "entries of one second follow each other";
        EXPECT_TRUE(book.IsHighPartComparisonOk(id));
    }
    clock.Advance(2000);
    EXPECT_EQ(book.AddEntry("n", "0123", "", CPhonebookEntryAttributes()),
              Cint64(0x77, 1704164645u + 5))
        << "a later second still skips ids already taken";
    clock.Advance(60000);
    EXPECT_EQ(book.AddEntry("n", "0123", "", CPhonebookEntryAttributes()),
              Cint64(0x77, 1704164645u + 62));
    EXPECT_FALSE(book.IsHighPartComparisonOk(Cint64(0x78, 1704164645u)));
    EXPECT_EQ(book.GetNumEntries(), 7);
}

TEST(MasterPhonebook, AddFindAndDelete)
{
    CMasterPhonebook book;
    const Cint64 ann(0, 10);
    const Cint64 bob(0, 20);
    book.AddEntry(ann, "Ann", "+441234567", "Smith", Permissions(1));
    book.AddEntry(bob, "Bob", "0123", "", Permissions(3));

    EXPECT_EQ(book.FindEntryByVoiceNumber("+44 1234 567", Cint64()), ann);
    EXPECT_EQ(book.FindEntryByVoiceNumber("+44 1234 567", ann), Cint64());
    EXPECT_EQ(book.FindEntryByNick("Bob", Cint64()), bob);
    EXPECT_EQ(book.FindEntryByNick("bob", Cint64()), Cint64()) << "nicknames are case-sensitive";

    ASSERT_NE(book.GetEntry(bob), nullptr);
    EXPECT_TRUE(book.GetEntry(bob)->GetAttributes() == Permissions(3));
    EXPECT_EQ(book.GetItemById(ann), static_cast<IWardenCollectionItem*>(book.GetEntry(ann)));
    EXPECT_EQ(book.GetNumUploadBytes(), (5 + 3 + 3) + (2 + 3 + 3));

    EXPECT_FALSE(book.DeleteEntry(Cint64()));
    EXPECT_FALSE(book.DeleteEntry(Cint64(0, 99)));
    EXPECT_EQ(book.GetNumEntries(), 2);
    EXPECT_TRUE(book.DeleteEntry(ann));
    EXPECT_EQ(book.GetEntry(ann), nullptr);
    EXPECT_EQ(book.GetNumEntries(), 1);

    book.AddEntry(bob, "New", "0456", "", Permissions(1)); // an existing id is replaced
    EXPECT_EQ(book.GetNumEntries(), 1);
    EXPECT_STREQ(book.GetEntry(bob)->GetNick(), "New");
}

TEST(MasterPhonebook, WalksInIdOrderWithConditions)
{
    CMasterPhonebook book;
    for (unsigned i = 5; i >= 1; --i)
        book.AddEntry(Cint64(0, i), "n", "0123", "", Permissions(1));
    book.GetEntry(Cint64(0, 2))->SetFlag(1);
    book.GetEntry(Cint64(0, 4))->SetFlag(1);

    std::vector<unsigned> all;
    book.GotoStart();
    while (const CPhonebookEntry* entry = book.GetNext())
        all.push_back(entry->GetID().GetLowPart());
    EXPECT_EQ(all, (std::vector<unsigned>{1, 2, 3, 4, 5}));

    std::vector<unsigned> flagged;
    CPhonebookEntry* entry = nullptr;
    book.GotoStart();
    while (book.GetNextFlagged(entry))
        flagged.push_back(entry->GetID().GetLowPart());
    EXPECT_EQ(flagged, (std::vector<unsigned>{2, 4}));
    EXPECT_EQ(entry, nullptr);

    std::vector<unsigned> unflagged;
    book.GotoStart();
    while (book.GetNextUnflagged(entry))
    {
        unflagged.push_back(entry->GetID().GetLowPart());
        book.DeleteEntry(entry->GetID()); // deleting the current entry keeps the walk going
    }
    EXPECT_EQ(unflagged, (std::vector<unsigned>{1, 3, 5}));
    EXPECT_EQ(book.GetNumEntries(), 2);
}

TEST(MasterPhonebook, CollectionViewLeavesThePointerAtTheEnd)
{
    CMasterPhonebook book;
    book.AddEntry(Cint64(0, 1), "Only", "0123", "", Permissions(1));
    IWardenCollection& collection = book;
    IWardenCollectionItem* item = nullptr;
    collection.GotoStartItem();
    ASSERT_TRUE(collection.GetNextItem(item));
    IWardenCollectionItem* const last = item;
    EXPECT_FALSE(collection.GetNextItem(item));
    EXPECT_EQ(item, last);
}

TEST(MasterPhonebook, LastUpdatedIgnoresInvalidTimes)
{
    CMasterPhonebook book;
    const COleDateTime first(2024, 5, 6, 7, 8, 9);
    const COleDateTime before = book.GetLastUpdated();
    EXPECT_EQ(book.SetLastUpdated(first), before);
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(book.SetLastUpdated(invalid), first);
    EXPECT_EQ(book.GetLastUpdated(), first);
}

TEST(MasterPhonebook, HexTextToId)
{
    EXPECT_EQ(CMasterPhonebook::ConvertHexString2ID("1A2b"), Cint64(0, 6699));
    EXPECT_EQ(CMasterPhonebook::ConvertHexString2ID("12G4"), Cint64());
    EXPECT_EQ(CMasterPhonebook::ConvertHexString2ID(""), Cint64());
    EXPECT_EQ(CMasterPhonebook::ConvertHexString2ID(" 1"), Cint64());
    EXPECT_EQ(CMasterPhonebook::ConvertHexString2ID("FFFFFFFF00000001"), Cint64(0xFFFFFFFF, 1));
}

using MasterPhonebookFile = PhonebookFileTest;

TEST_F(MasterPhonebookFile, ThousandsOfEntriesSurviveExportAndImport)
{
    CMasterPhonebook book;
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i)
    {
        CString nick;
        CString number;
        nick.Format("N%d", i);
        number.Format("+44 %u", static_cast<unsigned>(random() % 1000000000));
        book.AddEntry(Cint64(static_cast<unsigned>(random()), static_cast<unsigned>(random())),
                      nick, number, "Last name " + nick,
                      Permissions(static_cast<unsigned>(random() % 64)));
    }
    {
        CStdioFile file;
        ASSERT_TRUE(OpenForWriting(file, "book.vcf"));
        EXPECT_TRUE(book.SaveAsVCards(file));
    }
    CMasterPhonebook copy;
    copy.AddEntry(Cint64(0, 1), "stale", "0123", "", Permissions(1));
    CStdioFile file;
    ASSERT_TRUE(OpenForReading(file, "book.vcf"));
    EXPECT_TRUE(copy.ReadFromVCards(file));
    ASSERT_EQ(copy.GetNumEntries(), book.GetNumEntries());

    book.GotoStart();
    CPhonebookEntry* original = nullptr;
    while (book.GetNext(original))
    {
        const CPhonebookEntry* read = copy.GetEntry(original->GetID());
        ASSERT_NE(read, nullptr);
        EXPECT_STREQ(read->GetNick(), original->GetNick());
        EXPECT_STREQ(read->GetLastName(), original->GetLastName());
        EXPECT_STREQ(read->GetVoiceNumber(), original->GetVoiceNumber());
        EXPECT_TRUE(read->GetAttributes() == original->GetAttributes());
    }
}

TEST_F(MasterPhonebookFile, NoCardsEitherWay)
{
    CMasterPhonebook book;
    {
        CStdioFile file;
        ASSERT_TRUE(OpenForWriting(file, "empty.vcf"));
        EXPECT_TRUE(book.SaveAsVCards(file));
    }
    EXPECT_EQ(ReadBytes("empty.vcf"), "");

    WriteBytes("none.vcf", "no cards here\r\njust text\r\n");
    book.AddEntry(Cint64(0, 1), "Old", "0123", "", Permissions(1));
    CStdioFile file;
    ASSERT_TRUE(OpenForReading(file, "none.vcf"));
    EXPECT_TRUE(book.ReadFromVCards(file));
    EXPECT_EQ(book.GetNumEntries(), 0);
}
