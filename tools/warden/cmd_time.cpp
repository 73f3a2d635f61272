// warden time: the clock as the library sees it: PC UTC time, local time, the zone's offsets and
// the year's daylight-saving change instants.
#include "Command.h"
#include "Json.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/CClock.h>
#include <shared/time/NCivilTime.h>
#include <string>

namespace
{

std::string Iso(const COleDateTime& dt)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return "(invalid)";
    return warden::UtcTimeText(dt);
}

// Local wall-clock time in ISO 8601 with its offset from UTC, e.g. 2026-07-01T13:00:00+01:00.
std::string IsoLocal(const COleDateTime& dt, long minutesEastOfUtc)
{
    if (dt.GetStatus() != COleDateTime::valid)
        return "(invalid)";
    std::string text = warden::UtcTimeText(dt);
    text.pop_back();
    char offset[48];
    const long magnitude = minutesEastOfUtc < 0 ? -minutesEastOfUtc : minutesEastOfUtc;
    std::snprintf(offset, sizeof offset, "%c%02ld:%02ld", minutesEastOfUtc < 0 ? '-' : '+',
                  magnitude / 60, magnitude % 60);
    return text + offset;
}

// An IANA zone name (Europe/London) gives the POSIX rule at the end of its zone file, the
// rule the zone follows from now on; anything else is taken as a POSIX rule itself.
std::string ZoneRule(const std::string& zone)
{
    if (zone.find('/') == std::string::npos || zone.find("..") != std::string::npos)
        return zone;
    std::ifstream file("/usr/share/zoneinfo/" + zone, std::ios::binary);
    if (!file)
        throw warden::Failure("no time zone named " + zone + " (not in /usr/share/zoneinfo)");
    const std::string content((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    const auto end = content.find_last_not_of('\n');
    const auto start = end == std::string::npos ? end : content.rfind('\n', end);
    if (content.rfind("TZif", 0) != 0 || start == std::string::npos)
        throw warden::Failure(zone + " is not a time-zone file");
    return content.substr(start + 1, end - start);
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
        auto rules = shared::platform::TimeZoneRules::FromPosixString(ZoneRule(*zone));
        if (!rules)
            throw warden::Failure("not a time-zone name or POSIX rule: " + *zone);
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

    warden::Json out;
    out["utc"] = Iso(utc);
    out["local"] = IsoLocal(local, -toUtc);
    out["rule"] = rules->GetPosixString();
    out["standard"] = {{"name", info.StandardName},
                       {"offset", Offset(-(info.Bias + info.StandardBias))}};
    out["local_to_utc_minutes"] = toUtc;
    out["current_offset"] = Offset(-toUtc);
    out["zone_name"] = warden::JsonText(CClock::GetShortTimeZoneString(1));
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
            return warden::Json{{"utc", Iso(at)},
                                {"wall_clock_before", IsoLocal(wall, rule.lOffset / 60)}};
        };
        out["changes"] = {{"year", theYear},
                          {"daylight_starts", instant(changes[0])},
                          {"daylight_ends", instant(changes[1])}};
    }

    if (json)
    {
        warden::PrintDocument(out);
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
                  << "  daylight from  " << c["daylight_starts"]["utc"].get<std::string>()
                  << " (local " << c["daylight_starts"]["wall_clock_before"].get<std::string>()
                  << ")\n"
                  << "  daylight until " << c["daylight_ends"]["utc"].get<std::string>()
                  << " (local " << c["daylight_ends"]["wall_clock_before"].get<std::string>()
                  << ")\n";
    }
    else
        std::cout << "Daylight time:   none\n";
    std::cout << "Offset now:      " << out["current_offset"].get<std::string>()
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
        "Use this zone instead of the local one: an IANA name such as Europe/London, or a POSIX "
        "rule such as \"CET-1CEST,M3.5.0,M10.5.0/3\"");
    auto* yearOption =
        cmd->add_option("--year", *year, "Year whose change instants to show (default: this year)")
            ->check(CLI::Range(1970, 2105));
    cmd->add_flag("--json", *json, "Print JSON");
    warden::Help(cmd, {"warden time --tz Europe/London --year 2026", "warden time --json"},
                 "1 the zone cannot be read");
    cmd->callback(
        [=]
        {
            Run(zoneOption->count() ? std::optional<std::string>(*zone) : std::nullopt,
                yearOption->count() ? std::optional<int>(*year) : std::nullopt, *json);
        });
}

const warden::Registration registration{"time", 20, SetupTime};

} // namespace
