#include "../support/Scratch.h"

#include <gtest/gtest.h>
#include <shared/foundation/CRegistryFuncs.h>
#include <shared/platform/RegistryStore.h>
#include <string>

namespace fs = std::filesystem;
using shared::platform::RegistryStore;
using shared::platform::RegistryValue;

namespace
{

// Points the library's registry at a fresh temporary store for the life of a test.
class RegistryFuncsTest : public ::testing::Test
{
protected:
    void SetUp() override { RegistryStore::SetDefaultRoot(m_root.Path()); }
    void TearDown() override { RegistryStore::SetDefaultRoot(std::nullopt); }

    // Stores a value of any type directly, as another program might have.
    void Put(const char* subKey, const char* name, const RegistryValue& value)
    {
        RegistryStore store(m_root.Path());
        ASSERT_EQ(store.CreateKey(HKEY_CURRENT_USER, subKey), 0UL);
        ASSERT_EQ(store.SetValue(HKEY_CURRENT_USER, subKey, name, value), 0UL);
    }

    test_support::ScratchFolder m_root;
};

constexpr const char* kKey = "Software\\Acme\\Warden";

} // namespace

TEST_F(RegistryFuncsTest, IntegersRoundTripAsThirtyTwoBitValues)
{
    EXPECT_TRUE(CRegistryFuncs::WriteRegistryInt(HKEY_CURRENT_USER, kKey, "Port", 3));
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Port", -7), 3);
    // Names are case-insensitive.
    EXPECT_EQ(
        CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, "software\\acme\\warden", "PORT", -7), 3);

    EXPECT_TRUE(CRegistryFuncs::WriteRegistryInt(HKEY_CURRENT_USER, kKey, "Negative", -1));
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Negative", 0), -1);

    // Stored as REG_DWORD, four little-endian bytes.
    RegistryValue stored;
    ASSERT_EQ(RegistryStore(m_root.Path()).QueryValue(HKEY_CURRENT_USER, kKey, "Port", stored),
              0UL);
    EXPECT_EQ(stored, RegistryValue::Dword(3));

    // The short form is the same value cut to 16 bits.
    EXPECT_TRUE(CRegistryFuncs::WriteRegistryInt(HKEY_CURRENT_USER, kKey, "Big", 70000));
    EXPECT_EQ(CRegistryFuncs::GetRegistryShort(HKEY_CURRENT_USER, kKey, "Big", 0), 4464);
    EXPECT_EQ(CRegistryFuncs::GetRegistryShort(HKEY_CURRENT_USER, kKey, "Negative", 0), -1);
    EXPECT_EQ(CRegistryFuncs::GetRegistryShort(HKEY_CURRENT_USER, kKey, "Missing", 12), 12);
}

TEST_F(RegistryFuncsTest, IntegerReadsAnyFourByteValueAndDefaultsOtherwise)
{
    // A three-character string with its zero is four bytes, read as a number.
    Put(kKey, "Text", RegistryValue::String("abc"));
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Text", 0), 0x00636261);
    // Longer data does not fit the four-byte buffer.
    Put(kKey, "Long", RegistryValue::String("abcd"));
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Long", 99), 99);
    Put(kKey, "Qword", RegistryValue{REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}});
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Qword", 99), 99);
    // Shorter data fills the low bytes.
    Put(kKey, "Two", RegistryValue::Binary({0x34, 0x12}));
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Two", 99), 0x1234);
    Put(kKey, "BigEndian", RegistryValue{REG_DWORD_BIG_ENDIAN, {0, 0, 0, 1}});
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "BigEndian", 0), 0x01000000);

    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Missing", 42), 42);
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, "Software\\Nobody", "Port", 42),
              42);
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_PERFORMANCE_DATA, kKey, "Port", 42), 42);
}

TEST_F(RegistryFuncsTest, StringsRoundTripAndDefaultWhenMissingOrEmpty)
{
    // Writing to a key that does not exist creates it and the keys above it.
    EXPECT_TRUE(
        CRegistryFuncs::WriteRegistryStr(HKEY_CURRENT_USER, kKey, "Map", "C:\\Maps\\uk.gst"));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "map", "none"),
              "C:\\Maps\\uk.gst");
    RegistryValue stored;
    ASSERT_EQ(RegistryStore(m_root.Path()).QueryValue(HKEY_CURRENT_USER, kKey, "Map", stored), 0UL);
    EXPECT_EQ(stored.type, REG_SZ);
    EXPECT_EQ(stored.data.size(), 15u); // the zero is counted

    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "Missing", "dflt"), "dflt");
    EXPECT_TRUE(CRegistryFuncs::WriteRegistryStr(HKEY_CURRENT_USER, kKey, "Empty", ""));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "Empty", "dflt"), "dflt");
    Put(kKey, "NoBytes", RegistryValue::Binary({}));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "NoBytes", "dflt"), "dflt");

    // Text ends at the first zero byte, whatever the type; a value without one is taken whole.
    Put(kKey, "Embedded", RegistryValue::Binary({'a', 'b', 0, 'c', 0}));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "Embedded", ""), "ab");
    Put(kKey, "Unterminated", RegistryValue::Binary({'x', 'y'}));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "Unterminated", ""), "xy");
    Put(kKey, "Number", RegistryValue::Dword(0x31));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "Number", ""), "1");

    // The unnamed value of a key.
    EXPECT_TRUE(CRegistryFuncs::WriteRegistryStr(HKEY_CURRENT_USER, kKey, "", "default"));
    EXPECT_EQ(CRegistryFuncs::GetRegistryStr(HKEY_CURRENT_USER, kKey, "", ""), "default");
}

TEST_F(RegistryFuncsTest, WriteFailuresReturnFalse)
{
    EXPECT_FALSE(CRegistryFuncs::WriteRegistryInt(HKEY_PERFORMANCE_DATA, kKey, "Port", 1));
    EXPECT_FALSE(CRegistryFuncs::WriteRegistryStr(nullptr, kKey, "Port", "x"));
    EXPECT_FALSE(CRegistryFuncs::WriteRegistryStr(HKEY_CURRENT_USER, "\\Bad", "Port", "x"));
    // The key can be made but not the value: a name longer than Windows allows.
    const std::string tooLong(16384, 'n');
    EXPECT_FALSE(CRegistryFuncs::WriteRegistryStr(HKEY_CURRENT_USER, kKey, tooLong.c_str(), "x"));
    // A store whose root cannot be made.
    RegistryStore::SetDefaultRoot(m_root.Path() / "store" / "sub");
    test_support::ScratchFolder::WriteText(m_root.Path() / "store", "a file, not a folder");
    EXPECT_FALSE(CRegistryFuncs::WriteRegistryInt(HKEY_CURRENT_USER, kKey, "Port", 1));
    EXPECT_EQ(CRegistryFuncs::GetRegistryInt(HKEY_CURRENT_USER, kKey, "Port", 5), 5);
}

TEST(RegistryFuncsErrorTest, SystemErrorStringGivesTheMessageWithoutLineBreak)
{
    EXPECT_EQ(CRegistryFuncs::GetSystemErrorString(2),
              "The system cannot find the file specified.");
    EXPECT_EQ(CRegistryFuncs::GetSystemErrorString(-1), "");
    EXPECT_EQ(CRegistryFuncs::GetSystemErrorString(123456), "");
}
