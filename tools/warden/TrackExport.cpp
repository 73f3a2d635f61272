#include "TrackExport.h"

#include "NmeaPrinter.h"

#include <cstdio>
#include <istream>
#include <memory>
#include <nlohmann/json.hpp>
#include <ostream>
#include <shared/positioning/CNmeaGPRMC.h>

namespace warden
{

namespace
{

// Seven decimals are about a centimetre, below what any device reports.
std::string Degrees(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.7f", value);
    return text;
}

std::string Number(const std::optional<double>& value)
{
    if (!value)
        return "";
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", *value);
    return text;
}

void WriteGpx(std::ostream& out, const std::vector<Track>& tracks)
{
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<gpx version=\"1.1\" creator=\"warden\" xmlns=\"http://www.topografix.com/GPX/1/1\" "
           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
           "xsi:schemaLocation=\"http://www.topografix.com/GPX/1/1 "
           "http://www.topografix.com/GPX/1/1/gpx.xsd\">\n";
    for (const Track& track : tracks)
    {
        out << " <trk>\n  <name>" << XmlEscape(track.name) << "</name>\n  <trkseg>\n";
        for (const TrackPoint& p : track.points)
            out << "   <trkpt lat=\"" << Degrees(p.latitude) << "\" lon=\"" << Degrees(p.longitude)
                << "\"><time>" << p.time << "</time></trkpt>\n";
        out << "  </trkseg>\n </trk>\n";
    }
    out << "</gpx>\n";
}

// One LineString feature per track; the times and speeds ride along as per-vertex arrays, the
// convention ("coordTimes") that most GeoJSON tools understand.
void WriteGeoJson(std::ostream& out, const std::vector<Track>& tracks)
{
    nlohmann::json features = nlohmann::json::array();
    for (const Track& track : tracks)
    {
        nlohmann::json coordinates = nlohmann::json::array();
        nlohmann::json times = nlohmann::json::array();
        nlohmann::json speeds = nlohmann::json::array();
        for (const TrackPoint& p : track.points)
        {
            // RFC 7946 wants longitude first and no more precision than is meaningful.
            coordinates.push_back(
                {std::stod(Degrees(p.longitude)), std::stod(Degrees(p.latitude))});
            times.push_back(p.time);
            speeds.push_back(p.speedInKnots ? nlohmann::json(*p.speedInKnots) : nlohmann::json());
        }
        features.push_back(
            {{"type", "Feature"},
             {"geometry", {{"type", "LineString"}, {"coordinates", coordinates}}},
             {"properties",
              {{"name", track.name}, {"coordTimes", times}, {"speed_knots", speeds}}}});
    }
    out << nlohmann::json{{"type", "FeatureCollection"}, {"features", features}}.dump(1) << '\n';
}

// gx:Track keeps a time per position, which a plain LineString cannot.
void WriteKml(std::ostream& out, const std::vector<Track>& tracks)
{
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<kml xmlns=\"http://www.opengis.net/kml/2.2\" "
           "xmlns:gx=\"http://www.google.com/kml/ext/2.2\">\n<Document>\n";
    for (const Track& track : tracks)
    {
        out << " <Placemark>\n  <name>" << XmlEscape(track.name) << "</name>\n  <gx:Track>\n";
        for (const TrackPoint& p : track.points)
            out << "   <when>" << p.time << "</when>\n";
        for (const TrackPoint& p : track.points)
            out << "   <gx:coord>" << Degrees(p.longitude) << ' ' << Degrees(p.latitude)
                << " 0</gx:coord>\n";
        out << "  </gx:Track>\n </Placemark>\n";
    }
    out << "</Document>\n</kml>\n";
}

void WriteCsv(std::ostream& out, const std::vector<Track>& tracks)
{
    out << "track,time,latitude,longitude,speed_knots,course\n";
    for (const Track& track : tracks)
    {
        std::string name = track.name;
        if (name.find_first_of(",\"\n") != std::string::npos)
        {
            for (std::size_t at = 0; (at = name.find('"', at)) != std::string::npos; at += 2)
                name.insert(at, 1, '"');
            name = '"' + name + '"';
        }
        for (const TrackPoint& p : track.points)
            out << name << ',' << p.time << ',' << Degrees(p.latitude) << ','
                << Degrees(p.longitude) << ',' << Number(p.speedInKnots) << ',' << Number(p.course)
                << '\n';
    }
}

} // namespace

std::string XmlEscape(const std::string& text)
{
    std::string escaped;
    for (char c : text)
    {
        switch (c)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&apos;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

Track DecodeTrack(std::istream& log, std::string name)
{
    Track track;
    track.name = std::move(name);
    std::string line;
    while (std::getline(log, line))
    {
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        CNmeaSentence::E_NMEAParseResult result = CNmeaSentence::eNMEAParseOK;
        const std::unique_ptr<CNmeaSentence> sentence(CNmeaSentence::Create(line.c_str(), result));
        if (!sentence)
        {
            ++track.rejected;
            continue;
        }
        ++track.sentences;
        if (sentence->GetType() != CNmeaSentence::eNMEA_GPRMC)
            continue;
        const auto& fix = static_cast<const CNmeaGPRMC&>(*sentence);
        TrackPoint point;
        char status = 0;
        COleDateTime time;
        if (!fix.GetStatusIndicator(status) || status != 'A' || !fix.GetLatitude(point.latitude) ||
            !fix.GetLongitude(point.longitude) || !fix.GetTimeStamp(time))
            continue;
        point.time = ToUtf8(time.Format("%Y-%m-%dT%H:%M:%SZ"));
        double value = 0.0;
        if (fix.GetSpeedInKnots(value))
            point.speedInKnots = value;
        if (fix.GetCourse(value))
            point.course = value;
        track.points.push_back(std::move(point));
    }
    return track;
}

void WriteTracks(std::ostream& out, const std::vector<Track>& tracks, TrackFormat format)
{
    switch (format)
    {
    case TrackFormat::Gpx:
        WriteGpx(out, tracks);
        break;
    case TrackFormat::GeoJson:
        WriteGeoJson(out, tracks);
        break;
    case TrackFormat::Kml:
        WriteKml(out, tracks);
        break;
    case TrackFormat::Csv:
        WriteCsv(out, tracks);
        break;
    }
}

} // namespace warden
