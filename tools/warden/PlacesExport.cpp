#include "PlacesExport.h"

#include "Command.h"
#include "Json.h"
#include "Text.h"
#include "TrackExport.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <ostream>
#include <shared/foundation/CLog.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/platform/HostHooks.h>
#include <string>
#include <string_view>

namespace warden
{

namespace
{

constexpr double kEarthRadius = 6371008.8; // mean radius; a geofence is far smaller than its error

// A circle of the place worth drawing: its radius and which of the place's roles it stands for.
struct Circle
{
    const char* kind;
    long radius;
};

std::vector<Circle> Circles(const CUserPlace& place)
{
    std::vector<Circle> circles;
    if (place.GetUseAsAddress() && place.GetAddressRadius() > 0)
        circles.push_back({"address", place.GetAddressRadius()});
    if (place.GetUseAsGeofence() && place.GetGeofenceRadius() > 0)
        circles.push_back({"geofence", place.GetGeofenceRadius()});
    return circles;
}

Json Properties(CUserPlace& place)
{
    return {{"id", Utf8(place.GetItemId().GetFormattedString())},
            {"map_label", Utf8(place.GetMapLabelText())},
            {"report_label", Utf8(place.GetReportLabelText())},
            {"symbol_id", place.GetSymbolId()},
            {"address_radius_m", place.GetAddressRadius()},
            {"geofence_radius_m", place.GetGeofenceRadius()},
            {"geofence_type", Utf8(place.GetGeofenceTypeString())}};
}

void WriteGeoJson(std::ostream& out, CUserPlaceCollection& places)
{
    Json features = Json::array();
    places.GotoStart();
    while (CUserPlace* place = places.GetNext())
    {
        Json properties = Properties(*place);
        properties["kind"] = "place";
        features.push_back(
            {{"type", "Feature"},
             {"geometry",
              {{"type", "Point"},
               {"coordinates",
                {RoundedDegrees(place->GetLongitude()), RoundedDegrees(place->GetLatitude())}}}},
             {"properties", properties}});
        for (const Circle& circle : Circles(*place))
        {
            Json ring = Json::array();
            for (const auto& [lat, lon] :
                 CircleVertices(place->GetLatitude(), place->GetLongitude(),
                                static_cast<double>(circle.radius)))
                ring.push_back({RoundedDegrees(lon), RoundedDegrees(lat)});
            properties["kind"] = circle.kind;
            features.push_back({{"type", "Feature"},
                                {"geometry", {{"type", "Polygon"}, {"coordinates", {ring}}}},
                                {"properties", properties}});
        }
    }
    out << Json{{"type", "FeatureCollection"}, {"features", features}}.dump() << '\n';
}

// KML colours are aabbggrr, the byte order of the place's own colour references.
std::string KmlColour(unsigned long colourRef, unsigned alpha)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02x%06lx", alpha, colourRef & 0xFFFFFF);
    return text;
}

void WriteKml(std::ostream& out, CUserPlaceCollection& places)
{
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<kml xmlns=\"http://www.opengis.net/kml/2.2\">\n<Document>\n";
    places.GotoStart();
    char coordinates[64];
    while (CUserPlace* place = places.GetNext())
    {
        const std::string name = XmlEscape(Utf8(place->GetMapLabelText()));
        const std::string description = XmlEscape(Utf8(place->GetReportLabelText()));
        std::snprintf(coordinates, sizeof coordinates, "%.7f,%.7f", place->GetLongitude(),
                      place->GetLatitude());
        out << " <Placemark>\n  <name>" << name << "</name>\n  <description>" << description
            << "</description>\n  <Point><coordinates>" << coordinates
            << "</coordinates></Point>\n </Placemark>\n";
        for (const Circle& circle : Circles(*place))
        {
            const bool fence = std::string(circle.kind) == "geofence";
            out << " <Placemark>\n  <name>" << name << " (" << circle.kind << ' ' << circle.radius
                << " m)</name>\n  <Style><LineStyle><color>"
                << KmlColour(fence ? place->GetGeofenceBorderColour() : place->GetSymbolColour(),
                             0xff)
                << "</color><width>" << (fence ? place->GetGeofenceBorderWidth() : 1)
                << "</width></LineStyle><PolyStyle><color>"
                << KmlColour(place->GetGeofenceAreaColour(), 0x40)
                << "</color></PolyStyle></Style>\n"
                   "  <Polygon><outerBoundaryIs><LinearRing><coordinates>";
            for (const auto& [lat, lon] :
                 CircleVertices(place->GetLatitude(), place->GetLongitude(),
                                static_cast<double>(circle.radius)))
            {
                std::snprintf(coordinates, sizeof coordinates, "%.7f,%.7f ", lon, lat);
                out << coordinates;
            }
            out << "</coordinates></LinearRing></outerBoundaryIs></Polygon>\n </Placemark>\n";
        }
    }
    out << "</Document>\n</kml>\n";
}

} // namespace

std::vector<std::pair<double, double>> CircleVertices(double latitude, double longitude,
                                                      double radiusMetres, int count)
{
    const double toRadians = std::numbers::pi / 180.0;
    const double phi = latitude * toRadians;
    const double lambda = longitude * toRadians;
    const double delta = radiusMetres / kEarthRadius;
    std::vector<std::pair<double, double>> vertices;
    for (int i = 0; i <= count; ++i)
    {
        // Bearings run anticlockwise from east, so the ring turns counter-clockwise.
        const double bearing = std::numbers::pi / 2 - 2 * std::numbers::pi * (i % count) / count;
        const double lat2 = std::asin(std::sin(phi) * std::cos(delta) +
                                      std::cos(phi) * std::sin(delta) * std::cos(bearing));
        const double lon2 = lambda + std::atan2(std::sin(bearing) * std::sin(delta) * std::cos(phi),
                                                std::cos(delta) - std::sin(phi) * std::sin(lat2));
        vertices.emplace_back(lat2 / toRadians, lon2 / toRadians);
    }
    return vertices;
}

namespace
{
// An archive of the collection object opens with the new-class tag, its schema and its name.
bool StartsWithCollectionHeader(const std::string& path)
{
    static constexpr char kName[] = "CUserPlaceCollection";
    char head[6 + sizeof kName - 1] = {};
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        return false;
    const std::size_t got = std::fread(head, 1, sizeof head, file);
    std::fclose(file);
    return got == sizeof head && static_cast<unsigned char>(head[0]) == 0xFF &&
           static_cast<unsigned char>(head[1]) == 0xFF && head[4] == sizeof kName - 1 &&
           head[5] == 0 && std::string_view(head + 6, sizeof kName - 1) == kName;
}
} // namespace

// Reads the file without leaving an application log behind; the reason of a failure (the text
// the library would show in a message box) becomes the error message.
void LoadUserPlaces(CUserPlaceCollection& places, const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw Failure("cannot open " + path);
    std::string reason;
    CLog::SetLogFileName("/dev/null");
    bool read = false;
    {
        shared::platform::CScopedMessageBoxSink box([&reason](const std::string& text)
                                                    { reason = text; });
        read = places.ReadCollection(path.c_str());
    }
    CLog::SetLogFileName("");
    if (!read)
        throw Failure(path + " is not a user-places file" +
                      (reason.empty() ? std::string() : " (" + reason + ")"));
    // The library also accepts a bare collection body, and a few bytes of anything can pass for
    // an empty one; an empty collection that a program saved carries the class header.
    if (places.GetNumberInCollection() == 0 && !StartsWithCollectionHeader(path))
        throw Failure(path + " is not a user-places file (no place and no collection header)");
}

void WritePlaces(std::ostream& out, CUserPlaceCollection& places, PlacesFormat format)
{
    if (format == PlacesFormat::GeoJson)
        WriteGeoJson(out, places);
    else
        WriteKml(out, places);
}

} // namespace warden
