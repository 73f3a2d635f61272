// warden grid LAT LON [--digits N]: GPS latitude/longitude to National Grid eastings/northings
// (by both of the library's conversions) and a lettered grid reference.
// warden grid REF: a grid reference ("TG 51409 13177", "TG-5140-1317"...) to eastings/northings
// and GPS latitude/longitude.
// warden grid [-|FILE]: one of either per line, one answer per line.
#include "Batch.h"
#include "Command.h"
#include "Json.h"
#include "Text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <memory>
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>
#include <string>
#include <vector>

namespace
{
using warden::Json;

std::string Fixed(double value, int decimals)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

double ParseDegrees(std::string_view text, const char* what, double limit)
{
    double value = 0;
    const char* begin = text.data();
    if (!text.empty() && text.front() == '+')
        ++begin;
    const auto [end, error] = std::from_chars(begin, text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() ||
        !std::isfinite(value))
        throw warden::Failure(std::string("not a ") + what + " in decimal degrees: \"" +
                              std::string(text) + "\"");
    if (std::fabs(value) > limit)
        throw warden::Failure(std::string(what) + " out of range: \"" + std::string(text) + "\"");
    return value;
}

// The lettered reference of the square of `digits` figures that holds E, N, written by warden
// rather than by CCoordTransform::EastingNorthing_To_GridRef: the library keeps a four-figure
// field whatever the precision and rounds into the next square, so its short references read
// back far from the point. Each reference is read back through the library before it is shown.
std::string Reference(double E, double N, int digits, std::string& reason)
{
    if (E < 0 || N < 0)
    {
        reason = "south or west of the grid's origin";
        return {};
    }
    const auto wholeE = static_cast<unsigned long>(E);
    const auto wholeN = static_cast<unsigned long>(N);
    CString letters;
    unsigned long e = 0;
    unsigned long n = 0;
    if (!CCoordTransform::EastingNorthing_To_BNG(wholeE, wholeN, letters, e, n))
    {
        reason = "letters are given only below 700 km north and 1300 km east";
        return {};
    }
    unsigned long square = 1;
    for (int i = digits; i < 5; ++i)
        square *= 10;
    char text[32];
    std::snprintf(text, sizeof text, "%s-%0*lu-%0*lu", letters.GetString(), digits, e / square,
                  digits, n / square);
    unsigned long backE = 0;
    unsigned long backN = 0;
    if (!CCoordTransform::GridRef_To_EastingNorthing(CString(text), backE, backN) ||
        wholeE < backE || wholeE >= backE + square || wholeN < backN || wholeN >= backN + square)
    {
        reason = std::string(text) + " would not read back to this point";
        return {};
    }
    return text;
}

struct Point
{
    double lat, lon;
    bool latticeOk, transformOk;
    double lE, lN;         // NGpsToOSGrid, lattice shift
    unsigned long tE, tN;  // CCoordTransform, three-parameter shift
    std::string reference, // from the numbers shown first: the lattice's when it has them
        noReference;
};

Point Convert(double lat, double lon, int digits)
{
    Point p{lat, lon, false, false, 0, 0, 0, 0, {}, {}};
    p.latticeOk = NGpsToOSGrid::ConvertGPSDegreestoNatGrid(lat, lon, p.lE, p.lN);
    p.transformOk = CCoordTransform::LatLong_To_EastingNorthing(lat, lon, p.tE, p.tN);
    if (!p.latticeOk && !p.transformOk)
        throw warden::Failure(Fixed(lat, 6) + ", " + Fixed(lon, 6) +
                              " is outside the National Grid");
    p.reference = p.latticeOk ? Reference(p.lE, p.lN, digits, p.noReference)
                              : Reference(static_cast<double>(p.tE), static_cast<double>(p.tN),
                                          digits, p.noReference);
    return p;
}

Json ReferenceJson(const std::string& reference)
{
    return reference.empty() ? Json(nullptr) : Json(reference);
}

void FromLatLong(const std::string& latText, const std::string& lonText, int digits, bool json)
{
    const Point p = Convert(ParseDegrees(latText, "latitude", 90.0),
                            ParseDegrees(lonText, "longitude", 180.0), digits);
    if (json)
    {
        Json out{{"latitude", p.lat}, {"longitude", p.lon}};
        out["lattice_shift"] =
            p.latticeOk ? Json{{"easting", p.lE}, {"northing", p.lN}} : Json(nullptr);
        out["three_parameter_shift"] =
            p.transformOk ? Json{{"easting", p.tE}, {"northing", p.tN}} : Json(nullptr);
        out["grid_reference"] = ReferenceJson(p.reference);
        if (p.reference.empty())
            out["no_grid_reference"] = p.noReference;
        warden::PrintDocument(out);
        return;
    }
    std::cout << "Latitude/longitude (GPS):     " << Fixed(p.lat, 7) << ' ' << Fixed(p.lon, 7)
              << '\n';
    if (p.latticeOk)
        std::cout << "NGpsToOSGrid (lattice shift): E " << Fixed(p.lE, 3) << "  N "
                  << Fixed(p.lN, 3) << '\n';
    else
        std::cout << "NGpsToOSGrid (lattice shift): outside the UK grid\n";
    if (p.transformOk)
        std::cout << "CCoordTransform (3-param):    E " << p.tE << "  N " << p.tN << '\n';
    else
        std::cout << "CCoordTransform (3-param):    outside the National Grid\n";
    std::cout << "Grid reference:               "
              << (p.reference.empty() ? "none (" + p.noReference + ")"
                                      : p.reference + (p.latticeOk ? " (of the lattice shift)"
                                                                   : " (of the 3-param shift)"))
              << '\n';
}

struct FromReference
{
    unsigned long E, N;
    double lat, lon;
};

FromReference ReadReference(const std::string& text)
{
    const CString ref = warden::Ansi(text);
    FromReference r{};
    if (!CCoordTransform::GridRef_To_EastingNorthing(ref, r.E, r.N))
        throw warden::Failure("not a grid reference: \"" + text +
                              "\" (expected two letters and 2 to 10 figures, e.g. TG 51409 13177)");
    if (!CCoordTransform::GridRef_To_LatLong(ref, r.lat, r.lon))
        throw warden::Failure("cannot convert \"" + text + "\" to latitude/longitude");
    return r;
}

void FromGridRef(const std::string& text, bool json)
{
    const FromReference r = ReadReference(text);
    double lLat = 0;
    double lLon = 0;
    const bool latticeOk = NGpsToOSGrid::ConvertNatGridtoGPSDegrees(
        static_cast<double>(r.E), static_cast<double>(r.N), lLat, lLon);
    if (json)
    {
        Json out{{"grid_reference", text},
                 {"easting", r.E},
                 {"northing", r.N},
                 {"latitude", r.lat},
                 {"longitude", r.lon}};
        out["lattice_shift"] =
            latticeOk ? Json{{"latitude", lLat}, {"longitude", lLon}} : Json(nullptr);
        warden::PrintDocument(out);
        return;
    }
    std::cout << "Grid reference:                 " << text << '\n'
              << "Eastings/northings (SW corner): E " << r.E << "  N " << r.N << '\n'
              << "Latitude/longitude (GPS):       " << Fixed(r.lat, 7) << ' ' << Fixed(r.lon, 7)
              << '\n';
    if (latticeOk)
        std::cout << "NGpsToOSGrid degrees (legacy):  " << Fixed(lLat, 7) << ' ' << Fixed(lLon, 7)
                  << '\n';
}

bool IsReference(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t");
    return first != std::string::npos && std::isalpha(static_cast<unsigned char>(text[first]));
}

// One line of a batch: "LAT LON" (blanks, tabs or a comma between) gives "EASTING NORTHING
// REFERENCE" from the lattice shift, a reference gives "LAT LON".
void BatchLine(const std::string& line, std::ostream& out, int digits, bool json)
{
    if (IsReference(line))
    {
        const FromReference r = ReadReference(line);
        if (json)
            warden::PrintRecord(Json{{"grid_reference", line},
                                     {"easting", r.E},
                                     {"northing", r.N},
                                     {"latitude", r.lat},
                                     {"longitude", r.lon}},
                                out);
        else
            out << Fixed(r.lat, 7) << ' ' << Fixed(r.lon, 7) << '\n';
        return;
    }
    std::string_view fields[3];
    int count = 0;
    std::string_view rest = line;
    while (count < 3)
    {
        const auto start = rest.find_first_not_of(" \t,");
        if (start == std::string_view::npos)
            break;
        rest.remove_prefix(start);
        const auto end = std::min(rest.find_first_of(" \t,"), rest.size());
        fields[count++] = rest.substr(0, end);
        rest.remove_prefix(end);
    }
    if (count != 2)
        throw warden::Failure("expected LAT LON or a grid reference: \"" + line + "\"");
    const Point p = Convert(ParseDegrees(fields[0], "latitude", 90.0),
                            ParseDegrees(fields[1], "longitude", 180.0), digits);
    if (!p.latticeOk)
        throw warden::Failure(Fixed(p.lat, 6) + ", " + Fixed(p.lon, 6) +
                              " is outside the datum-shift lattice");
    if (json)
    {
        warden::PrintRecord(Json{{"latitude", p.lat},
                                 {"longitude", p.lon},
                                 {"easting", p.lE},
                                 {"northing", p.lN},
                                 {"grid_reference", ReferenceJson(p.reference)}},
                            out);
        return;
    }
    char text[96];
    std::snprintf(text, sizeof text, "%.3f %.3f %s\n", p.lE, p.lN,
                  p.reference.empty() ? "-" : p.reference.c_str());
    out << text;
}

void Run(const std::vector<std::string>& args, const std::string& input, int digits, bool json)
{
    const auto each = [digits, json](const std::string& line, std::ostream& out)
    { BatchLine(line, out, digits, json); };
    if (!input.empty() || args.empty() || (args.size() == 1 && args[0] == "-"))
    {
        warden::Batch batch(json);
        batch.Run(input.empty() ? std::string("-") : input, each);
        return;
    }
    if (IsReference(args[0]))
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
    auto input = std::make_shared<std::string>();
    auto digits = std::make_shared<int>(5);
    auto json = std::make_shared<bool>(false);
    cmd->add_option("ARGS", *args,
                    "LAT LON in decimal degrees (west negative), or a grid reference such as "
                    "\"TG 51409 13177\"; nothing or - reads one per line from standard input");
    cmd->add_option("-i,--input", *input, "Read one input per line from this file");
    cmd->add_option("--digits", *digits, "Figures per easting/northing in the reference (1-5)")
        ->check(CLI::Range(1, 5));
    cmd->add_flag("--json", *json, "Print JSON (JSON Lines when reading lines)");
    cmd->footer("A batch line \"LAT LON\" answers \"EASTING NORTHING REFERENCE\" (lattice shift,\n"
                "metres); a line holding a reference answers \"LAT LON\". A line that cannot be\n"
                "converted answers \"*\" and is reported on standard error; the rest go on.");
    warden::Help(cmd,
                 {"warden grid 52.65798 1.71605 --digits 3", "warden grid TG 51409 13177",
                  "printf '52.65798 1.71605\\nTG 514 131\\n' | warden grid"},
                 "1 the input (or every line) failed; 2 some lines failed");
    cmd->callback([=] { Run(*args, *input, *digits, *json); });
}

const warden::Registration registration{"grid", 30, SetupGrid};

} // namespace
