// Cost of the civil-time conversions that every display of a stored UTC time goes through.
#include <benchmark/benchmark.h>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/NCivilTime.h>

namespace
{

void InstallZone()
{
    shared::platform::OverrideTimeZoneRules(
        shared::platform::TimeZoneRules::FromPosixString("CET-1CEST,M3.5.0,M10.5.0/3"));
    NCivilTime::SetTimeZone();
}

void BreakDownUtc(benchmark::State& state)
{
    NCivilTime::TIMESTAMP ts{};
    unsigned long t = 1150108205UL;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(NCivilTime::ConvertToBrokenDownTime(&ts, t, 0));
        t += 3607;
    }
}
BENCHMARK(BreakDownUtc);

// Same year each time: the cached rules are reused.
void BreakDownLocalSameYear(benchmark::State& state)
{
    InstallZone();
    NCivilTime::TIMESTAMP ts{};
    unsigned long t = 1136073600UL; // 2006-01-01
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(NCivilTime::ConvertToBrokenDownTime(&ts, t, 1));
        t = 1136073600UL + (t + 7919) % 31536000UL;
    }
}
BENCHMARK(BreakDownLocalSameYear);

// Alternating years: the rules are recomputed on every call.
void BreakDownLocalYearChange(benchmark::State& state)
{
    InstallZone();
    NCivilTime::TIMESTAMP ts{};
    bool odd = false;
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(
            NCivilTime::ConvertToBrokenDownTime(&ts, odd ? 1150108205UL : 1181644205UL, 1));
        odd = !odd;
    }
}
BENCHMARK(BreakDownLocalYearChange);

void BuildUpLocal(benchmark::State& state)
{
    InstallZone();
    NCivilTime::TIMESTAMP ts{12, 6, 2006, 10, 30, 5, 0, 0};
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(NCivilTime::ConvertFromBrokenDownTime(&ts, 1));
        ts.byHour = static_cast<std::uint8_t>((ts.byHour + 1) % 24);
    }
}
BENCHMARK(BuildUpLocal);

} // namespace
