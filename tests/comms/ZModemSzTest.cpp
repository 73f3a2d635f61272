// The receiver against lrzsz's sz: real sessions over pipes, with a noisy line between the two.
// A received file is either byte-identical or the session fails with the cancel sequence; a
// damaged file is never reported complete.

#include "ZModemTestSupport.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace zmodem_test;

namespace
{

class ZModemSz : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!HaveProgram("sz"))
            GTEST_SKIP() << "lrzsz's sz is not installed";
        ASSERT_FALSE(m_dir.Path().empty());
    }
    const Bytes& Put(const std::string& name, std::size_t size)
    {
        m_files[name] = RandomBytes(size, static_cast<std::uint32_t>(size + name.size()));
        WriteFile(m_dir.Path() / name, m_files[name]);
        return m_files[name];
    }
    // Every file reported complete holds exactly what was sent.
    void ExpectNoDamagedFile(const MemoryStore& store)
    {
        for (const FileRecord& f : store.files)
        {
            if (!f.complete)
                continue;
            auto it = m_files.find(f.name);
            ASSERT_NE(it, m_files.end()) << "unexpected file " << f.name;
            EXPECT_TRUE(f.data == it->second) << f.name << ": " << f.data.size() << " bytes";
        }
    }
    TempDir m_dir;
    std::map<std::string, Bytes> m_files;
};

} // namespace

TEST_F(ZModemSz, FilesArriveByteIdenticalWithTheirInformation)
{
    // -f sends the paths as given; sizes around the subpacket size and an empty file.
    std::vector<std::string> args{"-q", "-f"};
    for (const auto& [name, size] :
         std::vector<std::pair<std::string, std::size_t>>{{"a.txt", 1},
                                                          {"sub/b.bin", 1024},
                                                          {"sub/deeper/c", 1025},
                                                          {"d", 0},
                                                          {"e", 3u * 1024 * 1024 + 17}})
    {
        Put(name, size);
        args.push_back(name);
    }
    ::chmod((m_dir.Path() / "e").c_str(), 0640);
    struct stat st
    {
    };
    ::stat((m_dir.Path() / "e").c_str(), &st);

    ProcessZModem rx(SzCommand(m_dir.Path(), args));
    ASSERT_TRUE(rx.ZModemReceive());
    EXPECT_EQ(rx.Finish(), 0);
    ASSERT_EQ(rx.store.files.size(), m_files.size());
    for (const auto& [name, data] : m_files)
        EXPECT_NE(rx.store.Completed(name), nullptr) << name;
    ExpectNoDamagedFile(rx.store);
    const FileRecord& e = *rx.store.Completed("e");
    EXPECT_TRUE(e.binary);
    EXPECT_EQ(e.length, static_cast<long>(m_files["e"].size()));
    EXPECT_EQ(e.modificationTime, static_cast<unsigned long>(st.st_mtime));
    EXPECT_EQ(e.mode & 0777, 0640);
}

TEST_F(ZModemSz, EscapeEverythingModeFromEitherSide)
{
    const Bytes& data = Put("e.bin", 300000);
    // The sender escapes on its own (and says so in ZSINIT), or the receiver asks for it.
    for (bool receiverAsks : {false, true})
    {
        ProcessZModem rx(SzCommand(m_dir.Path(), {"-q", receiverAsks ? "-q" : "-e", "e.bin"}),
                         receiverAsks ? CZModem::ZMODEM_ESCAPE_CONTROLS : CZModem::ZMODEM_NO_FLAGS);
        ASSERT_TRUE(rx.ZModemReceive()) << receiverAsks;
        ASSERT_EQ(rx.store.files.size(), 1u);
        EXPECT_TRUE(rx.store.files[0].complete && rx.store.files[0].data == data);
    }
}

TEST_F(ZModemSz, SenderEndedMidFileFailsTheSessionCleanly)
{
    // Terminated, sz cancels; killed, it just goes silent and the allowance runs out.
    Put("big.bin", 8 * 1024 * 1024);
    for (bool forced : {false, true})
    {
        ProcessZModem rx(SzCommand(m_dir.Path(), {"-q", "big.bin"}));
        rx.endSenderAfter = 200000;
        rx.endForced = forced;
        EXPECT_FALSE(rx.ZModemReceive());
        EXPECT_TRUE(EndsWith(rx.sent, CancelSequence()));
        ASSERT_EQ(rx.store.files.size(), 1u) << forced;
        EXPECT_TRUE(rx.store.files[0].closed);
        EXPECT_FALSE(rx.store.files[0].complete);
    }
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
    Put("n1.bin", c.size);
    Put("n2.bin", c.size / 10);
    ProcessZModem rx(SzCommand(m_dir.Path(), {"-q", "n1.bin", "n2.bin"}), CZModem::ZMODEM_NO_FLAGS,
                     c.noise);
    const bool received = rx.ZModemReceive();
    EXPECT_GT(rx.damaged, 0u);
    ExpectNoDamagedFile(rx.store);
    if (received)
    {
        EXPECT_NE(rx.store.Completed("n1.bin"), nullptr);
        EXPECT_NE(rx.store.Completed("n2.bin"), nullptr);
    }
    else
    {
        EXPECT_FALSE(c.mustSucceed) << "failed after " << rx.damaged << " damaged bytes";
        EXPECT_TRUE(EndsWith(rx.sent, CancelSequence()));
        for (const FileRecord& f : rx.store.files)
            EXPECT_TRUE(f.closed) << f.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, ZModemSzNoise,
                         ::testing::Values(NoiseCase{"mixed", {14, 20, 20, 20}, true, 700000},
                                           NoiseCase{"dense", {11, 1000, 20, 20}, true, 200000},
                                           NoiseCase{
                                               "harsh", {15, 1000, 1000, 1000}, false, 60000}),
                         [](const auto& test) { return std::string(test.param.name); });
