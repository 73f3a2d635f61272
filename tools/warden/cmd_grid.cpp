// warden grid LAT LON [--digits N]: GPS latitude/longitude to National Grid eastings/northings
// (by both of the library's conversions) and a lettered grid reference.
// warden grid REF: a grid reference ("TG 51409 13177", "TG-5140-1317"...) to eastings/northings
// and GPS latitude/longitude.
#include "Command.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>
#include <string>
#include <vector>

namespace
{

std::string Text(const CString& text)
{
    return std::string(text.GetString(), text.GetLength());
}

std::string Fixed(double value, int decimals)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

double ParseDegrees(const std::string& text, const char* what, double limit)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || !std::isfinite(value))
        throw warden::Failure(std::string("not a ") + what + " in decimal degrees: \"" + text +
                              "\"");
    if (std::fabs(value) > limit)
        throw warden::Failure(std::string(what) + " out of range: \"" + text + "\"");
    return value;
}

void FromLatLong(const std::string& latText, const std::string& lonText, int digits, bool json)
{
    const double lat = ParseDegrees(latText, "latitude", 90.0);
    const double lon = ParseDegrees(lonText, "longitude", 180.0);

    double lE = 0;
    double lN = 0;
    const bool latticeOk = NGpsToOSGrid::ConvertGPSDegreestoNatGrid(lat, lon, lE, lN);
    unsigned long E = 0;
    unsigned long N = 0;
    const bool transformOk = CCoordTransform::LatLong_To_EastingNorthing(lat, lon, E, N);
    CString ref;
    const bool refOk =
        transformOk && CCoordTransform::EastingNorthing_To_GridRef(E, N, digits, ref);
    if (!latticeOk && !transformOk)
        throw warden::Failure(Fixed(lat, 6) + ", " + Fixed(lon, 6) +
                              " is outside the National Grid");

    if (json)
    {
        nlohmann::json out{{"latitude", lat}, {"longitude", lon}};
        out["latticeShift"] =
            latticeOk ? nlohmann::json{{"easting", lE}, {"northing", lN}} : nlohmann::json(nullptr);
        out["threeParameterShift"] =
            transformOk ? nlohmann::json{{"easting", E}, {"northing", N}} : nlohmann::json(nullptr);
        out["gridReference"] = refOk ? nlohmann::json(Text(ref)) : nlohmann::json(nullptr);
        std::cout << out.dump(2) << '\n';
        return;
    }
    std::cout << "Latitude/longitude (GPS):     " << Fixed(lat, 7) << ' ' << Fixed(lon, 7) << '\n';
    if (latticeOk)
        std::cout << "NGpsToOSGrid (lattice shift): E " << Fixed(lE, 3) << "  N " << Fixed(lN, 3)
                  << '\n';
    else
        std::cout << "NGpsToOSGrid (lattice shift): outside the UK grid\n";
    if (transformOk)
        std::cout << "CCoordTransform (3-param):    E " << E << "  N " << N << '\n';
    else
        std::cout << "CCoordTransform (3-param):    outside the National Grid\n";
    if (refOk)
        std::cout << "Grid reference:               " << Text(ref) << '\n';
    else
        std::cout << "Grid reference:               none (letters are given only below "
                     "700 km north and 1300 km east)\n";
}

void FromGridRef(const std::string& text, bool json)
{
    const CString ref(text.c_str());
    unsigned long E = 0;
    unsigned long N = 0;
    if (!CCoordTransform::GridRef_To_EastingNorthing(ref, E, N))
        throw warden::Failure("not a grid reference: \"" + text +
                              "\" (expected two letters and 2 to 10 figures, e.g. TG 51409 13177)");
    double lat = 0;
    double lon = 0;
    if (!CCoordTransform::GridRef_To_LatLong(ref, lat, lon))
        throw warden::Failure("cannot convert \"" + text + "\" to latitude/longitude");
    double lLat = 0;
    double lLon = 0;
    const bool latticeOk = NGpsToOSGrid::ConvertNatGridtoGPSDegrees(
        static_cast<double>(E), static_cast<double>(N), lLat, lLon);
    if (json)
    {
        nlohmann::json out{{"gridReference", text},
                           {"easting", E},
                           {"northing", N},
                           {"latitude", lat},
                           {"longitude", lon}};
        out["latticeShift"] = latticeOk ? nlohmann::json{{"latitude", lLat}, {"longitude", lLon}}
                                        : nlohmann::json(nullptr);
        std::cout << out.dump(2) << '\n';
        return;
    }
    std::cout << "Grid reference:                 " << text << '\n'
              << "Eastings/northings (SW corner): E " << E << "  N " << N << '\n'
              << "Latitude/longitude (GPS):       " << Fixed(lat, 7) << ' ' << Fixed(lon, 7)
              << '\n';
    if (latticeOk)
        std::cout << "NGpsToOSGrid degrees (legacy):  " << Fixed(lLat, 7) << ' ' << Fixed(lLon, 7)
                  << '\n';
}

void Run(const std::vector<std::string>& args, int digits, bool json)
{
    if (args.empty())
        throw warden::Failure("grid needs LAT LON or a grid reference");
    const bool reference =
        !args[0].empty() && std::isalpha(static_cast<unsigned char>(args[0][0])) != 0;
    if (reference)
    {
        std::string text;
        for (const auto& a : args)
            text += (text.empty() ? "" : " ") + a;
        FromGridRef(text, json);
        return;
    }
    if (args.size() != 2)
        throw warden::Failure("grid needs LAT LON (decimal degrees) or a grid reference");
    FromLatLong(args[0], args[1], digits, json);
}

void SetupGrid(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "grid", "Convert GPS latitude/longitude to National Grid references and back");
    auto args = std::make_shared<std::vector<std::string>>();
    auto digits = std::make_shared<int>(5);
    auto json = std::make_shared<bool>(false);
    cmd->add_option("ARGS", *args,
                    "LAT LON in decimal degrees (west negative), or a grid reference such as "
                    "\"TG 51409 13177\"")
        ->required();
    cmd->add_option("--digits", *digits, "Figures per easting/northing in the reference (1-5)")
        ->check(CLI::Range(1, 5));
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([=] { Run(*args, *digits, *json); });
}

const warden::Registration registration{"grid", 30, SetupGrid};

} // namespace
