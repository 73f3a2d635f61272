// Throughput of the two GPS -> National Grid paths, over points spread across Great Britain.
#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>

namespace
{

struct LatLong
{
    double lat;
    double lon;
};

// A 16 x 16 grid of positions from Cornwall to the north of Scotland.
std::array<LatLong, 256> Points()
{
    std::array<LatLong, 256> points{};
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = {50.1 + 0.5 * static_cast<double>(i / 16),
                     -5.5 + 0.45 * static_cast<double>(i % 16)};
    return points;
}

void BM_ConvertGPSDegreestoNatGrid(benchmark::State& state)
{
    auto const points = Points();
    std::size_t i = 0;
    for (auto _ : state)
    {
        auto const& p = points[i++ & 255];
        double E = 0;
        double N = 0;
        bool ok = NGpsToOSGrid::ConvertGPSDegreestoNatGrid(p.lat, p.lon, E, N);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(E);
        benchmark::DoNotOptimize(N);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_ConvertGPSDegreestoNatGrid);

void BM_LatLong_To_GridRef(benchmark::State& state)
{
    auto const points = Points();
    int const digits = static_cast<int>(state.range(0));
    std::size_t i = 0;
    CString ref;
    for (auto _ : state)
    {
        auto const& p = points[i++ & 255];
        bool ok = CCoordTransform::LatLong_To_GridRef(p.lat, p.lon, digits, ref);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(ref);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_LatLong_To_GridRef)->Arg(5)->Arg(3);

// The conversion without the text, to show what the formatting costs.
void BM_LatLong_To_EastingNorthing(benchmark::State& state)
{
    auto const points = Points();
    std::size_t i = 0;
    for (auto _ : state)
    {
        auto const& p = points[i++ & 255];
        unsigned long E = 0;
        unsigned long N = 0;
        bool ok = CCoordTransform::LatLong_To_EastingNorthing(p.lat, p.lon, E, N);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(E);
        benchmark::DoNotOptimize(N);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_LatLong_To_EastingNorthing);

} // namespace
