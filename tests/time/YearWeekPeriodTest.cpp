#include <gtest/gtest.h>
#include <shared/time/CChunk.h>
#include <shared/time/CDialogConverter.h>
#include <shared/time/CYearWeekPeriod.h>
#include <vector>

namespace
{

COleDateTime At(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return COleDateTime(y, mo, d, h, mi, s);
}

std::vector<CYearWeekPeriod> Periods(COleDateTime const& from, COleDateTime const& to)
{
    CList<CYearWeekPeriod, CYearWeekPeriod&> list;
    CYearWeekPeriod stale(1999, 1);
    list.AddTail(stale); // must be emptied first
    CYearWeekPeriod::GetInclusivePeriodsList(from, to, list);
    std::vector<CYearWeekPeriod> out;
    for (POSITION pos = list.GetHeadPosition(); pos != nullptr;)
        out.push_back(list.GetNext(pos));
    return out;
}

} // namespace

TEST(YearWeekPeriodTest, WeeksAreSevenDayBlocksFromNewYear)
{
    struct Case
    {
        COleDateTime at;
        int week;
    };
    for (const Case& c :
         {Case{At(2006, 1, 1), 0}, Case{At(2006, 1, 7, 23, 59), 0}, Case{At(2006, 1, 8), 1},
          Case{At(2006, 12, 30), 51}, Case{At(2006, 12, 31, 23, 59, 59), 52},
          Case{At(2008, 12, 29), 51}, Case{At(2008, 12, 30), 52}, Case{At(2008, 12, 31), 52}})
        EXPECT_EQ(CYearWeekPeriod(c.at),
                  CYearWeekPeriod(static_cast<unsigned short>(c.at.GetYear()),
                                  static_cast<unsigned short>(c.week)))
            << c.at.m_dt;

    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(CYearWeekPeriod(invalid), CYearWeekPeriod());
    EXPECT_EQ(CYearWeekPeriod().GetYear(), 0);
    EXPECT_EQ(CYearWeekPeriod().GetWeek(), 65535);

    // Every day of a span of years falls in the period whose bounds contain it.
    for (COleDateTime day = At(1999, 12, 20); day.m_dt < At(2009, 1, 10).m_dt; day.m_dt += 1.0)
    {
        COleDateTime noon = day;
        noon.m_dt += 0.5;
        const CYearWeekPeriod period(noon);
        ASSERT_LE(period.GetWeek(), 52);
        ASSERT_EQ(period.IsDateTimeInPeriod(day), 1) << period.GetFileDescriptor();
        ASSERT_EQ(period.IsDateTimeInPeriod(noon), 1);
        ASSERT_EQ(period.GetNextPeriod().GetStartOfPeriod().m_dt, period.GetEndOfPeriod().m_dt);
        ASSERT_EQ(period.GetNextPeriod().GetPreviousPeriod(), period);
    }
}

TEST(YearWeekPeriodTest, NamesOnDisk)
{
    const CYearWeekPeriod period(2006, 5);
    EXPECT_EQ(period.GetFileDescriptor(), "Yr-2006-Wk-05");
    EXPECT_EQ(period.GetYearDirectory(), "Warden Log 2006\\");
    EXPECT_EQ(period.GetWeekDirectory(), "Warden Log 2006\\Yr-2006-Wk-05\\");
    EXPECT_EQ(CYearWeekPeriod(1999, 0).GetFileDescriptor(), "Yr-1999-Wk-00");

    // Only the year is read back; the week is left for the caller.
    const CYearWeekPeriod parsed(CString("Yr-2006-Wk-23"));
    EXPECT_EQ(parsed.GetYear(), 2006);
    EXPECT_EQ(parsed.GetWeek(), 65535);
    EXPECT_EQ(CYearWeekPeriod(CString("Yr-")).GetYear(), 0);
    EXPECT_EQ(CYearWeekPeriod(CString("")).GetYear(), 0);
}

TEST(YearWeekPeriodTest, OrderingAndStepping)
{
    EXPECT_TRUE(CYearWeekPeriod(2006, 52) <= CYearWeekPeriod(2007, 0));
    EXPECT_TRUE(CYearWeekPeriod(2006, 3) <= CYearWeekPeriod(2006, 3));
    EXPECT_FALSE(CYearWeekPeriod(2006, 4) <= CYearWeekPeriod(2006, 3));
    EXPECT_FALSE(CYearWeekPeriod(2007, 0) <= CYearWeekPeriod(2006, 52));
    EXPECT_NE(CYearWeekPeriod(2006, 3), CYearWeekPeriod(2007, 3));

    const CYearWeekPeriod last(2006, 52);
    EXPECT_EQ(last.GetStartOfPeriod().m_dt, At(2006, 12, 31).m_dt);
    EXPECT_EQ(last.GetEndOfPeriod().m_dt, At(2007, 1, 1).m_dt);
    EXPECT_EQ(CYearWeekPeriod(2008, 52).GetStartOfPeriod().m_dt, At(2008, 12, 30).m_dt);
    EXPECT_EQ(CYearWeekPeriod(2006, 1).GetEndOfPeriod().m_dt, At(2006, 1, 15).m_dt);

    EXPECT_EQ(last.IsDateTimeBeforePeriod(At(2006, 12, 30, 23, 59, 59)), 1);
    EXPECT_EQ(last.IsDateTimeAfterPeriod(At(2007, 1, 1)), 1);
    EXPECT_EQ(last.IsDateTimeInPeriod(At(2007, 1, 1)), 0);
    EXPECT_EQ(last.IsDateTimeInPeriod(At(2006, 12, 31)), 1);
}

TEST(YearWeekPeriodTest, HourSlots)
{
    const CYearWeekPeriod week(2006, 23);
    const COleDateTime start = week.GetStartOfPeriod();
    EXPECT_EQ(week.GetHourIndex(start), 0);
    COleDateTime t = start;
    t.m_dt += 1.0 / 24.0;
    EXPECT_EQ(week.GetHourIndex(t), 1);
    // Built from fields, an hour boundary can land a hair early; it still counts as that hour.
    EXPECT_EQ(week.GetHourIndex(At(2006, 6, 11, 5)), 5);
    EXPECT_EQ(week.GetHourIndex(At(2006, 6, 11, 4, 59, 59)), 4);
    EXPECT_EQ(week.GetHourIndex(At(2006, 6, 17, 23, 59, 59)), 167);
    EXPECT_EQ(week.GetHourIndex(At(2006, 6, 18)), -1);
    EXPECT_EQ(week.GetHourIndex(At(2006, 6, 10, 23)), CYearWeekPeriod::GetInvalidHourIndex());

    EXPECT_EQ(week.GetStartDayIndex(At(2006, 6, 13, 17, 30)), 48);
    EXPECT_EQ(week.GetStartDayIndex(At(2006, 6, 18, 1)), -1);
    EXPECT_EQ(week.GetEndDateTimeOfHourIndex(0).m_dt, At(2006, 6, 11, 1).m_dt);
    EXPECT_NEAR(week.GetEndDateTimeOfHourIndex(167).m_dt, week.GetEndOfPeriod().m_dt, 1e-9);

    const CYearWeekPeriod leapLast(2008, 52);
    EXPECT_EQ(leapLast.GetHourIndex(At(2008, 12, 31, 23, 30)), 47);
}

TEST(YearWeekPeriodTest, InclusiveLists)
{
    const auto turn = Periods(At(2006, 12, 31), At(2007, 1, 2));
    ASSERT_EQ(turn.size(), 2u);
    EXPECT_EQ(turn[0], CYearWeekPeriod(2006, 52));
    EXPECT_EQ(turn[1], CYearWeekPeriod(2007, 0));
    // 30 December of a common year is day 364: still week 51.
    const auto longer = Periods(At(2006, 12, 30), At(2007, 1, 2));
    ASSERT_EQ(longer.size(), 3u);
    EXPECT_EQ(longer[0], CYearWeekPeriod(2006, 51));
    EXPECT_EQ(longer[1], CYearWeekPeriod(2006, 52));

    const auto backwards = Periods(At(2007, 1, 2), At(2006, 1, 2));
    ASSERT_EQ(backwards.size(), 1u);
    EXPECT_EQ(backwards[0], CYearWeekPeriod(2007, 0));

    EXPECT_EQ(Periods(At(2006, 1, 1), At(2006, 12, 31, 12)).size(), 53u);
    EXPECT_EQ(Periods(At(2006, 3, 1), At(2006, 3, 1, 5)).size(), 1u);
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(Periods(invalid, At(2006, 3, 1)).size(), 1u);
    EXPECT_EQ(Periods(At(2006, 3, 1), invalid).size(), 1u);
}

TEST(YearWeekPeriodTest, DialogAnalysisPeriod)
{
    CChunk span(At(2006, 6, 12, 10), At(2006, 6, 14));
    EXPECT_TRUE(CDialogConverter::ConvertToDialogAnalysisPeriod(span));
    EXPECT_EQ(span.GetEnd().m_dt, At(2006, 6, 13, 23, 59, 59).m_dt);
    EXPECT_EQ(span.GetStart().m_dt, At(2006, 6, 12, 10).m_dt);

    CChunk notMidnight(At(2006, 6, 12, 10), At(2006, 6, 13, 8));
    EXPECT_FALSE(CDialogConverter::ConvertToDialogAnalysisPeriod(notMidnight));
    EXPECT_EQ(notMidnight.GetEnd().m_dt, At(2006, 6, 13, 8).m_dt);

    CChunk sameDay(At(2006, 6, 12), At(2006, 6, 12));
    EXPECT_FALSE(CDialogConverter::ConvertToDialogAnalysisPeriod(sameDay));
    CChunk oneDay(At(2006, 6, 12), At(2006, 6, 13));
    EXPECT_TRUE(CDialogConverter::ConvertToDialogAnalysisPeriod(oneDay));
    EXPECT_EQ(oneDay.GetEnd().GetDay(), 12);
}
