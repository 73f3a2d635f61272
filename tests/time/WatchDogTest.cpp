#include <gtest/gtest.h>
#include <shared/time/CHazardWatchDog.h>
#include <shared/time/CSimpleWatchDog.h>

namespace
{
COleDateTime At(int h, int mi, int s = 0)
{
    return COleDateTime(2006, 6, 12, h, mi, s);
}
} // namespace

TEST(WatchDogTest, SimpleWatchDogCountsToItsLimit)
{
    CSimpleWatchDog fresh;
    EXPECT_EQ(fresh.GetVerdict(), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(fresh.HeyItHappend(0), CSimpleWatchDog::E_VerdictLimitReached);

    CSimpleWatchDog dog;
    dog.SetRules(3);
    EXPECT_EQ(dog.HeyItHappend(1), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(dog.HeyItHappend(1), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(dog.GetVerdict(), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(dog.HeyItHappend(1), CSimpleWatchDog::E_VerdictLimitReached);
    EXPECT_EQ(dog.HeyItHappend(1), CSimpleWatchDog::E_VerdictLimitReached);
    // Below the limit again, the call says so, but the verdict holds until Reset.
    EXPECT_EQ(dog.HeyItHappend(-3), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(dog.GetVerdict(), CSimpleWatchDog::E_VerdictLimitReached);

    dog.Reset();
    EXPECT_EQ(dog.GetVerdict(), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(dog.HeyItHappend(2), CSimpleWatchDog::E_VerdictBelowLimit);
    EXPECT_EQ(dog.HeyItHappend(5), CSimpleWatchDog::E_VerdictLimitReached);
}

TEST(WatchDogTest, HazardWhenEnoughEventsFallInThePeriod)
{
    CHazardWatchDog dog;
    dog.SetRules(3, 10);
    EXPECT_EQ(dog.HeyItHappend(At(10, 0)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(At(10, 4)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(At(10, 9)), CHazardWatchDog::E_RecommendationRaiseHazard);
    EXPECT_EQ(dog.GetLastHazardPeriodInMinutes(), 9);
    // After a hazard the watch starts afresh.
    EXPECT_EQ(dog.Reset(), 0);
    EXPECT_EQ(dog.HeyItHappend(At(10, 10)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(At(10, 11)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(At(10, 12, 59)), CHazardWatchDog::E_RecommendationRaiseHazard);
    EXPECT_EQ(dog.GetLastHazardPeriodInMinutes(), 2); // 179 s

    // Exactly the period is not within it.
    dog.HeyItHappend(At(11, 0));
    dog.HeyItHappend(At(11, 5));
    EXPECT_EQ(dog.HeyItHappend(At(11, 10)), CHazardWatchDog::E_RecommendationNoHazard);
}

TEST(WatchDogTest, HazardTestIsMadeOnlyWhenTheLimitIsReached)
{
    CHazardWatchDog dog;
    dog.SetRules(3, 10);
    EXPECT_EQ(dog.HeyItHappend(At(10, 0)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(At(10, 6)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(At(10, 11)), CHazardWatchDog::E_RecommendationNoHazard);
    // 10:06, 10:11, 10:12 would be within ten minutes, but no test is made past the limit.
    EXPECT_EQ(dog.HeyItHappend(At(10, 12)), CHazardWatchDog::E_RecommendationNoHazard);
    for (int m = 13; m < 20; ++m)
        EXPECT_EQ(dog.HeyItHappend(At(10, m)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.Reset(), 3);
    dog.HeyItHappend(At(10, 20));
    dog.HeyItHappend(At(10, 21));
    EXPECT_EQ(dog.HeyItHappend(At(10, 22)), CHazardWatchDog::E_RecommendationRaiseHazard);

    // Past the limit the earliest time value is dropped, even one that arrived last.
    CHazardWatchDog kept;
    kept.SetRules(3, 10);
    kept.HeyItHappend(At(10, 0));
    kept.HeyItHappend(At(10, 30));
    kept.HeyItHappend(At(10, 40));
    kept.HeyItHappend(At(9, 0));
    EXPECT_EQ(CHazardWatchDog(kept).Reset(), 3); // copies hold the events
}

TEST(WatchDogTest, InvalidTimesAndDefaultRules)
{
    CHazardWatchDog fresh;
    for (int m = 0; m < 5; ++m)
    {
        EXPECT_EQ(fresh.HeyItHappend(At(10, m)), CHazardWatchDog::E_RecommendationNoHazard);
        EXPECT_EQ(CHazardWatchDog(fresh).Reset(), 0); // nothing held between calls
    }

    CHazardWatchDog dog;
    dog.SetRules(2, 10);
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(dog.HeyItHappend(At(10, 0)), CHazardWatchDog::E_RecommendationNoHazard);
    EXPECT_EQ(dog.HeyItHappend(invalid), CHazardWatchDog::E_RecommendationInvalidTime);
    EXPECT_EQ(dog.HeyItHappend(At(10, 1)), CHazardWatchDog::E_RecommendationRaiseHazard);
}
