#include "../support/Scratch.h"

#include <gtest/gtest.h>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using shared::platform::RegistryNamedValue;
using shared::platform::RegistryStore;
using shared::platform::RegistryValue;
namespace winerror = shared::platform::winerror;

namespace
{
using test_support::ScopedEnv;
using test_support::ScratchFolder;

class RegistryStoreTest : public ::testing::Test
{
protected:
    ScratchFolder m_dir;
    RegistryStore m_store{m_dir.Path() / "store"};

    fs::path KeyDir(const std::string& relative) const { return m_dir.Path() / "store" / relative; }
};

} // namespace

TEST_F(RegistryStoreTest, TypedValuesRoundTripAndKeepTheirOrder)
{
    ASSERT_EQ(m_store.CreateKey(HKEY_CURRENT_USER, "Software\\Acme\\Warden"), winerror::kSuccess);
    const RegistryValue dword = RegistryValue::Dword(0x11223344);
    const RegistryValue text = RegistryValue::String("COM3");
    const RegistryValue binary = RegistryValue::Binary({0x00, 0xFF, 0x10});
    const RegistryValue empty = RegistryValue::Binary({});
    EXPECT_EQ(dword.data, (std::vector<std::uint8_t>{0x44, 0x33, 0x22, 0x11}));
    EXPECT_EQ(text.data, (std::vector<std::uint8_t>{'C', 'O', 'M', '3', 0}));

    const char* key = "Software\\Acme\\Warden";
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "Baud", dword), winerror::kSuccess);
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "Port", text), winerror::kSuccess);
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "Blob", binary), winerror::kSuccess);
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "", empty), winerror::kSuccess);
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "Odd", RegistryValue{42, {1, 2}}),
              winerror::kSuccess);

    RegistryValue read;
    ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "Baud", read), winerror::kSuccess);
    EXPECT_EQ(read, dword);
    ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "Port", read), winerror::kSuccess);
    EXPECT_EQ(read, text);
    ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "Blob", read), winerror::kSuccess);
    EXPECT_EQ(read, binary);
    ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "", read), winerror::kSuccess);
    EXPECT_EQ(read, empty);
    ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "Odd", read), winerror::kSuccess);
    EXPECT_EQ(read.type, 42UL);

    // Replacing a value changes its type too, but not its place.
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "Baud", text), winerror::kSuccess);
    std::vector<RegistryNamedValue> values;
    ASSERT_EQ(m_store.EnumValues(HKEY_CURRENT_USER, key, values), winerror::kSuccess);
    ASSERT_EQ(values.size(), 5u);
    EXPECT_EQ(values[0].name, "Baud");
    EXPECT_EQ(values[0].value, text);
    EXPECT_EQ(values[3].name, "");

    EXPECT_EQ(m_store.DeleteValue(HKEY_CURRENT_USER, key, "blob"), winerror::kSuccess);
    EXPECT_EQ(m_store.DeleteValue(HKEY_CURRENT_USER, key, "Blob"), winerror::kFileNotFound);
    EXPECT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "Blob", read), winerror::kFileNotFound);
}

TEST_F(RegistryStoreTest, OnDiskLayoutIsTheDocumentedOne)
{
    ASSERT_EQ(m_store.CreateKey(HKEY_LOCAL_MACHINE, "Software\\Acme"), winerror::kSuccess);
    m_store.SetValue(HKEY_LOCAL_MACHINE, "Software\\Acme", "Port", RegistryValue::String("abc"));
    m_store.SetValue(HKEY_LOCAL_MACHINE, "Software\\Acme", "Two words@", RegistryValue::Dword(1));
    m_store.SetValue(HKEY_LOCAL_MACHINE, "Software\\Acme", "", RegistryValue::Binary({}));

    EXPECT_TRUE(fs::exists(KeyDir(".lock")));
    EXPECT_EQ(ScratchFolder::ReadText(KeyDir("HKEY_LOCAL_MACHINE/Software/Acme/.values")),
              "shared-registry-values 1\n"
              "Port\tREG_SZ\t61626300\n"
              "Two%20words%40\tREG_DWORD\t01000000\n"
              "@\tREG_BINARY\t-\n"
              "end\t3\n");
    // No temporary file is left behind.
    EXPECT_FALSE(fs::exists(KeyDir("HKEY_LOCAL_MACHINE/Software/Acme/.values.tmp")));
}

TEST_F(RegistryStoreTest, NamesAreCaseInsensitiveAndKeepTheirFirstSpelling)
{
    ASSERT_EQ(m_store.CreateKey(HKEY_CURRENT_USER, "Software\\AcmeCorp"), winerror::kSuccess);
    EXPECT_EQ(m_store.OpenKey(HKEY_CURRENT_USER, "SOFTWARE\\acmecorp"), winerror::kSuccess);
    // Creating through another spelling reuses the existing keys.
    ASSERT_EQ(m_store.CreateKey(HKEY_CURRENT_USER, "software\\ACMECORP\\Settings"),
              winerror::kSuccess);
    std::vector<std::string> subKeys;
    ASSERT_EQ(m_store.EnumSubKeys(HKEY_CURRENT_USER, "", subKeys), winerror::kSuccess);
    EXPECT_EQ(subKeys, std::vector<std::string>{"Software"});
    ASSERT_EQ(m_store.EnumSubKeys(HKEY_CURRENT_USER, "Software", subKeys), winerror::kSuccess);
    EXPECT_EQ(subKeys, std::vector<std::string>{"AcmeCorp"});
    EXPECT_TRUE(fs::is_directory(KeyDir("HKEY_CURRENT_USER/Software/AcmeCorp/Settings")));

    const char* key = "Software\\AcmeCorp\\Settings";
    m_store.SetValue(HKEY_CURRENT_USER, key, "ComPort", RegistryValue::Dword(3));
    m_store.SetValue(HKEY_CURRENT_USER, "SOFTWARE\\ACMECORP\\SETTINGS", "COMPORT",
                     RegistryValue::Dword(4));
    std::vector<RegistryNamedValue> values;
    ASSERT_EQ(m_store.EnumValues(HKEY_CURRENT_USER, key, values), winerror::kSuccess);
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].name, "ComPort");
    EXPECT_EQ(values[0].value, RegistryValue::Dword(4));

    // Only ASCII letters fold: other bytes must match exactly.
    m_store.CreateKey(HKEY_CURRENT_USER, "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(m_store.OpenKey(HKEY_CURRENT_USER, "\xC3\xA9T\xC3\xA9"), winerror::kSuccess);
    EXPECT_EQ(m_store.OpenKey(HKEY_CURRENT_USER, "\xC3\x89T\xC3\x89"), winerror::kFileNotFound);

    // Sub-keys list sorted without regard to case.
    m_store.CreateKey(HKEY_CURRENT_USER, "Software\\beta");
    m_store.CreateKey(HKEY_CURRENT_USER, "Software\\Alpha");
    ASSERT_EQ(m_store.EnumSubKeys(HKEY_CURRENT_USER, "Software", subKeys), winerror::kSuccess);
    EXPECT_EQ(subKeys, (std::vector<std::string>{"AcmeCorp", "Alpha", "beta"}));
}

TEST_F(RegistryStoreTest, AwkwardNamesStayInsideTheirKey)
{
    const std::vector<std::string> names{
        "a/b", "..", ".hidden", "100%", "tab\there", "\xE2\x82\xAC uro", "x\\"};
    for (const std::string& name : names)
    {
        const std::string key = "Keys\\" + name;
        ASSERT_EQ(m_store.CreateKey(HKEY_CLASSES_ROOT, key), winerror::kSuccess) << name;
        ASSERT_EQ(m_store.SetValue(HKEY_CLASSES_ROOT, key, name, RegistryValue::String(name)),
                  winerror::kSuccess)
            << name;
    }
    std::vector<std::string> subKeys;
    ASSERT_EQ(m_store.EnumSubKeys(HKEY_CLASSES_ROOT, "Keys", subKeys), winerror::kSuccess);
    // "x\" is the key "x" (a trailing backslash is tolerated).
    EXPECT_EQ(subKeys.size(), names.size());
    for (const std::string& name : names)
    {
        const std::string stored = name == "x\\" ? "x" : name;
        EXPECT_NE(std::find(subKeys.begin(), subKeys.end(), stored), subKeys.end()) << name;
        RegistryValue value;
        ASSERT_EQ(m_store.QueryValue(HKEY_CLASSES_ROOT, "Keys\\" + stored, name, value),
                  winerror::kSuccess)
            << name;
        EXPECT_EQ(value, RegistryValue::String(name));
    }
    // Nothing escaped the store, and "a/b" did not become a nested directory.
    EXPECT_FALSE(fs::exists(KeyDir("HKEY_CLASSES_ROOT/Keys/a")));
    EXPECT_FALSE(fs::exists(m_dir.Path() / "HKEY_CLASSES_ROOT"));
    EXPECT_FALSE(fs::exists(m_dir.Path() / "store" / "Keys"));
}

TEST_F(RegistryStoreTest, MissingKeysBadPathsAndForeignHandles)
{
    RegistryValue value;
    // A predefined key exists even before anything was written.
    EXPECT_EQ(m_store.OpenKey(HKEY_USERS, ""), winerror::kSuccess);
    EXPECT_EQ(m_store.QueryValue(HKEY_USERS, "", "x", value), winerror::kFileNotFound);
    EXPECT_EQ(m_store.OpenKey(HKEY_USERS, "Nope"), winerror::kFileNotFound);
    EXPECT_FALSE(fs::exists(m_dir.Path() / "store")); // reading created nothing
    EXPECT_EQ(m_store.SetValue(HKEY_USERS, "Nope", "x", value), winerror::kFileNotFound);

    EXPECT_EQ(m_store.CreateKey(HKEY_USERS, "\\Leading"), winerror::kBadPathname);
    EXPECT_EQ(m_store.CreateKey(HKEY_USERS, "Double\\\\Slash"), winerror::kBadPathname);
    EXPECT_EQ(m_store.CreateKey(HKEY_USERS, std::string(256, 'k')), winerror::kInvalidParameter);
    EXPECT_EQ(m_store.CreateKey(HKEY_USERS, std::string(255, 'k')), winerror::kSuccess);

    EXPECT_EQ(m_store.OpenKey(HKEY_PERFORMANCE_DATA, ""), winerror::kInvalidHandle);
    EXPECT_EQ(m_store.CreateKey(nullptr, "x"), winerror::kInvalidHandle);
    int local = 0;
    EXPECT_EQ(m_store.SetValue(reinterpret_cast<HKEY>(&local), "", "x", value),
              winerror::kInvalidHandle);

    // The root-key values live in the root key's own directory.
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_CONFIG, "", "Top", RegistryValue::Dword(1)),
              winerror::kSuccess);
    EXPECT_EQ(m_store.QueryValue(HKEY_CURRENT_CONFIG, "", "top", value), winerror::kSuccess);

    // A store that cannot be created reports the reason.
    RegistryStore blocked(m_dir.Path() / "file" / "store");
    ScratchFolder::WriteText(m_dir.Path() / "file", "not a directory");
    EXPECT_NE(blocked.CreateKey(HKEY_CURRENT_USER, "x"), winerror::kSuccess);
    EXPECT_EQ(RegistryStore(fs::path()).CreateKey(HKEY_CURRENT_USER, "x"), winerror::kPathNotFound);
}

TEST_F(RegistryStoreTest, RootKeyNames)
{
    EXPECT_EQ(RegistryStore::RootKeyName(HKEY_CURRENT_CONFIG), "HKEY_CURRENT_CONFIG");
    EXPECT_EQ(RegistryStore::RootKeyName(HKEY_PERFORMANCE_DATA), "");
    // Win32 sign-extends the predefined handles on 64-bit hosts.
    EXPECT_EQ(reinterpret_cast<std::intptr_t>(HKEY_LOCAL_MACHINE), std::intptr_t{-2147483646});
    EXPECT_EQ(RegistryStore::ParseRootKey("hklm"), HKEY_LOCAL_MACHINE);
    EXPECT_EQ(RegistryStore::ParseRootKey("HKEY_USERS"), HKEY_USERS);
    EXPECT_EQ(RegistryStore::ParseRootKey("HKCC"), HKEY_CURRENT_CONFIG);
    EXPECT_FALSE(RegistryStore::ParseRootKey("HKEY_PERFORMANCE_DATA"));
    EXPECT_FALSE(RegistryStore::ParseRootKey("HKXX"));
}

TEST_F(RegistryStoreTest, DamagedValueFilesReadAsMissingAndAreKeptAside)
{
    const char* key = "Software\\Acme";
    ASSERT_EQ(m_store.CreateKey(HKEY_CURRENT_USER, key), winerror::kSuccess);
    ASSERT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "A", RegistryValue::Dword(1)),
              winerror::kSuccess);
    ASSERT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "B", RegistryValue::String("two")),
              winerror::kSuccess);
    const fs::path file = KeyDir("HKEY_CURRENT_USER/Software/Acme/.values");
    const std::string good = ScratchFolder::ReadText(file);

    std::vector<std::string> damaged{
        "",                               // empty
        good.substr(0, good.size() / 2),  // cut in the middle
        good.substr(0, good.size() - 1),  // lost its final line break
        good.substr(0, good.find("end")), // lost its trailer
        std::string("\x7f"
                    "ELF\0\0\x01",
                    7),                                                 // binary junk
        "shared-registry-values 2\nend\t0\n",                           // a format it does not know
        "shared-registry-values 1\nA\tREG_DWORD\t010\nend\t1\n",        // odd hex
        "shared-registry-values 1\nA\tREG_DWORD\t01zz0000\nend\t1\n",   // bad hex
        "shared-registry-values 1\nA\tREG_DWARF\t01000000\nend\t1\n",   // bad type
        "shared-registry-values 1\nA%G\tREG_DWORD\t01000000\nend\t1\n", // bad escape
        "shared-registry-values 1\nA\tREG_DWORD\nend\t1\n",             // missing field
        "shared-registry-values 1\nA\tREG_DWORD\t01000000\nend\t2\n",   // wrong count
        "shared-registry-values 1\nA\tREG_DWORD\t01000000\nend\t1\nextra\n",
    };
    for (const std::string& text : damaged)
    {
        ScratchFolder::WriteText(file, text);
        RegistryValue value;
        EXPECT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "A", value), winerror::kFileNotFound)
            << text;
        std::vector<RegistryNamedValue> values;
        EXPECT_EQ(m_store.EnumValues(HKEY_CURRENT_USER, key, values), winerror::kSuccess);
        EXPECT_TRUE(values.empty()) << text;
    }

    // The next write starts afresh and keeps the unreadable file for inspection.
    ScratchFolder::WriteText(file, "garbage");
    ASSERT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "C", RegistryValue::Dword(3)),
              winerror::kSuccess);
    EXPECT_EQ(ScratchFolder::ReadText(file.parent_path() / ".values.damaged"), "garbage");
    std::vector<RegistryNamedValue> values;
    m_store.EnumValues(HKEY_CURRENT_USER, key, values);
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].name, "C");

    // Something other than a file in its place is damage too; it is moved aside in the same way.
    fs::remove(file.parent_path() / ".values.damaged");
    fs::remove(file);
    fs::create_directory(file);
    RegistryValue value;
    EXPECT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "C", value), winerror::kFileNotFound);
    EXPECT_EQ(m_store.SetValue(HKEY_CURRENT_USER, key, "D", RegistryValue::Dword(4)),
              winerror::kSuccess);
    EXPECT_TRUE(fs::is_directory(file.parent_path() / ".values.damaged"));
    EXPECT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, "D", value), winerror::kSuccess);
}

TEST_F(RegistryStoreTest, WritersInSeveralProcessesAndThreadsLoseNothing)
{
    const char* key = "Software\\Shared";
    constexpr int kWriters = 4;
    constexpr int kValuesEach = 25;

    std::vector<pid_t> children;
    for (int writer = 0; writer < kWriters; ++writer)
    {
        const pid_t pid = ::fork();
        ASSERT_GE(pid, 0);
        if (pid == 0)
        {
            // Each child creates the key itself, racing the others, then adds its own values;
            // half of them go through a differently spelled key path.
            RegistryStore store(m_dir.Path() / "store");
            bool ok = store.CreateKey(HKEY_CURRENT_USER, key) == winerror::kSuccess;
            for (int i = 0; i < kValuesEach && ok; ++i)
            {
                const std::string name = "w" + std::to_string(writer) + "-" + std::to_string(i);
                ok = store.SetValue(HKEY_CURRENT_USER, i % 2 ? "SOFTWARE\\shared" : key, name,
                                    RegistryValue::Dword(static_cast<std::uint32_t>(
                                        writer * 1000 + i))) == winerror::kSuccess;
            }
            ::_exit(ok ? 0 : 1);
        }
        children.push_back(pid);
    }
    // Threads of this process write at the same time.
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
    {
        threads.emplace_back(
            [this, t, key]
            {
                m_store.CreateKey(HKEY_CURRENT_USER, key);
                for (int i = 0; i < kValuesEach; ++i)
                    m_store.SetValue(HKEY_CURRENT_USER, key,
                                     "t" + std::to_string(t) + "-" + std::to_string(i),
                                     RegistryValue::String(std::to_string(i)));
            });
    }
    for (auto& thread : threads)
        thread.join();
    for (const pid_t pid : children)
    {
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }

    std::vector<RegistryNamedValue> values;
    ASSERT_EQ(m_store.EnumValues(HKEY_CURRENT_USER, key, values), winerror::kSuccess);
    EXPECT_EQ(values.size(), static_cast<std::size_t>((kWriters + 2) * kValuesEach));
    for (int writer = 0; writer < kWriters; ++writer)
    {
        for (int i = 0; i < kValuesEach; ++i)
        {
            RegistryValue value;
            const std::string name = "W" + std::to_string(writer) + "-" + std::to_string(i);
            ASSERT_EQ(m_store.QueryValue(HKEY_CURRENT_USER, key, name, value), winerror::kSuccess)
                << name;
            EXPECT_EQ(value, RegistryValue::Dword(static_cast<std::uint32_t>(writer * 1000 + i)));
        }
    }
    // One key directory, however it was spelled.
    std::vector<std::string> subKeys;
    m_store.EnumSubKeys(HKEY_CURRENT_USER, "", subKeys);
    EXPECT_EQ(subKeys, std::vector<std::string>{"Software"});
}

TEST(RegistryStoreRootTest, EnvironmentChoosesTheDefaultRoot)
{
    RegistryStore::SetDefaultRoot(std::nullopt);
    {
        ScopedEnv root("SHARED_REGISTRY_ROOT", "/tmp/elsewhere");
        EXPECT_EQ(RegistryStore::DefaultRoot(), fs::path("/tmp/elsewhere"));
        EXPECT_EQ(RegistryStore::Default().Root(), fs::path("/tmp/elsewhere"));
    }
    {
        ScopedEnv root("SHARED_REGISTRY_ROOT", nullptr);
        ScopedEnv config("XDG_CONFIG_HOME", "/tmp/config");
        EXPECT_EQ(RegistryStore::DefaultRoot(), fs::path("/tmp/config/shared-registry"));
    }
    {
        ScopedEnv root("SHARED_REGISTRY_ROOT", "");
        ScopedEnv config("XDG_CONFIG_HOME", "relative/ignored");
        ScopedEnv home("HOME", "/home/tester");
        EXPECT_EQ(RegistryStore::DefaultRoot(), fs::path("/home/tester/.config/shared-registry"));

        RegistryStore::SetDefaultRoot(fs::path("/tmp/override"));
        EXPECT_EQ(RegistryStore::DefaultRoot(), fs::path("/tmp/override"));
        RegistryStore::SetDefaultRoot(std::nullopt);
        EXPECT_EQ(RegistryStore::DefaultRoot(), fs::path("/home/tester/.config/shared-registry"));
    }
}
