// warden week DATE: the year-week period a date is filed under (seven-day blocks counted from
// 1 January), with its file descriptor, directories and bounds.
#include "Command.h"

#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>
#include <regex>
#include <shared/time/CYearWeekPeriod.h>
#include <string>

namespace
{

std::string Text(const CString& text)
{
    return std::string(text, text.GetLength());
}

std::string Iso(const COleDateTime& dt)
{
    return Text(dt.Format("%Y-%m-%d %H:%M:%S"));
}

// YYYY-MM-DD, optionally followed by "T" or a space and HH:MM[:SS].
COleDateTime ParseIsoDate(const std::string& text)
{
    static const std::regex pattern(
        R"((\d{4})-(\d{2})-(\d{2})(?:[T ](\d{2}):(\d{2})(?::(\d{2}))?)?)");
    std::smatch m;
    const std::string hint = " (expected an ISO date YYYY-MM-DD or YYYY-MM-DDTHH:MM[:SS])";
    if (!std::regex_match(text, m, pattern))
        throw warden::Failure("not an ISO date: \"" + text + "\"" + hint);
    auto field = [&](int i) { return m[i].matched ? std::stoi(m[i].str()) : 0; };
    COleDateTime dt;
    if (dt.SetDateTime(field(1), field(2), field(3), field(4), field(5), field(6)) != 0 ||
        dt.GetStatus() != COleDateTime::valid || field(2) < 1 || field(3) < 1)
        throw warden::Failure("no such date: \"" + text + "\"" + hint);
    return dt;
}

void Run(const std::string& text, bool json)
{
    const COleDateTime dt = ParseIsoDate(text);
    const CYearWeekPeriod period(dt);
    nlohmann::json out{{"date", Iso(dt)},
                       {"year", period.GetYear()},
                       {"week", period.GetWeek()},
                       {"fileDescriptor", Text(period.GetFileDescriptor())},
                       {"yearDirectory", Text(period.GetYearDirectory())},
                       {"weekDirectory", Text(period.GetWeekDirectory())},
                       {"start", Iso(period.GetStartOfPeriod())},
                       {"end", Iso(period.GetEndOfPeriod())},
                       {"hourIndex", period.GetHourIndex(dt)},
                       {"previous", Text(period.GetPreviousPeriod().GetFileDescriptor())},
                       {"next", Text(period.GetNextPeriod().GetFileDescriptor())}};
    if (json)
    {
        std::cout << out.dump(2) << '\n';
        return;
    }
    std::cout << "Date:            " << out["date"].get<std::string>() << '\n'
              << "Period:          year " << period.GetYear() << ", week " << period.GetWeek()
              << '\n'
              << "File descriptor: " << out["fileDescriptor"].get<std::string>() << '\n'
              << "Year directory:  " << out["yearDirectory"].get<std::string>() << '\n'
              << "Week directory:  " << out["weekDirectory"].get<std::string>() << '\n'
              << "Starts:          " << out["start"].get<std::string>() << " (inclusive)\n"
              << "Ends:            " << out["end"].get<std::string>() << " (exclusive)\n"
              << "Hour slot:       " << period.GetHourIndex(dt) << '\n'
              << "Previous / next: " << out["previous"].get<std::string>() << " / "
              << out["next"].get<std::string>() << '\n';
}

void SetupWeek(CLI::App& app)
{
    auto* cmd =
        app.add_subcommand("week", "Show the year-week period (log folder and file) of a date");
    auto date = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    cmd->add_option("DATE", *date, "ISO date, e.g. 2006-06-12 or 2006-06-12T10:30")->required();
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([=] { Run(*date, *json); });
}

const warden::Registration registration{"week", 21, SetupWeek};

} // namespace
