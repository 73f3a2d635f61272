// Costs of the framework types on the library's hot paths: strings built per sentence and per log
// line, and date-times broken down for every time stamp shown or stored.

#include <benchmark/benchmark.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/framework/CStringArray.h>

static void BM_CStringShortCopy(benchmark::State& state)
{
    const CString source("GPRMC");
    for (auto _ : state)
    {
        CString copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(BM_CStringShortCopy);

static void BM_CStringFormatIdentifier(benchmark::State& state)
{
    unsigned long long id = 0x0123456789ABCDEFULL;
    CString text;
    for (auto _ : state)
    {
        text.Format("%016I64X", ++id);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_CStringFormatIdentifier);

static void BM_CStringFormatLogLine(benchmark::State& state)
{
    const CString name("CUserPlaceCollection");
    CString text;
    for (auto _ : state)
    {
        text.Format("%s::GetUserPlace() Error getting sidUserPlaceId %s %d", name,
                    "0000000100000001", 42);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_CStringFormatLogLine);

static void BM_CStringTokenizeSentence(benchmark::State& state)
{
    const CString sentence("GPRMC,161229.487,A,3723.2475,N,12158.3416,W,0.13,309.62,120598,,*10");
    for (auto _ : state)
    {
        CStringArray fields;
        int pos = 0;
        for (CString tok = sentence.Tokenize(",", pos); pos != -1;
             tok = sentence.Tokenize(",", pos))
        {
            fields.Add(tok);
        }
        benchmark::DoNotOptimize(fields);
    }
}
BENCHMARK(BM_CStringTokenizeSentence);

static void BM_COleDateTimeBuild(benchmark::State& state)
{
    int second = 0;
    for (auto _ : state)
    {
        COleDateTime dt(2006, 6, 12, 16, 5, second);
        second = (second + 1) % 60;
        benchmark::DoNotOptimize(dt);
    }
}
BENCHMARK(BM_COleDateTimeBuild);

static void BM_COleDateTimeBreakDown(benchmark::State& state)
{
    COleDateTime dt(2006, 6, 12, 16, 5, 9);
    for (auto _ : state)
    {
        SYSTEMTIME st{};
        benchmark::DoNotOptimize(dt.GetAsSystemTime(st));
        benchmark::DoNotOptimize(st);
        dt.m_dt += 1.0 / 86400.0;
    }
}
BENCHMARK(BM_COleDateTimeBreakDown);

static void BM_COleDateTimeFormat(benchmark::State& state)
{
    const COleDateTime dt(2006, 6, 12, 16, 5, 9);
    for (auto _ : state)
    {
        CString text = dt.Format("%d/%m/%Y %H:%M:%S");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_COleDateTimeFormat);
