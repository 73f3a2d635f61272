// The receiver against lrzsz's sz: real sessions over pipes and a pseudo-terminal, with a noisy
// line between the two. A received file is either byte-identical or the session fails with the
// cancel sequence; a damaged file is never reported complete.

#include "ZModemPeer.h"

#include <gtest/gtest.h>
#include <thread>

using namespace zmodem_test;
using namespace std::chrono_literals;

namespace
{

struct Session
{
    bool received = false;
    MemoryStore store;
    Bytes sent;
    std::size_t damaged = 0;
    int exitStatus = 0;
};

struct SessionOptions
{
    CZModem::E_ZMODEM_FLAGS flags = CZModem::ZMODEM_NO_FLAGS;
    LineNoise noise{};
    bool pseudoTerminal = false;
    std::chrono::seconds limit = 60s;
    std::function<void(ChildProcess&)> duringSession; // runs on a helper thread
};

// Runs sz with `arguments` in `directory` and receives from it.
Session Receive(const std::filesystem::path& directory, std::vector<std::string> arguments,
                const SessionOptions& options = {})
{
    arguments.insert(arguments.begin(), FindProgram("sz"));
    ChildProcess child;
    child.SetDeadline(options.limit);
    Session session;
    if (!child.Start(arguments, directory, options.pseudoTerminal))
    {
        ADD_FAILURE() << "cannot start sz";
        return session;
    }
    std::thread helper;
    if (options.duringSession)
        helper = std::thread([&] { options.duringSession(child); });
    ProcessZModem rx(child, options.flags, options.noise);
    session.received = rx.ZModemReceive();
    if (helper.joinable())
        helper.join();
    session.exitStatus = child.Wait();
    session.store = rx.store;
    session.sent = rx.sent;
    session.damaged = rx.damaged;
    return session;
}

// Every file reported complete holds exactly what was sent.
void ExpectNoDamagedFile(const Session& s, const std::map<std::string, Bytes>& originals)
{
    for (const FileRecord& f : s.store.files)
    {
        if (!f.complete)
            continue;
        auto it = originals.find(f.name);
        ASSERT_NE(it, originals.end()) << "unexpected file " << f.name;
        EXPECT_TRUE(f.data == it->second)
            << f.name << ": " << f.data.size() << " bytes, sent " << it->second.size();
    }
}

class ZModemSz : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!HaveProgram("sz"))
            GTEST_SKIP() << "lrzsz's sz is not installed";
        ASSERT_FALSE(m_dir.Path().empty());
    }
    std::filesystem::path Put(const std::string& name, const Bytes& data)
    {
        WriteFile(m_dir.Path() / name, data);
        return m_dir.Path() / name;
    }
    TempDir m_dir;
};

} // namespace

class ZModemSzSizes : public ZModemSz, public ::testing::WithParamInterface<std::size_t>
{
};

TEST_P(ZModemSzSizes, FileArrivesByteIdenticalWithItsInformation)
{
    const Bytes data = RandomBytes(GetParam(), static_cast<std::uint32_t>(GetParam()));
    const auto path = Put("random.bin", data);
    ::chmod(path.c_str(), 0640);
    struct stat st
    {
    };
    ::stat(path.c_str(), &st);

    Session s = Receive(m_dir.Path(), {"-q", "random.bin"});
    ASSERT_TRUE(s.received);
    EXPECT_EQ(WEXITSTATUS(s.exitStatus), 0);
    ASSERT_EQ(s.store.files.size(), 1u);
    const FileRecord& f = s.store.files[0];
    EXPECT_EQ(f.name, "random.bin");
    EXPECT_TRUE(f.complete);
    EXPECT_TRUE(f.binary);
    EXPECT_TRUE(f.data == data) << f.data.size() << " of " << data.size() << " bytes";
    EXPECT_EQ(f.length, static_cast<long>(data.size()));
    EXPECT_EQ(f.modificationTime, static_cast<unsigned long>(st.st_mtime));
    EXPECT_EQ(f.mode & 0777, 0640);
}

INSTANTIATE_TEST_SUITE_P(Sizes, ZModemSzSizes,
                         ::testing::Values(0u, 1u, 1024u, 1025u, 3u * 1024 * 1024 + 17));

TEST_F(ZModemSz, SeveralFilesAndDirectoryNamesInOneSession)
{
    std::map<std::string, Bytes> originals;
    std::vector<std::string> args{"-q", "-f"}; // -f sends the paths as given
    for (const auto& [name, size] : std::vector<std::pair<std::string, std::size_t>>{
             {"a.txt", 10}, {"sub/b.bin", 70000}, {"sub/deeper/c", 1}, {"d", 0}, {"e", 200000}})
    {
        originals[name] = RandomBytes(size, static_cast<std::uint32_t>(size + name.size()));
        Put(name, originals[name]);
        args.push_back(name);
    }
    Session s = Receive(m_dir.Path(), args);
    ASSERT_TRUE(s.received);
    ASSERT_EQ(s.store.files.size(), originals.size());
    for (const auto& [name, data] : originals)
    {
        const FileRecord* f = s.store.Completed(name);
        ASSERT_NE(f, nullptr) << name;
        EXPECT_TRUE(f->data == data) << name;
    }
}

TEST_F(ZModemSz, EscapeEverythingModeFromEitherSide)
{
    const Bytes data = RandomBytes(300000, 7);
    Put("e.bin", data);
    // The sender escapes on its own (and says so in ZSINIT), or the receiver asks for it.
    for (bool receiverAsks : {false, true})
    {
        SessionOptions options;
        options.flags = receiverAsks ? CZModem::ZMODEM_ESCAPE_CONTROLS : CZModem::ZMODEM_NO_FLAGS;
        Session s = Receive(m_dir.Path(),
                            receiverAsks ? std::vector<std::string>{"-q", "e.bin"}
                                         : std::vector<std::string>{"-q", "-e", "e.bin"},
                            options);
        ASSERT_TRUE(s.received) << receiverAsks;
        ASSERT_EQ(s.store.files.size(), 1u);
        EXPECT_TRUE(s.store.files[0].data == data);
        EXPECT_TRUE(s.store.files[0].complete);
    }
}

TEST_F(ZModemSz, RefusedFileIsSkippedBySzAndTheRestArrive)
{
    Put("keep1", RandomBytes(5000, 1));
    Put("refuse", RandomBytes(50000, 2));
    Put("keep2", RandomBytes(5000, 3));
    ChildProcess child;
    child.SetDeadline(60s);
    ASSERT_TRUE(child.Start({FindProgram("sz"), "-q", "keep1", "refuse", "keep2"}, m_dir.Path()));
    ProcessZModem rx(child);
    rx.store.accept = [](const std::string& name) { return name != "refuse"; };
    ASSERT_TRUE(rx.ZModemReceive());
    child.Wait();
    ASSERT_EQ(rx.store.files.size(), 2u);
    EXPECT_TRUE(rx.store.Completed("keep1") && rx.store.Completed("keep2"));
    EXPECT_TRUE(rx.store.Completed("keep2")->data == RandomBytes(5000, 3));
}

TEST_F(ZModemSz, OverAPseudoTerminal)
{
    const Bytes data = RandomBytes(600000, 11);
    Put("tty.bin", data);
    SessionOptions options;
    options.pseudoTerminal = true;
    Session s = Receive(m_dir.Path(), {"-q", "tty.bin"}, options);
    ASSERT_TRUE(s.received);
    ASSERT_EQ(s.store.files.size(), 1u);
    EXPECT_TRUE(s.store.files[0].data == data);
}

TEST_F(ZModemSz, InterruptedSenderCancelsAndTheSessionFailsCleanly)
{
    Put("big.bin", RandomBytes(8 * 1024 * 1024, 5));
    SessionOptions options;
    options.duringSession = [](ChildProcess& child)
    {
        while (child.BytesRead() < 200000 && !child.DeadlinePassed())
            std::this_thread::sleep_for(1ms);
        child.Kill(SIGTERM);
    };
    Session s = Receive(m_dir.Path(), {"-q", "big.bin"}, options);
    EXPECT_FALSE(s.received);
    EXPECT_TRUE(EndsWith(s.sent, CancelSequence()));
    ASSERT_EQ(s.store.files.size(), 1u);
    EXPECT_TRUE(s.store.files[0].closed);
    EXPECT_FALSE(s.store.files[0].complete);
}

TEST_F(ZModemSz, VanishedSenderEndsTheSessionWithinTheErrorAllowance)
{
    Put("big.bin", RandomBytes(8 * 1024 * 1024, 6));
    SessionOptions options;
    options.duringSession = [](ChildProcess& child)
    {
        while (child.BytesRead() < 100000 && !child.DeadlinePassed())
            std::this_thread::sleep_for(1ms);
        child.Kill(SIGKILL);
    };
    const auto start = std::chrono::steady_clock::now();
    Session s = Receive(m_dir.Path(), {"-q", "big.bin"}, options);
    EXPECT_FALSE(s.received);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s);
    EXPECT_TRUE(EndsWith(s.sent, CancelSequence()));
    ASSERT_EQ(s.store.files.size(), 1u);
    EXPECT_FALSE(s.store.files[0].complete);
}

struct NoiseCase
{
    const char* name;
    LineNoise noise;
    bool mustSucceed;
    std::size_t size; // of the first file; the second is a tenth of it
};

void PrintTo(const NoiseCase& c, std::ostream* os)
{
    *os << c.name;
}

class ZModemSzNoise : public ZModemSz, public ::testing::WithParamInterface<NoiseCase>
{
};

TEST_P(ZModemSzNoise, NoisyLineGivesIdenticalFilesOrACleanFailure)
{
    const NoiseCase& c = GetParam();
    std::map<std::string, Bytes> originals{{"n1.bin", RandomBytes(c.size, c.noise.seed)},
                                           {"n2.bin", RandomBytes(c.size / 10, c.noise.seed + 1)}};
    for (auto& [name, data] : originals)
        Put(name, data);
    SessionOptions options;
    options.noise = c.noise;
    Session s = Receive(m_dir.Path(), {"-q", "n1.bin", "n2.bin"}, options);
    EXPECT_GT(s.damaged, 0u);
    ExpectNoDamagedFile(s, originals);
    if (s.received)
    {
        for (auto& [name, data] : originals)
            EXPECT_NE(s.store.Completed(name), nullptr) << name;
    }
    else
    {
        EXPECT_FALSE(c.mustSucceed) << "failed after " << s.damaged << " damaged bytes";
        EXPECT_TRUE(EndsWith(s.sent, CancelSequence()));
        for (const FileRecord& f : s.store.files)
            EXPECT_TRUE(f.closed) << f.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, ZModemSzNoise,
                         ::testing::Values(NoiseCase{"corrupt", {11, 40, 0, 0}, true, 700000},
                                           NoiseCase{"drop", {12, 0, 40, 0}, true, 700000},
                                           NoiseCase{"duplicate", {13, 0, 0, 40}, true, 700000},
                                           NoiseCase{"mixed", {14, 20, 20, 20}, true, 700000},
                                           NoiseCase{
                                               "harsh", {15, 1000, 1000, 1000}, false, 60000}),
                         [](const auto& test) { return std::string(test.param.name); });
