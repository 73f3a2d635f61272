// warden sets: the sets of a set-collection file (geofence or phonebook sets) and their members,
// as a table or as JSON lines.
#include "Command.h"
#include "Json.h"
#include "Text.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <shared/places/CSetCollection.h>
#include <string>

namespace
{

std::string Stamp(const COleDateTime& time)
{
    if (time.GetStatus() != COleDateTime::valid)
        return "invalid";
    return warden::Utf8(time.Format("%Y-%m-%d %H:%M:%S"));
}

void List(const std::string& path, bool json)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw warden::Failure("cannot open " + path);
    CSetCollection sets;
    if (!sets.ReadCollection(path.c_str()))
        throw warden::Failure(path + " is not a set-collection file, or it is damaged");
    sets.GotoStart();
    if (json)
    {
        while (CSet* set = sets.GetNext())
        {
            warden::Json members = warden::Json::array();
            set->GotoStart();
            for (int i = set->GetNumberOfItems(); i > 0; --i)
                members.push_back(warden::Utf8(set->GetNext().GetFormattedString()));
            const warden::Json row = {{"id", warden::Utf8(set->GetSetId().GetFormattedString())},
                                      {"name", warden::Utf8(set->GetSetName())},
                                      {"last_updated", warden::UtcTime(set->GetLastUpdatedTime())},
                                      {"members", members}};
            warden::PrintRecord(row, std::cout);
        }
        return;
    }
    std::printf("collection last updated %s (local time)\n",
                Stamp(sets.GetLastUpdatedTime()).c_str());
    while (CSet* set = sets.GetNext())
    {
        std::printf("%s  %-24s  %3d member(s), updated %s UTC\n",
                    static_cast<const char*>(set->GetSetId().GetFormattedString()),
                    warden::Utf8(set->GetSetName()).c_str(), set->GetNumberOfItems(),
                    Stamp(set->GetLastUpdatedTime()).c_str());
        set->GotoStart();
        for (int i = set->GetNumberOfItems(); i > 0; --i)
            std::printf("    %s\n", static_cast<const char*>(set->GetNext().GetFormattedString()));
    }
    std::printf("%d sets\n", sets.GetNumberInCollection());
}

void Setup(CLI::App& app)
{
    static std::string path;
    static bool json = false;
    auto* command = app.add_subcommand(
        "sets", "List the sets of a set-collection file (geofence or phonebook sets) with "
                "their members");
    command->add_option("FILE", path, "The set-collection file")->required();
    command->add_flag("--json", json, "One JSON object per set");
    command->callback([] { List(path, json); });
}

const warden::Registration registration{"sets", 71, Setup};

} // namespace
