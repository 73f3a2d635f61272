// warden map: a picture of device logs on the National Grid, with the user places.
#include "Command.h"
#include "MapSvg.h"
#include "OutputFile.h"
#include "PlacesExport.h"

#include <shared/places/CUserPlaceCollection.h>
#include <string>
#include <vector>

namespace
{

void Setup(CLI::App& app)
{
    static std::vector<std::string> paths;
    static std::string placesPath;
    static std::string output = "-";
    static warden::MapOptions options;
    auto* command = app.add_subcommand(
        "map", "Draw device logs on the National Grid as one self-contained SVG or HTML file");
    command->add_option("FILE", paths, "Device logs")->required()->check(CLI::ExistingFile);
    command->add_option("--places", placesPath,
                        "UserPlaces.dat whose places and geofences to draw");
    command
        ->add_option("-o,--output", output,
                     "Output file (replaced whole), - for standard output; a name ending in "
                     ".html gives an HTML page")
        ->capture_default_str();
    command->add_option("--width", options.widthPixels, "Width of the picture in pixels")
        ->capture_default_str()
        ->check(CLI::Range(200, 8000));
    command->add_flag("--html", options.html, "Write an HTML page holding the SVG");
    command->footer(
        "Draws the 10 km squares with their names, the track coloured by speed, its start (magenta "
        "disc) and end (cyan square), the places with their address and geofence circles, and a "
        "scale bar. Nothing in the file refers to the network.\n"
        "Example: warden map samples/drive.nmea --places UserPlaces.dat -o drive.svg");
    command->callback(
        []
        {
            const std::vector<warden::Track> tracks = warden::ReadTracks(paths);
            CUserPlaceCollection places;
            if (!placesPath.empty())
                warden::LoadUserPlaces(places, placesPath);
            warden::MapOptions chosen = options;
            chosen.html = chosen.html || output.ends_with(".html") || output.ends_with(".htm");
            warden::WriteOutput(
                output, warden::RenderMap(tracks, placesPath.empty() ? nullptr : &places, chosen));
        });
}

const warden::Registration registration{"map", 16, Setup};

} // namespace
