// Reading a version resource: from an image in memory, from a file, and through CFileVersion as
// the application does (open, format the product version, close).
#include <benchmark/benchmark.h>
#include <fstream>
#include <iterator>
#include <shared/foundation/CFileVersion.h>
#include <shared/platform/VersionResource.h>
#include <string>
#include <vector>

namespace
{

const std::string kImage = std::string(SHARED_SOURCE_DIR) + "/fuzz/corpus/file_version/full64.dll";

void BM_ExtractFromMemory(benchmark::State& state)
{
    std::ifstream in(kImage, std::ios::binary);
    const std::vector<std::uint8_t> image{std::istreambuf_iterator<char>(in),
                                          std::istreambuf_iterator<char>()};
    for (auto _ : state)
        benchmark::DoNotOptimize(shared::platform::ExtractVersionResource(image));
}
BENCHMARK(BM_ExtractFromMemory);

void BM_FileVersionOpenAndFormat(benchmark::State& state)
{
    for (auto _ : state)
    {
        CFileVersion version;
        if (!version.Open(kImage.c_str()))
        {
            state.SkipWithError("fixture image missing");
            break;
        }
        benchmark::DoNotOptimize(version.GetFixedProductVersion());
        benchmark::DoNotOptimize(version.GetCompanyName());
        version.Close();
    }
}
BENCHMARK(BM_FileVersionOpenAndFormat);

} // namespace
