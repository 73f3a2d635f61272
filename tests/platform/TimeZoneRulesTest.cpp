#include "../support/Scratch.h"
#include "TzEnvironment.h"

#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <shared/platform/TimeZoneRules.h>

using shared::platform::ETimeZoneState;
using shared::platform::TimeZoneRules;
using shared::platform::ZoneChangeDate;

namespace
{

constexpr std::int64_t kJuly2024 = 1719835200;    // 2024-07-01 12:00 UTC
constexpr std::int64_t kJanuary2024 = 1704110400; // 2024-01-01 12:00 UTC

void ExpectDayInMonth(const ZoneChangeDate& d, int month, int week, int weekday, int hour)
{
    EXPECT_EQ(d.wYear, 0);
    EXPECT_EQ(d.wMonth, month);
    EXPECT_EQ(d.wDay, week);
    EXPECT_EQ(d.wDayOfWeek, weekday);
    EXPECT_EQ(d.wHour, hour);
    EXPECT_EQ(d.wMinute, 0);
    EXPECT_EQ(d.wSecond, 0);
}

TimeZoneRules Parse(const char* tz)
{
    auto rules = TimeZoneRules::FromPosixString(tz);
    EXPECT_TRUE(rules.has_value()) << tz;
    return rules.value_or(TimeZoneRules());
}

} // namespace

TEST(TimeZoneRulesTest, WindowsViewOfCommonZones)
{
    const auto cet = Parse("CET-1CEST,M3.5.0,M10.5.0/3").GetInformation(kJuly2024);
    EXPECT_EQ(cet.Bias, -60);
    EXPECT_EQ(cet.StandardBias, 0);
    EXPECT_EQ(cet.DaylightBias, -60);
    EXPECT_EQ(cet.StandardName, "CET");
    EXPECT_EQ(cet.DaylightName, "CEST");
    ExpectDayInMonth(cet.DaylightDate, 3, 5, 0, 2);
    ExpectDayInMonth(cet.StandardDate, 10, 5, 0, 3);

    const auto est = Parse("EST5EDT,M3.2.0,M11.1.0").GetInformation(kJuly2024);
    EXPECT_EQ(est.Bias, 300);
    EXPECT_EQ(est.DaylightBias, -60);
    ExpectDayInMonth(est.DaylightDate, 3, 2, 0, 2);
    ExpectDayInMonth(est.StandardDate, 11, 1, 0, 2);

    // A daylight name without a rule takes the United States rule, as the C library does.
    const auto bare = Parse("EST5EDT").GetInformation(kJuly2024);
    ExpectDayInMonth(bare.DaylightDate, 3, 2, 0, 2);
    ExpectDayInMonth(bare.StandardDate, 11, 1, 0, 2);

    // Explicit daylight offset of half an hour (Lord Howe).
    const auto lhst = Parse("<+1030>-10:30<+11>-11,M10.1.0,M4.1.0").GetInformation(kJuly2024);
    EXPECT_EQ(lhst.Bias, -630);
    EXPECT_EQ(lhst.DaylightBias, -30);
    EXPECT_EQ(lhst.StandardName, "+1030");
}

TEST(TimeZoneRulesTest, ZonesWithoutDaylightSaving)
{
    for (const char* tz : {"UTC0", "<+0530>-5:30", "<-03>3", "JST-9"})
    {
        const auto rules = Parse(tz);
        const auto info = rules.GetInformation(kJuly2024);
        EXPECT_FALSE(rules.HasDaylightSaving()) << tz;
        EXPECT_EQ(info.StandardDate.wMonth, 0) << tz;
        EXPECT_EQ(info.DaylightDate.wMonth, 0) << tz;
        EXPECT_EQ(rules.GetStateAt(kJuly2024), ETimeZoneState::Unknown) << tz;
        EXPECT_FALSE(rules.GetTransitionsInYear(2024)) << tz;
    }
    EXPECT_EQ(Parse("<+0530>-5:30").GetInformation(0).Bias, -330);
    EXPECT_EQ(Parse("<-03>3").GetInformation(0).Bias, 180);

    // Permanent daylight time, as zone files write it, is a fixed offset.
    const auto permanent = Parse("EST5EDT,0/0,J365/25");
    EXPECT_FALSE(permanent.HasDaylightSaving());
    EXPECT_EQ(permanent.GetInformation(0).Bias, 240);
    // Only both ends together make it permanent.
    EXPECT_TRUE(Parse("EST5EDT,0/0,M11.1.0").HasDaylightSaving());
    EXPECT_TRUE(Parse("EST5EDT,M3.2.0,J365/25").HasDaylightSaving());
    EXPECT_TRUE(Parse("EST5EDT,0/0,J300/25").HasDaylightSaving()) << "ends before the year does";
}

TEST(TimeZoneRulesTest, UnusualRuleForms)
{
    // Jn and n rules have no day-in-month form: they come out as this year's absolute dates.
    const auto julian = Parse("XST-2XDT,J60/1,J300").GetInformation(kJuly2024);
    EXPECT_EQ(julian.DaylightDate.wYear, 2024);
    EXPECT_EQ(julian.DaylightDate.wMonth, 3); // J60 skips 29 February: 1 March
    EXPECT_EQ(julian.DaylightDate.wDay, 1);
    EXPECT_EQ(julian.DaylightDate.wHour, 1);
    const auto zeroBased = Parse("XST-2XDT,59,299").GetInformation(kJuly2024);
    EXPECT_EQ(zeroBased.DaylightDate.wMonth, 2); // day 59 of a leap year: 29 February
    EXPECT_EQ(zeroBased.DaylightDate.wDay, 29);

    // A time of change beyond midnight moves to the next weekday.
    const auto israel = Parse("IST-2IDT,M3.4.4/26,M10.5.0").GetInformation(kJuly2024);
    ExpectDayInMonth(israel.DaylightDate, 3, 4, 5, 2);
    const auto greenland = Parse("<-02>2<-01>,M3.5.0/-1,M10.5.0/0").GetInformation(kJuly2024);
    ExpectDayInMonth(greenland.DaylightDate, 3, 5, 6, 23);
    const auto timed = Parse("AAA-1:30BBB,M4.1.0/2:45:30,M9.5.0").GetInformation(kJuly2024);
    EXPECT_EQ(timed.Bias, -90);
    EXPECT_EQ(timed.DaylightDate.wMinute, 45);
    EXPECT_EQ(timed.DaylightDate.wSecond, 30);
}

TEST(TimeZoneRulesTest, RejectsMalformedRules)
{
    for (const char* tz : {"", "CE", "CET", "CET-", "CET-1CEST,M3.5.0", "CET-1CEST,M13.1.0,M10.5.0",
                           "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0",
                           "CET-1CEST,J0,J300", "CET-1CEST,M3.5.0,M10.5.0junk", "CET-25", "<+05",
                           "<+5>-5", "CET-1CEST,M3.5.0/168,M10.5.0"})
        EXPECT_FALSE(TimeZoneRules::FromPosixString(tz)) << tz;
}

TEST(TimeZoneRulesTest, StateAndTransitionsMatchTheCLibrary)
{
    // The C library reads the same POSIX rules; its tm_isdst is the oracle for every instant.
    std::mt19937_64 random(20240601);
    for (const char* tz :
         {"GMT0BST,M3.5.0/1,M10.5.0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
          "AEST-10AEDT,M10.1.0,M4.1.0/3", "IST-2IDT,M3.4.4/26,M10.5.0",
          "<-04>4<-03>,M9.1.6/24,M4.1.6/24", "XST-2XDT,J60/1,J300"})
    {
        TzEnvironment env(tz);
        const auto rules = Parse(tz);
        auto check = [&](std::int64_t t)
        {
            const time_t tt = static_cast<time_t>(t);
            std::tm tm{};
            ASSERT_NE(localtime_r(&tt, &tm), nullptr);
            const auto expected =
                tm.tm_isdst > 0 ? ETimeZoneState::Daylight : ETimeZoneState::Standard;
            ASSERT_EQ(rules.GetStateAt(t), expected) << tz << " at " << t;
        };
        for (int i = 0; i < 4000; ++i)
            check(static_cast<std::int64_t>(random() % 4354819200ULL)); // 1970 to 2107
        for (int year : {1971, 1999, 2024, 2038, 2100})
        {
            const auto tr = rules.GetTransitionsInYear(year);
            ASSERT_TRUE(tr);
            for (std::int64_t edge : {tr->daylightStart, tr->daylightEnd})
                for (std::int64_t d : {-1, 0, 1})
                    check(edge + d);
        }
    }
}

TEST(TimeZoneRulesTest, ReadsTheRuleAtTheEndOfZoneFiles)
{
    const std::filesystem::path zoneinfo("/usr/share/zoneinfo");
    if (!std::filesystem::exists(zoneinfo / "Europe/London"))
        GTEST_SKIP() << "no zone files installed";
    auto london = TimeZoneRules::FromZoneFile((zoneinfo / "Europe/London").string());
    ASSERT_TRUE(london);
    EXPECT_EQ(london->GetPosixString(), "GMT0BST,M3.5.0/1,M10.5.0");

    const test_support::ScratchFolder folder;
    const auto write = [&](const char* name, const std::string& bytes)
    {
        test_support::ScratchFolder::WriteText(folder.File(name), bytes);
        return folder.File(name);
    };
    EXPECT_FALSE(TimeZoneRules::FromZoneFile(write("text", "CET-1CEST,M3.5.0,M10.5.0/3\n")));
    EXPECT_FALSE(TimeZoneRules::FromZoneFile(write("empty", "")));
    EXPECT_FALSE(TimeZoneRules::FromZoneFile(
        write("magic", "TZjf2" + std::string(60, '\0') + "\nCET-1CEST,M3.5.0,M10.5.0/3\n")));
    // Version 1 files carry no rule.
    EXPECT_FALSE(
        TimeZoneRules::FromZoneFile(write("v1", "TZif" + std::string(60, '\0') + "\nX\n")));
    auto synthetic = TimeZoneRules::FromZoneFile(
        write("v2", "TZif2" + std::string(60, '\0') + "\nCET-1CEST,M3.5.0,M10.5.0/3\n"));
    ASSERT_TRUE(synthetic);
    EXPECT_EQ(synthetic->GetInformation(0).Bias, -60);
    EXPECT_FALSE(TimeZoneRules::FromZoneFile(folder.File("missing")));
}

TEST(TimeZoneRulesTest, EnvironmentAndOverride)
{
    shared::platform::OverrideTimeZoneRules(std::nullopt);
    {
        TzEnvironment env("CET-1CEST,M3.5.0,M10.5.0/3");
        shared::platform::TimeZoneInformation info;
        EXPECT_EQ(shared::platform::GetTimeZoneInformation(info, kJuly2024),
                  ETimeZoneState::Daylight);
        EXPECT_EQ(info.Bias, -60);
        EXPECT_EQ(shared::platform::GetTimeZoneInformation(info, kJanuary2024),
                  ETimeZoneState::Standard);
        {
            shared::platform::ScopedTimeZoneRules fake(Parse("EST5EDT,M3.2.0,M11.1.0"));
            EXPECT_EQ(shared::platform::GetTimeZoneInformation(info, kJuly2024),
                      ETimeZoneState::Daylight);
            EXPECT_EQ(info.Bias, 300);
        }
        EXPECT_EQ(shared::platform::CurrentTimeZoneRules()->GetInformation(0).Bias, -60);
    }
    {
        TzEnvironment env("");
        EXPECT_EQ(shared::platform::CurrentTimeZoneRules()->GetStateAt(kJuly2024),
                  ETimeZoneState::Unknown);
    }
    {
        TzEnvironment env("not a zone");
        shared::platform::TimeZoneInformation info;
        info.Bias = 12345;
        EXPECT_EQ(shared::platform::GetTimeZoneInformation(info, kJuly2024),
                  ETimeZoneState::Invalid);
        EXPECT_EQ(info.Bias, 12345);
    }
    if (std::filesystem::exists("/usr/share/zoneinfo/Europe/Berlin"))
    {
        for (const char* name : {"Europe/Berlin", ":Europe/Berlin"})
        {
            TzEnvironment env(name);
            auto rules = shared::platform::CurrentTimeZoneRules();
            ASSERT_TRUE(rules) << name;
            EXPECT_EQ(rules->GetPosixString(), "CET-1CEST,M3.5.0,M10.5.0/3");
        }
        TzEnvironment env(":CET-1CEST,M3.5.0,M10.5.0/3"); // ':' asks for a file only
        EXPECT_FALSE(shared::platform::CurrentTimeZoneRules());
    }
}
