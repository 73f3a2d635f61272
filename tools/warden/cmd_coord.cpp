// warden coord TEXT...: parses latitude/longitude text and prints every text form of it.

#include "Command.h"
#include "Text.h"

#include <cstdio>
#include <iostream>
#include <shared/positioning/NWardenMetrics.h>
#include <string>
#include <vector>

namespace
{
namespace NW = NWardenMetrics;

char const* ParseFaultWords(NW::E_ParseLatLongResult result)
{
    switch (result)
    {
    case NW::eParseLatLongOK:
        return "parsed";
    case NW::eParseLatLongEmpty:
        return "empty text, or no digits";
    case NW::eParseLatLongBadPrefix:
        return "bad prefix (the first character must be a digit or one of + - N S E W)";
    case NW::eParseLatLongNoDegrees:
        return "no degrees after the sign or hemisphere";
    case NW::eParseLatLongNoMinutes:
        return "nothing after the degrees separator";
    case NW::eParseLatLongNoSeconds:
        return "nothing after the minutes separator";
    case NW::eParseLatLongBadDegreeFraction:
        return "a non-digit in the decimal fraction of the degrees";
    case NW::eParseLatLongBadMinutes:
        return "bad minutes (60 or more, or a non-digit in their fraction)";
    case NW::eParseLatLongBadSeconds:
        return "seconds of 60 or more";
    case NW::eParseLatLongBadSecondFraction:
        return "a non-digit in the decimal fraction of the seconds";
    case NW::eParseLatLongTrailingText:
        return "text after the seconds";
    case NW::eParseLatLongLatitudeRange:
        return "latitude outside -90 to 90";
    case NW::eParseLatLongLongitudeRange:
        return "longitude outside -180 to 180";
    case NW::eParseLatLongEastWestForLatitude:
        return "E or W given for a latitude";
    case NW::eParseLatLongNorthSouthForLongitude:
        return "N or S given for a longitude";
    }
    return "unknown parse result";
}

// The hemisphere letter at either end of the text, upper-cased, or 0.
char Hemisphere(std::string const& text)
{
    auto const first = text.find_first_not_of(" \t");
    auto const last = text.find_last_not_of(" \t");
    if (first == std::string::npos)
        return 0;
    for (char c : {text[last], text[first]})
    {
        char const upper = (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
        if (upper == 'N' || upper == 'S' || upper == 'E' || upper == 'W')
            return upper;
    }
    return 0;
}

void SetupCoord(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "coord", "Parse latitude/longitude text and print its display, Benefon and NMEA forms");
    cmd->footer(
        "Each TEXT is one coordinate: N or S makes it a latitude, E or W a longitude; texts\n"
        "without a hemisphere letter alternate latitude, longitude (so 'coord 51.5 -0.12'\n"
        "works). --lat or --lon reads every TEXT as that kind.");
    struct Options
    {
        std::vector<std::string> texts;
        bool lat = false;
        bool lon = false;
    };
    auto options = std::make_shared<Options>();
    cmd->add_option("text", options->texts, "Coordinate text, e.g. \"51 30 15.5 N\"")->required();
    auto* latFlag = cmd->add_flag("--lat", options->lat, "Read every TEXT as a latitude");
    cmd->add_flag("--lon", options->lon, "Read every TEXT as a longitude")->excludes(latFlag);
    cmd->callback(
        [options]
        {
            int failures = 0;
            bool nextIsLatitude = true;
            for (auto const& text : options->texts)
            {
                bool isLatitude = nextIsLatitude;
                if (options->lat || options->lon)
                    isLatitude = options->lat;
                else if (char const h = Hemisphere(text))
                    isLatitude = h == 'N' || h == 'S';
                else
                    nextIsLatitude = !nextIsLatitude;

                double value = 0;
                auto const result = NW::ParseLatLong(CString(text.c_str()), isLatitude, value);
                char const* kind = isLatitude ? "latitude" : "longitude";
                if (result != NW::eParseLatLongOK)
                {
                    std::cout.flush();
                    std::cerr << "warden: cannot read \"" << text << "\" as a " << kind << ": "
                              << ParseFaultWords(result) << '\n';
                    ++failures;
                    continue;
                }
                char decimal[32];
                std::snprintf(decimal, sizeof decimal, "%.7f", value);
                CString const display =
                    isLatitude ? NW::LatitudeToString(value) : NW::LongitudeToString(value);
                CString const benefon = isLatitude ? NW::LatitudeToBenefonString(value)
                                                   : NW::LongitudeToBenefonString(value);
                CString const nmea =
                    isLatitude ? NW::LatitudeToNMEAString(value) : NW::LongitudeToNMEAString(value);
                std::cout << text << "  (" << kind << ")\n"
                          << "  decimal   " << decimal << "\n"
                          << "  display   " << warden::Utf8(display) << "\n"
                          << "  Benefon   " << benefon.GetString() << "\n"
                          << "  NMEA      " << nmea.GetString() << "\n";
            }
            if (failures > 0)
                warden::SetExitCode(1);
        });
}

const warden::Registration coordRegistration{"coord", 20, SetupCoord};
} // namespace
