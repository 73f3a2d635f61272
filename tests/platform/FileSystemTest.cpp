#include "../support/Scratch.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <shared/foundation/CLog.h>
#include <shared/framework/CFile.h>
#include <shared/places/CSetCollection.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/platform/FileSystem.h>
#include <shared/platform/ProcessId.h>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <string>
#include <sys/stat.h>
#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

namespace pf = shared::platform;

// Faults the injected calls give; reset by every test that installs them.
struct Faults
{
    std::atomic<int> interruptions{0};      // calls that fail with kInterrupted first
    std::atomic<std::size_t> writeLimit{0}; // bytes one write takes at most (0: all)
    std::atomic<bool> diskFull{false};
};
Faults g_faults;

pf::FileSystemCalls FaultyCalls()
{
    pf::FileSystemCalls calls = pf::GetRealFileSystemCalls();
    calls.read = [](pf::FileHandle h, void* b, std::size_t n, std::size_t& got) -> pf::FileError
    {
        if (g_faults.interruptions.fetch_sub(1) > 0)
            return pf::fileerror::kInterrupted;
        return pf::GetRealFileSystemCalls().read(h, b, n, got);
    };
    calls.write = [](pf::FileHandle h, const void* d, std::size_t n,
                     std::size_t& put) -> pf::FileError
    {
        if (g_faults.interruptions.fetch_sub(1) > 0)
            return pf::fileerror::kInterrupted;
        if (g_faults.diskFull)
            return pf::fileerror::kDiskFull;
        const std::size_t limit = g_faults.writeLimit;
        return pf::GetRealFileSystemCalls().write(h, d, limit != 0 && n > limit ? limit : n, put);
    };
    return calls;
}

class FileSystemTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_faults.interruptions = 0;
        g_faults.writeLimit = 0;
        g_faults.diskFull = false;
    }

    std::string PathOf(const std::string& name) const { return m_folder.File(name); }
    static std::string Contents(const std::string& path)
    {
        return test_support::ScratchFolder::ReadText(path);
    }
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    test_support::ScratchFolder m_folder;
    const std::filesystem::path& m_dir = m_folder.Path();
};

// Saves text through a replacement as the library's collections do; the CFileException cause
// on failure, -1 when a commit fails, 0 on success.
int Save(const std::string& path, const std::string& text)
{
    CAtomicFileReplacement replacement(path);
    CFile file;
    if (!file.Open(replacement.GetTemporaryPath(), CFile::modeCreate | CFile::modeWrite))
        return -1;
    try
    {
        file.Write(text.data(), static_cast<UINT>(text.size()));
        file.Flush();
        file.Close();
    }
    catch (CFileException* e)
    {
        const int cause = e->m_cause;
        e->Delete();
        return cause;
    }
    return replacement.Commit() ? 0 : -1;
}

TEST_F(FileSystemTest, InterruptedAndShortCallsAreCompleted)
{
    const pf::CScopedFileSystemCalls use(FaultyCalls());
    const std::string text(10000, 'x');
    g_faults.interruptions = 3;
    g_faults.writeLimit = 7;
    ASSERT_EQ(Save(PathOf("a.dat"), text), 0);
    EXPECT_EQ(Contents(PathOf("a.dat")), text);

    CFile file(PathOf("a.dat").c_str(), CFile::modeRead);
    char buffer[16];
    g_faults.interruptions = 2;
    EXPECT_EQ(file.Read(buffer, sizeof buffer), sizeof buffer);
}

TEST_F(FileSystemTest, DiskFullIsReportedAndLeavesTheOldFileAlone)
{
    ASSERT_EQ(Save(PathOf("places.dat"), "old"), 0);
    {
        const pf::CScopedFileSystemCalls use(FaultyCalls());
        g_faults.diskFull = true;
        EXPECT_EQ(Save(PathOf("places.dat"), "new content"), CFileException::diskFull);
    }
    EXPECT_EQ(Contents(PathOf("places.dat")), "old");
    EXPECT_EQ(Entries(), std::vector<std::string>{"places.dat"});
}

TEST_F(FileSystemTest, CollectionsReportDiskFullAndKeepTheirFiles)
{
    CLog::SetLogFileName(CString(PathOf("Application.log").c_str()));
    const std::vector<std::function<bool(const char*)>> savers{
        [](const char* path) { return CSetCollection().SaveCollection(path); },
        [](const char* path) { return CUserPlaceCollection().SaveCollection(path); }};
    for (const auto& save : savers)
    {
        ASSERT_TRUE(save(PathOf("saved.dat").c_str()));
        const std::string before = Contents(PathOf("saved.dat"));
        {
            const pf::CScopedFileSystemCalls use(FaultyCalls());
            g_faults.diskFull = true;
            EXPECT_FALSE(save(PathOf("saved.dat").c_str()));
        }
        EXPECT_EQ(Contents(PathOf("saved.dat")), before);
        std::filesystem::remove(PathOf("saved.dat"));
    }
    CLog::SetLogFileName(CString());
    EXPECT_EQ(Entries(), std::vector<std::string>{"Application.log"});
}

#ifndef _WIN32 // the file-backed registry store is the POSIX backend
TEST_F(FileSystemTest, RegistryStoreReportsDiskFullAndKeepsItsValues)
{
    const pf::RegistryStore store(m_dir / "registry");
    ASSERT_EQ(store.CreateKey(HKEY_CURRENT_USER, "Software\\Test"), 0u);
    ASSERT_EQ(
        store.SetValue(HKEY_CURRENT_USER, "Software\\Test", "Port", pf::RegistryValue::Dword(1)),
        0u);
    {
        const pf::CScopedFileSystemCalls use(FaultyCalls());
        g_faults.diskFull = true;
        EXPECT_EQ(store.SetValue(HKEY_CURRENT_USER, "Software\\Test", "Port",
                                 pf::RegistryValue::Dword(2)),
                  pf::winerror::kDiskFull);
    }
    pf::RegistryValue value;
    ASSERT_EQ(store.QueryValue(HKEY_CURRENT_USER, "Software\\Test", "Port", value), 0u);
    EXPECT_EQ(value, pf::RegistryValue::Dword(1));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir))
        EXPECT_EQ(entry.path().string().find(".savetmp"), std::string::npos) << entry.path();
}
#endif

#ifndef _WIN32 // where a whole path is limited to 260 characters, such names do not fit
TEST_F(FileSystemTest, TemporaryNamesFitBesideTheLongestLegalNames)
{
    for (const std::size_t length : {241u, 250u, 255u})
    {
        const std::string name = std::string(length - 4, 'n') + ".dat";
        ASSERT_EQ(Save(PathOf(name), "first"), 0) << length;
        EXPECT_EQ(Save(PathOf(name), "second"), 0) << length;
        EXPECT_EQ(Contents(PathOf(name)), "second");
        std::filesystem::remove(PathOf(name));
    }
    EXPECT_TRUE(Entries().empty());
}
#endif

TEST_F(FileSystemTest, KeepExistingRefusesToReplace)
{
    ASSERT_EQ(Save(PathOf("in.bin"), "old"), 0);
    CAtomicFileReplacement replacement(PathOf("in.bin"),
                                       CAtomicFileReplacement::EMode::keepExisting);
    std::ofstream(replacement.GetTemporaryPath()) << "new";
    EXPECT_FALSE(replacement.Commit());
    EXPECT_EQ(replacement.GetError(), pf::fileerror::kExists);
    EXPECT_EQ(Contents(PathOf("in.bin")), "old");
}

#ifndef _WIN32 // POSIX permission bits
TEST_F(FileSystemTest, PermissionsAndModificationTimeReachTheFile)
{
    const pf::FileSystemCalls& calls = pf::GetRealFileSystemCalls();
    pf::FileHandle handle = pf::kNoFileHandle;
    ASSERT_EQ(calls.open(PathOf("f").c_str(), pf::fileopen::kWrite | pf::fileopen::kCreate, handle),
              0);
    EXPECT_EQ(calls.setPermissions(handle, 0640), 0);
    EXPECT_EQ(calls.setModificationTime(handle, 1150108205), 0);
    EXPECT_EQ(calls.close(handle), 0);
    struct stat info;
    ASSERT_EQ(::stat(PathOf("f").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
    EXPECT_EQ(info.st_mtime, 1150108205);
    EXPECT_EQ(calls.open(PathOf("").c_str(), pf::fileopen::kRead, handle),
              pf::fileerror::kIsDirectory);
}
#endif

#ifndef _WIN32 // fork
// Temporary files of writers that died are removed by the next save of the same file, and only
// those: a live writer's and another file's stay.
TEST_F(FileSystemTest, NextSaveRemovesTheTemporariesOfDeadWriters)
{
    const pid_t dead = ::fork();
    if (dead == 0)
        ::_exit(0);
    ::waitpid(dead, nullptr, 0);
    EXPECT_FALSE(shared::platform::IsProcessRunning(static_cast<unsigned long>(dead)));
    EXPECT_TRUE(shared::platform::IsProcessRunning(shared::platform::CurrentProcessId()));
    // Beyond the range of process ids, not a live one that it would wrap onto.
    EXPECT_FALSE(shared::platform::IsProcessRunning(0x100000001ul));
    // Not "every process of our group", which kill() would take 0 for.
    EXPECT_FALSE(shared::platform::IsProcessRunning(0));
    const std::string deadTemp = "a.dat~" + std::to_string(dead) + "-3.savetmp";
    const std::string liveTemp = "a.dat~1-0.savetmp"; // init never goes away
    const std::string otherTemp = "b.dat~" + std::to_string(dead) + "-0.savetmp";
    // A user's file that only looks like one is not a temporary.
    const std::string lookalike = "a.dat~" + std::to_string(dead) + "x-0.savetmp";
    for (const auto& name : {deadTemp, liveTemp, otherTemp, lookalike})
        std::ofstream(PathOf(name)) << "partial";
    ASSERT_EQ(Save(PathOf("a.dat"), "x"), 0);
    auto expected = std::vector<std::string>{"a.dat", liveTemp, otherTemp, lookalike};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(Entries(), expected);
}
#endif

#ifndef _WIN32 // fork and kill
// A writer killed at random moments never leaves a torn file, and what it leaves behind is gone
// after the next save.
TEST_F(FileSystemTest, KilledWritersLeaveTheOldOrTheNewFile)
{
    const std::string path = PathOf("UserPlaces.dat");
    const std::string first(200000, 'a');
    const std::string second(300000, 'b');
    ASSERT_EQ(Save(path, first), 0);
    std::mt19937 random(12345);
    for (int round = 0; round < 50; ++round)
    {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
        {
            for (int i = 0;; ++i)
                Save(path, i % 2 == 0 ? second : first);
        }
        ::usleep(std::uniform_int_distribution<useconds_t>(100, 5000)(random));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        const std::string now = Contents(path);
        ASSERT_TRUE(now == first || now == second) << "round " << round << ": " << now.size();
    }
    ASSERT_EQ(Save(path, first), 0);
    EXPECT_EQ(Entries(), std::vector<std::string>{"UserPlaces.dat"});
}
#endif

} // namespace
