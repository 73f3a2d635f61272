#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>
#include <random>
#include <shared/platform/SystemTime.h>

using namespace shared::platform;

namespace
{

void ExpectMatchesGmtime(std::int64_t ms)
{
    const std::int64_t secs = ms >= 0 ? ms / 1000 : -((-ms + 999) / 1000);
    const auto t = static_cast<std::time_t>(secs);
    std::tm tm{};
    ASSERT_NE(::gmtime_r(&t, &tm), nullptr);
    const SYSTEMTIME st = BreakDownMilliseconds(ms);
    EXPECT_EQ(st.wYear, tm.tm_year + 1900) << ms;
    EXPECT_EQ(st.wMonth, tm.tm_mon + 1) << ms;
    EXPECT_EQ(st.wDay, tm.tm_mday) << ms;
    EXPECT_EQ(st.wDayOfWeek, tm.tm_wday) << ms;
    EXPECT_EQ(st.wHour, tm.tm_hour) << ms;
    EXPECT_EQ(st.wMinute, tm.tm_min) << ms;
    EXPECT_EQ(st.wSecond, tm.tm_sec) << ms;
    EXPECT_EQ(st.wMilliseconds, ms - secs * 1000) << ms;

    std::int64_t back = 0;
    ASSERT_TRUE(ToMilliseconds(st, back));
    EXPECT_EQ(back, ms);
    EXPECT_EQ(static_cast<std::time_t>(secs), ::timegm(&tm));
}

} // namespace

TEST(SystemTimeTest, BreakDownAgreesWithTheCLibraryAcrossCenturies)
{
    // Epoch, leap days, century rules and times before 1970.
    for (const std::int64_t ms :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{951782400000}, std::int64_t{951868799999},
          std::int64_t{4107542400000}, std::int64_t{-2208988800000}, std::int64_t{-62135596800000},
          std::int64_t{253402300799999}})
    {
        ExpectMatchesGmtime(ms);
    }
    std::mt19937_64 random(20061206);
    std::uniform_int_distribution<std::int64_t> any(-59000000000000, 253402300799999);
    for (int i = 0; i < 5000; ++i)
    {
        ExpectMatchesGmtime(any(random));
    }
}

TEST(SystemTimeTest, BuildsAndValidatesBrokenDownTimes)
{
    EXPECT_EQ(UtcMilliseconds(1970, 1, 1), 0);
    EXPECT_EQ(UtcMilliseconds(2000, 1, 1, 0, 0, 1), 946684801000);
    EXPECT_EQ(UtcMilliseconds(1969, 12, 31, 23, 59, 59, 999), -1);

    std::int64_t ms = 0;
    SYSTEMTIME st{2004, 2, 0, 29, 23, 59, 59, 999};
    EXPECT_TRUE(ToMilliseconds(st, ms));
    st.wYear = 2100; // not a leap year
    EXPECT_FALSE(ToMilliseconds(st, ms));
    for (SYSTEMTIME bad :
         {SYSTEMTIME{2006, 0, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{2006, 13, 0, 1, 0, 0, 0, 0},
          SYSTEMTIME{2006, 4, 0, 31, 0, 0, 0, 0}, SYSTEMTIME{2006, 4, 0, 0, 0, 0, 0, 0},
          SYSTEMTIME{2006, 4, 0, 1, 24, 0, 0, 0}, SYSTEMTIME{2006, 4, 0, 1, 0, 60, 0, 0},
          SYSTEMTIME{2006, 4, 0, 1, 0, 0, 60, 0}, SYSTEMTIME{2006, 4, 0, 1, 0, 0, 0, 1000}})
    {
        EXPECT_FALSE(ToMilliseconds(bad, ms));
    }
}

TEST(SystemTimeTest, ManualSourceDrivesEveryReadingAndRecordsSets)
{
    const std::int64_t start = UtcMilliseconds(2006, 6, 12, 23, 30, 9, 42);
    CManualSystemTimeSource fake(start, 3600);
    {
        CScopedSystemTimeSource use(fake);
        EXPECT_EQ(&GetSystemTimeSource(), &fake);
        EXPECT_EQ(GetUtcMilliseconds(), start);

        const SYSTEMTIME utc = GetSystemTime();
        EXPECT_EQ(utc.wDay, 12);
        EXPECT_EQ(utc.wHour, 23);
        EXPECT_EQ(utc.wMilliseconds, 42);
        EXPECT_EQ(utc.wDayOfWeek, 1); // a Monday

        const SYSTEMTIME local = GetLocalTime(); // one hour ahead crosses midnight
        EXPECT_EQ(local.wDay, 13);
        EXPECT_EQ(local.wHour, 0);
        EXPECT_EQ(local.wMinute, 30);
        EXPECT_EQ(local.wDayOfWeek, 2);

        fake.Advance(1000);
        EXPECT_EQ(GetSystemTime().wSecond, 10);

        const SYSTEMTIME target{2007, 1, 0, 2, 3, 4, 5, 0};
        EXPECT_TRUE(SetSystemTime(target));
        EXPECT_EQ(fake.GetSetCount(), 1);
        EXPECT_EQ(fake.GetLastSetUtcMilliseconds(), UtcMilliseconds(2007, 1, 2, 3, 4, 5));
        EXPECT_EQ(GetSystemTime().wYear, 2007);

        fake.SetRefuseSet(true);
        EXPECT_FALSE(SetSystemTime(target));
        EXPECT_EQ(fake.GetSetCount(), 2);

        // An impossible time never reaches the source.
        EXPECT_FALSE(SetSystemTime(SYSTEMTIME{2007, 2, 0, 30, 0, 0, 0, 0}));
        EXPECT_EQ(fake.GetSetCount(), 2);
    }
    EXPECT_EQ(&GetSystemTimeSource(), &GetRealSystemTimeSource());
}

TEST(SystemTimeTest, NestedOverridesRestoreInOrder)
{
    CManualSystemTimeSource outer(1000);
    CManualSystemTimeSource inner(2000);
    {
        CScopedSystemTimeSource a(outer);
        {
            CScopedSystemTimeSource b(inner);
            EXPECT_EQ(GetUtcMilliseconds(), 2000);
        }
        EXPECT_EQ(GetUtcMilliseconds(), 1000);
    }
    EXPECT_EQ(&GetSystemTimeSource(), &GetRealSystemTimeSource());
}

TEST(SystemTimeTest, RealSourceReadsTheOperatingSystemClock)
{
    // Reading only: tests never set the real clock.
    const std::int64_t before = static_cast<std::int64_t>(std::time(nullptr)) * 1000;
    const std::int64_t now = GetRealSystemTimeSource().GetUtcMilliseconds();
    const std::int64_t after = static_cast<std::int64_t>(std::time(nullptr)) * 1000 + 1000;
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);

#ifndef _WIN32 // the C library has no offset field there; tests/windows checks the zone
    const std::time_t t = std::time(nullptr);
    std::tm local{};
    ASSERT_NE(::localtime_r(&t, &local), nullptr);
    EXPECT_EQ(GetRealSystemTimeSource().GetLocalOffsetSeconds(t), local.tm_gmtoff);
#endif
}
