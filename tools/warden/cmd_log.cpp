// warden log [FILE]: shows the application log (Application.log in the current directory by
// default) as the application reads it, one entry per line, optionally filtered or as JSON Lines.
#include "Command.h"
#include "Json.h"
#include "Text.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iostream>
#include <memory>
#include <shared/foundation/CLog.h>
#include <shared/foundation/CLogLine.h>
#include <shared/time/CClock.h>
#include <string>
#include <vector>

namespace
{

std::string Upper(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

void Run(const std::string& path, const std::string& level, int tail, bool json)
{
    if (!std::filesystem::exists(path))
        throw warden::Failure("no log file at \"" + path + "\"");
    CLog::SetLogFileName(path.c_str());
    CStringList lines;
    if (!CLog::ReadFromLog(lines))
        throw warden::Failure("cannot open the log file \"" + path + "\"");

    std::vector<std::pair<long, CLogLine>> entries;
    long number = 0;
    for (POSITION pos = lines.GetHeadPosition(); pos != nullptr;)
    {
        CLogLine entry;
        entry.Parse(lines.GetNext(pos));
        ++number;
        if (!level.empty() && (!entry.IsEntry() || entry.GetLevel().View() != level))
            continue;
        entries.emplace_back(number, std::move(entry));
    }
    if (tail >= 0 && entries.size() > static_cast<size_t>(tail))
        entries.erase(entries.begin(), entries.end() - tail);

    if (json)
        CClock::InitialiseTimezone();
    for (const auto& [line, entry] : entries)
    {
        if (json)
        {
            warden::Json j{{"line", line}};
            if (entry.IsEntry())
            {
                // The log holds local wall-clock minutes; they are given in UTC like every time
                // warden prints, converted with this machine's zone rules.
                const COleDateTime local = entry.GetLocalTime();
                j["time"] = local.GetStatus() == COleDateTime::valid
                                ? warden::UtcTime(CClock::ConvertFromLocalToUTC(local))
                                : warden::Json(nullptr);
                j["level"] = warden::JsonText(entry.GetLevel());
                j["user"] = warden::JsonText(entry.GetUser());
                j["message"] = warden::JsonText(entry.GetMessage());
            }
            else
                j["text"] = warden::JsonText(entry.GetLine());
            warden::PrintRecord(j, std::cout);
            continue;
        }
        if (!entry.IsEntry())
        {
            std::cout << warden::Utf8(entry.GetLine()) << '\n';
            continue;
        }
        std::cout << warden::Utf8(entry.GetDate()) << ' ' << warden::Utf8(entry.GetTime()) << ' '
                  << warden::PadRight(warden::Utf8(entry.GetLevel()), 5) << ' '
                  << warden::Utf8(entry.GetUser()) << "  " << warden::Utf8(entry.GetMessage())
                  << '\n';
    }
}

void SetupLog(CLI::App& app)
{
    auto* cmd = app.add_subcommand("log", "Show the application log");
    auto path = std::make_shared<std::string>("Application.log");
    auto level = std::make_shared<std::string>();
    auto tail = std::make_shared<int>(-1);
    auto json = std::make_shared<bool>(false);
    cmd->add_option("FILE", *path, "Log file (default: Application.log in the current directory)");
    cmd->add_option("--level", *level, "Only entries of this level: INFO, ERROR, WARN or ???")
        ->transform([](std::string text) { return Upper(std::move(text)); })
        ->check(CLI::IsMember({"INFO", "ERROR", "WARN", "???"}));
    cmd->add_option("--tail", *tail, "Only the last N entries")->check(CLI::NonNegativeNumber);
    cmd->add_flag("--json", *json, "Print JSON Lines: one object per entry, times in UTC");
    warden::Help(cmd, {"warden log Application.log --level warn --tail 20", "warden log --json"},
                 "1 no log file or it cannot be read");
    cmd->callback([=] { Run(*path, *level, *tail, *json); });
}

const warden::Registration registration{"log", 15, SetupLog};

} // namespace
