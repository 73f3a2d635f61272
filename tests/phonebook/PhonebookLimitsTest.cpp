#include <gtest/gtest.h>
#include <shared/phonebook/NPhonebookLimits.h>

TEST(PhonebookLimits, EveryBrokenLimitIsNamedOnceAndAFittingContactHasNone)
{
    EXPECT_TRUE(NPhonebookLimits::Describe("Ann", "+44 7700 900123").empty());

    const auto problems = NPhonebookLimits::Describe("", "1+-");
    ASSERT_EQ(problems.size(), 4u);
    EXPECT_STREQ(problems[0], "nickname has 0 characters; a device takes 1 to 16");
    EXPECT_STREQ(problems[1], "number has 1 character(s) a device cannot dial, the first '-' at "
                              "position 3 (only blanks, '+' and digits are allowed)");
    EXPECT_STREQ(problems[2], "number has fewer than 3 digits");
    EXPECT_STREQ(problems[3], "number may hold one '+' only, as its first character");

    const auto tooLong = NPhonebookLimits::Describe("Bo", CString('1', 21));
    ASSERT_EQ(tooLong.size(), 1u);
    EXPECT_STREQ(tooLong[0], "number is longer than 20 characters");
}
