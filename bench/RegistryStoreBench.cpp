// The registry store: reads take no lock and parse one small text file; writes take the lock,
// write a temporary file, fsync it and rename it, so their cost is mostly the disk's.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <shared/platform/RegistryStore.h>
#include <string>

namespace fs = std::filesystem;
using shared::platform::RegistryStore;
using shared::platform::RegistryValue;

namespace
{

fs::path MakeRoot()
{
    std::string pattern = (fs::temp_directory_path() / "registry-bench-XXXXXX").string();
    return ::mkdtemp(pattern.data()) != nullptr ? fs::path(pattern) : fs::path();
}

// A key with state.range(0) values, as a settings key of the application might hold.
void BM_QueryValue(benchmark::State& state)
{
    const fs::path root = MakeRoot();
    RegistryStore store(root);
    store.CreateKey(HKEY_CURRENT_USER, "Software\\Acme\\Warden");
    for (int i = 0; i < state.range(0); ++i)
        store.SetValue(HKEY_CURRENT_USER, "Software\\Acme\\Warden", "Value" + std::to_string(i),
                       RegistryValue::Dword(static_cast<std::uint32_t>(i)));
    RegistryValue value;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            store.QueryValue(HKEY_CURRENT_USER, "software\\acme\\warden", "value0", value));
    fs::remove_all(root);
}
BENCHMARK(BM_QueryValue)->Arg(1)->Arg(50);

void BM_SetValue(benchmark::State& state)
{
    const fs::path root = MakeRoot();
    RegistryStore store(root);
    store.CreateKey(HKEY_CURRENT_USER, "Software\\Acme\\Warden");
    std::uint32_t n = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(store.SetValue(HKEY_CURRENT_USER, "Software\\Acme\\Warden",
                                                "Counter", RegistryValue::Dword(++n)));
    fs::remove_all(root);
}
BENCHMARK(BM_SetValue);

} // namespace
