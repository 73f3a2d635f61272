#include "InterleavedRounds.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <shared/comms/CSerialPortDevice.h>
#include <string>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Sentences written flat out into a pseudo-terminal, counted as lines at the other end: through
// CSerialPortDevice (by default, and holding input back while its FIFO is full) against a
// plain poll-and-read loop on the same kind of line.
namespace
{
constexpr long kSentences = 100000;
std::string const kSentence =
    "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n";

struct Pty
{
    int master = -1;
    std::string slave;
    Pty()
    {
        master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0)
        {
            slave = ::ptsname(master);
        }
    }
    ~Pty() { ::close(master); }
};

void WriteAll(int fd, long sentences)
{
    std::string block;
    for (int i = 0; i < 100; ++i)
    {
        block += kSentence;
    }
    for (long sent = 0; sent < sentences; sent += 100)
    {
        std::size_t off = 0;
        while (off < block.size())
        {
            ssize_t const n = ::write(fd, block.data() + off, block.size() - off);
            if (n > 0)
            {
                off += static_cast<std::size_t>(n);
            }
            else
            {
                pollfd p{fd, POLLOUT, 0};
                ::poll(&p, 1, 100);
            }
        }
    }
}

struct Result
{
    double seconds = 0;
    long lines = 0;
    double cpuSeconds = 0; // both threads of the process, writer included
};

double ProcessCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// Runs a writer thread and the given reader; the reader counts lines and answers when the
// last one arrived (it gives up after a quiet spell, which is not counted).
template <class Reader> Result Burst(Pty& pty, Reader read)
{
    auto const start = std::chrono::steady_clock::now();
    double const cpuStart = ProcessCpuSeconds();
    std::thread writer([&] { WriteAll(pty.master, kSentences); });
    Result r;
    auto last = start;
    read(r.lines, last);
    writer.join();
    r.seconds = std::chrono::duration<double>(last - start).count();
    r.cpuSeconds = ProcessCpuSeconds() - cpuStart;
    return r;
}

Result PlainRead()
{
    Pty pty;
    int const fd = ::open(pty.slave.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    termios t{};
    ::tcgetattr(fd, &t);
    ::cfmakeraw(&t);
    ::tcsetattr(fd, TCSANOW, &t);
    Result r = Burst(pty,
                     [&](long& lines, auto& last)
                     {
                         std::vector<char> buffer(64 * 1024);
                         while (lines < kSentences)
                         {
                             pollfd p{fd, POLLIN, 0};
                             if (::poll(&p, 1, 300) <= 0)
                             {
                                 break;
                             }
                             ssize_t const n = ::read(fd, buffer.data(), buffer.size());
                             if (n > 0)
                             {
                                 lines += std::count(buffer.data(), buffer.data() + n, '\n');
                                 last = std::chrono::steady_clock::now();
                             }
                         }
                     });
    ::close(fd);
    return r;
}

Result ThroughDevice(bool hold)
{
    Pty pty;
    CSerialPortDevice::SetDevicePath(77, pty.slave.c_str());
    CSerialPortDevice device;
    device.SetHoldInputWhenFull(hold);
    device.Open(77, CSerialPortDevice::BAUDRATE_115200, CSerialPortDevice::DATA_BITS_8,
                CSerialPortDevice::PARITY_BIT_NONE, CSerialPortDevice::STOP_BITS_ONE,
                CSerialPortDevice::HANDSHAKE_NONE, 1UL << 20);
    Result r = Burst(pty,
                     [&](long& lines, auto& last)
                     {
                         std::vector<unsigned char> buffer(64 * 1024);
                         while (lines < kSentences)
                         {
                             unsigned long const n = device.Read(
                                 buffer.data(), static_cast<unsigned long>(buffer.size()), 300, 0);
                             if (n == 0)
                             {
                                 break;
                             }
                             lines += std::count(buffer.data(), buffer.data() + n, '\n');
                             last = std::chrono::steady_clock::now();
                         }
                     });
    device.Close();
    CSerialPortDevice::SetDevicePath(77, nullptr);
    return r;
}
} // namespace

static void BM_SerialBurstVsPlainRead(benchmark::State& state)
{
    bool const hold = state.range(0) != 0;
    long lost = 0;
    // The rounds time whole bursts; lines per second come from the counts below.
    std::vector<double> oursRate;
    std::vector<double> plainRate;
    std::vector<double> oursCpu;
    std::vector<double> plainCpu;
    bench::Contender oursRun{"ours", [&](long)
                             {
                                 Result const r = ThroughDevice(hold);
                                 lost += kSentences - r.lines;
                                 oursRate.push_back(static_cast<double>(r.lines) / r.seconds);
                                 oursCpu.push_back(r.cpuSeconds / static_cast<double>(r.lines));
                             }};
    bench::Contender plainRun{"read", [&](long)
                              {
                                  Result const r = PlainRead();
                                  plainRate.push_back(static_cast<double>(r.lines) / r.seconds);
                                  plainCpu.push_back(r.cpuSeconds / static_cast<double>(r.lines));
                              }};
    for (auto _ : state)
    {
        constexpr int kRounds = 5;
        bench::InterleavedMedians<bench::WallClock>(kRounds, 1, oursRun, plainRun);
        auto median = [](std::vector<double> v)
        {
            std::nth_element(v.begin(), v.begin() + static_cast<long>(v.size() / 2), v.end());
            return v[v.size() / 2];
        };
        std::string const label = hold ? "pty burst, held back" : "pty burst, default";
        bench::ReportAgainstPeers(state, label.c_str(), "klines/s", 1e-3, median(oursRate),
                                  {{"read", median(plainRate)}});
        // On a busy machine the rate mostly tells how much of it the test got; the CPU time per
        // line (writer included, the same on both sides) does not depend on that.
        bench::ReportAgainstPeers(state, label.c_str(), "cpu_ns/line", 1e9, median(oursCpu),
                                  {{"read", median(plainCpu)}});
        state.counters["lost_lines_per_burst"] = static_cast<double>(lost) / kRounds;
        std::printf("  %-28s lost %.0f of %ld lines per burst\n", label.c_str(),
                    static_cast<double>(lost) / kRounds, kSentences);
    }
}
BENCHMARK(BM_SerialBurstVsPlainRead)->ArgName("hold")->Arg(0)->Arg(1)->Iterations(1)->UseRealTime();
