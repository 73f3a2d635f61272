// Saving and loading whole files of places and sets: a UserPlaces.dat of 100,000 places, and a
// set collection of 1,000 sets of 1,000 members. Reports items per second and the process's
// peak resident size (getrusage ru_maxrss, KiB on Linux) after each benchmark.
#include <benchmark/benchmark.h>
#include <filesystem>
#include <shared/places/CSetCollection.h>
#include <shared/places/CUserPlaceCollection.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

namespace
{
constexpr int kPlaces = 100000;
constexpr int kSets = 1000;
constexpr int kMembers = 1000;

std::string ScratchFile(const char* name)
{
    return (std::filesystem::temp_directory_path() /
            (std::string(name) + "-" + std::to_string(getpid()) + ".dat"))
        .string();
}

double PeakResidentKiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss);
}

void FillPlaces(CUserPlaceCollection& places)
{
    for (int i = 0; i < kPlaces; ++i)
    {
        CUserPlace place;
        CString label;
        label.Format("Place %d", i);
        place.SetMapLabelText(label);
        place.SetReportLabelText(label + ", Cambridge");
        place.SetLatitude(52.0 + i * 1e-6);
        place.SetLongitude(-0.1 - i * 1e-6);
        place.SetUseAsGeofence(i % 2);
        place.SetGeofenceEnterLeave(i % 4);
        const Cint64 id(1, static_cast<unsigned>(i + 1));
        place.SetItemId(id);
        places.AddUserPlace(id, place);
    }
}

void FillSets(CSetCollection& sets)
{
    for (int s = 0; s < kSets; ++s)
    {
        CSet set;
        set.SetSetId(Cint64(2, static_cast<unsigned>(s + 1)));
        CString name;
        name.Format("Set %d", s);
        set.SetSetName(name);
        for (int m = 0; m < kMembers; ++m)
            set.InsertItem(Cint64(1, static_cast<unsigned>(m + 1)), false);
        sets.AddSet(set);
    }
}

void BM_SaveUserPlaces(benchmark::State& state)
{
    CUserPlaceCollection places;
    FillPlaces(places);
    const std::string path = ScratchFile("places-bench");
    for (auto _ : state)
        if (!places.SaveCollection(path.c_str()))
            state.SkipWithError("save failed");
    std::filesystem::remove(path);
    state.SetItemsProcessed(state.iterations() * kPlaces);
    state.counters["peak_rss_KiB"] = PeakResidentKiB();
}
BENCHMARK(BM_SaveUserPlaces)->Unit(benchmark::kMillisecond);

void BM_LoadUserPlaces(benchmark::State& state)
{
    const std::string path = ScratchFile("places-bench");
    {
        CUserPlaceCollection places;
        FillPlaces(places);
        places.SaveCollection(path.c_str());
    }
    for (auto _ : state)
    {
        CUserPlaceCollection places;
        if (!places.ReadCollection(path.c_str()) || places.GetNumberInCollection() != kPlaces)
            state.SkipWithError("load failed");
    }
    std::filesystem::remove(path);
    state.SetItemsProcessed(state.iterations() * kPlaces);
    state.counters["peak_rss_KiB"] = PeakResidentKiB();
}
BENCHMARK(BM_LoadUserPlaces)->Unit(benchmark::kMillisecond);

void BM_SaveSetCollection(benchmark::State& state)
{
    CSetCollection sets;
    FillSets(sets);
    const std::string path = ScratchFile("sets-bench");
    for (auto _ : state)
        if (!sets.SaveCollection(path.c_str()))
            state.SkipWithError("save failed");
    std::filesystem::remove(path);
    state.SetItemsProcessed(state.iterations() * kSets * kMembers);
    state.counters["peak_rss_KiB"] = PeakResidentKiB();
}
BENCHMARK(BM_SaveSetCollection)->Unit(benchmark::kMillisecond);

void BM_LoadSetCollection(benchmark::State& state)
{
    const std::string path = ScratchFile("sets-bench");
    {
        CSetCollection sets;
        FillSets(sets);
        sets.SaveCollection(path.c_str());
    }
    for (auto _ : state)
    {
        CSetCollection sets;
        if (!sets.ReadCollection(path.c_str()) || sets.GetNumberInCollection() != kSets)
            state.SkipWithError("load failed");
    }
    std::filesystem::remove(path);
    state.SetItemsProcessed(state.iterations() * kSets * kMembers);
    state.counters["peak_rss_KiB"] = PeakResidentKiB();
}
BENCHMARK(BM_LoadSetCollection)->Unit(benchmark::kMillisecond);
} // namespace
