#include <gtest/gtest.h>
#include <shared/foundation/CStringManipulator.h>

using SM = CStringManipulator;

TEST(StringManipulator, SplitOnDelimiterPlacesTheDelimiterByMode)
{
    CString head;
    CString tail;
    EXPECT_EQ(SM::SplitOnDelimiter("a;b", ",;", head, tail, SM::eDropDelimiter), 1);
    EXPECT_STREQ(head, "a");
    EXPECT_STREQ(tail, "b");
    EXPECT_EQ(SM::SplitOnDelimiter("a;b", ",;", head, tail, SM::eDelimiterToHead), 1);
    EXPECT_STREQ(head, "a;");
    EXPECT_STREQ(tail, "b");
    EXPECT_EQ(SM::SplitOnDelimiter("a;b", ",;", head, tail, SM::eDelimiterToTail), 1);
    EXPECT_STREQ(head, "a");
    EXPECT_STREQ(tail, ";b");
    // Any value other than 0 and 1 behaves as 2.
    EXPECT_EQ(SM::SplitOnDelimiter("a,b", ",;", head, tail, static_cast<SM::E_IncludeMode>(7)), 0);
    EXPECT_STREQ(tail, ",b");
}

TEST(StringManipulator, SplitOnDelimiterWithoutDelimiterAndWithAliasedTail)
{
    CString head = "x";
    CString tail = "y";
    EXPECT_EQ(SM::SplitOnDelimiter("abc", ",", head, tail, SM::eDropDelimiter), -1);
    EXPECT_STREQ(head, "abc");
    EXPECT_STREQ(tail, "");
    EXPECT_EQ(SM::SplitOnDelimiter("", ",", head, tail, SM::eDropDelimiter), -1);
    EXPECT_STREQ(head, "");

    // The first delimiter in the text wins, whatever its place in the delimiter set.
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
    ASSERT_EQ(pieces.GetSize(), 3);
    EXPECT_STREQ(pieces[0], "kept");
    EXPECT_STREQ(pieces[1], "a");
    EXPECT_STREQ(pieces[2], "b");

    pieces.RemoveAll();
    EXPECT_EQ(SM::SplitToArrayOnDelimiter(",a,,b", ",", pieces), 4);
    EXPECT_STREQ(pieces[0], "");
    EXPECT_STREQ(pieces[1], "a");
    EXPECT_STREQ(pieces[2], "");
    EXPECT_STREQ(pieces[3], "b");

    pieces.RemoveAll();
    EXPECT_EQ(SM::SplitToArrayOnDelimiter("", ",", pieces), 1);
    EXPECT_STREQ(pieces[0], "");
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
