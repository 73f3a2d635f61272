// A command as a line: its output, its exit code, and that nothing it started outlives it.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
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

// Running, as opposed to gone or a zombie waiting for whoever adopted it.
bool Alive(pid_t pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), {});
    const auto close = text.rfind(')');
    return close != std::string::npos && close + 2 < text.size() && text[close + 2] != 'Z';
}

} // namespace

TEST(ChildProcess, EchoesItsInputAndReportsItsExitCode)
{
    CChildProcess child;
    ASSERT_TRUE(child.Start("read line; echo \"got $line\"; exit 3"));
    const std::string input = "hello\n";
    ASSERT_TRUE(child.Write(reinterpret_cast<const unsigned char*>(input.data()), 6));
    EXPECT_EQ(ReadAll(child), "got hello\n");
    EXPECT_EQ(child.Stop(5000), 3);
    unsigned char byte = 0;
    EXPECT_EQ(child.Read(&byte, 1, 0), -1);
    EXPECT_FALSE(child.Write(&byte, 1));
}

TEST(ChildProcess, EveryProcessItStartedEndsWithIt)
{
    // The shell reports the id of a program it leaves running in the background, then waits.
    for (bool leaderFinishes : {false, true})
    {
        CChildProcess child;
        ASSERT_TRUE(
            child.Start(leaderFinishes ? "sleep 300 & echo $!" : "sleep 300 & echo $!; wait"));
        std::string line;
        unsigned char buffer[64];
        while (line.find('\n') == std::string::npos)
        {
            const long n = child.Read(buffer, sizeof buffer, 5000);
            ASSERT_GT(n, 0);
            line.append(reinterpret_cast<char*>(buffer), static_cast<std::size_t>(n));
        }
        const pid_t grandchild = std::stoi(line);
        ASSERT_TRUE(Alive(grandchild));
        const auto start = std::chrono::steady_clock::now();
        child.Stop(leaderFinishes ? 5000 : 0);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
        // A signal takes effect when the process next runs.
        for (int n = 0; n < 100 && Alive(grandchild); ++n)
            std::this_thread::sleep_for(10ms);
        EXPECT_FALSE(Alive(grandchild)) << leaderFinishes;
    }
}

TEST(ChildProcess, CommandThatIgnoresTerminationIsKilled)
{
    CChildProcess child;
    ASSERT_TRUE(child.Start("trap '' TERM; echo ready; while :; do sleep 0.05; done"));
    unsigned char buffer[16];
    ASSERT_GT(child.Read(buffer, sizeof buffer, 5000), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(child.Stop(0, 300), -1);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 3s);
}
