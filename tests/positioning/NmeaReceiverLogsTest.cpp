// Real receiver logs decoded against independent expectations: gpsd's own decodes (.chk files)
// and the per-file counts of damaged sentences listed in the data's SOURCES.md.

#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <regex>
#include <shared/positioning/CNmeaGPRMC.h>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace
{
using Result = CNmeaSentence::E_NMEAParseResult;

fs::path NmeaData()
{
    return fs::path(SHARED_TESTDATA_DIR) / "nmea";
}

std::vector<std::string> ReadLines(fs::path const& file)
{
    std::ifstream in(file, std::ios::binary);
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line))
        lines.push_back(line);
    return lines;
}

std::unique_ptr<CNmeaSentence> Decode(std::string const& line, Result& result)
{
    return std::unique_ptr<CNmeaSentence>(CNmeaSentence::Create(line.c_str(), result));
}

std::optional<double> JsonNumber(std::string const& json, char const* key)
{
    std::string const needle = std::string("\"") + key + "\":";
    auto at = json.find(needle);
    if (at == std::string::npos)
        return std::nullopt;
    return std::strtod(json.c_str() + at + needle.size(), nullptr);
}

std::optional<std::string> JsonString(std::string const& json, char const* key)
{
    std::string const needle = std::string("\"") + key + "\":\"";
    auto at = json.find(needle);
    if (at == std::string::npos)
        return std::nullopt;
    at += needle.size();
    return json.substr(at, json.find('"', at) - at);
}

std::string IsoSeconds(COleDateTime const& t)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", t.GetYear(), t.GetMonth(),
                  t.GetDay(), t.GetHour(), t.GetMinute(), t.GetSecond());
    return text;
}
} // namespace

TEST(NmeaReceiverLogs, RmcDecodesAgreeWithGpsd)
{
    fs::path const gpsd = NmeaData() / "gpsd";
    if (!fs::is_directory(gpsd))
        GTEST_SKIP() << "no gpsd logs at " << gpsd;

    int compared = 0, timeMismatch = 0, posMismatch = 0, speedMismatch = 0, courseMismatch = 0;
    for (auto const& entry : fs::directory_iterator(gpsd))
    {
        if (entry.path().extension() != ".chk")
            continue;
        std::unique_ptr<CNmeaSentence> pending;
        std::string pendingLine;
        for (auto const& line : ReadLines(entry.path()))
        {
            if (line.rfind("$", 0) == 0)
            {
                pending.reset();
                if (line.rfind("$GPRMC", 0) == 0)
                {
                    Result result;
                    pending = Decode(line, result);
                    pendingLine = line;
                }
                continue;
            }
            if (!pending || line.find("\"class\":\"TPV\"") == std::string::npos)
                continue;
            auto const& rmc = static_cast<CNmeaGPRMC const&>(*pending);
            auto const time = JsonString(line, "time");
            COleDateTime ours;
            if (!time || !rmc.GetTimeStamp(ours))
            {
                pending.reset();
                continue;
            }
            // gpsd reports a fix after the sentence that ends a receiver's cycle, so its time
            // stamp belongs to this sentence only when the times of day agree; gpsd also
            // repairs dates for the GPS week roll-over and puts two-digit years into 1980-2079,
            // where the device software always adds 2000. Day, month and the year within the
            // century must agree otherwise.
            std::string const oursText = IsoSeconds(ours);
            if (time->size() < 19 || (*time)[4] != '-' ||
                time->substr(11, 8) != oursText.substr(11, 8))
            {
                pending.reset();
                continue;
            }
            ++compared;
            std::string const where = entry.path().filename().string() + ": " + pendingLine;
            COleDateTime const theirs(std::stoi(time->substr(0, 4)), std::stoi(time->substr(5, 2)),
                                      std::stoi(time->substr(8, 2)), 0, 0, 0);
            COleDateTime const ourDay(ours.GetYear(), ours.GetMonth(), ours.GetDay(), 0, 0, 0);
            bool const weekRollover = std::fabs(theirs.m_dt - ourDay.m_dt - 1024 * 7) < 0.5;
            if (time->substr(2, 8) != oursText.substr(2, 8) && !weekRollover)
            {
                ++timeMismatch;
                ADD_FAILURE() << where << "\n gpsd " << *time << " ours " << oursText;
            }
            double lat = 0, lon = 0, knots = 0, course = 0;
            char status = 0;
            rmc.GetStatusIndicator(status);
            auto const gLat = JsonNumber(line, "lat");
            auto const gLon = JsonNumber(line, "lon");
            if (status == 'A' && gLat && gLon && rmc.GetLatitude(lat) && rmc.GetLongitude(lon) &&
                (std::fabs(*gLat - lat) > 1e-6 || std::fabs(*gLon - lon) > 1e-6))
            {
                ++posMismatch;
                ADD_FAILURE() << where << "\n gpsd " << *gLat << "," << *gLon << " ours " << lat
                              << "," << lon;
            }
            auto const gSpeed = JsonNumber(line, "speed");
            if (status == 'A' && gSpeed && rmc.GetSpeedInKnots(knots) &&
                std::fabs(*gSpeed - knots * 0.514444) > 0.002)
            {
                ++speedMismatch;
                ADD_FAILURE() << where << "\n gpsd " << *gSpeed << " m/s ours " << knots << " kn";
            }
            auto const gTrack = JsonNumber(line, "track");
            if (status == 'A' && gTrack && rmc.GetCourse(course) &&
                std::fabs(*gTrack - course) > 1e-6)
            {
                ++courseMismatch;
                ADD_FAILURE() << where << "\n gpsd " << *gTrack << " ours " << course;
            }
            pending.reset();
        }
    }
    EXPECT_EQ(timeMismatch + posMismatch + speedMismatch + courseMismatch, 0);
    EXPECT_GT(compared, 500);
}

// SOURCES.md lists, per log, how many lines holding "$GPRMC" carry a wrong checksum ("bad ck")
// and how many carry none ("no ck"). The decoder must reject exactly those and accept every
// other sentence that starts with $GPRMC and ends in a checksum.
TEST(NmeaReceiverLogs, DamagedSentencesMatchTheCatalogue)
{
    fs::path const catalogue = NmeaData() / "SOURCES.md";
    if (!fs::is_regular_file(catalogue))
        GTEST_SKIP() << "no catalogue at " << catalogue;

    std::regex const row(R"(^\| ([^|]+?) \|[^|]*\| (\d+) \| (\d+) \| (\d+) \| (\d+) \|$)");
    std::string folder;
    int files = 0;
    int damaged = 0;
    for (auto const& line : ReadLines(catalogue))
    {
        if (line.rfind("## ", 0) == 0)
            folder = line.substr(3, line.find('/') - 3);
        std::smatch m;
        if (!std::regex_match(line, m, row))
            continue;
        fs::path const file = NmeaData() / folder / m[1].str();
        if (!fs::is_regular_file(file))
            continue;
        int const badListed = std::stoi(m[3]);
        int const noneListed = std::stoi(m[4]);

        int bad = 0, none = 0, accepted = 0, framed = 0;
        for (auto const& text : ReadLines(file))
        {
            if (text.find("$GPRMC") == std::string::npos)
                continue;
            Result result;
            auto const sentence = Decode(text, result);
            bool const hasStar = text.find('*') != std::string::npos;
            if (!hasStar)
            {
                EXPECT_EQ(sentence, nullptr) << file << ": " << text;
                ++none;
                continue;
            }
            std::string trimmed = text;
            while (!trimmed.empty() && std::isspace(static_cast<unsigned char>(trimmed.back())))
                trimmed.pop_back();
            if (trimmed.rfind("$GPRMC", 0) != 0 || trimmed.size() < 3 ||
                trimmed[trimmed.size() - 3] != '*')
                continue;
            ++framed;
            if (result == CNmeaSentence::eNMEABadChecksum)
                ++bad;
            else if (result == CNmeaSentence::eNMEAParseOK)
                ++accepted;
        }
        ++files;
        damaged += bad + none;
        EXPECT_EQ(bad, badListed) << file;
        EXPECT_EQ(none, noneListed) << file;
        EXPECT_EQ(accepted, framed - bad) << file;
    }
    EXPECT_GT(files, 50);
    EXPECT_GT(damaged, 0);
}

TEST(NmeaReceiverLogs, HandDamagedLogsGiveTheExpectedResults)
{
    fs::path const dir = NmeaData() / "pynmeagps";
    if (!fs::is_directory(dir))
        GTEST_SKIP() << "no pynmeagps logs at " << dir;
    struct Case
    {
        char const* file;
        std::size_t line; // from 1
        Result result;
    };
    Case const cases[] = {
        {"pygpsdata-BADHDR.log", 6, CNmeaSentence::eNMEABadChecksum}, // "$&bTXT" header
        {"pygpsdata-BADHDR.log", 7, CNmeaSentence::eNMEAParseOK},
        {"pygpsdata-BADHDR.log", 1, CNmeaSentence::eNMEAUnknownSentence},
        {"pygpsdata-nmeabadck.log", 1, CNmeaSentence::eNMEABadChecksum}, // altered fields
        {"pygpsdata-nmeabadck.log", 2, CNmeaSentence::eNMEAUnknownSentence},
        {"pygpsdata-nmeabadck.log", 3, CNmeaSentence::eNMEABadChecksum},
        {"pygpsdata-nmeabadck2.log", 2, CNmeaSentence::eNMEABadChecksum}, // "*3)"
        {"pygpsdata-badeof.log", 5, CNmeaSentence::eNMEATooShort},        // a lone "$"
    };
    for (auto const& c : cases)
    {
        auto const lines = ReadLines(dir / c.file);
        ASSERT_GE(lines.size(), c.line) << c.file;
        Result result;
        Decode(lines[c.line - 1], result);
        EXPECT_EQ(result, c.result) << c.file << ":" << c.line;
    }
}
