// A command as a line on Windows: cmd.exe as the shell, a job object as the process group.

#include "../support/Scratch.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <shared/platform/ChildProcess.h>
#include <string>
#include <thread>

using shared::platform::CChildProcess;
using namespace std::chrono_literals;

namespace
{

std::string ReadAll(CChildProcess& child)
{
    std::string text;
    unsigned char buffer[256];
    for (int polls = 0; polls < 500; ++polls)
    {
        const long n = child.Read(buffer, sizeof buffer, 20);
        if (n < 0)
            break;
        text.append(reinterpret_cast<char*>(buffer), static_cast<std::size_t>(n));
    }
    return text;
}

bool Write(CChildProcess& child, const std::string& text)
{
    return child.Write(reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<unsigned long>(text.size()));
}

std::uintmax_t SizeOf(const std::filesystem::path& path)
{
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    return ec ? 0 : size;
}

} // namespace

TEST(WindowsChildProcess, EchoesItsInputAndReportsItsExitCode)
{
    CChildProcess child;
    // call expands %line% after set /p has read it, not when cmd parses the line.
    ASSERT_TRUE(child.Start("set /p line=& call echo got %line%& exit 3")) << child.GetError();
    ASSERT_TRUE(Write(child, "hello\r\n"));
    EXPECT_EQ(ReadAll(child), "got hello\r\n");
    EXPECT_EQ(child.Stop(5000), 3);
    unsigned char byte = 0;
    EXPECT_EQ(child.Read(&byte, 1, 0), -1);
    EXPECT_FALSE(child.Write(&byte, 1));
}

TEST(WindowsChildProcess, EveryProcessItStartedEndsWithIt)
{
    const test_support::ScratchFolder folder;
    const std::filesystem::path ticks = folder.Path() / "ticks.txt";
    const std::string ticker = folder.File("ticker.bat");
    // A background loop that adds a line to the file every second.
    test_support::ScratchFolder::WriteText(ticker, "@echo off\r\n:again\r\necho tick>>" +
                                                       ticks.string() +
                                                       "\r\nping -n 2 127.0.0.1 >nul\r\n"
                                                       "goto again\r\n");
    for (bool leaderFinishes : {false, true})
    {
        // The leader starts the loop, then either ends at once or waits for ten minutes.
        const std::string leader = folder.File("leader.bat");
        test_support::ScratchFolder::WriteText(
            leader, "@echo off\r\nstart /b cmd /d /c " + ticker + "\r\n" +
                        (leaderFinishes ? "" : "ping -n 600 127.0.0.1 >nul\r\n"));
        std::filesystem::remove(ticks);
        CChildProcess child;
        ASSERT_TRUE(child.Start(leader)) << child.GetError();
        for (int n = 0; n < 500 && SizeOf(ticks) == 0; ++n)
            std::this_thread::sleep_for(20ms);
        ASSERT_GT(SizeOf(ticks), 0u) << "the background loop never started";
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(child.Stop(leaderFinishes ? 5000 : 0, 500), leaderFinishes ? 0 : -1);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
        const auto size = SizeOf(ticks);
        std::this_thread::sleep_for(2500ms);
        EXPECT_EQ(SizeOf(ticks), size) << "the background loop outlived the command";
    }
}

TEST(WindowsChildProcess, CommandsThatCannotStartSaySo)
{
    CChildProcess child;
    ASSERT_TRUE(child.Start("exit 0"));
    EXPECT_FALSE(child.Start("exit 0"));
    EXPECT_EQ(child.GetError(), "already started");
    EXPECT_EQ(child.Stop(5000), 0);
    EXPECT_EQ(child.Stop(0), 0) << "a second stop answers the same";
}
