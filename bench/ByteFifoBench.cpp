#include <atomic>
#include <benchmark/benchmark.h>
#include <shared/comms/CByteFifo.h>
#include <thread>

// Bytes per second from a producer thread to a consumer thread through one FIFO, one byte per
// call on both sides (the way the device's readers take them), for a few ring sizes.
static void BM_ByteFifoTwoThreads(benchmark::State& state)
{
    CByteFifo fifo(static_cast<unsigned long>(state.range(0)));
    constexpr long long kBytesPerRound = 1 << 20;
    for (auto _ : state)
    {
        std::thread producer(
            [&]
            {
                for (long long i = 0; i < kBytesPerRound;)
                {
                    if (fifo.PutByte(static_cast<unsigned char>(i)))
                    {
                        ++i;
                    }
                    else
                    {
                        std::this_thread::yield();
                    }
                }
            });
        unsigned char b = 0;
        unsigned sum = 0;
        for (long long i = 0; i < kBytesPerRound; ++i)
        {
            fifo.GetByte(b, CByteFifo::Infinite);
            sum += b;
        }
        producer.join();
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * kBytesPerRound);
}
BENCHMARK(BM_ByteFifoTwoThreads)->Arg(1024)->Arg(4096)->Arg(65536)->UseRealTime();

// The same with the producer putting blocks, as the receive thread does after each read.
static void BM_ByteFifoBlockProducer(benchmark::State& state)
{
    CByteFifo fifo(65536);
    constexpr unsigned long kBytesPerRound = 1 << 20;
    for (auto _ : state)
    {
        std::thread producer(
            [&]
            {
                unsigned char block[1024];
                for (unsigned i = 0; i < sizeof block; ++i)
                {
                    block[i] = static_cast<unsigned char>(i);
                }
                for (unsigned long sent = 0; sent < kBytesPerRound;)
                {
                    unsigned long const n = fifo.PutBytes(block, sizeof block);
                    sent += n;
                    if (n < sizeof block)
                    {
                        std::this_thread::yield();
                    }
                }
            });
        unsigned char b = 0;
        unsigned sum = 0;
        for (unsigned long i = 0; i < kBytesPerRound; ++i)
        {
            fifo.GetByte(b, CByteFifo::Infinite);
            sum += b;
        }
        producer.join();
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long long>(kBytesPerRound));
}
BENCHMARK(BM_ByteFifoBlockProducer)->UseRealTime();
