#include "../platform/TzEnvironment.h"

#include <array>
#include <cmath>
#include <ctime>
#include <gtest/gtest.h>
#include <random>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/COleDateTimeSpan.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>

namespace
{

// 1970-01-01 as a day count since 1899-12-30.
constexpr double kUnixEpochDay = 25569.0;

struct Expected
{
    int year, month, day, hour, minute, second, dayOfWeek, dayOfYear;
    bool operator==(const Expected&) const = default;
};

Expected FromGmtime(std::time_t t)
{
    std::tm tm{};
    ::gmtime_r(&t, &tm);
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday,     tm.tm_hour,
            tm.tm_min,         tm.tm_sec,     tm.tm_wday + 1, tm.tm_yday + 1};
}

void ExpectParts(const COleDateTime& dt, const Expected& e)
{
    const Expected got{dt.GetYear(),   dt.GetMonth(),  dt.GetDay(),       dt.GetHour(),
                       dt.GetMinute(), dt.GetSecond(), dt.GetDayOfWeek(), dt.GetDayOfYear()};
    EXPECT_TRUE(got == e) << dt.m_dt << " breaks down to " << dt.Format("%Y-%m-%d %H:%M:%S")
                          << " dow " << got.dayOfWeek << " doy " << got.dayOfYear;
}

// The DATE of a UTC second count in the framework's encoding (fraction forward from midnight even
// before 1899-12-30).
double DateOf(long long t)
{
    const long long days = t >= 0 ? t / 86400 : -((-t + 86399) / 86400);
    const long long secs = t - days * 86400;
    const double day = kUnixEpochDay + static_cast<double>(days);
    const double fraction = static_cast<double>(secs) / 86400.0;
    return day >= 0 ? day + fraction : day - fraction;
}

} // namespace

TEST(COleDateTimeTest, PartsRoundTripAgainstTheCLibraryCalendar)
{
    std::mt19937_64 random(1899);
    // 0100-01-01 to 9999-12-31.
    std::uniform_int_distribution<long long> anySecond(-59011459200LL, 253402300799LL);
    for (int i = 0; i < 20000; ++i)
    {
        const long long t = anySecond(random);
        const Expected e = FromGmtime(static_cast<std::time_t>(t));

        const COleDateTime built(e.year, e.month, e.day, e.hour, e.minute, e.second);
        ASSERT_EQ(built.GetStatus(), COleDateTime::valid);
        EXPECT_NEAR(built.m_dt, DateOf(t), 1e-9) << t;
        ExpectParts(built, e);

        const COleDateTime fromDouble(DateOf(t));
        ExpectParts(fromDouble, e);
    }
}

TEST(COleDateTimeTest, KnownDaysAndEncodings)
{
    EXPECT_EQ(COleDateTime(1899, 12, 30, 0, 0, 0).m_dt, 0.0);
    EXPECT_EQ(COleDateTime(2000, 1, 1, 0, 0, 0).m_dt, 36526.0);
    EXPECT_EQ(COleDateTime(1970, 1, 1, 12, 0, 0).m_dt, 25569.5);
    EXPECT_EQ(COleDateTime(100, 1, 1, 0, 0, 0).m_dt, -657434.0);
    EXPECT_EQ(COleDateTime(9999, 12, 31, 0, 0, 0).m_dt, 2958465.0);
    // Before the base date the time of day is subtracted.
    EXPECT_EQ(COleDateTime(1899, 12, 29, 6, 0, 0).m_dt, -1.25);

    EXPECT_EQ(COleDateTime(1899, 12, 30, 0, 0, 0).GetDayOfWeek(), 7); // a Saturday
    EXPECT_EQ(COleDateTime(1899, 12, 29, 0, 0, 0).GetDayOfWeek(), 6);
}

TEST(COleDateTimeTest, BreakingDownRoundsToTheNearestSecond)
{
    const double base = COleDateTime(2006, 6, 12, 16, 5, 9).m_dt;
    const double second = 1.0 / 86400.0;
    EXPECT_EQ(COleDateTime(base + 0.49 * second).GetSecond(), 9);
    EXPECT_EQ(COleDateTime(base + 0.51 * second).GetSecond(), 10);
    EXPECT_EQ(COleDateTime(base - 0.49 * second).GetSecond(), 9);
    EXPECT_EQ(COleDateTime(base - 0.51 * second).GetSecond(), 8);

    // Rounding carries through minute, hour, day, month and year.
    const COleDateTime lastMoment(COleDateTime(1999, 12, 31, 23, 59, 59).m_dt + 0.6 * second);
    ExpectParts(lastMoment, {2000, 1, 1, 0, 0, 0, 7, 1});
    EXPECT_EQ(lastMoment.Format("%Y-%m-%d %H:%M:%S"), "2000-01-01 00:00:00");

    // Negative values: the fraction is a time of day after midnight.
    ExpectParts(COleDateTime(-1.25), {1899, 12, 29, 6, 0, 0, 6, 363});
    ExpectParts(COleDateTime(-0.5), {1899, 12, 30, 12, 0, 0, 7, 364});
    ExpectParts(COleDateTime(-1.0 - 0.4 * second), {1899, 12, 29, 0, 0, 0, 6, 363});
    ExpectParts(COleDateTime(-1.0 - 0.6 * second), {1899, 12, 29, 0, 0, 1, 6, 363});
}

TEST(COleDateTimeTest, OutOfRangePartsLeaveTheValueInvalid)
{
    const int bad[][6] = {{99, 12, 31, 0, 0, 0},  {10000, 1, 1, 0, 0, 0}, {2006, 0, 1, 0, 0, 0},
                          {2006, 13, 1, 0, 0, 0}, {2006, 2, 29, 0, 0, 0}, {1900, 2, 29, 0, 0, 0},
                          {2006, 4, 31, 0, 0, 0}, {2006, 4, 0, 0, 0, 0},  {2006, 4, 1, 24, 0, 0},
                          {2006, 4, 1, -1, 0, 0}, {2006, 4, 1, 0, 60, 0}, {2006, 4, 1, 0, 0, 60},
                          {2006, 4, 1, 0, 0, -1}};
    for (const auto& b : bad)
    {
        COleDateTime dt(b[0], b[1], b[2], b[3], b[4], b[5]);
        EXPECT_EQ(dt.GetStatus(), COleDateTime::invalid) << b[0] << "-" << b[1] << "-" << b[2];
        EXPECT_EQ(dt.GetYear(), COleDateTime::error);
        EXPECT_EQ(dt.GetDayOfWeek(), -1);
    }
    EXPECT_TRUE(COleDateTime(2000, 2, 29, 0, 0, 0).GetStatus() == COleDateTime::valid);

    COleDateTime dt(2006, 6, 12, 16, 5, 9);
    const DATE before = dt.m_dt;
    EXPECT_EQ(dt.SetDate(2006, 6, 31), 1);
    EXPECT_EQ(dt.m_dt, before); // a failed setting keeps the day count, as the framework does
    dt = SYSTEMTIME{2006, 13, 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(dt.GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(dt.m_dt, before);
    EXPECT_EQ(COleDateTime(2006, 6, 31, 0, 0, 0).m_dt, 0.0);
    EXPECT_EQ(dt.SetDate(2006, 6, 30), 0);
    EXPECT_EQ(dt.m_dt, COleDateTime(2006, 6, 30, 0, 0, 0).m_dt);
    EXPECT_EQ(dt.SetTime(25, 0, 0), 1);
    EXPECT_EQ(dt.SetTime(1, 1, 1), 0);
    EXPECT_DOUBLE_EQ(dt.m_dt, 3661.0 / 86400.0);

    // Values the calendar cannot hold break down to -1 although their status says valid.
    for (const double d : {-657435.0, 2958466.0, std::nan(""), HUGE_VAL})
    {
        const COleDateTime outside(d);
        EXPECT_EQ(outside.GetStatus(), COleDateTime::valid);
        EXPECT_EQ(outside.GetYear(), -1) << d;
        SYSTEMTIME st{};
        EXPECT_FALSE(outside.GetAsSystemTime(st));
        EXPECT_EQ(outside.Format("%Y"), "Invalid DateTime");
    }
}

TEST(COleDateTimeTest, SystemTimeAndTimeTConstruction)
{
    const SYSTEMTIME st{2006, 6, 1, 12, 16, 5, 9, 250};
    const COleDateTime withMs(st);
    EXPECT_EQ(withMs.GetStatus(), COleDateTime::valid);
    EXPECT_NEAR(withMs.m_dt, COleDateTime(2006, 6, 12, 16, 5, 9).m_dt + 0.25 / 86400.0, 1e-10);
    EXPECT_EQ(withMs.GetSecond(), 9);
    EXPECT_EQ(COleDateTime(SYSTEMTIME{2006, 6, 1, 12, 16, 5, 9, 750}).GetSecond(), 10);
    EXPECT_EQ(COleDateTime(SYSTEMTIME{2006, 6, 1, 12, 16, 5, 9, 1000}).GetStatus(),
              COleDateTime::invalid);
    EXPECT_EQ(COleDateTime(SYSTEMTIME{2006, 2, 1, 30, 0, 0, 0, 0}).GetStatus(),
              COleDateTime::invalid);

    SYSTEMTIME back{};
    ASSERT_TRUE(withMs.GetAsSystemTime(back));
    EXPECT_EQ(back.wYear, 2006);
    EXPECT_EQ(back.wDayOfWeek, 1); // Monday, Sunday being 0 in SYSTEMTIME
    EXPECT_EQ(back.wSecond, 9);
    EXPECT_EQ(back.wMilliseconds, 0);

    // A time_t is taken as local time, as the framework does: the time of the installed zone
    // rules, whatever zone the host is in.
    const TzEnvironment host("UTC0");
    struct Case
    {
        const char* rule;
        std::time_t t;
        Expected local;
    };
    for (const Case& c :
         {Case{"CET-1CEST,M3.5.0,M10.5.0/3", 1150108205, {2006, 6, 12, 12, 30, 5, 2, 163}},
          Case{"CET-1CEST,M3.5.0,M10.5.0/3", 1137061805, {2006, 1, 12, 11, 30, 5, 5, 12}},
          Case{"<-0330>3:30", 0, {1969, 12, 31, 20, 30, 0, 4, 365}}})
    {
        const shared::platform::ScopedTimeZoneRules zone(
            *shared::platform::TimeZoneRules::FromPosixString(c.rule));
        const COleDateTime fromTimeT(c.t);
        EXPECT_EQ(fromTimeT.GetStatus(), COleDateTime::valid);
        ExpectParts(fromTimeT, c.local);
    }
}

TEST(COleDateTimeTest, CurrentTimeIsLocalWholeSecondsFromTheClockSeam)
{
    using namespace shared::platform;
    CManualSystemTimeSource fake(UtcMilliseconds(2006, 12, 31, 23, 30, 59, 999), 3600);
    CScopedSystemTimeSource use(fake);
    const COleDateTime now = COleDateTime::GetCurrentTime();
    EXPECT_EQ(now.GetStatus(), COleDateTime::valid);
    EXPECT_EQ(now.m_dt, COleDateTime(2007, 1, 1, 0, 30, 59).m_dt);
}

TEST(COleDateTimeTest, ArithmeticIsContinuousAcrossTheBaseDate)
{
    const COleDateTimeSpan day(1.0);
    const COleDateTime morning(-1.25); // 1899-12-29 06:00
    EXPECT_DOUBLE_EQ((morning + day).m_dt, 0.25);
    EXPECT_DOUBLE_EQ((COleDateTime(0.25) - day).m_dt, -1.25);
    EXPECT_DOUBLE_EQ((COleDateTime(0.25) - COleDateTimeSpan(0.5)).m_dt, -1.75); // 12-29 18:00
    EXPECT_DOUBLE_EQ((COleDateTime(0.25) - morning).GetTotalDays(), 1.0);
    EXPECT_DOUBLE_EQ((COleDateTime(-1.75) - morning).GetTotalHours(), 12.0);

    // 06:00 comes before 18:00 on the same day, although -1.25 > -1.75.
    EXPECT_TRUE(COleDateTime(-1.25) < COleDateTime(-1.75));
    EXPECT_TRUE(COleDateTime(-1.75) > COleDateTime(-1.25));
    EXPECT_TRUE(COleDateTime(-2.0) < COleDateTime(-1.75));

    COleDateTime dt(2006, 6, 12, 16, 5, 9);
    dt += COleDateTimeSpan(0, 7, 54, 51);
    EXPECT_EQ(dt.Format("%Y-%m-%d %H:%M:%S"), "2006-06-13 00:00:00");
    dt -= COleDateTimeSpan(365, 0, 0, 0);
    EXPECT_EQ(dt.Format("%Y-%m-%d"), "2005-06-13");
    const COleDateTimeSpan diff = COleDateTime(2006, 6, 13, 0, 0, 0) - dt;
    EXPECT_EQ(diff.GetDays(), 365);

    // Leaving the representable range makes the result invalid.
    EXPECT_EQ((COleDateTime(9999, 12, 31, 0, 0, 0) + day).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ((COleDateTime(100, 1, 1, 0, 0, 0) - day).GetStatus(), COleDateTime::invalid);
}

TEST(COleDateTimeTest, StatusPropagatesThroughArithmeticAndComparison)
{
    COleDateTime nullDate;
    nullDate.SetStatus(COleDateTime::null);
    COleDateTime invalidDate(2006, 2, 30, 0, 0, 0);
    const COleDateTime good(2006, 2, 28, 0, 0, 0);
    COleDateTimeSpan invalidSpan;
    invalidSpan.SetStatus(COleDateTimeSpan::invalid);

    EXPECT_EQ((nullDate + COleDateTimeSpan(1.0)).GetStatus(), COleDateTime::null);
    EXPECT_EQ((good + invalidSpan).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ((invalidDate + COleDateTimeSpan(1.0)).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ((good - nullDate).GetStatus(), COleDateTimeSpan::null);
    EXPECT_EQ((good - invalidDate).GetStatus(), COleDateTimeSpan::invalid);

    EXPECT_TRUE(good == COleDateTime(2006, 2, 28, 0, 0, 0));
    EXPECT_TRUE(nullDate == nullDate);
    EXPECT_FALSE(invalidDate == invalidDate);
    EXPECT_FALSE(good == nullDate);
    EXPECT_FALSE(good < invalidDate);
    EXPECT_FALSE(invalidDate < good);
    EXPECT_FALSE(good >= nullDate);
    EXPECT_TRUE(good <= good);

    EXPECT_EQ(nullDate.Format("%Y"), "");
    EXPECT_EQ(invalidDate.Format("%Y"), "Invalid DateTime");
    EXPECT_EQ(invalidDate.Format(), "Invalid DateTime");
    EXPECT_EQ(nullDate.Format(), "");

    COleDateTime reset = invalidDate;
    reset = 36526.5;
    EXPECT_EQ(reset.GetStatus(), COleDateTime::valid);
    EXPECT_EQ(static_cast<DATE>(reset), 36526.5);
}

TEST(COleDateTimeTest, FormattingWithCodesAndTheDefaultForm)
{
    const COleDateTime dt(2006, 6, 12, 16, 5, 9);
    EXPECT_EQ(dt.Format("%d/%m/%Y %H:%M:%S"), "12/06/2006 16:05:09");
    EXPECT_EQ(dt.Format("%A %B %j %%"), "Monday June 163 %");
    EXPECT_EQ(dt.Format(""), "");
    const CString longFormat(std::string(300, 'x').c_str());
    EXPECT_EQ(dt.Format(CString(longFormat + "%Y")).GetLength(), 304);

    EXPECT_EQ(dt.Format(), "6/12/2006 4:05:09 PM");
    EXPECT_EQ(dt.Format(VAR_DATEVALUEONLY), "6/12/2006");
    EXPECT_EQ(dt.Format(VAR_TIMEVALUEONLY), "4:05:09 PM");
    EXPECT_EQ(COleDateTime(2006, 6, 12, 0, 0, 0).Format(), "6/12/2006");
    EXPECT_EQ(COleDateTime(1899, 12, 30, 0, 30, 0).Format(), "12:30:00 AM");
    EXPECT_EQ(COleDateTime(1899, 12, 30, 12, 0, 0).Format(), "12:00:00 PM");
    EXPECT_EQ(COleDateTime(0.0).Format(), "12/30/1899");
}

TEST(COleDateTimeSpanTest, ComponentsTotalsAndSigns)
{
    const auto parts = [](const COleDateTimeSpan& span)
    {
        return std::array<LONG, 4>{span.GetDays(), span.GetHours(), span.GetMinutes(),
                                   span.GetSeconds()};
    };
    const COleDateTimeSpan span(1, 2, 3, 4);
    EXPECT_EQ(span.GetStatus(), COleDateTimeSpan::valid);
    EXPECT_EQ(parts(span), (std::array<LONG, 4>{1, 2, 3, 4}));
    EXPECT_NEAR(span.GetTotalSeconds(), 93784.0, 1e-6);
    EXPECT_NEAR(span.GetTotalMinutes(), 93784.0 / 60.0, 1e-9);
    EXPECT_NEAR(span.GetTotalHours(), 93784.0 / 3600.0, 1e-9);
    EXPECT_NEAR(span.GetTotalDays(), 93784.0 / 86400.0, 1e-12);

    EXPECT_EQ(parts(-COleDateTimeSpan(1.5)), (std::array<LONG, 4>{-1, -12, 0, 0}));
    // Components are of the span rounded to the nearest second.
    EXPECT_EQ(parts(COleDateTimeSpan(2.0 - 0.4 / 86400.0)), (std::array<LONG, 4>{2, 0, 0, 0}));
    EXPECT_EQ(parts(COleDateTimeSpan(0, 0, 0, 59)), (std::array<LONG, 4>{0, 0, 0, 59}));
    EXPECT_EQ(parts(COleDateTimeSpan(0, 25, 61, 61)), (std::array<LONG, 4>{1, 2, 2, 1}));
}

TEST(COleDateTimeSpanTest, RangeArithmeticComparisonAndFormat)
{
    EXPECT_EQ(COleDateTimeSpan(3615897.0).GetStatus(), COleDateTimeSpan::valid);
    EXPECT_EQ(COleDateTimeSpan(3615898.0).GetStatus(), COleDateTimeSpan::invalid);
    EXPECT_EQ(COleDateTimeSpan(std::nan("")).GetStatus(), COleDateTimeSpan::invalid);
    EXPECT_EQ((COleDateTimeSpan(3615897.0) + COleDateTimeSpan(1.0)).GetStatus(),
              COleDateTimeSpan::invalid);

    COleDateTimeSpan sum(0.25);
    sum += COleDateTimeSpan(0.5);
    EXPECT_DOUBLE_EQ(sum.m_span, 0.75);
    sum -= COleDateTimeSpan(1.0);
    EXPECT_DOUBLE_EQ(static_cast<double>(sum), -0.25);

    COleDateTimeSpan nullSpan;
    nullSpan.SetStatus(COleDateTimeSpan::null);
    EXPECT_EQ((sum + nullSpan).GetStatus(), COleDateTimeSpan::null);
    EXPECT_TRUE(nullSpan == nullSpan);
    EXPECT_FALSE(nullSpan < sum);
    EXPECT_TRUE(COleDateTimeSpan(0.1) < COleDateTimeSpan(0.2));
    EXPECT_TRUE(COleDateTimeSpan(0.2) >= COleDateTimeSpan(0.2));

    EXPECT_EQ(COleDateTimeSpan(3, 4, 5, 6).Format("%D days %H:%M:%S %% %Q"), "3 days 04:05:06 % ");
    EXPECT_EQ(nullSpan.Format("%D"), "");
    COleDateTimeSpan invalidSpan(1e9);
    EXPECT_EQ(invalidSpan.Format("%D"), "Invalid DateTimeSpan");
    EXPECT_EQ(COleDateTimeSpan(1.0).Format("x%"), "x");
}

TEST(COleDateTimeTest, ParsesTheCommonDateAndTimeForms)
{
    struct Case
    {
        const char* text;
        const char* expected; // "%Y-%m-%d %H:%M:%S"
    };
    const Case cases[] = {
        {"6/12/2006", "2006-06-12 00:00:00"},
        {"6/12/2006 4:05:09 PM", "2006-06-12 16:05:09"},
        {"  2006-06-12 16:05  ", "2006-06-12 16:05:00"},
        {"12 June 2006 12:00:01 am", "2006-06-12 00:00:01"},
        {"Jun 12, 2006 12:30pm", "2006-06-12 12:30:00"},
        {"16:05:09 6/12/2006", "2006-06-12 16:05:09"},
        {"16:05", "1899-12-30 16:05:00"},
        {"1/2/29", "2029-01-02 00:00:00"},
        {"1/2/30", "1930-01-02 00:00:00"},
        {"12.06.2006", "2006-12-06 00:00:00"},
    };
    for (const Case& c : cases)
    {
        COleDateTime dt;
        EXPECT_TRUE(dt.ParseDateTime(c.text)) << c.text;
        EXPECT_EQ(dt.Format("%Y-%m-%d %H:%M:%S"), c.expected) << c.text;
    }

    COleDateTime dt;
    EXPECT_TRUE(dt.ParseDateTime("6/12/2006 4:05:09 PM", VAR_DATEVALUEONLY));
    EXPECT_EQ(dt.m_dt, COleDateTime(2006, 6, 12, 0, 0, 0).m_dt);
    EXPECT_TRUE(dt.ParseDateTime("6/12/2006 4:05:09 PM", VAR_TIMEVALUEONLY));
    EXPECT_EQ(dt.m_dt, COleDateTime(1899, 12, 30, 16, 5, 9).m_dt);

    for (const char* bad :
         {"", "   ", "hello", "2006", "13/1/2006", "2/30/2006", "25:00", "13:00 PM", "PM",
          "6/12/2006 7/1/2006", "1:2:3:4", "June 2006", "6/12/2006 4:05 XM", "Smarch 1, 2006"})
    {
        COleDateTime parsed(2006, 1, 1, 0, 0, 0);
        EXPECT_FALSE(parsed.ParseDateTime(bad)) << bad;
        EXPECT_EQ(parsed.GetStatus(), COleDateTime::invalid) << bad;
        EXPECT_EQ(parsed.m_dt, 0.0);
    }
    EXPECT_FALSE(dt.ParseDateTime(nullptr));
}
