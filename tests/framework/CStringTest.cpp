#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <shared/framework/CString.h>
#include <string>
#include <unordered_set>
#include <vector>

TEST(CStringTest, ConstructionCoversNullCountsAndEmbeddedNul)
{
    EXPECT_TRUE(CString().IsEmpty());
    EXPECT_TRUE(CString(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_EQ(CString("abc").GetLength(), 3);
    EXPECT_EQ(CString("abcdef", 3), "abc");
    EXPECT_TRUE(CString("abc", -2).IsEmpty());
    EXPECT_EQ(CString('x', 4), "xxxx");
    EXPECT_TRUE(CString('x', 0).IsEmpty());
    EXPECT_EQ(CString(std::string_view("hello world").substr(6)), "world");

    const CString withNul("a\0b", 3);
    EXPECT_EQ(withNul.GetLength(), 3);
    EXPECT_EQ(withNul.GetAt(2), 'b');

    CString s;
    s = 'q';
    EXPECT_EQ(s, "q");
    s = static_cast<const char*>(nullptr);
    EXPECT_TRUE(s.IsEmpty());
}

TEST(CStringTest, ShortTextsStayInsideTheObject)
{
    // The promise that short strings do not allocate: the text lives in the object's own bytes.
    const CString s("NMEA");
    const char* text = s.GetString();
    const char* self = reinterpret_cast<const char*>(&s);
    EXPECT_TRUE(text >= self && text < self + sizeof(CString));
}

TEST(CStringTest, CharacterAccessIsBoundsSafe)
{
    CString s("abc");
    EXPECT_EQ(s[1], 'b');
    EXPECT_EQ(s.GetAt(-1), '\0');
    EXPECT_EQ(s.GetAt(3), '\0');
    s.SetAt(0, 'X');
    s.SetAt(7, 'Y');
    s.SetAt(-1, 'Z');
    EXPECT_EQ(s, "Xbc");
    EXPECT_STREQ(static_cast<const char*>(s), "Xbc");
}

TEST(CStringTest, ExtractionClampsLikeMfc)
{
    const CString s("Hello");
    EXPECT_EQ(s.Mid(1, 3), "ell");
    EXPECT_EQ(s.Mid(3), "lo");
    EXPECT_EQ(s.Mid(-2, 2), "He");
    EXPECT_EQ(s.Mid(2, 100), "llo");
    EXPECT_EQ(s.Mid(5), "");
    EXPECT_EQ(s.Mid(9, 2), "");
    EXPECT_EQ(s.Mid(1, -1), "");
    EXPECT_EQ(s.Mid(1, INT_MAX), "ello");
    EXPECT_EQ(s.Left(2), "He");
    EXPECT_EQ(s.Left(-1), "");
    EXPECT_EQ(s.Left(99), "Hello");
    EXPECT_EQ(s.Right(2), "lo");
    EXPECT_EQ(s.Right(-3), "");
    EXPECT_EQ(s.Right(99), "Hello");
    EXPECT_EQ(CString("ab12cd").SpanIncluding("ab"), "ab");
    EXPECT_EQ(CString("ab12cd").SpanIncluding("xyz"), "");
    EXPECT_EQ(CString("ab12cd").SpanExcluding("0123456789"), "ab");
    EXPECT_EQ(CString("abcd").SpanExcluding(""), "abcd");
}

TEST(CStringTest, SearchingReportsMinusOneWhenAbsentOrOutOfRange)
{
    const CString s("a,b,,c");
    EXPECT_EQ(s.Find(','), 1);
    EXPECT_EQ(s.Find(',', 2), 3);
    EXPECT_EQ(s.Find('z'), -1);
    EXPECT_EQ(s.Find(',', -1), -1);
    EXPECT_EQ(s.Find(',', 6), -1);
    EXPECT_EQ(s.Find(",,"), 3);
    EXPECT_EQ(s.Find(",", 4), 4);
    EXPECT_EQ(s.Find(""), 0);
    EXPECT_EQ(s.Find("", 6), 6);
    EXPECT_EQ(s.Find("x", 7), -1);
    EXPECT_EQ(s.Find(static_cast<const char*>(nullptr)), -1);
    EXPECT_EQ(s.ReverseFind(','), 4);
    EXPECT_EQ(s.ReverseFind('q'), -1);
    EXPECT_EQ(s.FindOneOf("cb"), 2);
    EXPECT_EQ(s.FindOneOf("xyz"), -1);
    EXPECT_EQ(s.FindOneOf(""), -1);
}

TEST(CStringTest, TrimmingRemovesWhiteSpaceCharactersAndSets)
{
    CString s(" \t\r\n value \v\f");
    EXPECT_EQ(s.Trim(), "value");
    EXPECT_EQ(CString("  x  ").TrimLeft(), "x  ");
    EXPECT_EQ(CString("  x  ").TrimRight(), "  x");
    EXPECT_EQ(CString("xxaxx").Trim('x'), "a");
    EXPECT_EQ(CString("xxxx").Trim('x'), "");
    EXPECT_EQ(CString("*-a-*").Trim("*-"), "a");
    EXPECT_EQ(CString("*-a-*").TrimLeft("*-"), "a-*");
    EXPECT_EQ(CString("*-a-*").TrimRight("*-"), "*-a");
    EXPECT_EQ(CString(" a ").Trim(""), " a ");
    EXPECT_EQ(CString("   ").Trim(), "");
}

TEST(CStringTest, CaseAndOrderChanges)
{
    CString s("MixEd 1");
    EXPECT_EQ(s.MakeUpper(), "MIXED 1");
    EXPECT_EQ(s.MakeLower(), "mixed 1");
    EXPECT_EQ(s.MakeReverse(), "1 dexim");
}

TEST(CStringTest, ReplaceRemoveInsertDeleteReturnCountsAndLengths)
{
    CString s("aXbXc");
    EXPECT_EQ(s.Replace('X', '-'), 2);
    EXPECT_EQ(s, "a-b-c");
    EXPECT_EQ(s.Replace('q', 'r'), 0);

    CString t("aaaa");
    EXPECT_EQ(t.Replace("aa", "b"), 2); // non-overlapping, left to right
    EXPECT_EQ(t, "bb");
    EXPECT_EQ(t.Replace("", "x"), 0);
    EXPECT_EQ(t.Replace("b", static_cast<const char*>(nullptr)), 2);
    EXPECT_EQ(t, "");

    CString u("one two one");
    EXPECT_EQ(u.Replace("one", "three"), 2);
    EXPECT_EQ(u, "three two three");

    CString v("a.b.c");
    EXPECT_EQ(v.Remove('.'), 2);
    EXPECT_EQ(v, "abc");

    EXPECT_EQ(v.Insert(1, '+'), 4);
    EXPECT_EQ(v, "a+bc");
    EXPECT_EQ(v.Insert(-5, "<"), 5);
    EXPECT_EQ(v.Insert(99, ">"), 6);
    EXPECT_EQ(v, "<a+bc>");

    EXPECT_EQ(v.Delete(1, 2), 4);
    EXPECT_EQ(v, "<bc>");
    EXPECT_EQ(v.Delete(2, 99), 2);
    EXPECT_EQ(v, "<b");
    EXPECT_EQ(v.Delete(5, 1), 2);
    EXPECT_EQ(v.Delete(-3), 1);
    EXPECT_EQ(v, "b");
}

TEST(CStringTest, TokenizeFollowsMfcLoop)
{
    const CString s("%First Second#Third");
    int pos = 0;
    std::vector<std::string> tokens;
    for (CString tok = s.Tokenize("% #", pos); pos != -1; tok = s.Tokenize("% #", pos))
    {
        tokens.emplace_back(tok.GetString());
    }
    EXPECT_EQ(tokens, (std::vector<std::string>{"First", "Second", "Third"}));

    pos = 0;
    EXPECT_EQ(CString(",,,").Tokenize(",", pos), "");
    EXPECT_EQ(pos, -1);

    pos = 2;
    EXPECT_EQ(CString("abcd").Tokenize("", pos), "cd"); // empty delimiter set: rest, pos kept
    EXPECT_EQ(pos, 2);
    pos = -3;
    EXPECT_EQ(CString("abcd").Tokenize(",", pos), "");
    EXPECT_EQ(pos, -1);
}

TEST(CStringTest, ComparisonsAreByteWiseAndUnsigned)
{
    const CString a("apple");
    EXPECT_TRUE(a == "apple");
    EXPECT_TRUE("apple" == a);
    EXPECT_TRUE(a != CString("Apple"));
    EXPECT_TRUE(a < "banana");
    EXPECT_TRUE("banana" > a);
    EXPECT_TRUE(a <= CString("apple"));
    EXPECT_TRUE(CString("x") == 'x');
    EXPECT_FALSE(CString("xy") == 'x');
    EXPECT_LT(a.Compare("apples"), 0);
    EXPECT_EQ(a.CompareNoCase("APPLE"), 0);
    EXPECT_LT(a.CompareNoCase("APPLEs"), 0);
    EXPECT_EQ(a.Collate("apple"), 0);
    EXPECT_EQ(a.CollateNoCase("ApPlE"), 0);
    // Bytes above 0x7F sort after ASCII, as strcmp does.
    EXPECT_TRUE(CString("z") < CString("\xE9"));
    EXPECT_EQ(CString().Compare(nullptr), 0);

    std::map<CString, int> ordered{{"b", 2}, {"a", 1}};
    EXPECT_EQ(ordered.begin()->first, "a");
    std::unordered_set<CString> hashed{CString("k")};
    EXPECT_EQ(hashed.count(CString("k")), 1u);
}

TEST(CStringTest, ConcatenationMixesStringsPointersAndChars)
{
    CString s("a");
    s += "b";
    s += 'c';
    s += CString("d");
    s.Append("ef", 1);
    s.AppendChar('g');
    EXPECT_EQ(s, "abcdeg");
    EXPECT_EQ("<" + s + '>', "<abcdeg>");
    EXPECT_EQ('[' + CString("x") + "]", "[x]");
    s += s; // self-append
    EXPECT_EQ(s, "abcdegabcdeg");
}

TEST(CStringTest, FormatHandlesMfcSizePrefixesAndCStringArguments)
{
    CString s;
    s.Format("%016I64X", 0x0123456789ABCDEFULL);
    EXPECT_EQ(s, "0123456789ABCDEF");
    s.Format("%I64d|%I64u|%I32d|%Iu", -5LL, 18446744073709551615ULL, 7, std::size_t{9});
    EXPECT_EQ(s, "-5|18446744073709551615|7|9");
    s.Format("100%% %-4s|%5.2f|%c", "ab", 3.14159, 'z');
    EXPECT_EQ(s, "100% ab  | 3.14|z");

    const CString name("CUserPlace");
    s.Format("%s::%s()", name, "Save");
    EXPECT_EQ(s, "CUserPlace::Save()");

    // A format may use the string's own text as argument.
    s.Format("[%s]", static_cast<const char*>(s));
    EXPECT_EQ(s, "[CUserPlace::Save()]");
    s.AppendFormat("%s", s);
    EXPECT_EQ(s, "[CUserPlace::Save()][CUserPlace::Save()]");

    s.Format(static_cast<const char*>(nullptr));
    EXPECT_TRUE(s.IsEmpty());
}

TEST(CStringTest, FormatProducesTextsOfAnyLength)
{
    const std::string longText(5000, 'q');
    CString s;
    s.Format("<%s>", longText.c_str());
    ASSERT_EQ(s.GetLength(), 5002);
    EXPECT_EQ(s.Mid(1, 5000), CString(longText.c_str()));
    s.AppendFormat("%d", 42);
    EXPECT_EQ(s.Right(3), ">42");
}

TEST(CStringTest, BufferRoundTrip)
{
    CString s("keep");
    char* p = s.GetBuffer(16);
    EXPECT_STREQ(p, "keep");
    std::strcpy(p, "0123456789ABCDEF"); // fills all 16 plus the terminator
    s.ReleaseBuffer();
    EXPECT_EQ(s, "0123456789ABCDEF");

    p = s.GetBuffer(4);
    p[2] = '\0';
    s.ReleaseBuffer();
    EXPECT_EQ(s, "01");

    p = s.GetBufferSetLength(3);
    p[2] = 'Z';
    s.ReleaseBuffer(3);
    EXPECT_EQ(s, "01Z");
    s.ReleaseBuffer(99); // longer than the buffer: ignored
    EXPECT_EQ(s, "01Z");
    s.Truncate(1);
    EXPECT_EQ(s, "0");
}

TEST(CStringTest, TranslateFormatOnlyTouchesConversionPrefixes)
{
    EXPECT_EQ(CString::TranslateFormat("I64 %I64x %%I64 %08I64u %I32d %Id %ld"),
              "I64 %llx %%I64 %08llu %d %zd %ld");
}

TEST(CStringTest, FormatFitsSizePrefixesToTheArgumentsPassed)
{
    CString s;
    // Windows formats for 32-bit longs and DWORDs.
    const LONG lValue = -7;
    const DWORD dwValue = 0xDEADBEEF;
    s.Format("%ld|%08lx|%lu", lValue, dwValue, dwValue);
    EXPECT_EQ(s, "-7|deadbeef|3735928559");
    // 64-bit counts through plain conversions, and MFC's I64 with a small value.
    const INT_PTR count = INT_PTR{1} << 40;
    s.Format("%d|%5u|%I64d|%*d", count, std::size_t{3}, 12, 4, count);
    EXPECT_EQ(s, "1099511627776|    3|12|1099511627776");
    // Narrowing prefixes keep their effect; floats and long doubles print right.
    s.Format("%hu|%hhd|%lf|%Lf|%f", 65537, 257, 1.5f, 2.5, 3.5L);
    EXPECT_EQ(s, "1|1|1.500000|2.500000|3.500000");
    // Enumerations, characters and booleans are ints.
    enum class EColour : long long
    {
        Red = 5000000000LL
    };
    s.Format("%d %c %d", EColour::Red, 'x', true);
    EXPECT_EQ(s, "5000000000 x 1");
    // Positional formats are left as written.
    s.Format("%2$s %1$s", "world", "hello");
    EXPECT_EQ(s, "hello world");
}
