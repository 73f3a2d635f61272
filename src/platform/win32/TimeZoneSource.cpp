#include <cstdio>
#include <shared/platform/TimeZoneRules.h>
#include <string>
#include <windows.h>

namespace shared::platform
{
namespace
{

// A bias in minutes (UTC = local + bias) as the offset of a POSIX rule, which has the same sign.
std::string PosixOffset(long biasMinutes)
{
    const char* sign = biasMinutes < 0 ? "-" : "";
    const long magnitude = biasMinutes < 0 ? -biasMinutes : biasMinutes;
    char text[32];
    std::snprintf(text, sizeof text, "%s%ld:%02ld", sign, magnitude / 60, magnitude % 60);
    return text;
}

// A change date of the day-in-month form as an Mm.w.d/time rule; an absolute date (wYear set),
// which Windows uses only for single-year zones, as the day of the year without 29 February.
std::string PosixDate(const SYSTEMTIME& date)
{
    char text[48];
    const long seconds = date.wHour * 3600L + date.wMinute * 60L + date.wSecond;
    if (date.wYear == 0)
    {
        std::snprintf(text, sizeof text, "M%u.%u.%u/%ld", date.wMonth, date.wDay, date.wDayOfWeek,
                      seconds / 3600);
    }
    else
    {
        static constexpr int kDaysBefore[] = {0,   31,  59,  90,  120, 151,
                                              181, 212, 243, 273, 304, 334};
        std::snprintf(text, sizeof text, "J%d/%ld", kDaysBefore[(date.wMonth - 1) % 12] + date.wDay,
                      seconds / 3600);
    }
    std::string rule = text;
    if (const long rest = seconds % 3600; rest != 0)
    {
        std::snprintf(text, sizeof text, ":%02ld:%02ld", rest / 60, rest % 60);
        rule += text;
    }
    return rule;
}

} // namespace

// The zone Windows is set to, expressed as the POSIX rule the portable code works with. The
// Windows names ("GMT Standard Time") do not fit a POSIX rule, so the rule carries neutral
// abbreviations.
std::optional<TimeZoneRules> TimeZoneRules::FromEnvironment()
{
    TIME_ZONE_INFORMATION info{};
    if (::GetTimeZoneInformation(&info) == TIME_ZONE_ID_INVALID)
        return std::nullopt;
    std::string rule = "<STD>" + PosixOffset(info.Bias + info.StandardBias);
    if (info.StandardDate.wMonth != 0 && info.DaylightDate.wMonth != 0)
    {
        rule += "<DST>" + PosixOffset(info.Bias + info.DaylightBias) + "," +
                PosixDate(info.DaylightDate) + "," + PosixDate(info.StandardDate);
    }
    return FromPosixString(rule);
}

} // namespace shared::platform
