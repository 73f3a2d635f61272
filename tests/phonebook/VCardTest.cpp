#include "PhonebookTestSupport.h"

#include <filesystem>
#include <map>
#include <shared/phonebook/CVCard.h>

using VCardFile = PhonebookFileTest;

TEST_F(VCardFile, WritesTheDeviceLayoutWithCrLf)
{
    const CVCard card("0000000A000000FF", "Bob", "Smith", "+441234", Permissions(1 | 2 | 8));
    CStdioFile file;
    ASSERT_TRUE(OpenForWriting(file, "one.vcf"));
    EXPECT_TRUE(card.WriteToTextFile(file));
    file.Close();
    EXPECT_EQ(ReadBytes("one.vcf"),
              "BEGIN:VCARD\r\n"
              "VERSION:2.1\r\n"
              "FN:Smith\r\n"
              "NICKNAME:Bob\r\n"
              "TEL;CELL:+441234\r\n"
              "UID:0000000A000000FF\r\n"
              "X-NIMBUS-ATTRIBUTES;LOCATOR:AllowVoice=True;Spot=True;Track=False;SOS=False;"
              "Geofence=True\r\n"
              "X-NIMBUS-ATTRIBUTES;WARDEN:WardenWarnings=False\r\n"
              "END:VCARD\r\n");
}

TEST_F(VCardFile, ReadsCardAfterCardAndSkipsTextAroundThem)
{
    WriteBytes("two.vcf", "some text first\n"
                          "BEGIN:VCARD\n"
                          "UID:1\n"
                          "tel;cell: +44 1 \n"
                          "EMAIL:nobody@example.org\n"
                          "end:vcard\n"
                          "NICKNAME:First\n"
                          "END:VCARD\r\n"
                          "between the cards\r\n"
                          "BEGIN:VCARD\r\n"
                          "NICKNAME:Second\r\n"
                          "END:VCARD\r\n");
    CStdioFile file;
    ASSERT_TRUE(OpenForReading(file, "two.vcf"));
    CVCard first;
    ASSERT_TRUE(first.ReadFromTextFile(file));
    EXPECT_STREQ(first.GetUID(), "1");
    EXPECT_STREQ(first.GetVoiceNumber(), " +44 1 ") << "the name is normalised, not the value";
    EXPECT_STREQ(first.GetNickName(), "First") << "a lower-case end line does not end the card";
    CVCard second;
    ASSERT_TRUE(second.ReadFromTextFile(file));
    EXPECT_STREQ(second.GetNickName(), "Second");
    CVCard third;
    EXPECT_FALSE(third.ReadFromTextFile(file));
}

TEST_F(VCardFile, CardWithoutEndIsFalseButKeepsWhatWasRead)
{
    WriteBytes("open.vcf", "BEGIN:VCARD\nNICKNAME:Open\nTEL;CELL:0123");
    CStdioFile file;
    ASSERT_TRUE(OpenForReading(file, "open.vcf"));
    CVCard card;
    EXPECT_FALSE(card.ReadFromTextFile(file));
    EXPECT_STREQ(card.GetNickName(), "Open");
    EXPECT_STREQ(card.GetVoiceNumber(), "0123");
}

TEST_F(VCardFile, RealExportsFromPhonesAndMailPrograms)
{
    const std::filesystem::path root = std::filesystem::path(SHARED_TESTDATA_DIR) / "vcard";
    if (!std::filesystem::exists(root))
        GTEST_SKIP() << "no public vCard data beside the clone";

    // Card counts follow from the reader's rules: nested cards end their parent early, and
    // "BEGIN:vCard" in mixed case opens no card (the delimiters compare exactly). Every other
    // file reads to its end without trouble, one card at least.
    const std::map<std::string, int> expected = {{"v21_multiple_entry.vcf", 3},
                                                 {"John_Doe_ANDROID.vcf", 6},
                                                 {"v21_simple_1.vcf", 1},
                                                 {"v21_invalid_comment_line.vcf", 0}};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
    {
        if (entry.path().extension() != ".vcf")
            continue;
        CStdioFile file;
        ASSERT_TRUE(file.Open(entry.path().string().c_str(), CFile::modeRead | CFile::typeText));
        int cards = 0;
        for (CVCard card; card.ReadFromTextFile(file); card = CVCard())
            ++cards;
        const auto known = expected.find(entry.path().filename().string());
        if (known != expected.end())
            EXPECT_EQ(cards, known->second) << entry.path();
        else
            EXPECT_GE(cards, 1) << entry.path();
    }
}
