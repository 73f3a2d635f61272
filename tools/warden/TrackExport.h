#pragma once

// Tracks decoded from device logs, written as GPX 1.1, GeoJSON (RFC 7946), KML 2.2 or CSV.
//
//   std::ifstream log("drive.nmea");
//   warden::Track track = warden::DecodeTrack(log, "drive");
//   warden::WriteTracks(std::cout, {track}, warden::TrackFormat::Gpx);

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace warden
{

struct TrackPoint
{
    double latitude = 0.0; // degrees, south negative
    double longitude = 0.0;
    std::string time;                   // ISO 8601 UTC, "2026-03-14T10:15:00Z"
    std::optional<double> speedInKnots; // as the device sent it
    std::optional<double> course;       // degrees true
};

struct Track
{
    std::string name;
    std::vector<TrackPoint> points;
    long sentences = 0; // lines the decoder accepted
    long rejected = 0;  // lines it refused (blank lines are neither)
};

enum class TrackFormat
{
    Gpx,
    GeoJson,
    Kml,
    Csv
};

// Every $GPRMC of the log that reports an active fix ('A') with a position and a time becomes a
// point; other sentences are counted only. A void fix ('V') repeats a stale position, so it is
// left out rather than drawn as a jump.
Track DecodeTrack(std::istream& log, std::string name);

void WriteTracks(std::ostream& out, const std::vector<Track>& tracks, TrackFormat format);

// Decodes one log per path, named after the file; throws warden::Failure for an unreadable file
// or one without a single device sentence.
std::vector<Track> ReadTracks(const std::vector<std::string>& paths);

// Escapes &, <, >, " and ' for XML text and attribute values.
std::string XmlEscape(const std::string& text);

} // namespace warden
