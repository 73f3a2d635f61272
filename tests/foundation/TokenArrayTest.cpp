#include <gtest/gtest.h>
#include <shared/foundation/CTokenArray.h>
#include <shared/foundation/HashKey.h>
#include <string>
#include <vector>

namespace
{
using Mode = CTokenArray::E_TokenizeMode;
using V = std::vector<std::string>;
constexpr Mode kNone = static_cast<Mode>(0);
constexpr Mode kAll = static_cast<Mode>(31);
constexpr Mode kQuotes = CTokenArray::TM_QUOTES;
constexpr Mode kTrim = CTokenArray::TM_TRIM;
constexpr Mode kKeepEscapes = CTokenArray::TM_QUOTES | CTokenArray::TM_KEEP_ESCAPES;

V Tokens(std::string_view text, char const* separators, Mode mode)
{
    CTokenArray tokens;
    int const count = tokens.TokenizeString(text, separators, mode);
    V out;
    for (INT_PTR i = 0; i < tokens.GetSize(); ++i)
        out.emplace_back(tokens.GetAt(i).GetString());
    EXPECT_EQ(count, static_cast<int>(out.size()));
    return out;
}
} // namespace

// Every case also goes through the view-only split wherever its mode allows one: both must
// find the same tokens.
TEST(TokenArray, SplitsByMode)
{
    struct Case
    {
        std::string_view text;
        char const* separators;
        Mode mode;
        V expected;
    } const cases[] = {
        {"a,,b", ",", kAll, {"a", "", "b"}},
        {"a,", ",", kAll, {"a", ""}},
        {",a", ",", kAll, {"", "a"}},
        {",,", ",", kAll, {"", "", ""}},
        {"a,,b", ",", kNone, {"a", "b"}},
        {",", ",", kNone, {}},
        // Emptiness is tested before trimming: a blank token keeps its place as "".
        {"a,  ,b", ",", kTrim, {"a", "", "b"}},
        {"  a  , b ", ",", kTrim, {"a", "b"}},
        {"x,\"p,q\",y", ",", kAll, {"x", "\"p,q\"", "y"}},
        {"ab\"c,d\"e,f", ",", kQuotes, {"abc,de", "f"}},
        {"a,\"b,c", ",", kQuotes, {"a", "b,c"}},
        {"\"a,b\"", ",", kNone, {"\"a", "b\""}},
        // Only the text's last character decides the trailing empty field, quoted or not.
        {"a,\"b,", ",", kAll, {"a", "\"b,", ""}},
        {"a,\"b,", ",", kQuotes, {"a", "b,"}},
        {R"("a\"b,c")", ",", kQuotes, {R"(a"b,c)"}},
        {R"("a\\b")", ",", kQuotes, {R"(a\b)"}},
        {R"("a\"b")", ",", kKeepEscapes, {R"(a\"b)"}},
        {R"("a\"b,c",d)", ",", kAll, {R"("a\"b,c")", "d"}},
        {R"("a\nb")", ",", kQuotes, {R"(a\nb)"}},
        {R"(a\"b,c)", ",", kQuotes, {R"(a\b,c)"}},
        {R"("a\)", ",", kQuotes, {R"(a\)"}},
        {"a;b,c d", ",; ", kNone, {"a", "b", "c", "d"}},
        {"a;b,c d", ",; ", kAll, {"a", "b", "c", "d"}},
        {std::string_view("a,b\0,c", 6), ",", kAll, {"a", "b"}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(std::string(c.text));
        EXPECT_EQ(Tokens(c.text, c.separators, c.mode), c.expected);
        std::string_view views[8];
        int const count = CTokenArray::SplitInPlace(c.text, c.separators, c.mode, views, 8);
        bool const editing =
            (c.mode & CTokenArray::TM_QUOTES) != 0 &&
            (c.mode & (CTokenArray::TM_KEEP_QUOTES | CTokenArray::TM_KEEP_ESCAPES)) !=
                (CTokenArray::TM_KEEP_QUOTES | CTokenArray::TM_KEEP_ESCAPES);
        if (editing)
        {
            EXPECT_EQ(count, -1);
            continue;
        }
        EXPECT_EQ(V(views, views + std::max(count, 0)), c.expected);
        EXPECT_EQ(CTokenArray::SplitInPlace(c.text, c.separators, c.mode, views,
                                            static_cast<int>(c.expected.size()) - 1),
                  c.expected.empty() ? 0 : -1)
            << "more tokens than room";
    }
}

TEST(TokenArray, EmptyNullAndReusedArrays)
{
    CTokenArray tokens;
    for (int mode = 0; mode < 32; ++mode)
    {
        EXPECT_EQ(tokens.TokenizeString("", ",", static_cast<Mode>(mode)), 0);
        EXPECT_EQ(
            tokens.TokenizeString(static_cast<char const*>(nullptr), ",", static_cast<Mode>(mode)),
            0);
    }
    // Elements kept from a longer earlier split never leak into a shorter later one.
    EXPECT_EQ(tokens.TokenizeString("one,two,three,four", ",", kAll), 4);
    EXPECT_EQ(tokens.TokenizeString("x,y", ",", kAll), 2);
    ASSERT_EQ(tokens.GetSize(), 2);
    EXPECT_STREQ(tokens[1].GetString(), "y");
    EXPECT_EQ(tokens.TokenizeString("a long token that does not fit inline,b", ",", kAll), 2);
    EXPECT_STREQ(tokens[0].GetString(), "a long token that does not fit inline");
    EXPECT_EQ(tokens.TokenizeString("", ",", kAll), 0);
    EXPECT_EQ(tokens.GetSize(), 0);
}

TEST(HashKey, MultipliesBy33AndAddsSignedBytes)
{
    EXPECT_EQ(HashKey(CString("ab")), 97u * 33u + 98u);
    // A byte above 0x7F counts as negative: 0 * 33 + (-1) wraps to 0xFFFFFFFF.
    EXPECT_EQ(HashKey(CString("\xFF")), 0xFFFFFFFFu);
    EXPECT_EQ(HashKey(CString("a\xE9")), 97u * 33u - 23u);
    std::uint32_t expected = 0;
    for (int i = 0; i < 100; ++i)
        expected = expected * 33u + 'z';
    EXPECT_EQ(HashKey(CString(std::string(100, 'z'))), expected) << "wraps in 32 bits";
}
