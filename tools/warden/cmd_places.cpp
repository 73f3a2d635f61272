// warden places: the user places of a UserPlaces.dat file, as a table or as JSON lines.
#include "Command.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <shared/foundation/CLog.h>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/platform/HostHooks.h>
#include <shared/time/CClock.h>
#include <string>

namespace
{

std::string Text(const CString& text)
{
    return std::string(text, text.GetLength());
}

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

nlohmann::json DaysJson(const CUserPlace& place)
{
    return {
        {"sunday", place.GetGeofenceDoSunday()},     {"monday", place.GetGeofenceDoMonday()},
        {"tuesday", place.GetGeofenceDoTuesday()},   {"wednesday", place.GetGeofenceDoWednesday()},
        {"thursday", place.GetGeofenceDoThursday()}, {"friday", place.GetGeofenceDoFriday()},
        {"saturday", place.GetGeofenceDoSaturday()}};
}

// Reads the file without leaving an application log behind; the reason of a failure (the text
// the library would show in a message box) becomes the error message.
void Load(CUserPlaceCollection& places, const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw warden::Failure("cannot open " + path);
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
        throw warden::Failure(path + " is not a user-places file" +
                              (reason.empty() ? std::string() : " (" + reason + ")"));
}

void List(const std::string& path, bool json)
{
    CUserPlaceCollection places;
    Load(places, path);
    places.GotoStart();
    if (json)
    {
        while (CUserPlace* place = places.GetNext())
        {
            const nlohmann::json row = {
                {"id", Text(place->GetItemId().GetFormattedString())},
                {"mapLabel", Text(place->GetMapLabelText())},
                {"reportLabel", Text(place->GetReportLabelText())},
                {"latitude", place->GetLatitude()},
                {"longitude", place->GetLongitude()},
                {"symbolId", place->GetSymbolId()},
                {"useAsAddress", place->GetUseAsAddress()},
                {"useAsGeofence", place->GetUseAsGeofence()},
                {"addressRadius", place->GetAddressRadius()},
                {"geofenceRadius", place->GetGeofenceRadius()},
                {"geofenceType", Text(place->GetGeofenceTypeString())},
                {"geofenceTypeValue", place->GetGeofenceEnterLeave()},
                {"windowStart", TimeOfDay(place->GetGeofenceStartTime())},
                {"windowEnd", TimeOfDay(place->GetGeofenceEndTime())},
                {"days", DaysJson(*place)},
                {"threshold", place->GetGeofenceThreshold()},
            };
            std::cout << row.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
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
        std::printf("%-16s  %-20s  %-24s  %10.6f  %11.6f  %6ld  %6ld  %-5s  %-11s  %-7s\n",
                    static_cast<const char*>(place->GetItemId().GetFormattedString()),
                    static_cast<const char*>(place->GetMapLabelText()),
                    static_cast<const char*>(place->GetReportLabelText()), place->GetLatitude(),
                    place->GetLongitude(), place->GetAddressRadius(), place->GetGeofenceRadius(),
                    type.IsEmpty() ? "?" : static_cast<const char*>(type), window.c_str(),
                    DayLetters(*place).c_str());
    }
    std::printf("%d places\n", places.GetNumberInCollection());
}

void Setup(CLI::App& app)
{
    static std::string path;
    static bool json = false;
    auto* command = app.add_subcommand(
        "places", "List the user places of a UserPlaces.dat file (labels, position, radii, "
                  "geofence type, daily window and weekdays)");
    command->add_option("FILE", path, "The UserPlaces.dat file")->required();
    command->add_flag("--json", json, "One JSON object per place");
    command->callback([] { List(path, json); });
}

const warden::Registration registration{"places", 70, Setup};

} // namespace
