// warden places: the user places of a UserPlaces.dat file, as a table or as JSON lines.
#include "Command.h"
#include "Json.h"
#include "OutputFile.h"
#include "PlacesExport.h"
#include "Text.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <shared/foundation/CLog.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/platform/HostHooks.h>
#include <shared/time/CClock.h>
#include <sstream>
#include <string>

namespace
{

// "HH:MM" of the time of day; only that part of a geofence window counts.
std::string TimeOfDay(const COleDateTime& time)
{
    if (time.GetStatus() != COleDateTime::valid)
        return "--:--";
    const unsigned minutes = CClock::GetMinuteOfDay(time);
    char text[8];
    std::snprintf(text, sizeof text, "%02u:%02u", (minutes / 60) % 24, minutes % 60);
    return text;
}

// One letter a day from Sunday, '-' for a day the geofence is not watched.
std::string DayLetters(const CUserPlace& place)
{
    const bool days[7] = {place.GetGeofenceDoSunday(),   place.GetGeofenceDoMonday(),
                          place.GetGeofenceDoTuesday(),  place.GetGeofenceDoWednesday(),
                          place.GetGeofenceDoThursday(), place.GetGeofenceDoFriday(),
                          place.GetGeofenceDoSaturday()};
    const char* letters = "SMTWTFS";
    std::string text;
    for (int i = 0; i < 7; ++i)
        text += days[i] ? letters[i] : '-';
    return text;
}

warden::Json DaysJson(const CUserPlace& place)
{
    return {
        {"sunday", place.GetGeofenceDoSunday()},     {"monday", place.GetGeofenceDoMonday()},
        {"tuesday", place.GetGeofenceDoTuesday()},   {"wednesday", place.GetGeofenceDoWednesday()},
        {"thursday", place.GetGeofenceDoThursday()}, {"friday", place.GetGeofenceDoFriday()},
        {"saturday", place.GetGeofenceDoSaturday()}};
}

void List(const std::string& path, bool json)
{
    CUserPlaceCollection places;
    warden::LoadUserPlaces(places, path);
    places.GotoStart();
    if (json)
    {
        while (CUserPlace* place = places.GetNext())
        {
            const warden::Json row = {
                {"id", warden::Utf8(place->GetItemId().GetFormattedString())},
                {"map_label", warden::Utf8(place->GetMapLabelText())},
                {"report_label", warden::Utf8(place->GetReportLabelText())},
                {"latitude", place->GetLatitude()},
                {"longitude", place->GetLongitude()},
                {"symbol_id", place->GetSymbolId()},
                {"use_as_address", place->GetUseAsAddress()},
                {"use_as_geofence", place->GetUseAsGeofence()},
                {"address_radius", place->GetAddressRadius()},
                {"geofence_radius", place->GetGeofenceRadius()},
                {"geofence_type", warden::Utf8(place->GetGeofenceTypeString())},
                {"geofence_type_value", place->GetGeofenceEnterLeave()},
                {"window_start", TimeOfDay(place->GetGeofenceStartTime())},
                {"window_end", TimeOfDay(place->GetGeofenceEndTime())},
                {"days", DaysJson(*place)},
                {"threshold", place->GetGeofenceThreshold()},
            };
            warden::PrintRecord(row, std::cout);
        }
        return;
    }
    std::printf("%-16s  %-20s  %-24s  %10s  %11s  %6s  %6s  %-5s  %-11s  %-7s\n", "id", "map label",
                "report label", "latitude", "longitude", "addr-m", "fence-m", "type", "window",
                "days");
    while (CUserPlace* place = places.GetNext())
    {
        const std::string window =
            TimeOfDay(place->GetGeofenceStartTime()) + "-" + TimeOfDay(place->GetGeofenceEndTime());
        const CString type = place->GetGeofenceTypeString();
        std::printf("%-16s  %s  %s  %10.6f  %11.6f  %6ld  %6ld  %-5s  %-11s  %-7s\n",
                    static_cast<const char*>(place->GetItemId().GetFormattedString()),
                    warden::PadRight(warden::Utf8(place->GetMapLabelText()), 20).c_str(),
                    warden::PadRight(warden::Utf8(place->GetReportLabelText()), 24).c_str(),
                    place->GetLatitude(), place->GetLongitude(), place->GetAddressRadius(),
                    place->GetGeofenceRadius(),
                    type.IsEmpty() ? "?" : static_cast<const char*>(type), window.c_str(),
                    DayLetters(*place).c_str());
    }
    std::printf("%d places\n", places.GetNumberInCollection());
}

void Export(const std::string& path, warden::PlacesFormat format, const std::string& output)
{
    CUserPlaceCollection places;
    warden::LoadUserPlaces(places, path);
    std::ostringstream text;
    warden::WritePlaces(text, places, format);
    warden::WriteOutput(output, text.str());
}

void Setup(CLI::App& app)
{
    static std::string path;
    static bool json = false;
    static std::string format;
    static std::string output = "-";
    auto* command = app.add_subcommand(
        "places", "List the user places of a UserPlaces.dat file (labels, position, radii, "
                  "geofence type, daily window and weekdays)");
    command->add_option("FILE", path, "The UserPlaces.dat file")->required();
    command->add_flag("--json", json, "One JSON object per place");
    command
        ->add_option("--export", format,
                     "Write a map layer instead of the list: geojson or kml (a point per "
                     "place, address and geofence circles as polygons)")
        ->check(CLI::IsMember({"geojson", "kml"}));
    command->add_option("-o,--output", output, "Where --export writes, - for standard output")
        ->capture_default_str();
    command->footer("Example: warden places UserPlaces.dat --export kml -o places.kml");
    command->callback(
        []
        {
            if (format.empty())
                List(path, json);
            else
                Export(path,
                       format == "kml" ? warden::PlacesFormat::Kml : warden::PlacesFormat::GeoJson,
                       output);
        });
}

const warden::Registration registration{"places", 70, Setup};

} // namespace
