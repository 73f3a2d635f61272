// The library's ZModem file store: where a sender's name may lead, what is shown of it, and that
// a file appears under its name whole or not at all.

#include "ZModemTestSupport.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <shared/comms/CZModemFileStore.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{

std::string Slurp(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void Spit(const fs::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

class ZModemFileStore : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_FALSE(m_dir.empty()); }

    // Stores `chunks` as one file; the result of publishing it.
    bool Store(CZModemFileStore& store, const char* name, std::vector<std::string> chunks,
               bool binary = true, bool append = false)
    {
        if (!store.Create(name, binary, append))
            return false;
        for (const auto& c : chunks)
            store.Write(reinterpret_cast<const unsigned char*>(c.data()),
                        static_cast<unsigned long>(c.size()));
        return store.Publish(1000000000, 0640);
    }
    std::vector<std::string> Entries() const
    {
        std::vector<std::string> names;
        for (const auto& e : fs::recursive_directory_iterator(m_dir))
            names.push_back(fs::relative(e.path(), m_dir).generic_string());
        std::sort(names.begin(), names.end());
        return names;
    }

    zmodem_test::TempDir m_tmp;
    const fs::path m_dir = m_tmp.Path();
};

} // namespace

TEST(ZModemFileStoreNames, SenderNamesStayInsideTheFolder)
{
    const std::vector<std::pair<std::string, std::string>> cases{
        {"a.txt", "a.txt"},
        {"/etc/passwd", "etc/passwd"},
        {"./x//y", "x/y"},
        {"a\\b", "a/b"},
        {"c\x01t\x7f", "c_t_"},
        {"a/../b", ""},
        {"..", ""},
        {"..\\up", ""},
        {"", ""},
        {"/", ""},
        {"..x/y..", "..x/y.."},
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(CZModemFileStore::SafeRelativePath(name), expected) << name;
}

TEST(ZModemFileStoreNames, OnlyPrintableTextIsShown)
{
    const std::vector<std::pair<std::string, std::string>> cases{
        {"plain name.txt", "plain name.txt"},
        {"c\x01t\x1b[2Jl", "c\\x01t\\x1b[2Jl"},
        {"caf\xc3\xa9", "caf\xc3\xa9"}, // UTF-8 stays readable
        {"\xc2\x9b"
         "31m",
         "\\xc2\\x9b31m"},                   // C1 CSI, even well encoded
        {"\xe2\x82", "\\xe2\\x82"},          // cut short
        {"\xc0\xaf", "\\xc0\\xaf"},          // overlong
        {"\xe0\x80\xaf", "\\xe0\\x80\\xaf"}, // overlong, three bytes
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"}, // a surrogate
        {"a\\b\xff", "a\\x5cb\\xff"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(CZModemFileStore::Printable(text), expected) << expected;
}

TEST_F(ZModemFileStore, FileAppearsWholeWithItsTimeAndMode)
{
    CZModemFileStore store(m_dir.string(), false);
    ASSERT_TRUE(Store(store, "sub/a.bin", {"one", std::string(100000, 'x'), "two"}));
    const fs::path path = m_dir / "sub" / "a.bin";
    EXPECT_EQ(Slurp(path), "one" + std::string(100000, 'x') + "two");
    const auto written = fs::file_time_type::clock::to_sys(fs::last_write_time(path));
    EXPECT_EQ(std::chrono::duration_cast<std::chrono::seconds>(written.time_since_epoch()).count(),
              1000000000);
#ifndef _WIN32 // Windows files have no permission bits beyond read-only
    struct stat st
    {
    };
    ASSERT_EQ(::stat(path.c_str(), &st), 0);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(st.st_mode & 0777, 0640u & ~mask);
#endif
#ifndef _WIN32 // where a whole path is limited to 260 characters, such a name rarely fits
    // Names up to the file system's limit fit.
    const std::string longest(255, 'n');
    EXPECT_TRUE(Store(store, longest.c_str(), {"x"}));
    EXPECT_EQ(Entries(), (std::vector<std::string>{longest, "sub", "sub/a.bin"}));
#endif
}

TEST_F(ZModemFileStore, AbandonedFileLeavesNothing)
{
    CZModemFileStore store(m_dir.string(), false);
    ASSERT_TRUE(store.Create("gone", true, false));
    store.Write(reinterpret_cast<const unsigned char*>("abc"), 3);
    store.Abandon();
    EXPECT_TRUE(Entries().empty());
    // A store destroyed mid-file drops it too.
    {
        CZModemFileStore other(m_dir.string(), false);
        ASSERT_TRUE(other.Create("gone", true, false));
    }
    EXPECT_TRUE(Entries().empty());
}

TEST_F(ZModemFileStore, ExistingFileIsKeptUnlessOverwriteIsAllowed)
{
    Spit(m_dir / "f", "old");
    CZModemFileStore keep(m_dir.string(), false);
    EXPECT_FALSE(Store(keep, "f", {"new"}));
    EXPECT_EQ(keep.GetReason(), "exists");
    EXPECT_EQ(Slurp(m_dir / "f"), "old");

    // A file that appears while the data arrives wins too.
    ASSERT_TRUE(keep.Create("late", true, false));
    Spit(m_dir / "late", "first");
    EXPECT_FALSE(keep.Publish(0, 0));
    EXPECT_EQ(Slurp(m_dir / "late"), "first");

    CZModemFileStore replace(m_dir.string(), true);
    EXPECT_TRUE(Store(replace, "f", {"new"}));
    EXPECT_EQ(Slurp(m_dir / "f"), "new");
    EXPECT_TRUE(Store(replace, "f", {"+more"}, true, true));
    EXPECT_EQ(Slurp(m_dir / "f"), "new+more");
    EXPECT_EQ(Entries(), (std::vector<std::string>{"f", "late"}));
}

TEST_F(ZModemFileStore, TextModeTurnsCrLfIntoLfAcrossSubpackets)
{
    CZModemFileStore store(m_dir.string(), false);
    ASSERT_TRUE(Store(store, "t.txt", {"a\r", "\nb\rc\r\n\r", "\r"}, false));
    EXPECT_EQ(Slurp(m_dir / "t.txt"), "a\nb\rc\n\r\r");
    EXPECT_EQ(store.GetBytesReceived(), 10u);
}
