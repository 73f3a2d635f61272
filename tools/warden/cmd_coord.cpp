// warden coord TEXT...: parses latitude/longitude text and prints every text form of it.

#include "Batch.h"
#include "Command.h"
#include "Json.h"
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

struct Options
{
    std::vector<std::string> texts;
    std::string input;
    bool lat = false;
    bool lon = false;
    bool json = false;
};

// Decides latitude or longitude for each text in turn: the hemisphere letter, else --lat/--lon,
// else alternating so that "51.5 -0.12" reads as a pair.
class Kinds
{
public:
    explicit Kinds(Options const& options) : m_options(options) {}
    bool IsLatitude(std::string const& text)
    {
        if (m_options.lat || m_options.lon)
            return m_options.lat;
        if (char const h = Hemisphere(text))
            return h == 'N' || h == 'S';
        m_nextIsLatitude = !m_nextIsLatitude;
        return !m_nextIsLatitude;
    }

private:
    Options const& m_options;
    bool m_nextIsLatitude = true;
};

void Convert(std::string const& text, bool isLatitude, bool oneLine, bool json, std::ostream& out)
{
    double value = 0;
    // Typed text is UTF-8; the library reads code page 1252, where the degree sign is one byte.
    auto const result = NW::ParseLatLong(warden::Ansi(text), isLatitude, value);
    char const* kind = isLatitude ? "latitude" : "longitude";
    if (result != NW::eParseLatLongOK)
        throw warden::Failure("cannot read \"" + text + "\" as a " + kind + ": " +
                              ParseFaultWords(result));
    char decimal[32];
    std::snprintf(decimal, sizeof decimal, "%.7f", value);
    std::string const display =
        warden::Utf8(isLatitude ? NW::LatitudeToString(value) : NW::LongitudeToString(value));
    std::string const benefon = warden::Utf8(isLatitude ? NW::LatitudeToBenefonString(value)
                                                        : NW::LongitudeToBenefonString(value));
    std::string const nmea = warden::Utf8(isLatitude ? NW::LatitudeToNMEAString(value)
                                                     : NW::LongitudeToNMEAString(value));
    if (json)
        warden::PrintRecord(warden::Json{{"input", text},
                                         {"kind", kind},
                                         {"decimal", value},
                                         {"display", display},
                                         {"benefon", benefon},
                                         {"nmea", nmea}},
                            out);
    else if (oneLine)
        out << decimal << '\t' << display << '\t' << benefon << '\t' << nmea << '\n';
    else
        out << text << "  (" << kind << ")\n"
            << "  decimal   " << decimal << "\n"
            << "  display   " << display << "\n"
            << "  Benefon   " << benefon << "\n"
            << "  NMEA      " << nmea << "\n";
}

void SetupCoord(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "coord", "Parse latitude/longitude text and print its display, Benefon and NMEA forms");
    cmd->footer(
        "Each TEXT is one coordinate: N or S makes it a latitude, E or W a longitude; texts\n"
        "without a hemisphere letter alternate latitude, longitude (so 'coord 51.5 -0.12'\n"
        "works). --lat or --lon reads every TEXT as that kind. Without TEXT (or with -) one\n"
        "coordinate per line is read from standard input and each answers one line:\n"
        "decimal, display, Benefon and NMEA forms separated by tabs.");
    auto options = std::make_shared<Options>();
    cmd->add_option("text", options->texts,
                    "Coordinate text, e.g. \"51 30 15.5 N\" or \"51° 30' 15\\\" N\"");
    cmd->add_option("-i,--input", options->input, "Read one coordinate per line from this file");
    auto* latFlag = cmd->add_flag("--lat", options->lat, "Read every TEXT as a latitude");
    cmd->add_flag("--lon", options->lon, "Read every TEXT as a longitude")->excludes(latFlag);
    cmd->add_flag("--json", options->json, "Print JSON Lines: one object per coordinate");
    warden::Help(cmd,
                 {"warden coord \"51° 30' 15\\\" N\" \"0 7 30 W\"", "warden coord --lat 51.5",
                  "printf '51.5 N\\n0.12 W\\n' | warden coord"},
                 "1 the text (or every line) cannot be read; 2 some cannot");
    cmd->callback(
        [options]
        {
            Kinds kinds(*options);
            bool const fromLines = !options->input.empty() || options->texts.empty() ||
                                   (options->texts.size() == 1 && options->texts[0] == "-");
            auto each = [&](std::string const& text, std::ostream& out)
            { Convert(text, kinds.IsLatitude(text), fromLines, options->json, out); };
            warden::Batch batch(options->json);
            if (fromLines)
                batch.Run(options->input.empty() ? std::string("-") : options->input, each);
            else
                batch.Run(options->texts, each);
        });
}

const warden::Registration coordRegistration{"coord", 20, SetupCoord};
} // namespace
