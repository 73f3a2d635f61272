// Receiving a 16 MiB file from lrzsz's sz through pipes: this library's receiver writing to a
// file, side by side with lrzsz's own rz receiving the same file the same way. Reports the rate
// and the CPU time of the receiver (and of the sender, which is the same program in both).

#include "../tests/comms/ZModemPeer.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <sys/resource.h>

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
    FileZModem(ChildProcess& child, std::filesystem::path directory)
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
        return m_child.Read(byte, timeoutMs);
    }
    unsigned long ZReadBlock(unsigned char* buffer, unsigned long size,
                             unsigned long timeoutMs) override
    {
        return static_cast<unsigned long>(m_child.ReadSome(buffer, size, timeoutMs));
    }
    void ZPurgeInput() override { m_child.Drain(); }

private:
    bool Flush()
    {
        bool ok = true;
        if (m_fd >= 0 && m_used > 0)
            ok = ::write(m_fd, m_buffer, m_used) == static_cast<ssize_t>(m_used);
        m_used = 0;
        return ok;
    }
    ChildProcess& m_child;
    std::filesystem::path m_directory;
    int m_fd = -1;
    unsigned char m_buffer[1 << 16];
    std::size_t m_used = 0;
};

void Report(benchmark::State& state, double receiverCpu, double senderCpu)
{
    const double n = static_cast<double>(state.iterations());
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(FILE_SIZE));
    state.counters["receiver_cpu_s"] = receiverCpu / n;
    state.counters["sender_cpu_s"] = senderCpu / n;
}

void BM_ZModemReceive_Shared(benchmark::State& state)
{
    if (!HaveProgram("sz"))
    {
        state.SkipWithError("sz is not installed");
        return;
    }
    const auto& source = Source();
    double receiverCpu = 0;
    double senderCpu = 0;
    for (auto _ : state)
    {
        TempDir out;
        ChildProcess child;
        child.SetDeadline(std::chrono::seconds(120));
        if (!child.Start({FindProgram("sz"), "-q", "big.bin"}, source.Path()))
        {
            state.SkipWithError("cannot start sz");
            return;
        }
        FileZModem rx(child, out.Path());
        const double before = ThreadCpuSeconds();
        const bool ok = rx.ZModemReceive();
        receiverCpu += ThreadCpuSeconds() - before;
        child.Wait();
        senderCpu += CpuSeconds(child.Usage());
        if (!ok || std::filesystem::file_size(out.Path() / "big.bin") != FILE_SIZE)
        {
            state.SkipWithError("transfer failed");
            return;
        }
    }
    Report(state, receiverCpu, senderCpu);
}

// sz and rz connected to each other by two pipes.
void BM_ZModemReceive_Lrzsz(benchmark::State& state)
{
    if (!HaveProgram("sz") || !HaveProgram("rz"))
    {
        state.SkipWithError("lrzsz is not installed");
        return;
    }
    const auto& source = Source();
    double receiverCpu = 0;
    double senderCpu = 0;
    for (auto _ : state)
    {
        TempDir out;
        int szToRz[2];
        int rzToSz[2];
        if (::pipe(szToRz) != 0 || ::pipe(rzToSz) != 0)
        {
            state.SkipWithError("pipe");
            return;
        }
        auto spawn = [&](const std::string& program, const char* directory, int in, int outFd)
        {
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
                const std::string path = FindProgram(program);
                ::execl(path.c_str(), path.c_str(), "-q", program == "sz" ? "big.bin" : nullptr,
                        nullptr);
                ::_exit(127);
            }
            return pid;
        };
        const pid_t sz = spawn("sz", source.Path().c_str(), rzToSz[0], szToRz[1]);
        const pid_t rz = spawn("rz", out.Path().c_str(), szToRz[0], rzToSz[1]);
        for (int fd : {szToRz[0], szToRz[1], rzToSz[0], rzToSz[1]})
            ::close(fd);
        int status = 0;
        rusage usage{};
        ::wait4(rz, &status, 0, &usage);
        receiverCpu += CpuSeconds(usage);
        const bool ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
        ::wait4(sz, &status, 0, &usage);
        senderCpu += CpuSeconds(usage);
        std::error_code ec;
        if (!ok || std::filesystem::file_size(out.Path() / "big.bin", ec) != FILE_SIZE)
        {
            state.SkipWithError("rz transfer failed");
            return;
        }
    }
    Report(state, receiverCpu, senderCpu);
}

} // namespace

BENCHMARK(BM_ZModemReceive_Shared)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
BENCHMARK(BM_ZModemReceive_Lrzsz)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);
