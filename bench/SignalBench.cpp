#include "InterleavedRounds.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <shared/comms/CSignal2.h>
#include <string>
#include <vector>
#if SHARED_BENCH_HAVE_BOOST
#include <boost/signals2/signal.hpp>
#endif
#if SHARED_BENCH_HAVE_SIGCXX
#include <sigc++/signal.h>
#endif

namespace
{
unsigned long g_sink = 0;

struct CountingSlot : CBaseSlot2<int, unsigned long>
{
    bool Invoke(int port, unsigned long bits) override
    {
        g_sink += static_cast<unsigned long>(port) + bits;
        return false;
    }
};

void Handler(int port, unsigned long bits)
{
    g_sink += static_cast<unsigned long>(port) + bits;
}
} // namespace

// One emission to N slots that do almost nothing, in the default skip-if-busy mode: the
// mechanism's own cost, against Boost.Signals2 and libsigc++ doing the same (both also thread
// aware in Boost's case; libsigc++ is single-threaded and marks the floor).
static void BM_SignalEmitVsPeers(benchmark::State& state)
{
    auto const slots = static_cast<std::size_t>(state.range(0));
    CSignal2<int, unsigned long> signal;
    std::vector<std::unique_ptr<CountingSlot>> receivers;
    for (std::size_t i = 0; i < slots; ++i)
    {
        receivers.push_back(std::make_unique<CountingSlot>());
        signal.Connect(*receivers.back(), static_cast<unsigned char>(i % 256));
    }
    long const reps = 200000 / static_cast<long>(slots) + 100;
    std::vector<std::pair<char const*, double>> peers;
    bench::Contender ours{"ours", [&](long n)
                          {
                              for (long i = 0; i < n; ++i)
                              {
                                  benchmark::DoNotOptimize(signal.Send(3, 0x8));
                              }
                          }};
#if SHARED_BENCH_HAVE_BOOST
    boost::signals2::signal<void(int, unsigned long)> boostSignal;
#endif
#if SHARED_BENCH_HAVE_SIGCXX
    sigc::signal<void(int, unsigned long)> sigcSignal;
#endif
    for (std::size_t i = 0; i < slots; ++i)
    {
#if SHARED_BENCH_HAVE_BOOST
        boostSignal.connect(&Handler);
#endif
#if SHARED_BENCH_HAVE_SIGCXX
        sigcSignal.connect(sigc::ptr_fun(&Handler));
#endif
    }
    bench::Contender boostRun{"boost", [&](long n)
                              {
#if SHARED_BENCH_HAVE_BOOST
                                  for (long i = 0; i < n; ++i)
                                  {
                                      boostSignal(3, 0x8);
                                  }
#endif
                                  benchmark::DoNotOptimize(n);
                              }};
    bench::Contender sigcRun{"sigc", [&](long n)
                             {
#if SHARED_BENCH_HAVE_SIGCXX
                                 for (long i = 0; i < n; ++i)
                                 {
                                     sigcSignal.emit(3, 0x8);
                                 }
#endif
                                 benchmark::DoNotOptimize(n);
                             }};
    for (auto _ : state)
    {
        auto const m = bench::InterleavedMedians(15, reps, ours, boostRun, sigcRun);
#if SHARED_BENCH_HAVE_BOOST
        peers.emplace_back("boost", m[1]);
#endif
#if SHARED_BENCH_HAVE_SIGCXX
        peers.emplace_back("sigc", m[2]);
#endif
        std::string const label = "emit, " + std::to_string(slots) + " slots";
        bench::ReportAgainstPeers(state, label.c_str(), "ns", 1e9, m[0], peers);
    }
}
BENCHMARK(BM_SignalEmitVsPeers)->ArgName("slots")->Arg(1)->Arg(10)->Arg(100)->Iterations(1);

// The other reentrancy modes, and the cost of an emission that reaches nobody.
static void BM_SignalEmit(benchmark::State& state)
{
    auto const slots = static_cast<std::size_t>(state.range(0));
    auto const mode = static_cast<E_SigSlotReentrancyMode>(state.range(1));
    CSignal2<int, unsigned long> signal;
    std::vector<std::unique_ptr<CountingSlot>> receivers;
    for (std::size_t i = 0; i < slots; ++i)
    {
        receivers.push_back(std::make_unique<CountingSlot>());
        receivers.back()->SetReentrancyMode(mode);
        signal.Connect(*receivers.back(), static_cast<unsigned char>(i % 256));
    }
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(signal.Send(3, 0x8));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(slots));
}
BENCHMARK(BM_SignalEmit)
    ->ArgNames({"slots", "mode"})
    ->Args({0, SSRM_SKIP_IF_BUSY})
    ->Args({100, SSRM_UNRESTRICTED})
    ->Args({100, SSRM_SERIALIZE});
