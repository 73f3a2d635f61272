// Side-by-side timings against peers, in interleaved rounds so that both sides see the same load
// on a shared machine; each line prints the median thread-CPU time of ours, of the peer and the
// ratio, plus heap allocations per item for ours.
//
// Peers: Boost.Serialization loading the equivalent structures (a vector of named sets of 64-bit
// ids; a map of places with the same fields), and for $GPRMC a hand-written plain-C field parser
// (strtod style) standing in for minmea, which is not packaged.
#include <algorithm>
#include <atomic>
#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/map.hpp>
#include <boost/serialization/set.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <new>
#include <set>
#include <shared/places/CSetCollection.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <shared/positioning/CNmeaSentence.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
std::atomic<long long> g_allocations{0};
}

// g++ 12 takes the inlined malloc/free pairs for mismatched new/delete; they are matched.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(std::size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete[](void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}

namespace
{
constexpr int kSets = 1000;
constexpr int kMembers = 1000;
constexpr int kPlaces = 100000;
constexpr int kSentences = 100000;

std::string Scratch(const char* name)
{
    return (std::filesystem::temp_directory_path() /
            (std::string(name) + "-" + std::to_string(getpid()) + ".dat"))
        .string();
}

double ThreadSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

struct Timing
{
    double seconds;
    long long allocations;
};

Timing Time(const std::function<void()>& run)
{
    const long long before = g_allocations.load();
    const double start = ThreadSeconds();
    run();
    return {ThreadSeconds() - start, g_allocations.load() - before};
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Compare(const char* name, int rounds, long long items, const std::function<void()>& ours,
             const std::function<void()>& peer)
{
    std::vector<double> oursTimes;
    std::vector<double> peerTimes;
    long long allocations = 0;
    for (int round = 0; round < rounds; ++round)
    {
        const Timing mine = Time(ours);
        oursTimes.push_back(mine.seconds);
        allocations = mine.allocations;
        peerTimes.push_back(Time(peer).seconds);
    }
    const double o = Median(oursTimes);
    const double p = Median(peerTimes);
    std::printf("%-22s ours %9.3f ms  peer %9.3f ms  ratio %5.2fx  allocs/item %.2f\n", name,
                o * 1e3, p * 1e3, o / p,
                static_cast<double>(allocations) / static_cast<double>(items));
    std::fflush(stdout);
}

// ---- sets -------------------------------------------------------------------------------------

struct PeerSet
{
    std::uint64_t id = 0;
    std::string name;
    double updated = 0.0;
    std::set<std::uint64_t> members;
    template <class Archive> void serialize(Archive& ar, unsigned)
    {
        ar& id& name& updated& members;
    }
};

void CompareSets(int rounds)
{
    const std::string ourPath = Scratch("peer-sets");
    const std::string peerPath = Scratch("peer-sets-boost");
    {
        CSetCollection sets;
        std::vector<PeerSet> peer;
        for (int s = 0; s < kSets; ++s)
        {
            CSet set;
            PeerSet other;
            set.SetSetId(Cint64(2, static_cast<unsigned>(s + 1)));
            other.id = static_cast<std::uint64_t>(set.GetSetId().GetNumber());
            CString name;
            name.Format("Set %d", s);
            set.SetSetName(name);
            other.name = name.GetString();
            for (int m = 0; m < kMembers; ++m)
            {
                set.InsertItem(Cint64(1, static_cast<unsigned>(m * 7 + s)), false);
                other.members.insert((1ull << 32) | static_cast<unsigned>(m * 7 + s));
            }
            sets.AddSet(set);
            peer.push_back(std::move(other));
        }
        sets.SaveCollection(ourPath.c_str());
        std::ofstream out(peerPath, std::ios::binary);
        boost::archive::binary_oarchive archive(out);
        archive << peer;
    }
    Compare(
        "set collection load", rounds, static_cast<long long>(kSets) * kMembers,
        [&]
        {
            CSetCollection sets;
            if (!sets.ReadCollection(ourPath.c_str()) || sets.GetNumberInCollection() != kSets)
                std::abort();
        },
        [&]
        {
            std::vector<PeerSet> peer;
            std::ifstream in(peerPath, std::ios::binary);
            boost::archive::binary_iarchive archive(in);
            archive >> peer;
            if (peer.size() != kSets)
                std::abort();
        });
    std::filesystem::remove(ourPath);
    std::filesystem::remove(peerPath);
}

// ---- user places ------------------------------------------------------------------------------

struct PeerPlace
{
    std::uint64_t id = 0;
    std::string idText, company, mapLabel, reportLabel;
    std::int32_t symbolId = 0, addressRadius = 0, geofenceRadius = 0, enterLeave = 0, threshold = 0;
    std::uint32_t colour = 0;
    double latitude = 0.0, longitude = 0.0, start = 0.0, end = 0.0, deleted = 0.0;
    unsigned char symbolChar = 0;
    bool flags[14] = {};
    template <class Archive> void serialize(Archive& ar, unsigned)
    {
        ar& id& idText& company& mapLabel& reportLabel& symbolId& addressRadius& geofenceRadius&
            enterLeave& threshold& colour& latitude& longitude& start& end& deleted& symbolChar&
                flags;
    }
};

void ComparePlaces(int rounds)
{
    const std::string ourPath = Scratch("peer-places");
    const std::string peerPath = Scratch("peer-places-boost");
    {
        CUserPlaceCollection places;
        std::map<std::uint64_t, PeerPlace> peer;
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
            PeerPlace other;
            other.id = static_cast<std::uint64_t>(id.GetNumber());
            other.idText = id.GetFormattedString().GetString();
            other.company = "n/a";
            other.mapLabel = label.GetString();
            other.reportLabel = place.GetReportLabelText().GetString();
            other.latitude = place.GetLatitude();
            other.longitude = place.GetLongitude();
            other.enterLeave = i % 4;
            peer.emplace(other.id, std::move(other));
        }
        places.SaveCollection(ourPath.c_str());
        std::ofstream out(peerPath, std::ios::binary);
        boost::archive::binary_oarchive archive(out);
        archive << peer;
    }
    Compare(
        "user places load", rounds, kPlaces,
        [&]
        {
            CUserPlaceCollection places;
            if (!places.ReadCollection(ourPath.c_str()) ||
                places.GetNumberInCollection() != kPlaces)
                std::abort();
        },
        [&]
        {
            std::map<std::uint64_t, PeerPlace> peer;
            std::ifstream in(peerPath, std::ios::binary);
            boost::archive::binary_iarchive archive(in);
            archive >> peer;
            if (peer.size() != kPlaces)
                std::abort();
        });
    std::filesystem::remove(ourPath);
    std::filesystem::remove(peerPath);
}

// ---- $GPRMC -----------------------------------------------------------------------------------

struct PlainRmc
{
    int hour, minute, second, day, month, year;
    char status, mode;
    double latitude, longitude, speed, course, variation;
};

int Hex(char c)
{
    return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

int TwoDigits(const char* p)
{
    return (p[0] - '0') * 10 + (p[1] - '0');
}

double Degrees(const char* field)
{
    double raw = std::strtod(field, nullptr);
    double degrees = static_cast<int>(raw / 100);
    return degrees + (raw - degrees * 100) / 60.0;
}

// The stand-in peer: checksum, then the fields in place, numbers through strtod, two-digit time
// and date parts by hand.
bool PlainParseRmc(const char* line, PlainRmc& out)
{
    if (line[0] != '$')
        return false;
    const char* star = std::strchr(line, '*');
    if (star == nullptr || Hex(star[1]) < 0 || Hex(star[2]) < 0)
        return false;
    unsigned char sum = 0;
    for (const char* p = line + 1; p < star; ++p)
        sum = static_cast<unsigned char>(sum ^ static_cast<unsigned char>(*p));
    if (sum != Hex(star[1]) * 16 + Hex(star[2]))
        return false;
    if (std::strncmp(line + 1, "GPRMC,", 6) != 0)
        return false;
    const char* fields[13] = {};
    int count = 0;
    for (const char* p = line + 1; p < star && count < 13; ++count)
    {
        fields[count] = p;
        while (p < star && *p != ',')
            ++p;
        ++p;
    }
    if (count < 12)
        return false;
    std::memset(&out, 0, sizeof out);
    if (fields[2] - fields[1] >= 7)
    {
        out.hour = TwoDigits(fields[1]);
        out.minute = TwoDigits(fields[1] + 2);
        out.second = TwoDigits(fields[1] + 4);
    }
    out.status = *fields[2];
    out.latitude = Degrees(fields[3]) * (*fields[4] == 'S' ? -1 : 1);
    out.longitude = Degrees(fields[5]) * (*fields[6] == 'W' ? -1 : 1);
    out.speed = std::strtod(fields[7], nullptr);
    out.course = std::strtod(fields[8], nullptr);
    if (fields[10] - fields[9] >= 7)
    {
        out.day = TwoDigits(fields[9]);
        out.month = TwoDigits(fields[9] + 2);
        out.year = 2000 + TwoDigits(fields[9] + 4);
    }
    out.variation = std::strtod(fields[10], nullptr) * (*fields[11] == 'E' ? -1 : 1);
    out.mode = count > 12 ? *fields[12] : 0;
    return true;
}

void CompareRmc(int rounds)
{
    std::vector<std::string> lines;
    for (int i = 0; i < 16; ++i)
    {
        char body[128];
        std::snprintf(body, sizeof body,
                      "GPRMC,1015%02d.000,A,5212.%04d,N,00007.%04d,E,%d.%02d,%03d.%d,140326,,,A",
                      10 + i, 3000 + 37 * i, 5000 + 41 * i, 20 + i, 5 * i, 80 + 3 * i, i);
        lines.push_back("$" + std::string(CNmeaSentence::SetCheckSum(body).GetString()));
    }
    double sink = 0.0;
    Compare(
        "$GPRMC decode", rounds, kSentences,
        [&]
        {
            for (int i = 0; i < kSentences; ++i)
            {
                CNmeaSentence::E_NMEAParseResult result;
                CNmeaSentence* sentence =
                    CNmeaSentence::Create(lines[static_cast<std::size_t>(i % 16)].c_str(), result);
                double latitude = 0.0;
                static_cast<CNmeaGPRMC*>(sentence)->GetLatitude(latitude);
                sink += latitude;
                delete sentence;
            }
        },
        [&]
        {
            for (int i = 0; i < kSentences; ++i)
            {
                PlainRmc rmc;
                if (PlainParseRmc(lines[static_cast<std::size_t>(i % 16)].c_str(), rmc))
                    sink += rmc.latitude;
            }
        });
    if (sink == 1.0)
        std::puts("");
}
} // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 9;
    const std::string only = argc > 2 ? argv[2] : "";
    std::puts("Medians of interleaved rounds, thread CPU time. The $GPRMC peer is a hand-written "
              "strtod parser standing in for minmea; allocs/item counts ours only.");
    if (only.empty() || only == "sets")
        CompareSets(rounds);
    if (only.empty() || only == "places")
        ComparePlaces(rounds);
    if (only.empty() || only == "rmc")
        CompareRmc(rounds);
    return 0;
}
