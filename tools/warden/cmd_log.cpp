// warden log [FILE]: shows the application log (Application.log in the current directory by
// default) as the application reads it, one entry per line, optionally filtered or as JSON.
#include "Command.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <shared/foundation/CLog.h>
#include <string>
#include <vector>

namespace
{

struct Entry
{
    std::string raw;
    // date, time, level, user, message; empty when the line is not a five-field entry.
    std::vector<std::string> fields;
};

Entry Split(const std::string& line)
{
    Entry entry{line, {}};
    std::string::size_type start = 0;
    for (int i = 0; i < 4; ++i)
    {
        const auto tab = line.find('\t', start);
        if (tab == std::string::npos)
        {
            entry.fields.clear();
            return entry;
        }
        entry.fields.push_back(line.substr(start, tab - start));
        start = tab + 1;
    }
    entry.fields.push_back(line.substr(start)); // the message may hold tabs of its own
    return entry;
}

void Run(const std::string& path, const std::string& level, int tail, bool json)
{
    if (!std::filesystem::exists(path))
    {
        throw warden::Failure("no log file at \"" + path + "\"");
    }
    CLog::SetLogFileName(path.c_str());
    CStringList lines;
    if (!CLog::ReadFromLog(lines))
    {
        throw warden::Failure("cannot open the log file \"" + path + "\"");
    }

    std::vector<Entry> entries;
    for (POSITION pos = lines.GetHeadPosition(); pos != nullptr;)
    {
        Entry entry = Split(lines.GetNext(pos).GetString());
        if (!level.empty() && (entry.fields.empty() || entry.fields[2] != level))
        {
            continue;
        }
        entries.push_back(std::move(entry));
    }
    if (tail >= 0 && entries.size() > static_cast<size_t>(tail))
    {
        entries.erase(entries.begin(), entries.end() - tail);
    }

    if (json)
    {
        nlohmann::json out = nlohmann::json::array();
        for (const Entry& entry : entries)
        {
            if (entry.fields.empty())
            {
                out.push_back({{"raw", entry.raw}});
                continue;
            }
            out.push_back({{"date", entry.fields[0]},
                           {"time", entry.fields[1]},
                           {"level", entry.fields[2]},
                           {"user", entry.fields[3]},
                           {"message", entry.fields[4]}});
        }
        std::cout << out.dump(2) << '\n';
        return;
    }
    for (const Entry& entry : entries)
    {
        if (entry.fields.empty())
        {
            std::cout << entry.raw << '\n';
            continue;
        }
        std::string levelWord = entry.fields[2];
        levelWord.resize(std::max<size_t>(levelWord.size(), 5), ' ');
        std::cout << entry.fields[0] << ' ' << entry.fields[1] << ' ' << levelWord << ' '
                  << entry.fields[3] << "  " << entry.fields[4] << '\n';
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
    cmd->add_option("--level", *level, "Only entries of this level")
        ->check(CLI::IsMember({"INFO", "ERROR", "WARN", "???"}));
    cmd->add_option("--tail", *tail, "Only the last N entries")->check(CLI::NonNegativeNumber);
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([=] { Run(*path, *level, *tail, *json); });
}

const warden::Registration registration{"log", 15, SetupLog};

} // namespace
