// Export and import of a whole phonebook as vCards; reports entries per second both ways.
#include <benchmark/benchmark.h>
#include <filesystem>
#include <shared/phonebook/CMasterPhonebook.h>
#include <unistd.h>

namespace
{
constexpr int kEntries = 100000;

void Fill(CMasterPhonebook& book)
{
    for (int i = 0; i < kEntries; ++i)
    {
        CString nick;
        nick.Format("Contact %d", i);
        CString number;
        number.Format("+44 7700 %06d", i);
        CPhonebookEntryAttributes attributes;
        attributes.SetAttributes(true, i % 2, i % 3 == 0, i % 5 == 0, i % 7 == 0, i % 11 == 0);
        book.AddEntry(Cint64(1, static_cast<unsigned>(i)), nick, number, "Surname", attributes);
    }
}

std::string ScratchFile()
{
    return (std::filesystem::temp_directory_path() /
            ("phonebook-bench-" + std::to_string(getpid()) + ".vcf"))
        .string();
}

void BM_ExportVCards(benchmark::State& state)
{
    CMasterPhonebook book;
    Fill(book);
    const std::string path = ScratchFile();
    for (auto _ : state)
    {
        CStdioFile file;
        file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeText);
        book.SaveAsVCards(file);
    }
    state.counters["entries/s"] = benchmark::Counter(static_cast<double>(kEntries),
                                                     benchmark::Counter::kIsIterationInvariantRate);
    std::filesystem::remove(path);
}
BENCHMARK(BM_ExportVCards)->Unit(benchmark::kMillisecond);

void BM_ImportVCards(benchmark::State& state)
{
    const std::string path = ScratchFile();
    {
        CMasterPhonebook book;
        Fill(book);
        CStdioFile file;
        file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeText);
        book.SaveAsVCards(file);
    }
    for (auto _ : state)
    {
        CMasterPhonebook book;
        CStdioFile file;
        file.Open(path.c_str(), CFile::modeRead | CFile::typeText);
        book.ReadFromVCards(file);
        benchmark::DoNotOptimize(book.GetNumEntries());
    }
    state.counters["entries/s"] = benchmark::Counter(static_cast<double>(kEntries),
                                                     benchmark::Counter::kIsIterationInvariantRate);
    std::filesystem::remove(path);
}
BENCHMARK(BM_ImportVCards)->Unit(benchmark::kMillisecond);
} // namespace
