// warden track: device logs decoded into tracks for other GPS software (GPX, GeoJSON, KML, CSV).
#include "Command.h"
#include "OutputFile.h"
#include "TrackExport.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace warden
{

// Reads one log per path; a file in which not one line is a device sentence is almost certainly
// the wrong file, so it is an error rather than an empty track.
std::vector<Track> ReadTracks(const std::vector<std::string>& paths)
{
    std::vector<Track> tracks;
    for (const std::string& path : paths)
    {
        std::ifstream log(path, std::ios::binary);
        std::error_code error;
        if (!log || std::filesystem::is_directory(path, error))
            throw Failure("cannot read " + path);
        Track track = DecodeTrack(log, std::filesystem::path(path).stem().string());
        if (track.sentences == 0)
            throw Failure(path + " is not a device log (no line is a valid sentence)");
        tracks.push_back(std::move(track));
    }
    return tracks;
}

} // namespace warden

namespace
{

void Setup(CLI::App& app)
{
    static std::vector<std::string> paths;
    static std::string output = "-";
    static warden::TrackFormat format = warden::TrackFormat::Gpx;
    auto* command = app.add_subcommand(
        "track", "Export the fixes of device logs as a track: GPX 1.1, GeoJSON, KML or CSV");
    command->add_option("FILE", paths, "Device logs (one track each)")
        ->required()
        ->check(CLI::ExistingFile);
    const std::map<std::string, warden::TrackFormat> formats = {
        {"gpx", warden::TrackFormat::Gpx},
        {"geojson", warden::TrackFormat::GeoJson},
        {"kml", warden::TrackFormat::Kml},
        {"csv", warden::TrackFormat::Csv}};
    command->add_option("-f,--format", format, "gpx (default), geojson, kml or csv")
        ->transform(CLI::CheckedTransformer(formats, CLI::ignore_case));
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
            warden::WriteTracks(text, tracks, format);
            warden::WriteOutput(output, text.str());
            for (const warden::Track& track : tracks)
                std::cerr << track.name << ": " << track.points.size() << " points from "
                          << track.sentences << " sentences, " << track.rejected
                          << " lines rejected\n";
        });
}

const warden::Registration registration{"track", 15, Setup};

} // namespace
