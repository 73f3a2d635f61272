// warden week DATE: the year-week period a date is filed under (seven-day blocks counted from
// 1 January), with its file descriptor, directories and bounds.
#include "Command.h"
#include "Json.h"

#include <cstdio>
#include <iostream>
#include <regex>
#include <shared/time/CYearWeekPeriod.h>
#include <string>

namespace
{

using warden::JsonText;
using warden::UtcTimeText;

// YYYY-MM-DD, optionally followed by "T" or a space and HH:MM[:SS].
COleDateTime ParseIsoDate(const std::string& text)
{
    static const std::regex pattern(
        R"((\d{4})-(\d{2})-(\d{2})(?:[T ](\d{2}):(\d{2})(?::(\d{2}))?)?)");
    std::smatch m;
    const std::string hint = " (expected an ISO date YYYY-MM-DD or YYYY-MM-DDTHH:MM[:SS])";
    if (!std::regex_match(text, m, pattern))
        throw warden::Failure("not an ISO date: \"" + text + "\"" + hint);
    auto field = [&](std::size_t i) { return m[i].matched ? std::stoi(m[i].str()) : 0; };
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
    // The library's stored times are UTC, so the date is read as a UTC date.
    warden::Json out{{"date", UtcTimeText(dt)},
                     {"year", period.GetYear()},
                     {"week", period.GetWeek()},
                     {"file_descriptor", JsonText(period.GetFileDescriptor())},
                     {"year_directory", JsonText(period.GetYearDirectory())},
                     {"week_directory", JsonText(period.GetWeekDirectory())},
                     {"start", UtcTimeText(period.GetStartOfPeriod())},
                     {"end", UtcTimeText(period.GetEndOfPeriod())},
                     {"hour_index", period.GetHourIndex(dt)},
                     {"previous", JsonText(period.GetPreviousPeriod().GetFileDescriptor())},
                     {"next", JsonText(period.GetNextPeriod().GetFileDescriptor())}};
    if (json)
    {
        warden::PrintDocument(out);
        return;
    }
    std::cout << "Date:            " << out["date"].get<std::string>() << '\n'
              << "Period:          year " << period.GetYear() << ", week " << period.GetWeek()
              << '\n'
              << "File descriptor: " << out["file_descriptor"].get<std::string>() << '\n'
              << "Year directory:  " << out["year_directory"].get<std::string>() << '\n'
              << "Week directory:  " << out["week_directory"].get<std::string>() << '\n'
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
    warden::Help(cmd, {"warden week 2006-06-12", "warden week 2006-06-12T10:30 --json"},
                 "1 not a date");
    cmd->callback([=] { Run(*date, *json); });
}

const warden::Registration registration{"week", 21, SetupWeek};

} // namespace
