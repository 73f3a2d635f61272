#include "../support/Scratch.h"

#include <gtest/gtest.h>
#include <shared/archive/CArchive.h>
#include <shared/foundation/Cint64.h>
#include <string>
#include <unordered_set>

namespace
{

TEST(Cint64, HalvesNumberAndTextForm)
{
    EXPECT_EQ(Cint64(0xA, 0xFF).GetFormattedString(), CString("0000000A000000FF"));
    EXPECT_EQ(Cint64(0xA, 0xFF).GetNumber(), 0x0000000A000000FFll);
    const Cint64 all(static_cast<__int64>(-1));
    EXPECT_EQ(all, Cint64(0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_EQ(all.GetNumber(), -1); // the same bits, seen as signed
    EXPECT_EQ(all.GetFormattedString(), CString("FFFFFFFFFFFFFFFF"));
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
        {"07", 0, 7},                           // but a leading 0 alone is a digit
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
    EXPECT_TRUE(small != big && small <= big && !(small >= big) && small <= small);
    std::unordered_set<Cint64> ids{Cint64(1, 2), Cint64(1, 2), Cint64(2, 1)};
    EXPECT_EQ(ids.size(), 2u);
}

TEST(Cint64Archive, StoredHighPartFirstEachLittleEndian)
{
    const test_support::ScratchFolder folder;
    const std::string path = folder.File("id.bin");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive ar(&file, CArchive::store);
        Cint64 id(0xA, 0xFF);
        Cint64 other(0x01020304, 0x05060708);
        ar << id;
        ar >> other; // the archive's direction rules: this writes
    }
    EXPECT_EQ(test_support::ScratchFolder::ReadText(path),
              std::string("\x0A\0\0\0\xFF\0\0\0\x04\x03\x02\x01\x08\x07\x06\x05", 16));

    CFile file(path.c_str(), CFile::modeRead);
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
