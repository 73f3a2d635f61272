#include "ArchiveTestSupport.h"

#include <cstring>
#include <gtest/gtest.h>
#include <shared/archive/CArchive.h>
#include <string>
#include <tuple>

using namespace archive_test;

namespace
{

TEST(ArchivePrimitives, ValuesAreLittleEndianInTheirWindowsWidths)
{
    const Bytes written = Store(
        [](CArchive& ar)
        {
            ar << static_cast<BYTE>(0x12) << static_cast<WORD>(0x3456)
               << static_cast<DWORD>(0x789ABCDE) << static_cast<LONG>(-2) << static_cast<short>(-4)
               << 'A' << true << false << 1.5f << -2.25 << static_cast<LONGLONG>(-1)
               << static_cast<ULONGLONG>(0x0102030405060708ull) << 7u << -3;
        });
    const Bytes expected =
        B({0x12, 0x56, 0x34, 0xDE, 0xBC, 0x9A, 0x78, 0xFE, 0xFF, 0xFF, 0xFF, 0xFC, 0xFF,
           0x41, 0x01, 0x00, 0x00, 0x00, 0xC0, 0x3F, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
           0x02, 0xC0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x08, 0x07, 0x06,
           0x05, 0x04, 0x03, 0x02, 0x01, 0x07, 0x00, 0x00, 0x00, 0xFD, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(written, expected);

    // Read back into the same types and written again, the values give the same bytes.
    Load(expected,
         [&](CArchive& ar)
         {
             std::tuple<BYTE, WORD, DWORD, LONG, short, char, bool, bool, float, double, LONGLONG,
                        ULONGLONG, unsigned, int>
                 values;
             auto& [by, w, dw, l, s, ch, yes, no, f, d, ll, ull, u, i] = values;
             ar >> by >> w >> dw >> l >> s >> ch >> yes >> no >> f >> d >> ll >> ull >> u >> i;
             EXPECT_TRUE(ar.IsBufferEmpty());
             EXPECT_EQ(Store([&](CArchive& again)
                             { std::apply([&](auto&... v) { (again << ... << v); }, values); }),
                       expected);
         });
}

TEST(ArchivePrimitives, NarrowWireValuesWidenWithTheirSign)
{
    // A 16-bit 0xFFFF is -1 for a short and 65535 for a WORD; any nonzero byte is true.
    Load(B({0xFF, 0xFF, 0xFF, 0xFF, 0x02, 0x34, 0x12}),
         [](CArchive& ar)
         {
             short s = 0;
             WORD w = 0;
             bool b = false;
             wchar_t wide = 0;
             ar >> s >> w >> b >> wide;
             EXPECT_EQ(s, -1);
             EXPECT_EQ(w, 0xFFFF);
             EXPECT_TRUE(b);
             EXPECT_EQ(wide, static_cast<wchar_t>(0x1234));
         });
    // long keeps its value whatever width this host gives it.
    const Bytes written = Store([](CArchive& ar) { ar << -5L << 6UL; });
    Load(written,
         [](CArchive& ar)
         {
             long l = 0;
             unsigned long ul = 0;
             ar >> l >> ul;
             EXPECT_EQ(l, -5L);
             EXPECT_EQ(ul, 6UL);
         });
}

CString Repeat(char c, int n)
{
    return CString(c, n);
}

TEST(ArchivePrimitives, StringLengthPrefixesEscapeAt255And65534)
{
    struct Case
    {
        int length;
        Bytes prefix;
    };
    const Case cases[] = {
        {0, B({0x00})},
        {3, B({0x03})},
        {254, B({0xFE})},
        {255, B({0xFF, 0xFF, 0x00})},
        {0xFFFD, B({0xFF, 0xFD, 0xFF})},
        {0xFFFE, B({0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00})},
        {0x10000, B({0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x01, 0x00})},
    };
    for (const Case& c : cases)
    {
        const CString text = Repeat('x', c.length);
        const Bytes written = Store([&](CArchive& ar) { ar << text; });
        ASSERT_EQ(written.size(), c.prefix.size() + static_cast<size_t>(c.length)) << c.length;
        EXPECT_EQ(Bytes(written.begin(), written.begin() + static_cast<long>(c.prefix.size())),
                  c.prefix)
            << c.length;
        Load(written,
             [&](CArchive& ar)
             {
                 CString back("stale");
                 ar >> back;
                 EXPECT_EQ(back, text);
             });
    }
    // The bytes go through unchanged, zeros and high characters included.
    const CString binary("a\0\xE9\xFF", 4);
    Load(Store([&](CArchive& ar) { ar << binary; }),
         [&](CArchive& ar)
         {
             CString back;
             ar >> back;
             EXPECT_EQ(back, binary);
         });
}

TEST(ArchivePrimitives, UnicodeMarkedStringsAreReadAsEightBitText)
{
    // 0xFF 0xFFFE marks UTF-16; then the usual prefix counts code units: 'A', the euro sign
    // (0x80 in the Western code page), and a surrogate pair that has no 8-bit form.
    Bytes bytes = B({0xFF, 0xFE, 0xFF, 0x04, 0x41, 0x00, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE});
    // Surrogates out of pairs: a high one before 'A', a low one after it; each is one '?'.
    Append(bytes, B({0xFF, 0xFE, 0xFF, 0x03, 0x3D, 0xD8, 0x41, 0x00, 0x00, 0xDE}));
    Append(bytes, B({0xFF, 0xFE, 0xFF, 0xFF, 0x00, 0x01})); // 256 units, 16-bit length
    for (int i = 0; i < 256; ++i)
    {
        Append(bytes, B({0xE9, 0x00}));
    }
    Load(bytes,
         [](CArchive& ar)
         {
             CString text;
             ar >> text;
             EXPECT_EQ(text, CString("A\x80?"));
             ar >> text;
             EXPECT_EQ(text, CString("?A?"));
             ar >> text;
             EXPECT_EQ(text, Repeat('\xE9', 256));
         });
    int charSize = 0;
    Load(B({0xFF, 0xFE, 0xFF, 0x02}),
         [&](CArchive& ar)
         {
             EXPECT_EQ(AfxReadStringLength(ar, charSize), 2u);
             EXPECT_EQ(charSize, 2);
         });
    EXPECT_EQ(Store([](CArchive& ar) { AfxWriteStringLength(ar, 1, TRUE); }),
              B({0xFF, 0xFE, 0xFF, 0x01}));
}

TEST(ArchivePrimitives, CollectionCountsUseTheirOwnEscapes)
{
    const Bytes written = Store(
        [](CArchive& ar)
        {
            ar.WriteCount(5);
            ar.WriteCount(0xFFFF);
            ar.WriteCount(0x12345);
        });
    EXPECT_EQ(written, B({0x05, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0xFF, 0xFF, 0x45, 0x23,
                          0x01, 0x00}));
    Load(written,
         [](CArchive& ar)
         {
             EXPECT_EQ(ar.ReadCount(), 5u);
             EXPECT_EQ(ar.ReadCount(), 0xFFFFu);
             EXPECT_EQ(ar.ReadCount(), 0x12345u);
         });
}

// Every kind of value, including escaped string lengths, for the truncation test.
void WriteMixed(CArchive& ar)
{
    ar << static_cast<BYTE>(1) << static_cast<WORD>(2) << static_cast<DWORD>(3) << 4.0
       << CString("short") << Repeat('y', 300) << CString() << static_cast<LONGLONG>(5);
    ar.WriteCount(0x10000);
}

void ReadMixed(CArchive& ar)
{
    BYTE by;
    WORD w;
    DWORD dw;
    double d;
    CString a, b, c;
    LONGLONG ll;
    ar >> by >> w >> dw >> d >> a >> b >> c >> ll;
    ar.ReadCount();
}

TEST(ArchivePrimitives, TruncatedInputAlwaysEndsInEndOfFile)
{
    const Bytes whole = Store(WriteMixed);
    EXPECT_EQ(ArchiveCause([&] { Load(whole, ReadMixed); }), kNoException);
    for (size_t cut = 0; cut < whole.size(); ++cut)
    {
        const Bytes part(whole.begin(), whole.begin() + static_cast<long>(cut));
        EXPECT_EQ(ArchiveCause([&] { Load(part, ReadMixed, 128); }), CArchiveException::endOfFile)
            << "cut at " << cut;
    }
    // A length that promises far more than the file holds fails without reading past it.
    EXPECT_EQ(ArchiveCause(
                  []
                  {
                      Load(B({0xFF, 0xFF, 0xFF, 0xF0, 0xFF, 0xFF, 0x7F, 'a', 'b'}),
                           [](CArchive& ar)
                           {
                               CString text;
                               ar >> text;
                           });
                  }),
              CArchiveException::endOfFile);
}

TEST(ArchivePrimitives, SmallBuffersAndLargeBlocksKeepTheByteOrder)
{
    std::string block(10000, '\0');
    for (size_t i = 0; i < block.size(); ++i)
    {
        block[i] = static_cast<char>(i * 7);
    }
    auto write = [&](CArchive& ar)
    {
        for (DWORD i = 0; i < 300; ++i)
        {
            ar << static_cast<BYTE>(i) << i;
        }
        ar.Write(block.data(), static_cast<UINT>(block.size()));
        ar << static_cast<WORD>(0xBEEF);
    };
    const Bytes small = Store(write, 1); // enlarged to the minimum of 128
    const Bytes large = Store(write, 65536);
    ASSERT_EQ(small, large);
    ASSERT_EQ(small.size(), 300u * 5 + block.size() + 2);
    Load(
        small,
        [&](CArchive& ar)
        {
            for (DWORD i = 0; i < 300; ++i)
            {
                BYTE by;
                DWORD dw;
                ar >> by >> dw;
                ASSERT_EQ(by, static_cast<BYTE>(i));
                ASSERT_EQ(dw, i);
            }
            std::string back(block.size(), '\0');
            EXPECT_EQ(ar.Read(back.data(), static_cast<UINT>(back.size())), back.size());
            EXPECT_EQ(back, block);
            WORD tail;
            ar >> tail;
            EXPECT_EQ(tail, 0xBEEF);
            char extra[4];
            EXPECT_EQ(ar.Read(extra, sizeof extra), 0u); // raw reads report the end by count
        },
        128);
}

TEST(ArchivePrimitives, ClosingALoadArchiveLeavesTheFileJustPastWhatWasRead)
{
    ScratchFolder dir;
    const std::string path = dir.File("position.bin");
    ScratchFolder::Write(path, Bytes(1000, 0x11));
    CFile file(path.c_str(), CFile::modeRead);
    {
        CArchive ar(&file, CArchive::load);
        DWORD value;
        ar >> value;
        EXPECT_EQ(value, 0x11111111u);
        EXPECT_EQ(ar.GetFile(), &file);
        ar.Close();
    }
    EXPECT_EQ(file.GetPosition(), 4u);
}

TEST(ArchivePrimitives, StoreArchivesFlushOnCloseOrDestructionButNotOnAbort)
{
    ScratchFolder dir;
    const std::string path = dir.File("flush.bin");
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite);
    {
        CArchive ar(&file, CArchive::store);
        ar << static_cast<DWORD>(1);
    }
    EXPECT_EQ(file.GetLength(), 4u);
    {
        CArchive ar(&file, CArchive::store | CArchive::bNoFlushOnDelete);
        ar << static_cast<DWORD>(2);
    }
    EXPECT_EQ(file.GetLength(), 4u);
    {
        CArchive ar(&file, CArchive::store);
        ar << static_cast<DWORD>(3);
        ar.Abort();
        EXPECT_EQ(ar.GetFile(), nullptr);
    }
    EXPECT_EQ(file.GetLength(), 4u);
    {
        CArchive ar(&file, CArchive::store);
        ar << static_cast<DWORD>(4);
        ar.Flush();
        EXPECT_EQ(file.GetLength(), 8u);
    }
}

TEST(ArchivePrimitives, WrongDirectionAndClosedArchivesThrow)
{
    Load(B({1, 2, 3, 4}),
         [](CArchive& ar)
         {
             EXPECT_EQ(ArchiveCause([&] { ar << 1; }), CArchiveException::readOnly);
             EXPECT_EQ(ArchiveCause([&] { ar.WriteObject(nullptr); }), CArchiveException::readOnly);
             ar.Close();
             int value;
             EXPECT_EQ(ArchiveCause([&] { ar >> value; }), CArchiveException::genericException);
         });
    Store(
        [](CArchive& ar)
        {
            int value;
            EXPECT_EQ(ArchiveCause([&] { ar >> value; }), CArchiveException::writeOnly);
            EXPECT_EQ(ArchiveCause([&] { ar.ReadObject(nullptr); }), CArchiveException::writeOnly);
        });
}

TEST(ArchivePrimitives, TextLinesEndAtLineFeedOrCarriageReturn)
{
    const Bytes written = Store(
        [](CArchive& ar)
        {
            ar.WriteString("one\r\ntwo\n");
            ar.WriteString("\rthree\r");
            ar.WriteString("four");
        });
    EXPECT_EQ(written.size(), 20u); // written exactly, no translation and no terminators
    Load(written,
         [](CArchive& ar)
         {
             CString line;
             const char* expected[] = {"one", "two", "", "three", "four"};
             for (const char* text : expected)
             {
                 ASSERT_TRUE(ar.ReadString(line));
                 EXPECT_EQ(line, CString(text));
             }
             EXPECT_FALSE(ar.ReadString(line));
             EXPECT_TRUE(line.IsEmpty());
         });
    Load(written,
         [](CArchive& ar)
         {
             char buffer[3]; // room for two characters and the terminator
             ASSERT_NE(ar.ReadString(buffer, 2), nullptr);
             EXPECT_STREQ(buffer, "on");
             ASSERT_NE(ar.ReadString(buffer, 2), nullptr);
             EXPECT_STREQ(buffer, "e");
         });
}

TEST(ArchivePrimitives, ExceptionsNameTheFileInTheirMessages)
{
    CArchiveException error(CArchiveException::badIndex, "places.dat");
    char text[64];
    ASSERT_TRUE(error.GetErrorMessage(text, sizeof text));
    EXPECT_STREQ(text, "places.dat has a bad format.");
    ASSERT_TRUE(error.GetErrorMessage(text, 5)); // cut to fit, always terminated
    EXPECT_STREQ(text, "plac");
    CArchiveException unnamed(CArchiveException::endOfFile);
    ASSERT_TRUE(unnamed.GetErrorMessage(text, sizeof text));
    EXPECT_STREQ(text, "An attempt was made to access an unnamed file past its end.");
    // Archives name the file they work on.
    ScratchFolder dir;
    const std::string path = dir.File("named.bin");
    ScratchFolder::Write(path, B({}));
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    try
    {
        int value;
        ar >> value;
        FAIL() << "no exception";
    }
    catch (CArchiveException* e)
    {
        EXPECT_EQ(e->m_strFileName, CString(path.c_str()));
        e->Delete();
    }
}

} // namespace
