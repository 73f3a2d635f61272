#include <gtest/gtest.h>
#include <shared/foundation/CTokenArray.h>
#include <shared/foundation/HashKey.h>
#include <string>
#include <vector>

namespace
{
using Mode = CTokenArray::E_TokenizeMode;
constexpr Mode kNone = static_cast<Mode>(0);
constexpr Mode kAll = static_cast<Mode>(31);
constexpr Mode kDeviceQuotes = CTokenArray::TM_QUOTES;

std::vector<std::string> Tokens(char const* text, char const* separators, Mode mode)
{
    CTokenArray tokens;
    int const count = tokens.TokenizeString(text, separators, mode);
    std::vector<std::string> out;
    for (INT_PTR i = 0; i < tokens.GetSize(); ++i)
        out.emplace_back(tokens.GetAt(i).GetString());
    EXPECT_EQ(count, static_cast<int>(out.size()));
    return out;
}

using V = std::vector<std::string>;
} // namespace

TEST(TokenArray, EmptyAndNullTextsGiveNoTokensInAnyMode)
{
    for (int mode = 0; mode < 32; ++mode)
    {
        EXPECT_TRUE(Tokens("", ",", static_cast<Mode>(mode)).empty()) << mode;
        CTokenArray tokens;
        EXPECT_EQ(
            tokens.TokenizeString(static_cast<char const*>(nullptr), ",", static_cast<Mode>(mode)),
            0);
    }
}

TEST(TokenArray, EmptyFieldsKeepTheirPlaceOnlyWhenAsked)
{
    EXPECT_EQ(Tokens("a,,b", ",", kAll), (V{"a", "", "b"}));
    EXPECT_EQ(Tokens("a,", ",", kAll), (V{"a", ""}));
    EXPECT_EQ(Tokens(",a", ",", kAll), (V{"", "a"}));
    EXPECT_EQ(Tokens(",", ",", kAll), (V{"", ""}));
    EXPECT_EQ(Tokens(",,", ",", kAll), (V{"", "", ""}));

    EXPECT_EQ(Tokens("a,,b", ",", kNone), (V{"a", "b"}));
    EXPECT_EQ(Tokens("a,", ",", kNone), (V{"a"}));
    EXPECT_EQ(Tokens(",", ",", kNone), (V{}));
}

TEST(TokenArray, BlankTokenIsKeptEvenWithoutKeepEmptyBecauseTrimComesAfterTheTest)
{
    EXPECT_EQ(Tokens("a,  ,b", ",", CTokenArray::TM_TRIM), (V{"a", "", "b"}));
    EXPECT_EQ(Tokens("  a  , b ", ",", CTokenArray::TM_TRIM), (V{"a", "b"}));
    EXPECT_EQ(Tokens(" a ", ",", kNone), (V{" a "}));
}

TEST(TokenArray, QuotedSectionsHideSeparators)
{
    EXPECT_EQ(Tokens("x,\"p,q\",y", ",", kAll), (V{"x", "\"p,q\"", "y"}));
    EXPECT_EQ(Tokens("\"a,b\"", ",", kDeviceQuotes), (V{"a,b"}));
    // Quotes may open and close anywhere inside a token.
    EXPECT_EQ(Tokens("ab\"c,d\"e,f", ",", kDeviceQuotes), (V{"abc,de", "f"}));
    // An unterminated quote runs to the end of the text.
    EXPECT_EQ(Tokens("a,\"b,c", ",", kDeviceQuotes), (V{"a", "b,c"}));
    // Without TM_QUOTES a quote is an ordinary character.
    EXPECT_EQ(Tokens("\"a,b\"", ",", kNone), (V{"\"a", "b\""}));
}

TEST(TokenArray, UnterminatedQuoteEndingInSeparatorStillAddsTheTrailingEmptyToken)
{
    EXPECT_EQ(Tokens("a,\"b,", ",", kAll), (V{"a", "\"b,", ""}));
    EXPECT_EQ(Tokens("a,\"b,", ",", kDeviceQuotes), (V{"a", "b,"}));
}

TEST(TokenArray, EscapesAreHonouredOnlyInsideQuotes)
{
    // Inside quotes \" is a quote character and \\ a backslash; the backslash is dropped unless
    // TM_KEEP_ESCAPES is set.
    EXPECT_EQ(Tokens(R"("a\"b,c")", ",", kDeviceQuotes), (V{R"(a"b,c)"}));
    EXPECT_EQ(Tokens(R"("a\\b")", ",", kDeviceQuotes), (V{R"(a\b)"}));
    EXPECT_EQ(Tokens(R"("a\"b")", ",", CTokenArray::TM_QUOTES | CTokenArray::TM_KEEP_ESCAPES),
              (V{R"(a\"b)"}));
    // Any other escape, or a backslash outside quotes, is ordinary.
    EXPECT_EQ(Tokens(R"("a\nb")", ",", kDeviceQuotes), (V{R"(a\nb)"}));
    EXPECT_EQ(Tokens(R"(a\"b,c)", ",", kDeviceQuotes), (V{R"(a\b,c)"}));
    // A backslash at the very end of a quoted text is ordinary too.
    EXPECT_EQ(Tokens(R"("a\)", ",", kDeviceQuotes), (V{R"(a\)"}));
}

TEST(TokenArray, SeveralSeparatorCharacters)
{
    EXPECT_EQ(Tokens("a;b,c d", ",; ", kNone), (V{"a", "b", "c", "d"}));
    EXPECT_EQ(Tokens("a;b", ",", kNone), (V{"a;b"}));
}

TEST(TokenArray, ReusingAnArrayReplacesAllPreviousTokens)
{
    CTokenArray tokens("one,two,three,four", ",", kAll);
    ASSERT_EQ(tokens.GetSize(), 4);
    EXPECT_EQ(tokens.TokenizeString("x,y", ",", kAll), 2);
    ASSERT_EQ(tokens.GetSize(), 2);
    EXPECT_STREQ(tokens[0].GetString(), "x");
    EXPECT_STREQ(tokens[1].GetString(), "y");
    EXPECT_EQ(tokens.TokenizeString("a long token that does not fit inline,b,c,d,e", ",", kAll), 5);
    EXPECT_STREQ(tokens[0].GetString(), "a long token that does not fit inline");
    EXPECT_EQ(tokens.TokenizeString("", ",", kAll), 0);
    EXPECT_EQ(tokens.GetSize(), 0);
}

TEST(TokenArray, ViewOverloadStopsAtTheViewEndOrAZero)
{
    CTokenArray tokens;
    std::string_view const body("GPLOG,1,2*AB", 7);
    EXPECT_EQ(tokens.TokenizeString(body, ",", kAll), 2);
    EXPECT_STREQ(tokens[1].GetString(), "1");
    std::string const withZero("a,b\0,c", 6);
    EXPECT_EQ(tokens.TokenizeString(std::string_view(withZero), ",", kAll), 2);
}

TEST(HashKey, MultipliesBy33AndAddsSignedBytes)
{
    EXPECT_EQ(HashKey(CString("")), 0u);
    EXPECT_EQ(HashKey(CString("a")), 97u);
    EXPECT_EQ(HashKey(CString("ab")), 97u * 33u + 98u);
    // A byte above 0x7F counts as negative: 0 * 33 + (-1) wraps to 0xFFFFFFFF.
    EXPECT_EQ(HashKey(CString("\xFF")), 0xFFFFFFFFu);
    EXPECT_EQ(HashKey(CString("a\xE9")), 97u * 33u - 23u);
    CString mutableKey("ab");
    EXPECT_EQ(HashKey(mutableKey), 97u * 33u + 98u);
    // Long keys wrap around in 32 bits rather than overflowing.
    CString longKey(std::string(100, 'z'));
    std::uint32_t expected = 0;
    for (int i = 0; i < 100; ++i)
        expected = expected * 33u + 'z';
    EXPECT_EQ(HashKey(longKey), expected);
}
