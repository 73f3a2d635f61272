#pragma once

// Side-by-side timing of this library against a peer implementation of the same job.
//
// The machine is shared and its speed drifts, so the contenders run in alternating rounds and
// each one's figure is the median of its rounds: a slow spell hits all of them alike instead of
// whichever happened to run during it.

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <string>
#include <time.h>
#include <vector>

namespace bench
{

// One contender: a name and a callable that does the measured work `reps` times.
template <class Run> struct Contender
{
    char const* name;
    Run run;
};

// The calling thread's CPU time: for single-threaded contenders, so that the time the shared
// machine gives to others while one of them runs is not charged to it.
struct ThreadCpuClock
{
    static double Now()
    {
        timespec ts{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
    }
};
// Wall time: for contenders that use more than one thread.
struct WallClock
{
    static double Now()
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
};

// Median seconds per rep of each contender over `rounds` interleaved rounds.
template <class Clock = ThreadCpuClock, class... Runs>
std::array<double, sizeof...(Runs)> InterleavedMedians(int rounds, long reps,
                                                       Contender<Runs>&... contenders)
{
    constexpr std::size_t n = sizeof...(Runs);
    std::array<std::vector<double>, n> samples;
    for (int round = 0; round < rounds; ++round)
    {
        std::size_t i = 0;
        auto timeOne = [&](auto& contender)
        {
            double const start = Clock::Now();
            contender.run(reps);
            samples[i++].push_back((Clock::Now() - start) / static_cast<double>(reps));
        };
        (timeOne(contenders), ...);
    }
    std::array<double, n> medians{};
    for (std::size_t i = 0; i < n; ++i)
    {
        auto& s = samples[i];
        std::nth_element(s.begin(), s.begin() + static_cast<long>(s.size() / 2), s.end());
        medians[i] = s[s.size() / 2];
    }
    return medians;
}

// Puts our figure, each peer's and the ratios into the benchmark's counters and prints a line
// per peer ("ratio" is ours divided by the peer's, so below 1 means faster for time and slower
// for throughput).
inline void ReportAgainstPeers(benchmark::State& state, char const* label, char const* unit,
                               double scale, double ours,
                               std::vector<std::pair<char const*, double>> const& peers)
{
    state.counters[std::string("ours_") + unit] = ours * scale;
    for (auto const& [name, value] : peers)
    {
        state.counters[std::string(name) + "_" + unit] = value * scale;
        state.counters[std::string("ratio_") + name] = ours / value;
        std::printf("  %-28s ours %10.1f %s  %-10s %10.1f %s  ratio %.2f\n", label, ours * scale,
                    unit, name, value * scale, unit, ours / value);
    }
}

} // namespace bench
