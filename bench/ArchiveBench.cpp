// Throughput of the archive on the shapes the library's files have: many small objects with an
// identifier, a name, a count and a date, each read as an object, copied and freed.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <shared/archive/CArchive.h>
#include <shared/foundation/CLog.h>
#include <shared/foundation/Cint64.h>
#include <shared/framework/COleDateTime.h>
#include <string>
#include <vector>

class CBenchItem : public CObject
{
    DECLARE_SERIAL(CBenchItem)

public:
    virtual void Serialize(CArchive& ar)
    {
        if (ar.IsStoring())
        {
            ar << m_id << m_name << m_count << m_stamp;
        }
        else
        {
            ar >> m_id >> m_name >> m_count >> m_stamp;
        }
    }
    Cint64 m_id;
    CString m_name;
    LONG m_count = 0;
    COleDateTime m_stamp;
};
IMPLEMENT_SERIAL(CBenchItem, CObject, VERSIONABLE_SCHEMA | 1)

namespace
{

std::string TempFile(const char* name)
{
    return (std::filesystem::temp_directory_path() / name).string();
}

void WriteItems(const std::string& path, int count)
{
    std::vector<CBenchItem> items(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        items[static_cast<size_t>(i)].m_id = Cint64(1, static_cast<unsigned>(i));
        items[static_cast<size_t>(i)].m_name = "A place with an ordinary name";
        items[static_cast<size_t>(i)].m_count = i;
    }
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(&file, CArchive::store);
    ar << static_cast<LONG>(count);
    for (const auto& item : items)
    {
        ar << &item;
    }
    ar.Close();
}

void BM_StoreObjects(benchmark::State& state)
{
    const std::string path = TempFile("arch-bench-store.bin");
    const int count = static_cast<int>(state.range(0));
    for (auto _ : state)
    {
        WriteItems(path, count);
    }
    state.SetItemsProcessed(state.iterations() * count);
    std::filesystem::remove(path);
}
BENCHMARK(BM_StoreObjects)->Arg(1000)->Arg(40000);

void BM_LoadObjectsCopyAndFree(benchmark::State& state)
{
    const std::string path = TempFile("arch-bench-load.bin");
    const int count = static_cast<int>(state.range(0));
    WriteItems(path, count);
    for (auto _ : state)
    {
        CFile file(path.c_str(), CFile::modeRead);
        CArchive ar(&file, CArchive::load);
        LONG stored = 0;
        ar >> stored;
        LONG total = 0;
        for (LONG i = 0; i < stored; ++i)
        {
            CObject* read = ar.ReadObject(RUNTIME_CLASS(CBenchItem));
            total += static_cast<CBenchItem*>(read)->m_count;
            ar.UnmapObject(read);
            delete read;
        }
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * count);
    std::filesystem::remove(path);
}
BENCHMARK(BM_LoadObjectsCopyAndFree)->Arg(1000)->Arg(40000);

// One log entry: open, read up to 550 lines, append, close.
void BM_AddToFullLog(benchmark::State& state)
{
    const std::string path = TempFile("arch-bench.log");
    std::filesystem::remove(path);
    CLog::SetLogFileName(path.c_str());
    for (int i = 0; i < 549; ++i)
    {
        CLog::AddToLog(0, "CBench::Fill() line %d", i);
    }
    for (auto _ : state)
    {
        CLog::AddToLog(2, "CBench::Run() Greater than an hour, dblDifference=%f", 0.5);
    }
    CLog::SetLogFileName("");
    std::filesystem::remove(path);
}
BENCHMARK(BM_AddToFullLog);

} // namespace
