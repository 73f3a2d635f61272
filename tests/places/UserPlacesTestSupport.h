#pragma once

// Helpers for the user-place tests: place records assembled by hand from the file format, a
// capture of the application log, and captures of the main-window messages and message boxes.

#include "PlacesTestSupport.h"

#include <shared/foundation/CLog.h>
#include <shared/framework/CStringList.h>
#include <shared/places/CUserPlace.h>
#include <shared/platform/HostHooks.h>
#include <string>
#include <vector>

// The fields of one place record, with the values a default place holds.
struct PlaceRecord
{
    std::int32_t symbolId = 0;
    std::uint32_t colour = 0;
    double latitude = 0.0;
    double longitude = 0.0;
    std::string mapLabel;
    std::string reportLabel;
    unsigned symbolChar = 0;
    std::int32_t addressRadius = 100;
    std::int32_t showingAddress = 0;
    std::int32_t geofenceRadius = 100;
    std::int32_t useAsAddress = 1;
    std::int32_t useAsGeofence = 0;
    std::int32_t type = 0;
    std::int32_t showingGeofence = 0;
    std::uint32_t idHigh = 0;
    std::uint32_t idLow = 0;
    double start = 0.0;
    double end = 0.0;
    std::int32_t days[7] = {1, 1, 1, 1, 1, 1, 1};
    std::int32_t smsInside = 1;
    std::int32_t smsOutside = 1;
    std::int32_t firstActivation = 0;
    std::int32_t threshold = 4;

    // The record's body as a place of that schema writes it: each schema adds fields at the end.
    ArchiveBytes Body(unsigned schema = 6) const
    {
        ArchiveBytes b;
        b.I32(symbolId).U32(colour).Double(latitude).Double(longitude);
        b.String(mapLabel).String(reportLabel).U8(symbolChar).I32(addressRadius);
        b.I32(showingAddress);
        if (schema >= 2)
            b.I32(geofenceRadius).I32(useAsAddress).I32(useAsGeofence);
        if (schema >= 3)
            b.I32(type);
        if (schema >= 4)
            b.I32(showingGeofence);
        if (schema >= 5)
            b.U32(idHigh).U32(idLow);
        if (schema >= 6)
        {
            b.Date(start).Date(end);
            for (std::int32_t day : days)
                b.I32(day);
            b.I32(smsInside).I32(smsOutside).I32(firstActivation).I32(threshold);
        }
        return b;
    }
};

// A whole UserPlaces.dat: the collection's header, the places (the first introduces the place
// class, the rest refer to it as class 3), and the stamp.
inline ArchiveBytes PlacesFile(const std::vector<PlaceRecord>& places, double stamp,
                               unsigned placeSchema = 6, unsigned collectionSchema = 2)
{
    ArchiveBytes bytes;
    bytes.NewClass(collectionSchema, "CUserPlaceCollection")
        .I32(static_cast<std::int32_t>(places.size()));
    for (size_t i = 0; i < places.size(); ++i)
    {
        if (i == 0)
            bytes.NewClass(placeSchema, "CUserPlace");
        else
            bytes.ClassRef(3);
        bytes.Append(places[i].Body(placeSchema));
    }
    if (collectionSchema >= 2)
        bytes.Date(stamp);
    return bytes;
}

// Points the application log at a scratch file and hands back the messages written to it.
class LogCapture
{
public:
    explicit LogCapture(const ScratchFolder& folder) : m_path(folder.File("Application.log"))
    {
        CLog::SetLogFileName(m_path.c_str());
    }
    ~LogCapture() { CLog::SetLogFileName(""); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The message column of every entry so far, oldest first, with the level in front.
    std::vector<std::string> Messages() const
    {
        CStringList lines;
        CLog::ReadFromLog(lines);
        std::vector<std::string> messages;
        for (POSITION at = lines.GetHeadPosition(); at != nullptr;)
        {
            const std::string line(static_cast<const char*>(lines.GetNext(at)));
            // date, time, level, user, message
            size_t field = 0;
            for (int tabs = 0; tabs < 2 && field != std::string::npos; ++tabs)
                field = line.find('\t', field) + 1;
            const size_t levelEnd = line.find('\t', field);
            const size_t userEnd = line.find('\t', levelEnd + 1);
            messages.push_back(line.substr(field, levelEnd - field) + " " +
                               line.substr(userEnd + 1));
        }
        return messages;
    }

private:
    std::string m_path;
};

// Records the messages sent to the main window and the texts of message boxes.
class HostCapture
{
public:
    struct Message
    {
        unsigned id;
        std::string mapLabel; // of the place the message was about, read during the call
    };

    HostCapture()
        : m_window(
              [this](unsigned id, std::uintptr_t wParam, std::intptr_t)
              {
                  const auto* place = reinterpret_cast<const CUserPlace*>(wParam);
                  messages.push_back({id, static_cast<const char*>(place->GetMapLabelText())});
              }),
          m_box([this](const std::string& text) { boxes.push_back(text); })
    {
    }

    std::vector<Message> messages;
    std::vector<std::string> boxes;

private:
    shared::platform::CScopedMainWindowSink m_window;
    shared::platform::CScopedMessageBoxSink m_box;
};
