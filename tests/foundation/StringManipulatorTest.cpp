#include <gtest/gtest.h>
#include <shared/foundation/CStringManipulator.h>

using SM = CStringManipulator;

TEST(StringManipulator, SplitOnDelimiterPlacesTheDelimiterByMode)
{
    struct
    {
        const char* text;
        SM::E_IncludeMode mode;
        int result;
        const char* head;
        const char* tail;
    } const cases[] = {
        {"a;b", SM::eDropDelimiter, 1, "a", "b"},
        {"a;b", SM::eDelimiterToHead, 1, "a;", "b"},
        {"a;b", SM::eDelimiterToTail, 1, "a", ";b"},
        {"a,b", static_cast<SM::E_IncludeMode>(3), 0, "a", ",b"}, // any other mode acts as 2
        {"abc", SM::eDropDelimiter, -1, "abc", ""},
        {"", SM::eDropDelimiter, -1, "", ""},
    };
    for (const auto& c : cases)
    {
        CString head = "x";
        CString tail = "y";
        EXPECT_EQ(SM::SplitOnDelimiter(c.text, ",;", head, tail, c.mode), c.result) << c.text;
        EXPECT_STREQ(head, c.head) << c.text;
        EXPECT_STREQ(tail, c.tail) << c.text;
    }
    // The first delimiter in the text wins, whatever its place in the set; the tail may alias.
    CString head;
    CString work = "p,q;r";
    EXPECT_EQ(SM::SplitOnDelimiter(work, ";,", head, work, SM::eDropDelimiter), 1);
    EXPECT_STREQ(head, "p");
    EXPECT_STREQ(work, "q;r");
}

TEST(StringManipulator, SplitToArrayAppendsPieces)
{
    CStringArray pieces;
    pieces.Add("kept");
    EXPECT_EQ(SM::SplitToArrayOnDelimiter("a,b,", ",", pieces), 2);
    EXPECT_EQ(SM::SplitToArrayOnDelimiter(",a,,b", ",", pieces), 4);
    EXPECT_EQ(SM::SplitToArrayOnDelimiter("", ",", pieces), 1);
    const char* const expected[] = {"kept", "a", "b", "", "a", "", "b", ""};
    ASSERT_EQ(pieces.GetSize(), 8);
    for (int i = 0; i < 8; ++i)
        EXPECT_STREQ(pieces[i], expected[i]) << i;
}

TEST(StringManipulator, ValidCharactersAreCountedAndSorted)
{
    int invalid = -5;
    EXPECT_EQ(SM::CheckValidCharacters("01234x6y", "+0123456789", invalid), 5);
    EXPECT_EQ(invalid, 2);
    EXPECT_EQ(SM::CheckValidCharacters("", "+0123456789", invalid), -1);
    EXPECT_EQ(invalid, 0);
    EXPECT_EQ(SM::CheckValidCharacters("+44 1234", " +0123456789", invalid), -1);
    EXPECT_EQ(invalid, 0);

    CString valid = "old";
    CString rejected = "old";
    EXPECT_EQ(SM::StripOnValid("+44 (0)1234-x", "+0123456789", valid, rejected), 3);
    EXPECT_STREQ(valid, "+4401234");
    EXPECT_STREQ(rejected, " ()-x");
    EXPECT_EQ(SM::StripOnValid("", "+0123456789", valid, rejected), -1);
    EXPECT_STREQ(valid, "");
    EXPECT_STREQ(rejected, "");
}
