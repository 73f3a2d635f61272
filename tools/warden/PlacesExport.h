#pragma once

// User places as map layers for other GIS software: a point per place and, for the places used
// as an address or as a geofence, its circle as a polygon (neither GeoJSON nor KML has circles).
//
//   warden::WritePlaces(out, places, warden::PlacesFormat::GeoJson);

#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

class CUserPlaceCollection;

namespace warden
{

enum class PlacesFormat
{
    GeoJson,
    Kml
};

// Vertices (latitude, longitude) of a circle of radiusMetres on the sphere, counter-clockwise
// seen from above and closed (the last vertex repeats the first), as RFC 7946 wants its rings.
std::vector<std::pair<double, double>> CircleVertices(double latitude, double longitude,
                                                      double radiusMetres, int count = 72);

// Reads a UserPlaces.dat file; throws warden::Failure with the reason when it is missing or is
// not a user-places file.
void LoadUserPlaces(CUserPlaceCollection& places, const std::string& path);

void WritePlaces(std::ostream& out, CUserPlaceCollection& places, PlacesFormat format);

} // namespace warden
