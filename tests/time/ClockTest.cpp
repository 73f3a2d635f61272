#include "../platform/TzEnvironment.h"
#include "../support/Scratch.h"

#include <atomic>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <shared/foundation/CLog.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/TimeZoneRules.h>
#include <shared/time/CClock.h>
#include <shared/time/NCivilTime.h>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using shared::platform::CManualSystemTimeSource;
using shared::platform::CScopedSystemTimeSource;
using shared::platform::UtcMilliseconds;

namespace
{

constexpr double kSecond = 1.0 / 86400.0;

COleDateTime At(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return COleDateTime(y, mo, d, h, mi, s);
}

COleDateTime Plus(COleDateTime dt, double seconds)
{
    dt.m_dt += seconds * kSecond;
    return dt;
}

// A fake PC clock, a private log file and a clean correction for every test.
class ClockTest : public ::testing::Test
{
protected:
    ClockTest() : m_pc(UtcMilliseconds(2006, 6, 12, 10, 0, 0), 3600), m_use(m_pc)
    {
        CLog::SetLogFileName(CString(m_logDir.File("Application.log").c_str()));
        ClearCorrection();
    }
    ~ClockTest() override
    {
        ClearCorrection();
        CLog::SetLogFileName(CString());
    }

    void ClearCorrection()
    {
        CClock::NotifyCurrentUTCDateTime(PcUtc());
        ASSERT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, PcUtc().m_dt, 1e-9);
    }

    COleDateTime PcUtc() const
    {
        const SYSTEMTIME st = shared::platform::GetSystemTime();
        COleDateTime dt(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
        dt.m_dt += st.wMilliseconds / 86400000.0;
        return dt;
    }

    std::string Log() const
    {
        return test_support::ScratchFolder::ReadText(m_logDir.File("Application.log"));
    }

    CManualSystemTimeSource m_pc;
    CScopedSystemTimeSource m_use;
    test_support::ScratchFolder m_logDir;
};

} // namespace

TEST_F(ClockTest, NotificationsWithinAnHourCorrectEveryReading)
{
    const COleDateTime pc = At(2006, 6, 12, 10);
    CClock::NotifyCurrentUTCDateTime(Plus(pc, 59 * 60));
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, Plus(pc, 59 * 60).m_dt, 1e-9);
    EXPECT_NEAR(CClock::GetLocalDateTime().m_dt, Plus(pc, 60 * 60 + 59 * 60).m_dt, 1e-9);
    EXPECT_EQ(CClock::GetUTCCurrentDate().m_dt, At(2006, 6, 12).m_dt);
    EXPECT_NEAR(CClock::GetUTCCurrentTime().m_dt, (10 * 60 + 59) / 1440.0, 1e-9);
    EXPECT_EQ(CClock::GetLocalDate().m_dt, At(2006, 6, 12).m_dt);

    // The PC clock moves on; the correction moves with it.
    m_pc.Advance(30000);
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, Plus(pc, 59 * 60 + 30).m_dt, 1e-9);

    // 61 minutes off: ignored and logged.
    CClock::NotifyCurrentUTCDateTime(Plus(PcUtc(), -61 * 60));
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, Plus(pc, 59 * 60 + 30).m_dt, 1e-9);
    EXPECT_NE(
        Log().find("CClock::NotifyCurrentUTCDateTime() Greater than an hour, dblDifference=-0.042"),
        std::string::npos)
        << Log();

    // An invalid time changes nothing and logs nothing.
    const auto logSize = Log().size();
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    CClock::NotifyCurrentUTCDateTime(invalid);
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, Plus(pc, 59 * 60 + 30).m_dt, 1e-9);
    EXPECT_EQ(Log().size(), logSize);

    CClock::SyncEpochDateTime();
    EXPECT_NEAR(CClock::GetEpochDateTime().m_dt, CClock::GetLocalDateTime().m_dt, 1e-9);
    EXPECT_EQ(CClock::GetEpochDate().m_dt, At(2006, 6, 12).m_dt);
    EXPECT_NEAR(CClock::GetEpochTime().m_dt, CClock::GetLocalTime().m_dt, 1e-9);
}

TEST_F(ClockTest, SyncSetsThePcClockOnlyBetweenTwentySecondsAndAnHour)
{
    // At the start of the day count the difference is exactly the tolerance, with no rounding.
    m_pc.SetNow(UtcMilliseconds(1899, 12, 30));
    COleDateTime trusted = PcUtc();
    trusted.m_dt += CClock::s_dblSystemClockTolerance;
    CClock::NotifyCurrentUTCDateTime(trusted);
    CClock::SyncPCWithUTCDateTime();
    EXPECT_EQ(m_pc.GetSetCount(), 0);
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, trusted.m_dt, 1e-12); // still corrected

    m_pc.SetNow(UtcMilliseconds(2006, 6, 12, 10, 0, 0, 400));
    CClock::NotifyCurrentUTCDateTime(Plus(PcUtc(), 21));
    CClock::SyncPCWithUTCDateTime();
    ASSERT_EQ(m_pc.GetSetCount(), 1);
    // Whole seconds of the corrected time (10:00:21.4 breaks down to 10:00:21), milliseconds 0.
    EXPECT_EQ(m_pc.GetLastSetUtcMilliseconds(), UtcMilliseconds(2006, 6, 12, 10, 0, 21));
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, PcUtc().m_dt, 1e-12); // cleared
    EXPECT_NE(Log().find("CClock::SyncPCWithUTCDateTime() Systen Clock Reset"), std::string::npos);
    CClock::SyncPCWithUTCDateTime();
    EXPECT_EQ(m_pc.GetSetCount(), 1);

    // A refused set still clears the difference and logs the reset.
    m_pc.SetRefuseSet(true);
    CClock::NotifyCurrentUTCDateTime(Plus(PcUtc(), -30 * 60));
    CClock::SyncPCWithUTCDateTime();
    EXPECT_EQ(m_pc.GetSetCount(), 2);
    EXPECT_NEAR(CClock::GetUTCCurrentDateTime().m_dt, PcUtc().m_dt, 1e-12);
}

TEST_F(ClockTest, NotificationAndSyncOnAnotherThreadStayConsistent)
{
    // Writers store differences of 1..50 s; readers must only ever see PC time plus one of them.
    std::atomic<bool> stop{false};
    std::atomic<int> bad{0};
    const double pc = PcUtc().m_dt;
    CClock::NotifyCurrentUTCDateTime(Plus(COleDateTime(pc), 1));
    std::vector<std::thread> readers;
    for (int r = 0; r < 3; ++r)
        readers.emplace_back(
            [&]
            {
                while (!stop)
                {
                    const double seconds = (CClock::GetUTCCurrentDateTime().m_dt - pc) * 86400.0;
                    const double local = (CClock::GetLocalDateTime().m_dt - pc) * 86400.0 - 3600.0;
                    CClock::SyncEpochDateTime();
                    CClock::GetEpochDateTime();
                    for (double s : {seconds, local})
                        bad += s < 0.999 || s > 50.001 || std::fabs(s - std::round(s)) > 1e-3;
                }
            });
    const auto write = [pc](int w)
    {
        for (int i = 0; i < 2000; ++i)
            CClock::NotifyCurrentUTCDateTime(Plus(COleDateTime(pc), 1 + (i + w) % 50));
    };
    std::thread first(write, 0), second(write, 1);
    first.join();
    second.join();
    stop = true;
    for (auto& reader : readers)
        reader.join();
    EXPECT_EQ(bad.load(), 0);
}

TEST_F(ClockTest, MillisecondReadingsAreUncorrected)
{
    m_pc.SetNow(UtcMilliseconds(2006, 6, 12, 15, 5, 9, 42));
    CClock::NotifyCurrentUTCDateTime(Plus(PcUtc(), 120));
    EXPECT_EQ(CClock::GetUTCCurrentDateTimeInMilliseconds(), 1150124709042LL);
    EXPECT_EQ(CClock::GetCurrentTimeStringWithMilliseconds(), "16:05:09.042");
}

TEST_F(ClockTest, OffsetsFollowTheZoneInForceNow)
{
    shared::platform::ScopedTimeZoneRules zone(
        *shared::platform::TimeZoneRules::FromPosixString("CET-1CEST,M3.5.0,M10.5.0/3"));
    EXPECT_EQ(CClock::GetLocalToUTCMappingInMinutes(), -120); // June: daylight time
    // Today's offset is applied whatever the date converted.
    EXPECT_NEAR(CClock::ConvertFromUTCToLocal(At(2006, 1, 12, 10)).m_dt, At(2006, 1, 12, 12).m_dt,
                1e-9);
    EXPECT_NEAR(CClock::ConvertFromLocalToUTC(At(2006, 1, 12, 12)).m_dt, At(2006, 1, 12, 10).m_dt,
                1e-9);
    m_pc.SetNow(UtcMilliseconds(2006, 1, 12, 10));
    EXPECT_EQ(CClock::GetLocalToUTCMappingInMinutes(), -60);

    COleDateTime invalid = At(2006, 1, 12, 12);
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(CClock::ConvertFromUTCToLocal(invalid).m_dt, invalid.m_dt);

    shared::platform::ScopedTimeZoneRules none(
        *shared::platform::TimeZoneRules::FromPosixString("<-0330>3:30"));
    EXPECT_EQ(CClock::GetLocalToUTCMappingInMinutes(), 210);
}

TEST_F(ClockTest, ZoneQueryFailureLeavesTheMappingAtZero)
{
    shared::platform::OverrideTimeZoneRules(std::nullopt);
    TzEnvironment env("not a zone");
    EXPECT_EQ(CClock::GetLocalToUTCMappingInMinutes(), 0);
}

TEST_F(ClockTest, SmartConversionsUseTheRulesOfTheDate)
{
    {
        shared::platform::ScopedTimeZoneRules zone(
            *shared::platform::TimeZoneRules::FromPosixString("GMT0BST,M3.5.0/1,M10.5.0"));
        CClock::InitialiseTimezone();
        // Change instants: 26 March 2006 01:00 UTC and 29 October 01:00 UTC.
        const std::pair<COleDateTime, COleDateTime> utcToLocal[] = {
            {At(2006, 7, 12, 12), At(2006, 7, 12, 13)},
            {At(2006, 1, 12, 12), At(2006, 1, 12, 12)},
            {At(2006, 3, 26, 0, 59, 59), At(2006, 3, 26, 0, 59, 59)},
            {At(2006, 3, 26, 1), At(2006, 3, 26, 2)},
            {At(2006, 10, 29, 0, 59, 59), At(2006, 10, 29, 1, 59, 59)},
            {At(2006, 10, 29, 1), At(2006, 10, 29, 1)}};
        for (const auto& [utc, local] : utcToLocal)
            EXPECT_EQ(CClock::ConvertSmartlyFromUTCToLocal(utc).m_dt, local.m_dt) << utc.m_dt;
        EXPECT_EQ(CClock::ConvertSmartlyFromLocalToUTC(At(2006, 7, 12, 13)).m_dt,
                  At(2006, 7, 12, 12).m_dt);
        EXPECT_EQ(CClock::ConvertUTCTime(At(2006, 7, 12, 12), true).m_dt, At(2006, 7, 12, 13).m_dt);
        EXPECT_EQ(CClock::ConvertUTCTime(At(2006, 7, 12, 12), false).m_dt,
                  At(2006, 7, 12, 12).m_dt);

        // Time-only values, years outside 1970..2105 and invalid values pass unchanged.
        for (const COleDateTime& same :
             {CClock::MakeTimePartFromSeconds(3661), At(1969, 7, 1), At(2106, 7, 1)})
            EXPECT_EQ(CClock::ConvertSmartlyFromUTCToLocal(same).m_dt, same.m_dt);
        COleDateTime invalid = At(2006, 7, 12, 12);
        invalid.SetStatus(COleDateTime::invalid);
        EXPECT_EQ(CClock::ConvertSmartlyFromUTCToLocal(invalid).GetStatus(), COleDateTime::invalid);
        EXPECT_EQ(CClock::ConvertUTCTime(invalid, true).m_dt, invalid.m_dt);
    }
    shared::platform::ScopedTimeZoneRules utc(shared::platform::TimeZoneRules{});
    CClock::InitialiseTimezone();
}

TEST_F(ClockTest, ZoneNamesComeFromTheZoneRules)
{
    EXPECT_EQ(CClock::GetTimeZoneString(0), "UTC (Universal Time)");
    EXPECT_EQ(CClock::GetShortTimeZoneString(0), "UTC");
    // Installed rules win over a host zone that differs.
    const TzEnvironment env("UTC0");
    const shared::platform::ScopedTimeZoneRules zone(
        *shared::platform::TimeZoneRules::FromPosixString("CET-1CEST,M3.5.0,M10.5.0/3"));
    m_pc.SetNow(UtcMilliseconds(2006, 6, 12, 10));
    EXPECT_EQ(CClock::GetShortTimeZoneString(1), "CEST");
    EXPECT_EQ(CClock::GetTimeZoneString(1), "+0200");
    m_pc.SetNow(UtcMilliseconds(2006, 1, 12, 10));
    EXPECT_EQ(CClock::GetShortTimeZoneString(1), "CET");
    EXPECT_EQ(CClock::GetTimeZoneString(1), "+0100");
    const shared::platform::ScopedTimeZoneRules west(
        *shared::platform::TimeZoneRules::FromPosixString("<-0330>3:30"));
    EXPECT_EQ(CClock::GetTimeZoneString(1), "-0330");
    const shared::platform::ScopedTimeZoneRules utc(shared::platform::TimeZoneRules{});
    EXPECT_EQ(CClock::GetTimeZoneString(1), "+0000");
}

TEST(ClockArithmeticTest, SecondCounts)
{
    EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(At(1970, 1, 1)), 0u);
    EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(At(2006, 6, 12, 10, 30, 5)), 1150108205u);
    EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(At(2105, 12, 31, 23, 59, 59)),
              4291747199u + 86400u); // the day count runs one day ahead after 2100
    EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(At(2106, 1, 1)), 0u);
    EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(At(1969, 12, 31, 23, 59, 59)), 0u);
    COleDateTime invalid = At(2006, 6, 12);
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(invalid), 0u);

    for (unsigned long t : {0UL, 1150108205UL, 4102444799UL, 951782400UL})
    {
        const COleDateTime dt = CClock::ConvertDWORD2COleDateTime(t);
        ASSERT_EQ(dt.GetStatus(), COleDateTime::valid) << t;
        EXPECT_EQ(CClock::ConvertCOleDateTime2DWORD(dt), t);
    }
    EXPECT_EQ(CClock::ConvertDWORD2COleDateTime(1150108205UL).m_dt,
              At(2006, 6, 12, 10, 30, 5).m_dt);

    EXPECT_EQ(CClock::GenerateTimeStampId(At(2000, 1, 1, 0, 0, 1)), 1u);
    EXPECT_EQ(CClock::GenerateTimeStampId(At(2006, 6, 12, 10, 30, 5)), 1150108205u - 946684800u);
    EXPECT_EQ(CClock::GenerateTimeStampId(At(1999, 12, 31, 23, 59, 59)), 0xFFFFFFFFu); // wraps
}

TEST(ClockArithmeticTest, PartsOfADateTime)
{
    const COleDateTime dt = At(2006, 6, 12, 10, 30, 5);
    EXPECT_EQ(CClock::GetDateOnly(dt).m_dt, At(2006, 6, 12).m_dt);
    EXPECT_NEAR(CClock::GetTimeOnly(dt).m_dt, (10 * 3600 + 30 * 60 + 5) * kSecond, 1e-9);
    EXPECT_NEAR(CClock::CombineDateAndTime(At(2001, 2, 3, 4), dt).m_dt,
                At(2001, 2, 3, 10, 30, 5).m_dt, 1e-9);
    EXPECT_EQ(CClock::GetMinuteOfDay(dt), 630);
    EXPECT_EQ(CClock::GetSecondsInTimePart(dt), 37805);

    EXPECT_EQ(CClock::GetMidnight(At(2006, 6, 12)).m_dt, At(2006, 6, 12).m_dt);
    EXPECT_EQ(CClock::GetMidnight(At(2006, 6, 12, 0, 0, 1)).m_dt, At(2006, 6, 13).m_dt);
    EXPECT_EQ(CClock::GetNextMidnight(At(2006, 6, 12)).m_dt, At(2006, 6, 13).m_dt);
    COleDateTime invalid = At(2006, 6, 12, 5);
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(CClock::GetMidnight(invalid).GetStatus(), COleDateTime::invalid);
    EXPECT_TRUE(CClock::IsMidnight(At(2006, 6, 12)));
    EXPECT_FALSE(CClock::IsMidnight(dt));

    COleDateTime end = dt;
    CClock::SetTimeToEndOfDay(end);
    EXPECT_EQ(end.m_dt, At(2006, 6, 12, 23, 59, 59).m_dt);

    const COleDateTime made = CClock::MakeTimePartFromSeconds(3661);
    EXPECT_EQ(made.m_dt, At(1899, 12, 30, 1, 1, 1).m_dt);
    EXPECT_EQ(CClock::MakeTimePartFromSeconds(86399).GetStatus(), COleDateTime::valid);
    EXPECT_EQ(CClock::MakeTimePartFromSeconds(86400).GetStatus(), COleDateTime::invalid);

    // Equalize rounds to the nearest whole second.
    EXPECT_EQ(CClock::Equalize(Plus(dt, 0.4)).m_dt, dt.m_dt);
    EXPECT_EQ(CClock::Equalize(Plus(dt, 0.6)).m_dt, At(2006, 6, 12, 10, 30, 6).m_dt);
}

TEST(ClockArithmeticTest, Comparisons)
{
    const COleDateTime t = At(2006, 6, 12, 10);
    const COleDateTime laterDay = At(2006, 6, 20, 9);
    EXPECT_TRUE(CClock::Is1stTimeAfter2ndTime(t, t));
    EXPECT_FALSE(CClock::Is1stTimeBefore2ndTime(t, t));
    EXPECT_TRUE(CClock::Is1stTimeBefore2ndTime(laterDay, t)); // dates ignored
    EXPECT_FALSE(CClock::Is1stTimeAfter2ndTime(laterDay, t));
    EXPECT_TRUE(CClock::Is1stDateAfter2ndDate(t, t));
    EXPECT_FALSE(CClock::Is1stDateBefore2ndDate(t, t));
    EXPECT_TRUE(CClock::Is1stDateBefore2ndDate(t, laterDay));
    EXPECT_FALSE(CClock::Is1stDateAfter2ndDate(t, laterDay));

    EXPECT_TRUE(CClock::AreTimesSameToOneSecond(t, Plus(At(2001, 1, 1, 10), 0.1)));
    EXPECT_FALSE(CClock::AreTimesSameToOneSecond(t, Plus(t, 0.2)));
    EXPECT_NEAR(CClock::GetTimeDifference(t, laterDay), 1.0 / 24.0, 1e-9);

    EXPECT_EQ(CClock::GetDifferenceInSeconds(t, Plus(t, 10)), 10);
    EXPECT_EQ(CClock::GetDifferenceInSeconds(Plus(t, 10), t), -10);
    EXPECT_EQ(CClock::GetDifferenceInSeconds(t, Plus(t, 10.6)), 10); // truncated, not rounded
    EXPECT_EQ(CClock::GetDifferenceInSeconds(t, At(2006, 6, 13, 10)), 86400);
    for (int s = 0; s < 200000; s += 997)
        ASSERT_EQ(CClock::GetDifferenceInSeconds(t, Plus(t, s)), s);
}
