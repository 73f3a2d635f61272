#pragma once

// A picture of tracks and user places on the National Grid, as one self-contained SVG document
// (no scripts, fonts or links to fetch). The SVG's user space is the grid itself: x is the
// easting and y the negated northing, in metres, so a point's place in the picture can be
// checked against any other grid conversion.
//
//   std::string svg = warden::RenderMap(tracks, &places, {});

#include "TrackExport.h"

#include <string>
#include <vector>

class CUserPlaceCollection;

namespace warden
{

struct MapOptions
{
    int widthPixels = 1000;
    bool html = false; // wrap the SVG in a minimal HTML page
};

// Colours that nothing else in the picture uses, so a viewer (or a test) can find the ends.
inline constexpr const char* kStartColour = "#ff00ff";
inline constexpr const char* kEndColour = "#00ffff";

// places may be null. Throws warden::Failure when no fix lies on the National Grid.
std::string RenderMap(const std::vector<Track>& tracks, CUserPlaceCollection* places,
                      const MapOptions& options);

} // namespace warden
