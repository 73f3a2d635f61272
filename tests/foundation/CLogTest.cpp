#include "../support/Scratch.h"

#include <gtest/gtest.h>
#include <shared/foundation/CLog.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/UserName.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using shared::platform::CManualSystemTimeSource;
using shared::platform::CScopedSystemTimeSource;
using shared::platform::ScopedUserName;
using shared::platform::UtcMilliseconds;

// Each test gets its own directory as the current directory, a fixed clock (15 November 2026,
// 16:05 local) and the user "operator".
class CLogTest : public ::testing::Test
{
protected:
    CLogTest()
        : m_clock(UtcMilliseconds(2026, 11, 15, 15, 5, 9), 60 * 60), m_useClock(m_clock),
          m_user(std::string("operator"))
    {
    }

    void SetUp() override
    {
        std::filesystem::current_path(m_dir.Path());
        CLog::SetLogFileName("");
    }

    void TearDown() override
    {
        CLog::SetLogFileName("");
        std::filesystem::current_path(m_previousDir);
    }

    static std::string Contents(const std::string& path = "Application.log")
    {
        return test_support::ScratchFolder::ReadText(path);
    }

    static void Put(const std::string& bytes, const std::string& path = "Application.log")
    {
        test_support::ScratchFolder::WriteText(path, bytes);
    }

    static std::vector<std::string> Lines()
    {
        CStringList list;
        EXPECT_TRUE(CLog::ReadFromLog(list));
        std::vector<std::string> lines;
        for (POSITION pos = list.GetHeadPosition(); pos != nullptr;)
        {
            lines.emplace_back(list.GetNext(pos).GetString());
        }
        return lines;
    }

    // The fields every entry of these tests starts with.
    static std::string Prefix(const char* level, const char* user = "operator")
    {
        return std::string("15-11-26\t16:05\t") + level + "\t" + user + "\t";
    }

    CManualSystemTimeSource m_clock;
    CScopedSystemTimeSource m_useClock;
    ScopedUserName m_user;
    test_support::ScratchFolder m_dir;
    std::filesystem::path m_previousDir = std::filesystem::current_path();
};

TEST_F(CLogTest, FirstCallCreatesTheDefaultFileWithOneCrLfLine)
{
    EXPECT_TRUE(CLog::AddToLog(2,
                               "CClock::SyncPCWithUTCDateTime() Greater than an hour, "
                               "s_dblUTCDifference=%f",
                               0.052083));
    EXPECT_EQ(CLog::s_strLogFileName, CString("Application.log"));
    EXPECT_EQ(Contents(), Prefix("WARN") + "CClock::SyncPCWithUTCDateTime() Greater than an hour, "
                                           "s_dblUTCDifference=0.052083\r\n");
}

TEST_F(CLogTest, LevelsUsersAndMessagesAreNormalised)
{
    CLog::AddToLog(0, "zero");
    CLog::AddToLog(1, "one");
    CLog::AddToLog(7, "seven");
    CLog::AddToLog(-1, "minus %s", "one");
    CLog::AddToLog(0, "trailing blanks \t ");
    CLog::AddToLog(0, "first line\nsecond line");
    {
        ScopedUserName nobody(std::nullopt);
        CLog::AddToLog(0, "no user");
    }
    {
        ScopedUserName longest(std::string(79, 'u'));
        CLog::AddToLog(0, "79");
    }
    {
        ScopedUserName tooLong(std::string(80, 'u'));
        CLog::AddToLog(0, "80");
    }
    CLog::AddToLog(0, "%s", std::string(2000, 'x').c_str());
    const std::vector<std::string> expected = {
        Prefix("INFO") + "zero",
        Prefix("ERROR") + "one",
        Prefix("???") + "seven",
        Prefix("???") + "minus one",
        Prefix("INFO") + "trailing blanks",
        Prefix("INFO") + "first line",
        Prefix("INFO", "Unknown") + "no user",
        Prefix("INFO", std::string(79, 'u').c_str()) + "79",
        Prefix("INFO", "Unknown") + "80",
        Prefix("INFO") + std::string(1023, 'x'),
    };
    EXPECT_EQ(Lines(), expected);
}

TEST_F(CLogTest, AFullLogDropsItsFiftyOldestLinesBeforeTheNewOne)
{
    std::string content;
    for (int i = 0; i < 549; ++i)
    {
        content += "old " + std::to_string(i) + "\r\n";
    }
    Put(content);
    CLog::AddToLog(0, "fills");
    std::vector<std::string> lines = Lines();
    ASSERT_EQ(lines.size(), 550u);
    EXPECT_EQ(lines.front(), "old 0");
    EXPECT_EQ(lines.back(), Prefix("INFO") + "fills");

    CLog::AddToLog(1, "rotates");
    lines = Lines();
    ASSERT_EQ(lines.size(), 501u);
    EXPECT_EQ(lines.front(), "old 50");
    EXPECT_EQ(lines[499], Prefix("INFO") + "fills");
    EXPECT_EQ(lines.back(), Prefix("ERROR") + "rotates");
    // Rewritten with Windows line ends throughout.
    const std::string bytes = Contents();
    EXPECT_EQ(bytes.substr(0, 8), "old 50\r\n");
    EXPECT_EQ(bytes.substr(bytes.size() - 2), "\r\n");
}

TEST_F(CLogTest, ReadFromLogAppendsAndStopsAtTheFirstEmptyLine)
{
    CStringList list;
    list.AddTail("kept");
    EXPECT_FALSE(CLog::ReadFromLog(list)); // no file yet
    EXPECT_EQ(list.GetCount(), 1);

    Put("one\r\ntwo\n\r\nhidden line\r\n");
    EXPECT_TRUE(CLog::ReadFromLog(list));
    ASSERT_EQ(list.GetCount(), 3);
    EXPECT_EQ(list.GetHead(), CString("kept"));
    EXPECT_EQ(list.GetTail(), CString("two"));

    // A write lands where reading stopped, over what the empty line hid.
    CLog::AddToLog(0, "after the gap");
    EXPECT_EQ(Contents(), "one\r\ntwo\n\r\n" + Prefix("INFO") + "after the gap\r\n");
}

TEST_F(CLogTest, UnopenableFilesGiveFalseWithoutOtherEffect)
{
    CLog::SetLogFileName((m_dir.Path() / "missing" / "x.log").string().c_str());
    EXPECT_FALSE(CLog::AddToLog(0, "lost"));
    CStringList list;
    EXPECT_FALSE(CLog::ReadFromLog(list));
    EXPECT_EQ(list.GetCount(), 0);

    CLog::SetLogFileName(m_dir.Path().string().c_str()); // a directory
    EXPECT_FALSE(CLog::AddToLog(0, "lost"));

    CLog::SetLogFileName("other.log");
    EXPECT_TRUE(CLog::AddToLog(0, "elsewhere"));
    EXPECT_FALSE(std::filesystem::exists("Application.log"));
    EXPECT_EQ(Contents("other.log"), Prefix("INFO") + "elsewhere\r\n");
}

TEST_F(CLogTest, ConcurrentWritersInOneProcessLoseNothing)
{
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
    {
        writers.emplace_back(
            [t]
            {
                for (int i = 0; i < 40; ++i)
                {
                    CLog::AddToLog(0, "writer %d entry %d", t, i);
                }
            });
    }
    for (auto& writer : writers)
    {
        writer.join();
    }
    EXPECT_EQ(Lines().size(), 160u);
}

TEST_F(CLogTest, TraceWriteHasNoEffect)
{
    NMacroGlobals::TraceWrite("anything %d %s", 1, "two");
    NMacroGlobals::TraceWrite(nullptr);
    EXPECT_FALSE(std::filesystem::exists("Application.log"));
    EXPECT_TRUE(CLog::s_strLogFileName.IsEmpty());
}

} // namespace
