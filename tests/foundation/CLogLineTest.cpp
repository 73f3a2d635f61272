#include <gtest/gtest.h>
#include <shared/foundation/CLogLine.h>

TEST(CLogLine, SplitsFiveFieldsAndKeepsTabsOfTheMessage)
{
    CLogLine line;
    ASSERT_TRUE(line.Parse("15-11-26\t16:05\tWARN\toperator\tCClock::Sync() a\tb\r"));
    EXPECT_STREQ(line.GetDate(), "15-11-26");
    EXPECT_STREQ(line.GetTime(), "16:05");
    EXPECT_STREQ(line.GetLevel(), "WARN");
    EXPECT_STREQ(line.GetUser(), "operator");
    EXPECT_STREQ(line.GetMessage(), "CClock::Sync() a\tb");
    const COleDateTime local = line.GetLocalTime();
    ASSERT_EQ(local.GetStatus(), COleDateTime::valid);
    EXPECT_EQ(local.GetYear(), 2026);
    EXPECT_EQ(local.GetMonth(), 11);
    EXPECT_EQ(local.GetDay(), 15);
    EXPECT_EQ(local.GetHour(), 16);
    EXPECT_EQ(local.GetMinute(), 5);
}

TEST(CLogLine, ForeignLinesAreNotEntriesAndForgetAnEarlierParse)
{
    CLogLine line;
    ASSERT_TRUE(line.Parse("15-11-26\t16:05\tINFO\tu\tm"));
    for (const char* text : {"", "just text", "a\tb\tc\td"})
    {
        EXPECT_FALSE(line.Parse(text)) << text;
        EXPECT_STREQ(line.GetLine(), text);
        EXPECT_STREQ(line.GetLevel(), "");
        EXPECT_NE(line.GetLocalTime().GetStatus(), COleDateTime::valid);
    }
    ASSERT_TRUE(line.Parse("31-02-26\t25:00\tINFO\tu\tm"));
    EXPECT_NE(line.GetLocalTime().GetStatus(), COleDateTime::valid) << "no such date";
}
