#include <benchmark/benchmark.h>
#include <memory>
#include <shared/comms/CSignal2.h>
#include <vector>

namespace
{
struct CountingSlot : CBaseSlot2<int, unsigned long>
{
    bool Invoke(int port, unsigned long bits) override
    {
        sum += static_cast<unsigned long>(port) + bits;
        return false;
    }
    unsigned long sum = 0;
};
} // namespace

// One emission to N slots that do almost nothing: the mechanism's own cost (iterator,
// signal lock, each slot's reentrancy guard), per emission and per slot.
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
    state.counters["ns_per_slot"] =
        benchmark::Counter(static_cast<double>(state.iterations() * static_cast<long long>(slots)),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_SignalEmit)
    ->ArgNames({"slots", "mode"})
    ->Args({1, SSRM_SKIP_IF_BUSY})
    ->Args({10, SSRM_SKIP_IF_BUSY})
    ->Args({100, SSRM_SKIP_IF_BUSY})
    ->Args({1, SSRM_UNRESTRICTED})
    ->Args({100, SSRM_UNRESTRICTED})
    ->Args({1, SSRM_SERIALIZE})
    ->Args({100, SSRM_SERIALIZE});

static void BM_SignalEmitNoSlots(benchmark::State& state)
{
    CSignal2<int, unsigned long> signal;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(signal.Send(3, 0x8));
    }
}
BENCHMARK(BM_SignalEmitNoSlots);
