// Decoding speed of CNmeaSentence::Create over a device stream: mostly position reports, some
// input/output and logging reports, other talkers' sentences and damaged lines. Reports
// sentences per second and heap allocations per sentence (the record itself is one).

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <new>
#include <shared/positioning/CNmeaSentence.h>
#include <string>
#include <vector>

namespace
{
std::atomic<long long> g_allocations{0};
}

// The replaced allocation functions count heap allocations. g++ 12 sees the malloc/free pairs
// once they are inlined into static initialisers and takes them for mismatched new/delete; they
// are matched, so that warning is off for this file.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete[](void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

namespace
{
std::vector<std::string> Stream()
{
    auto framed = [](char const* body)
    { return std::string("$") + CNmeaSentence::SetCheckSum(body).GetString() + "\r\n"; };
    std::vector<std::string> lines;
    for (int i = 0; i < 10; ++i)
    {
        char body[128];
        std::snprintf(body, sizeof body,
                      "GPRMC,1015%02d.000,A,5212.%04d,N,00007.%04d,E,%d.%02d,%03d.%d,140326,,,A",
                      10 + i, 3000 + 37 * i, 5000 + 41 * i, 20 + i, 5 * i, 80 + 3 * i, i);
        lines.push_back(framed(body));
    }
    lines.push_back(framed("GPRMC,101521.000,A,5212.3400,N,00007.5500,E,0.00,,140326,,,A"));
    lines.push_back(framed("GPRMC,101522.000,V,,,,,,,140326,,,N"));
    lines.push_back(framed("GPIOP,00000101,00000000,1.23,4.56,12.6"));
    lines.push_back(framed("GPIOP,00000111,00000001,1.25,4.50,12.5"));
    lines.push_back(framed("GPLOG,1,101523,140326"));
    lines.push_back(framed("GPGGA,101523.000,5212.3400,N,00007.5500,E,1,08,1.0,12.3,M,47.0,M,,"));
    lines.push_back("$GPRMC,101524.000,A,5212.3400,N,00007.5500,E,0.00,,140326,,,A*00\r\n");
    lines.push_back("GPRMC,101525.000,A,5212.3400,N,00007.5500,E,0.00,,140326,,,A\r\n");
    return lines;
}

void BM_CreateMixedStream(benchmark::State& state)
{
    std::vector<std::string> const lines = Stream();
    long long sentences = 0;
    long long const allocationsBefore = g_allocations.load();
    for (auto _ : state)
    {
        for (auto const& line : lines)
        {
            CNmeaSentence::E_NMEAParseResult result;
            CNmeaSentence* sentence = CNmeaSentence::Create(line.c_str(), result);
            benchmark::DoNotOptimize(sentence);
            delete sentence;
        }
        sentences += static_cast<long long>(lines.size());
    }
    long long const allocations = g_allocations.load() - allocationsBefore;
    state.SetItemsProcessed(sentences);
    state.counters["allocs/sentence"] =
        benchmark::Counter(static_cast<double>(allocations) / static_cast<double>(sentences));
}
BENCHMARK(BM_CreateMixedStream);

void BM_CreatePositionReport(benchmark::State& state)
{
    std::string const line =
        "$" + std::string(CNmeaSentence::SetCheckSum(
                              "GPRMC,101510.000,A,5212.3000,N,00007.5000,E,22.40,084.4,140326,,,A")
                              .GetString());
    long long const allocationsBefore = g_allocations.load();
    for (auto _ : state)
    {
        CNmeaSentence::E_NMEAParseResult result;
        CNmeaSentence* sentence = CNmeaSentence::Create(line.c_str(), result);
        benchmark::DoNotOptimize(sentence);
        delete sentence;
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["allocs/sentence"] =
        benchmark::Counter(static_cast<double>(g_allocations.load() - allocationsBefore) /
                           static_cast<double>(state.iterations()));
}
BENCHMARK(BM_CreatePositionReport);
} // namespace
