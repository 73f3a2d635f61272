#include "InterleavedRounds.h"

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <shared/comms/CByteFifo.h>
#include <thread>
#include <vector>
#if SHARED_BENCH_HAVE_BOOST
#include <boost/lockfree/spsc_queue.hpp>
#endif

namespace
{
constexpr long kBytesPerRound = 1 << 20;
constexpr int kRounds = 9;

// The plain way: a deque behind a mutex, with a condition variable for the reader.
class MutexDequeFifo
{
public:
    explicit MutexDequeFifo(std::size_t limit) : m_limit(limit) {}
    bool Put(unsigned char b)
    {
        {
            std::lock_guard guard(m_lock);
            if (m_bytes.size() >= m_limit)
            {
                return false;
            }
            m_bytes.push_back(b);
        }
        m_arrived.notify_one();
        return true;
    }
    unsigned char Get()
    {
        std::unique_lock guard(m_lock);
        m_arrived.wait(guard, [this] { return !m_bytes.empty(); });
        unsigned char const b = m_bytes.front();
        m_bytes.pop_front();
        return b;
    }

private:
    std::size_t m_limit;
    std::mutex m_lock;
    std::condition_variable m_arrived;
    std::deque<unsigned char> m_bytes;
};

// Moves n bytes from a producer thread to this one, one byte per call on both sides.
template <class Put, class Get> void Stream(long n, Put put, Get get)
{
    std::thread producer(
        [&]
        {
            for (long i = 0; i < n;)
            {
                if (put(static_cast<unsigned char>(i)))
                {
                    ++i;
                }
                else
                {
                    std::this_thread::yield();
                }
            }
        });
    unsigned sum = 0;
    for (long i = 0; i < n; ++i)
    {
        sum += get();
    }
    producer.join();
    benchmark::DoNotOptimize(sum);
}
} // namespace

// Byte at a time between two threads, the way the receive thread fills and a parser drains:
// against a mutex-guarded deque and Boost's lock-free single-producer queue, all of 64 KiB.
static void BM_ByteFifoVsPeers(benchmark::State& state)
{
    constexpr std::size_t kSize = 65536;
    CByteFifo fifo(kSize);
    MutexDequeFifo deque(kSize - 1);
    bench::Contender ours{"ours", [&](long n)
                          {
                              Stream(
                                  n, [&](unsigned char b) { return fifo.PutByte(b); },
                                  [&]
                                  {
                                      unsigned char b = 0;
                                      fifo.GetByte(b, CByteFifo::Infinite);
                                      return b;
                                  });
                          }};
    bench::Contender plain{"deque", [&](long n)
                           {
                               Stream(
                                   n, [&](unsigned char b) { return deque.Put(b); },
                                   [&] { return deque.Get(); });
                           }};
#if SHARED_BENCH_HAVE_BOOST
    boost::lockfree::spsc_queue<unsigned char> spsc(kSize - 1);
#endif
    bench::Contender lockfree{"spsc", [&](long n)
                              {
#if SHARED_BENCH_HAVE_BOOST
                                  Stream(
                                      n, [&](unsigned char b) { return spsc.push(b); },
                                      [&]
                                      {
                                          unsigned char b = 0;
                                          while (!spsc.pop(b))
                                          {
                                          }
                                          return b;
                                      });
#endif
                                  benchmark::DoNotOptimize(n);
                              }};
    for (auto _ : state)
    {
        auto const m = bench::InterleavedMedians<bench::WallClock>(kRounds, kBytesPerRound, ours,
                                                                   plain, lockfree);
        // Seconds per byte to MB/s; ratios below are ours over theirs in time, so invert.
        std::vector<std::pair<char const*, double>> peers{{"deque", 1 / m[1]}};
#if SHARED_BENCH_HAVE_BOOST
        peers.emplace_back("spsc", 1 / m[2]);
#endif
        bench::ReportAgainstPeers(state, "byte at a time", "MB/s", 1e-6, 1 / m[0], peers);
    }
}
BENCHMARK(BM_ByteFifoVsPeers)->Iterations(1)->UseRealTime();

// Blocks of 4 KiB each way through the block calls.
static void BM_ByteFifoBlocks(benchmark::State& state)
{
    CByteFifo fifo(1 << 20);
    constexpr unsigned long kBlock = 4096;
    long long total = 0;
    for (auto _ : state)
    {
        long const n = 64L << 20;
        std::thread producer(
            [&]
            {
                std::vector<unsigned char> block(kBlock, 0x5A);
                for (long sent = 0; sent < n;)
                {
                    unsigned long const put = fifo.PutBytes(block.data(), kBlock);
                    sent += static_cast<long>(put);
                    if (put == 0)
                    {
                        std::this_thread::yield();
                    }
                }
            });
        std::vector<unsigned char> in(kBlock);
        for (long got = 0; got < n;)
        {
            got += static_cast<long>(fifo.GetBytes(in.data(), kBlock, CByteFifo::Infinite));
        }
        producer.join();
        total += n;
    }
    state.SetBytesProcessed(total);
}
BENCHMARK(BM_ByteFifoBlocks)->UseRealTime()->Unit(benchmark::kMillisecond);
