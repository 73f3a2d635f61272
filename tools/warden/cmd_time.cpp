// warden time: the clock as the library sees it: PC UTC time, local time, the zone's offsets and
// the year's daylight-saving change instants.
#include "Command.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/CClock.h>
#include <shared/time/NCivilTime.h>
#include <string>

namespace
{

std::string Text(const CString& text)
{
    return std::string(text, text.GetLength());
}

std::string Iso(const COleDateTime& dt)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return "(invalid)";
    return Text(dt.Format("%Y-%m-%d %H:%M:%S"));
}

std::string Offset(long minutesEastOfUtc)
{
    char text[48];
    const long magnitude = minutesEastOfUtc < 0 ? -minutesEastOfUtc : minutesEastOfUtc;
    std::snprintf(text, sizeof text, "UTC%c%02ld:%02ld", minutesEastOfUtc < 0 ? '-' : '+',
                  magnitude / 60, magnitude % 60);
    return text;
}

std::string ChangeDate(const shared::platform::ZoneChangeDate& d)
{
    static const char* const kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};
    static const char* const kWeeks[] = {"", "first", "second", "third", "fourth", "last"};
    static const char* const kMonths[] = {"?",       "January",  "February", "March",  "April",
                                          "May",     "June",     "July",     "August", "September",
                                          "October", "November", "December"};
    char text[96];
    if (d.wYear != 0)
        std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", d.wYear, d.wMonth, d.wDay,
                      d.wHour, d.wMinute, d.wSecond);
    else
        std::snprintf(text, sizeof text, "%s %s of %s at %02u:%02u:%02u",
                      d.wDay <= 5 ? kWeeks[d.wDay] : "?",
                      d.wDayOfWeek <= 6 ? kWeekdays[d.wDayOfWeek] : "?",
                      kMonths[d.wMonth <= 12 ? d.wMonth : 0], d.wHour, d.wMinute, d.wSecond);
    return text;
}

void Run(const std::optional<std::string>& zone, std::optional<int> year, bool json)
{
    std::optional<shared::platform::ScopedTimeZoneRules> scoped;
    if (zone)
    {
        auto rules = shared::platform::TimeZoneRules::FromPosixString(*zone);
        if (!rules)
            throw warden::Failure("not a POSIX time-zone rule: " + *zone);
        scoped.emplace(*rules);
    }
    const auto rules = shared::platform::CurrentTimeZoneRules();
    if (!rules)
        throw warden::Failure("the local time zone cannot be read (check TZ and /etc/localtime)");

    CClock::InitialiseTimezone();
    const COleDateTime utc = CClock::GetUTCCurrentDateTime();
    const long toUtc = CClock::GetLocalToUTCMappingInMinutes();
    const COleDateTime local = CClock::GetLocalDateTime();
    const auto info = rules->GetInformation(CClock::GetUTCCurrentDateTimeInMilliseconds() / 1000);
    const int theYear = year.value_or(utc.GetYear());

    nlohmann::json out;
    out["utc"] = Iso(utc);
    out["local"] = Iso(local);
    out["rule"] = rules->GetPosixString();
    out["standard"] = {{"name", info.StandardName},
                       {"offset", Offset(-(info.Bias + info.StandardBias))}};
    out["localToUtcMinutes"] = toUtc;
    out["currentOffset"] = Offset(-toUtc);
    out["zoneName"] = Text(CClock::GetShortTimeZoneString(1));
    if (rules->HasDaylightSaving())
    {
        out["daylight"] = {{"name", info.DaylightName},
                           {"offset", Offset(-(info.Bias + info.DaylightBias))},
                           {"starts", ChangeDate(info.DaylightDate)},
                           {"ends", ChangeDate(info.StandardDate)}};
        if (theYear < 1970 || theYear > 2105)
            throw warden::Failure("year out of range 1970..2105: " + std::to_string(theYear));
        NCivilTime::TIMEZONERULE changes[2];
        NCivilTime::GetTimeZoneRulesForYear(changes, static_cast<unsigned short>(theYear));
        auto instant = [](const NCivilTime::TIMEZONERULE& rule)
        {
            const COleDateTime at = CClock::ConvertDWORD2COleDateTime(rule.ulChangeInstant);
            COleDateTime wall = at;
            wall.m_dt += rule.lOffset / 86400.0;
            return nlohmann::json{{"utc", Iso(at)}, {"wallClockBefore", Iso(wall)}};
        };
        out["changes"] = {{"year", theYear},
                          {"daylightStarts", instant(changes[0])},
                          {"daylightEnds", instant(changes[1])}};
    }

    if (json)
    {
        std::cout << out.dump(2) << '\n';
        return;
    }
    std::cout << "PC time (UTC):   " << out["utc"].get<std::string>() << '\n'
              << "Local time:      " << out["local"].get<std::string>() << '\n'
              << "Zone rule:       " << out["rule"].get<std::string>() << '\n'
              << "Standard time:   " << info.StandardName << ", "
              << out["standard"]["offset"].get<std::string>() << '\n';
    if (rules->HasDaylightSaving())
    {
        const auto& d = out["daylight"];
        const auto& c = out["changes"];
        std::cout << "Daylight time:   " << info.DaylightName << ", "
                  << d["offset"].get<std::string>()
                  << "\n  starts:        " << d["starts"].get<std::string>()
                  << "\n  ends:          " << d["ends"].get<std::string>() << '\n'
                  << "Changes in " << theYear << ":\n"
                  << "  daylight from  " << c["daylightStarts"]["utc"].get<std::string>()
                  << " UTC (local " << c["daylightStarts"]["wallClockBefore"].get<std::string>()
                  << ")\n"
                  << "  daylight until " << c["daylightEnds"]["utc"].get<std::string>()
                  << " UTC (local " << c["daylightEnds"]["wallClockBefore"].get<std::string>()
                  << ")\n";
    }
    else
        std::cout << "Daylight time:   none\n";
    std::cout << "Offset now:      " << out["currentOffset"].get<std::string>()
              << " (local to UTC: " << toUtc << " min)\n";
}

void SetupTime(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "time", "Show PC UTC time, local time and the zone's daylight-saving rules");
    auto zone = std::make_shared<std::string>();
    auto year = std::make_shared<int>(0);
    auto json = std::make_shared<bool>(false);
    auto* zoneOption = cmd->add_option(
        "--tz", *zone,
        "Use this POSIX zone rule instead of the local zone, e.g. \"CET-1CEST,M3.5.0,M10.5.0/3\"");
    auto* yearOption =
        cmd->add_option("--year", *year, "Year whose change instants to show (default: this year)")
            ->check(CLI::Range(1970, 2105));
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback(
        [=]
        {
            Run(zoneOption->count() ? std::optional<std::string>(*zone) : std::nullopt,
                yearOption->count() ? std::optional<int>(*year) : std::nullopt, *json);
        });
}

const warden::Registration registration{"time", 20, SetupTime};

} // namespace
