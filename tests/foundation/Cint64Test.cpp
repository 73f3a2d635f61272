#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <shared/archive/CArchive.h>
#include <shared/foundation/Cint64.h>
#include <string>
#include <unordered_set>

namespace
{

TEST(Cint64, HalvesNumberAndTextForm)
{
    const Cint64 zero;
    EXPECT_EQ(zero.GetFormattedString(), CString("0000000000000000"));
    EXPECT_EQ(zero, Cint64(0, 0));

    const Cint64 id(0xA, 0xFF);
    EXPECT_EQ(id.GetFormattedString(), CString("0000000A000000FF"));
    EXPECT_EQ(id.GetNumber(), 0x0000000A000000FFll);

    const Cint64 all(static_cast<__int64>(-1));
    EXPECT_EQ(all.GetHighPart(), 0xFFFFFFFFu);
    EXPECT_EQ(all.GetLowPart(), 0xFFFFFFFFu);
    EXPECT_EQ(all.GetNumber(), -1); // the same bits, seen as signed
    EXPECT_EQ(all.GetFormattedString(), CString("FFFFFFFFFFFFFFFF"));

    Cint64 changed(1, 2);
    changed.SetHighPart(7);
    EXPECT_EQ(changed, Cint64(7, 2));
}

TEST(Cint64, TextIsReadAsRightAlignedHexadecimal)
{
    struct Case
    {
        const char* text;
        unsigned high;
        unsigned low;
    };
    const Case cases[] = {
        {" 1F\t", 0, 0x1F},
        {"123456789", 0x1, 0x23456789},
        {"abcdef01", 0, 0xABCDEF01},
        {"xyz", 0, 0},
        {"", 0, 0},
        {"12G4", 0, 0x12},                      // stops at the first non-digit
        {"0x1F", 0, 0x1F},                      // the conversion accepts a 0x prefix
        {"-1", 0, 0xFFFFFFFF},                  // and a sign, negating modulo 2^32
        {"1FFFFFFFF00000001", 0xFFFFFFFF, 0x1}, // a high part beyond 32 bits saturates
        {"0000000A000000FF", 0xA, 0xFF},
    };
    for (const Case& c : cases)
    {
        const Cint64 id{CString(c.text)};
        EXPECT_EQ(id.GetHighPart(), c.high) << c.text;
        EXPECT_EQ(id.GetLowPart(), c.low) << c.text;
    }
    for (const Cint64& id : {Cint64(0, 0), Cint64(0xDEADBEEF, 0x1), Cint64(0xFFFFFFFF, 0xFFFFFFFF)})
    {
        EXPECT_EQ(Cint64(id.GetFormattedString()), id);
    }
}

TEST(Cint64, IncrementCarriesAndWraps)
{
    Cint64 id(0, 0xFFFFFFFF);
    ++id;
    EXPECT_EQ(id, Cint64(1, 0));
    id++;
    EXPECT_EQ(id, Cint64(1, 1));
    Cint64 last(0xFFFFFFFF, 0xFFFFFFFF);
    last++;
    EXPECT_EQ(last, Cint64(0, 0));
}

TEST(Cint64, OrderIsUnsignedHighPartFirst)
{
    const Cint64 big(0xFFFFFFFF, 0);
    const Cint64 small(1, 0);
    EXPECT_TRUE(big > small); // although big's GetNumber is negative
    EXPECT_LT(big.GetNumber(), small.GetNumber());
    EXPECT_TRUE(Cint64(1, 5) < Cint64(1, 6));
    EXPECT_TRUE(Cint64(2, 0) > Cint64(1, 0xFFFFFFFF));
    const Cint64 a(3, 4);
    EXPECT_TRUE(a == Cint64(3, 4) && a <= a && a >= a && !(a < a) && !(a != a));
    EXPECT_TRUE(small != big && small <= big && !(small >= big));

    std::unordered_set<Cint64> ids{Cint64(1, 2), Cint64(1, 2), Cint64(2, 1)};
    EXPECT_EQ(ids.size(), 2u);
}

class Cint64ArchiveTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/arch-cint64-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        m_dir = pattern;
        m_path = (m_dir / "id.bin").string();
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string Bytes() const
    {
        std::ifstream in(m_path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    std::filesystem::path m_dir;
    std::string m_path;
};

TEST_F(Cint64ArchiveTest, StoredHighPartFirstEachLittleEndian)
{
    {
        CFile file(m_path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive ar(&file, CArchive::store);
        Cint64 id(0xA, 0xFF);
        Cint64 other(0x01020304, 0x05060708);
        ar << id;
        ar >> other; // the archive's direction rules: this writes
    }
    EXPECT_EQ(Bytes(), std::string("\x0A\0\0\0\xFF\0\0\0\x04\x03\x02\x01\x08\x07\x06\x05", 16));

    CFile file(m_path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    Cint64 first;
    Cint64 second;
    ar << first; // and this reads
    ar >> second;
    EXPECT_EQ(first, Cint64(0xA, 0xFF));
    EXPECT_EQ(second, Cint64(0x01020304, 0x05060708));
    Cint64 beyond;
    try
    {
        ar >> beyond;
        FAIL() << "read past the end";
    }
    catch (CArchiveException* e)
    {
        EXPECT_EQ(e->m_cause, CArchiveException::endOfFile);
        e->Delete();
    }
}

} // namespace
