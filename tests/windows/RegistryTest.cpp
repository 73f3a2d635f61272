// The registry backend against the real (Wine) registry, with reg.exe as the second process.
#include <cstdio>
#include <gtest/gtest.h>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <string>
#include <windows.h>

using shared::platform::RegistryNamedValue;
using shared::platform::RegistryStore;
using shared::platform::RegistryValue;
namespace winerror = shared::platform::winerror;

namespace
{

std::string RunCommand(const std::string& command)
{
    std::string output;
    if (FILE* pipe = ::_popen((command + " 2>&1").c_str(), "r"))
    {
        char buffer[512];
        while (std::fgets(buffer, sizeof buffer, pipe) != nullptr)
            output += buffer;
        ::_pclose(pipe);
    }
    return output;
}

class WindowsRegistry : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_key = "Software\\SharedWineTest\\" + std::to_string(::GetCurrentProcessId());
        ASSERT_EQ(m_store.CreateKey(HKEY_CURRENT_USER, m_key), winerror::kSuccess);
    }
    void TearDown() override { RunCommand("reg delete \"HKCU\\" + m_key + "\" /f"); }

    RegistryStore m_store{{}};
    std::string m_key;
};

TEST_F(WindowsRegistry, ValuesCrossProcessBoundariesBothWays)
{
    ASSERT_EQ(m_store.SetValue(HKEY_CURRENT_USER, m_key, "Port", RegistryValue::String("COM7")),
              winerror::kSuccess);
    const std::string listed = RunCommand("reg query \"HKCU\\" + m_key + "\" /v Port");
    EXPECT_NE(listed.find("REG_SZ"), std::string::npos) << listed;
    EXPECT_NE(listed.find("COM7"), std::string::npos) << listed;

    RunCommand("reg add \"HKCU\\" + m_key + "\" /v Baud /t REG_DWORD /d 4800 /f");
    RegistryValue value;
    ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, m_key, "baud", value), winerror::kSuccess);
    EXPECT_EQ(value, RegistryValue::Dword(4800));
}

TEST_F(WindowsRegistry, LookupsFollowTheStoreContract)
{
    RegistryValue value;
    EXPECT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, m_key, "Missing", value),
              winerror::kFileNotFound);
    EXPECT_EQ(m_store.OpenKey(HKEY_CURRENT_USER, m_key + "\\Missing"), winerror::kFileNotFound);
    EXPECT_EQ(m_store.QueryValue(reinterpret_cast<HKEY>(std::intptr_t{0x1234}), m_key, "x", value),
              winerror::kInvalidHandle);
    EXPECT_EQ(m_store.DeleteValue(HKEY_CURRENT_USER, m_key, "Missing"), winerror::kFileNotFound);

    for (const char* name : {"beta", "Alpha", "gamma"})
        ASSERT_EQ(m_store.CreateKey(HKEY_CURRENT_USER, m_key + "\\" + name), winerror::kSuccess);
    std::vector<std::string> keys;
    ASSERT_EQ(m_store.EnumSubKeys(HKEY_CURRENT_USER, m_key, keys), winerror::kSuccess);
    EXPECT_EQ(keys, (std::vector<std::string>{"Alpha", "beta", "gamma"}));

    const RegistryValue binary = RegistryValue::Binary({0, 1, 0xFF});
    ASSERT_EQ(m_store.SetValue(HKEY_CURRENT_USER, m_key, "", binary), winerror::kSuccess);
    ASSERT_EQ(m_store.SetValue(HKEY_CURRENT_USER, m_key, "N", RegistryValue::Dword(7)),
              winerror::kSuccess);
    std::vector<RegistryNamedValue> values;
    ASSERT_EQ(m_store.EnumValues(HKEY_CURRENT_USER, m_key, values), winerror::kSuccess);
    ASSERT_EQ(values.size(), 2u);
    EXPECT_EQ(values[0].value, binary);
    EXPECT_EQ(values[1].name, "N");
    EXPECT_EQ(m_store.DeleteValue(HKEY_CURRENT_USER, m_key, "n"), winerror::kSuccess);
}

} // namespace
