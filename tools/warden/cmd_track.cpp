// warden track: device logs decoded into tracks for other GPS software (GPX, GeoJSON, KML, CSV).
#include "Command.h"
#include "OutputFile.h"
#include "TrackExport.h"

#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{

void Setup(CLI::App& app)
{
    static std::vector<std::string> paths;
    static std::string output = "-";
    static std::string format = "gpx";
    auto* command = app.add_subcommand(
        "track", "Export the fixes of device logs as a track: GPX 1.1, GeoJSON, KML or CSV");
    command->add_option("FILE", paths, "Device logs (one track each)")
        ->required()
        ->check(CLI::ExistingFile);
    command->add_option("-f,--format", format, "gpx (default), geojson, kml or csv")
        ->check(CLI::IsMember({"gpx", "geojson", "kml", "csv"}));
    command
        ->add_option("-o,--output", output, "Output file (replaced whole), - for standard output")
        ->capture_default_str();
    command->footer("Every $GPRMC with an active fix, a position and a time becomes a track point; "
                    "the counts go to standard error.\n"
                    "Example: warden track --format kml -o drive.kml samples/drive.nmea");
    command->callback(
        []
        {
            const std::vector<warden::Track> tracks = warden::ReadTracks(paths);
            std::ostringstream text;
            const std::map<std::string, warden::TrackFormat> formats = {
                {"gpx", warden::TrackFormat::Gpx},
                {"geojson", warden::TrackFormat::GeoJson},
                {"kml", warden::TrackFormat::Kml},
                {"csv", warden::TrackFormat::Csv}};
            warden::WriteTracks(text, tracks, formats.at(format));
            warden::WriteOutput(output, text.str());
            for (const warden::Track& track : tracks)
                std::cerr << track.name << ": " << track.points.size() << " points from "
                          << track.sentences << " sentences, " << track.rejected
                          << " lines rejected\n";
        });
}

const warden::Registration registration{"track", 15, Setup};

} // namespace
