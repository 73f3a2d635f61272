// Receiving a 16 MiB file from lrzsz's sz through pipes: this library's receiver writing to a
// file, side by side with lrzsz's own rz receiving the same file the same way, in alternating
// rounds. Reports the medians of wall time and receiver CPU time of both, and the CPU ratio.

#include "../tests/comms/ZModemTestSupport.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>

using namespace zmodem_test;

namespace
{

constexpr std::size_t FILE_SIZE = 16u * 1024 * 1024;

const TempDir& Source()
{
    static TempDir dir;
    static const bool written = []
    {
        WriteFile(dir.Path() / "big.bin", RandomBytes(FILE_SIZE, 2026));
        return true;
    }();
    (void)written;
    return dir;
}

double Seconds(const timeval& t)
{
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
}

double CpuSeconds(const rusage& u)
{
    return Seconds(u.ru_utime) + Seconds(u.ru_stime);
}

double ThreadCpuSeconds()
{
    rusage u{};
    ::getrusage(RUSAGE_THREAD, &u);
    return CpuSeconds(u);
}

// The receiver as an application would use it: the line is the child, the store a file
// written in large blocks.
class FileZModem : public CZModem
{
public:
    FileZModem(shared::platform::CChildProcess& child, std::filesystem::path directory)
        : CZModem(ZMODEM_NO_FLAGS), m_child(child), m_directory(std::move(directory))
    {
    }
    ~FileZModem() override { Flush(); }
    std::size_t bytes = 0;

protected:
    bool ZCreateFile(char const* name, bool, bool) override
    {
        m_fd = ::open((m_directory / name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        return m_fd >= 0;
    }
    bool ZCloseFile(unsigned long, int) override
    {
        const bool ok = Flush() && IsClosingAtEndOfFile();
        ::close(m_fd);
        m_fd = -1;
        return ok;
    }
    void ZWriteData(unsigned char const* data, unsigned long count) override
    {
        if (m_used + count > sizeof m_buffer)
            Flush();
        std::memcpy(m_buffer + m_used, data, count);
        m_used += count;
        bytes += count;
    }
    void ZSendBytes(unsigned char const* data, unsigned long count) override
    {
        m_child.Write(data, count);
    }
    bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) override
    {
        return m_child.Read(&byte, 1, timeoutMs) == 1;
    }
    unsigned long ZReadBlock(unsigned char* buffer, unsigned long size,
                             unsigned long timeoutMs) override
    {
        const long n = m_child.Read(buffer, size, timeoutMs);
        return n > 0 ? static_cast<unsigned long>(n) : 0;
    }
    void ZPurgeInput() override { m_child.DiscardOutput(); }

private:
    bool Flush()
    {
        bool ok = true;
        if (m_fd >= 0 && m_used > 0)
            ok = ::write(m_fd, m_buffer, m_used) == static_cast<ssize_t>(m_used);
        m_used = 0;
        return ok;
    }
    shared::platform::CChildProcess& m_child;
    std::filesystem::path m_directory;
    int m_fd = -1;
    unsigned char m_buffer[1 << 16];
    std::size_t m_used = 0;
};

struct Round
{
    bool ok = false;
    double wall = 0;        // seconds
    double receiverCpu = 0; // seconds
};

double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// One transfer into this library's receiver.
Round ReceiveShared(const std::filesystem::path& source)
{
    Round round;
    TempDir out;
    shared::platform::CChildProcess child;
    if (!child.Start(SzCommand(source, {"-q", "big.bin"})))
        return round;
    FileZModem rx(child, out.Path());
    const double start = Now();
    const double before = ThreadCpuSeconds();
    const bool ok = rx.ZModemReceive();
    round.receiverCpu = ThreadCpuSeconds() - before;
    child.Stop(5000);
    round.wall = Now() - start;
    std::error_code ec;
    round.ok = ok && std::filesystem::file_size(out.Path() / "big.bin", ec) == FILE_SIZE;
    return round;
}

// One transfer from sz into lrzsz's rz, connected by two pipes.
Round ReceiveRz(const std::filesystem::path& source)
{
    Round round;
    TempDir out;
    int szToRz[2];
    int rzToSz[2];
    if (::pipe(szToRz) != 0 || ::pipe(rzToSz) != 0)
        return round;
    auto spawn = [&](const std::string& program, const char* directory, int in, int outFd)
    {
        const std::string path = "/usr/bin/" + program;
        const pid_t pid = ::fork();
        if (pid == 0)
        {
            if (::chdir(directory) != 0)
                ::_exit(127);
            ::dup2(in, 0);
            ::dup2(outFd, 1);
            for (int fd : {szToRz[0], szToRz[1], rzToSz[0], rzToSz[1]})
                ::close(fd);
            const int devNull = ::open("/dev/null", O_WRONLY);
            ::dup2(devNull, 2);
            ::execl(path.c_str(), path.c_str(), "-q", program == "sz" ? "big.bin" : nullptr,
                    nullptr);
            ::_exit(127);
        }
        return pid;
    };
    const double start = Now();
    const pid_t sz = spawn("sz", source.c_str(), rzToSz[0], szToRz[1]);
    const pid_t rz = spawn("rz", out.Path().c_str(), szToRz[0], rzToSz[1]);
    for (int fd : {szToRz[0], szToRz[1], rzToSz[0], rzToSz[1]})
        ::close(fd);
    int status = 0;
    rusage usage{};
    ::wait4(rz, &status, 0, &usage);
    round.receiverCpu = CpuSeconds(usage);
    const bool ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    ::waitpid(sz, &status, 0);
    round.wall = Now() - start;
    std::error_code ec;
    round.ok = ok && std::filesystem::file_size(out.Path() / "big.bin", ec) == FILE_SIZE;
    return round;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n == 0 ? 0 : n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Rounds alternate between the two receivers so that a busy machine weighs on both alike; the
// medians and the ratio of receiver CPU (ours over rz's) are reported.
void BM_ZModemReceive_VersusRz(benchmark::State& state)
{
    if (!HaveProgram("sz") || !HaveProgram("rz"))
    {
        state.SkipWithError("lrzsz is not installed");
        return;
    }
    const auto& source = Source();
    std::vector<double> oursCpu, oursWall, rzCpu, rzWall;
    for (auto _ : state)
    {
        const Round ours = ReceiveShared(source.Path());
        const Round peer = ReceiveRz(source.Path());
        if (!ours.ok || !peer.ok)
        {
            state.SkipWithError(ours.ok ? "rz transfer failed" : "transfer failed");
            return;
        }
        oursCpu.push_back(ours.receiverCpu);
        oursWall.push_back(ours.wall);
        rzCpu.push_back(peer.receiverCpu);
        rzWall.push_back(peer.wall);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(FILE_SIZE));
    state.counters["shared_cpu_s"] = Median(oursCpu);
    state.counters["rz_cpu_s"] = Median(rzCpu);
    state.counters["cpu_ratio"] = Median(oursCpu) / Median(rzCpu);
    state.counters["shared_wall_s"] = Median(oursWall);
    state.counters["rz_wall_s"] = Median(rzWall);
}

} // namespace

BENCHMARK(BM_ZModemReceive_VersusRz)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(7);
