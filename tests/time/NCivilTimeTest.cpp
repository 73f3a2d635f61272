#include "../platform/TzEnvironment.h"

#include <array>
#include <gtest/gtest.h>
#include <random>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/NCivilTime.h>
#include <vector>

using NCivilTime::TIMESTAMP;

namespace
{

constexpr std::uint32_t kFirstOf2101 = 4133980800U; // 2101-01-01 00:00:00 UTC (Gregorian)

TIMESTAMP Record(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    using B = std::uint8_t;
    return {B(d), B(mo), std::uint16_t(y), B(h), B(mi), B(s), 0, 0};
}

std::array<int, 8> Fields(const TIMESTAMP& ts)
{
    return {ts.usYear,   ts.byMonth,  ts.byDay,       ts.byHour,
            ts.byMinute, ts.bySecond, ts.byDayOfWeek, ts.usDayOfYear};
}

void ExpectSameAsTm(const TIMESTAMP& ts, const std::tm& tm, std::int64_t t)
{
    ASSERT_EQ(Fields(ts),
              (std::array<int, 8>{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour,
                                  tm.tm_min, tm.tm_sec, tm.tm_wday, tm.tm_yday}))
        << t;
}

// Instants spread over the range plus the edges of every year, where calendar slips show.
std::vector<std::uint32_t> Instants(std::uint32_t limit)
{
    std::vector<std::uint32_t> out;
    std::mt19937 random(19700101);
    for (int i = 0; i < 20000; ++i)
        out.push_back(static_cast<std::uint32_t>(random() % limit));
    for (int year = 1970; year <= 2100; ++year)
    {
        std::tm tm{};
        tm.tm_year = year - 1900;
        tm.tm_mday = 1;
        const auto jan1 = static_cast<std::int64_t>(timegm(&tm));
        for (std::int64_t d : {-86400LL, -1LL, 0LL, 1LL, 59LL * 86400, 60LL * 86400})
            if (jan1 + d >= 0 && jan1 + d < limit)
                out.push_back(static_cast<std::uint32_t>(jan1 + d));
    }
    return out;
}

// Installs a zone for NCivilTime and the C library together.
class ZoneFixture
{
public:
    explicit ZoneFixture(const char* tz)
        : m_env(tz), m_rules(*shared::platform::TimeZoneRules::FromPosixString(tz))
    {
        EXPECT_EQ(NCivilTime::SetTimeZone(), 1) << tz;
    }
    ~ZoneFixture()
    {
        shared::platform::OverrideTimeZoneRules(shared::platform::TimeZoneRules());
        NCivilTime::SetTimeZone();
        shared::platform::OverrideTimeZoneRules(std::nullopt);
    }

private:
    TzEnvironment m_env;
    shared::platform::ScopedTimeZoneRules m_rules;
};

} // namespace

TEST(NCivilTimeTest, BreakDownWithoutZoneMatchesGmtime)
{
    TIMESTAMP ts{};
    for (std::uint32_t t : Instants(kFirstOf2101))
    {
        const time_t tt = t;
        std::tm tm{};
        ASSERT_NE(gmtime_r(&tt, &tm), nullptr);
        ASSERT_EQ(NCivilTime::ConvertToBrokenDownTime(&ts, t, 0), &ts);
        ExpectSameAsTm(ts, tm, t);
        ASSERT_EQ(NCivilTime::ConvertFromBrokenDownTime(&ts, 0), t);
    }
}

TEST(NCivilTimeTest, RecordsAreCheckedBeforeConversion)
{
    auto convert = [](TIMESTAMP ts) { return NCivilTime::ConvertFromBrokenDownTime(&ts, 0); };
    constexpr unsigned long kBad = 0xFFFFFFFFUL;
    struct Case
    {
        TIMESTAMP record;
        unsigned long seconds;
    };
    for (const Case& c :
         {Case{Record(1970, 1, 1), 0UL}, Case{Record(106, 6, 12, 10, 30, 5), 1150108205UL},
          Case{Record(2006, 13, 1), kBad}, Case{Record(2006, 0, 1), kBad},
          Case{Record(1969, 12, 31), kBad}, Case{Record(69, 12, 31), kBad},
          Case{Record(2006, 2, 31), kBad}, Case{Record(2006, 4, 31), kBad},
          Case{Record(2004, 2, 29), 1078012800UL}, Case{Record(2005, 2, 29), kBad},
          Case{Record(2000, 2, 29), 951782400UL}})
        EXPECT_EQ(convert(c.record), c.seconds) << c.record.usYear << "-" << int{c.record.byMonth};
    // Day 0 is let through and means the last day of the month before.
    EXPECT_EQ(convert(Record(2006, 3, 0)), convert(Record(2006, 2, 28)));
    EXPECT_EQ(NCivilTime::ConvertFromBrokenDownTime(nullptr, 0), 0xFFFFFFFFUL);

    TIMESTAMP ts = Record(106, 6, 12);
    NCivilTime::ConvertFromBrokenDownTime(&ts, 0);
    EXPECT_EQ(ts.usYear, 106); // read, not rewritten

    EXPECT_EQ(NCivilTime::ConvertToBrokenDownTime(nullptr, 0, 0), nullptr);
}

TEST(NCivilTimeTest, CenturyRuleIsLeftOutOfTheDayCount)
{
    // 2100 is not a leap year, but the four-year cycles give it 366 days: its last day breaks
    // down as month 13, and from 2101 on the calendar runs one day behind the Gregorian one.
    TIMESTAMP ts{};
    struct Case
    {
        std::uint32_t t;
        std::array<int, 3> ymd;
    };
    for (const Case& c : {Case{kFirstOf2101 - 1, {2100, 12, 31}}, Case{kFirstOf2101, {2100, 13, 1}},
                          Case{kFirstOf2101 + 86400, {2101, 1, 1}}})
    {
        ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, c.t, 0), nullptr);
        EXPECT_EQ((std::array<int, 3>{ts.usYear, ts.byMonth, ts.byDay}), c.ymd) << c.t;
    }
    EXPECT_EQ(ts.byDayOfWeek, 0); // weekdays stay true: 2101-01-02 is a Sunday
    ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, kFirstOf2101, 0), nullptr);
    EXPECT_EQ(ts.usDayOfYear, 365);

    TIMESTAMP firstOf2101 = Record(2101, 1, 1);
    EXPECT_EQ(NCivilTime::ConvertFromBrokenDownTime(&firstOf2101, 0), kFirstOf2101 + 86400UL);

    // The whole 32-bit range still round-trips, apart from the month-13 day.
    std::mt19937 random(2101);
    for (int i = 0; i < 5000; ++i)
    {
        const std::uint32_t t =
            kFirstOf2101 + 86400 +
            static_cast<std::uint32_t>(random() % (0xFFFFFFFFU - kFirstOf2101 - 86400));
        ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, t, 0), nullptr);
        ASSERT_EQ(NCivilTime::ConvertFromBrokenDownTime(&ts, 0), t);
    }
    // Records past the 32-bit range wrap, as unsigned 32-bit arithmetic does.
    TIMESTAMP late = Record(2106, 3, 1);
    TIMESTAMP wrapped = Record(1970, 1, 1);
    const unsigned long lateSeconds = NCivilTime::ConvertFromBrokenDownTime(&late, 0);
    EXPECT_LT(lateSeconds, 0x100000000UL);
    ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&wrapped, lateSeconds, 0), nullptr);
    EXPECT_EQ(wrapped.usYear, 1970);
}

TEST(NCivilTimeTest, ZoneAppliedMatchesLocaltimeWhereTheRulesAgree)
{
    // Northern zones: the rules agree with the real ones at every instant. AEST: they agree
    // except from 1 January to the end of daylight saving, which counts as standard time.
    struct Zone
    {
        const char* tz;
        bool southern;
    };
    for (const Zone& zone :
         {Zone{"GMT0BST,M3.5.0/1,M10.5.0", false}, Zone{"CET-1CEST,M3.5.0,M10.5.0/3", false},
          Zone{"EST5EDT,M3.2.0,M11.1.0", false}, Zone{"AEST-10AEDT,M10.1.0,M4.1.0/3", true}})
    {
        ZoneFixture fixture(zone.tz);
        const auto rules = shared::platform::TimeZoneRules::FromPosixString(zone.tz);
        auto instants = Instants(kFirstOf2101 - 86400);
        for (int year = 1971; year < 2100; year += 7)
        {
            const auto tr = rules->GetTransitionsInYear(year);
            for (std::int64_t d : {-3601LL, -1LL, 0LL, 1LL, 3600LL})
            {
                instants.push_back(static_cast<std::uint32_t>(tr->daylightStart + d));
                instants.push_back(static_cast<std::uint32_t>(tr->daylightEnd + d));
            }
        }
        TIMESTAMP ts{};
        for (std::uint32_t t : instants)
        {
            const time_t tt = t;
            std::tm tm{};
            ASSERT_NE(localtime_r(&tt, &tm), nullptr);
            std::tm utc{};
            gmtime_r(&tt, &utc);
            if (tm.tm_year < 70)
            {
                ASSERT_EQ(NCivilTime::ConvertToBrokenDownTime(&ts, t, 1), nullptr);
                continue;
            }
            if (zone.southern && tm.tm_isdst > 0 &&
                static_cast<std::int64_t>(t) <
                    rules->GetTransitionsInYear(utc.tm_year + 1900)->daylightEnd)
            {
                // The documented difference: standard time until daylight saving ends.
                ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, t, 1), nullptr);
                std::int64_t standard = static_cast<std::int64_t>(t) + 36000;
                const time_t st = standard;
                gmtime_r(&st, &tm);
                ExpectSameAsTm(ts, tm, t);
                continue;
            }
            ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, t, 1), nullptr) << zone.tz;
            ExpectSameAsTm(ts, tm, t);
            if (HasFatalFailure())
                FAIL() << zone.tz;

            // Back from local wall time, away from the ambiguous or missing hour around a change.
            const auto tr = rules->GetTransitionsInYear(tm.tm_year + 1900);
            const auto nearChange = [&](std::int64_t edge)
            {
                return static_cast<std::int64_t>(t) > edge - 2 * 3600 &&
                       static_cast<std::int64_t>(t) < edge + 2 * 3600;
            };
            if (nearChange(tr->daylightStart) || nearChange(tr->daylightEnd))
                continue;
            if (zone.southern && tm.tm_isdst > 0)
                continue;
            ASSERT_EQ(NCivilTime::ConvertFromBrokenDownTime(&ts, 1), t) << zone.tz;
        }
    }
}

TEST(NCivilTimeTest, ChangeInstantsOfAYear)
{
    // South of the equator the end is taken from the next year, so it still follows the start.
    struct Case
    {
        const char* tz;
        std::uint32_t start, end;
    };
    for (const Case& c : {Case{"GMT0BST,M3.5.0/1,M10.5.0", 1143334800U, 1162083600U},
                          Case{"AEST-10AEDT,M10.1.0,M4.1.0/3", 1159632000U, 1175356800U}})
    {
        ZoneFixture fixture(c.tz);
        NCivilTime::TIMEZONERULE rules[2];
        NCivilTime::GetTimeZoneRulesForYear(rules, 2006);
        EXPECT_EQ(rules[0].ulChangeInstant, c.start) << c.tz;
        EXPECT_EQ(rules[1].ulChangeInstant, c.end) << c.tz;
    }
}

TEST(NCivilTimeTest, RuleKindsAndZoneWithoutDaylightSaving)
{
    using NCivilTime::TIMEZONERULE;
    TIMEZONERULE rule{TIMEZONERULE::TYPE_JULIAN_NO_LEAP, 60, 0, 0, 7200, 3600, 0};
    NCivilTime::ComputeTimeZoneChange(&rule, 2004); // J60 in a leap year: 1 March
    EXPECT_EQ(rule.ulChangeInstant, 1078099200U + 7200 - 3600);
    rule.usType = TIMEZONERULE::TYPE_DAY_OF_YEAR; // day 60 counting 29 February: 1 March too
    NCivilTime::ComputeTimeZoneChange(&rule, 2004);
    EXPECT_EQ(rule.ulChangeInstant, 1078099200U + 7200 - 3600);
    NCivilTime::ComputeTimeZoneChange(&rule, 2005); // day 60 of a common year: 2 March
    EXPECT_EQ(rule.ulChangeInstant, 1109721600U + 7200 - 3600);
    // Second Sunday of March 2007 is the 11th; the fifth Sunday of February 2009 is the last.
    rule = {TIMEZONERULE::TYPE_MONTH_WEEK_DAY, 0, 2, 3, 7200, -18000, 0};
    NCivilTime::ComputeTimeZoneChange(&rule, 2007);
    EXPECT_EQ(rule.ulChangeInstant, 1173596400U);
    rule = {TIMEZONERULE::TYPE_MONTH_WEEK_DAY, 0, 5, 2, 0, 0, 0};
    NCivilTime::ComputeTimeZoneChange(&rule, 2009);
    EXPECT_EQ(rule.ulChangeInstant, 1235260800U); // 2009-02-22
    rule = {TIMEZONERULE::TYPE_MONTH_WEEK_DAY, 0, 1, 1, 0, 0, 0};
    NCivilTime::ComputeTimeZoneChange(&rule, 2009);
    EXPECT_EQ(rule.ulChangeInstant, 1231027200U); // January is a month too: 2009-01-04
    NCivilTime::ComputeTimeZoneChange(nullptr, 2009);

    // A fixed zone east of UTC applies its offset at every instant of the year, the last hours
    // before the new year included: their rules are those of the year that is ending.
    ZoneFixture fixture("<+03>-3");
    TIMESTAMP ts{};
    for (unsigned long t : {1262293200UL, 1262300399UL, 1262304000UL, 1277942400UL})
    {
        ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, t, 1), nullptr);
        const time_t tt = static_cast<time_t>(t + 10800);
        std::tm tm{};
        gmtime_r(&tt, &tm);
        ExpectSameAsTm(ts, tm, static_cast<std::int64_t>(t));
    }
}

TEST(NCivilTimeTest, LoadingRules)
{
    {
        ZoneFixture fixture("EST5EDT,M3.2.0,M11.1.0");
        TIMESTAMP ts{};
        // West of UTC the first hours of 1970 would fall before 1970 in local time.
        EXPECT_EQ(NCivilTime::ConvertToBrokenDownTime(&ts, 17999, 1), nullptr);
        EXPECT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, 18000, 1), nullptr);
    }
    // Absolute change dates cannot be loaded; the rules then read as UTC.
    {
        ZoneFixture fixture("UTC0");
        shared::platform::ScopedTimeZoneRules julian(
            *shared::platform::TimeZoneRules::FromPosixString("XST-2XDT,J60,J300"));
        EXPECT_EQ(NCivilTime::SetTimeZone(), 0);
        TIMESTAMP ts{};
        ASSERT_NE(NCivilTime::ConvertToBrokenDownTime(&ts, 1150108205UL, 1), nullptr);
        EXPECT_EQ(ts.byHour, 10);
    }
    {
        TzEnvironment env("garbage");
        shared::platform::OverrideTimeZoneRules(std::nullopt);
        EXPECT_EQ(NCivilTime::SetTimeZone(), 0);
    }
}
