#pragma once

// Recommends raising a hazard when `event limit` time-stamped events fall within `period`
// minutes. It keeps the most recent events by time value (a late event with an old stamp is the
// first dropped) and tests the span only on the call at which the count reaches the limit: a set
// that fills without a hazard never raises one until Reset. That one-shot test is how the alarm
// handling has always behaved and is kept deliberately.

#include <set>
#include <shared/framework/COleDateTime.h>
#include <shared/platform/Export.h>

class SHARED_API CHazardWatchDog
{
public:
    enum E_Recommendation
    {
        E_RecommendationRaiseHazard = 0,
        E_RecommendationNoHazard = 1,
        E_RecommendationInvalidTime = 2
    };

    CHazardWatchDog() = default;
    CHazardWatchDog(CHazardWatchDog const& other) = default;
    CHazardWatchDog& operator=(CHazardWatchDog const& other) = default;
    virtual ~CHazardWatchDog() = default;

    void SetRules(int eventLimit, int periodMinutes);
    void GetRules(int& eventLimit, int& periodMinutes) const;
    // Drops every held event; returns how many there were.
    int Reset();
    // The name is the interface's own spelling.
    E_Recommendation HeyItHappend(COleDateTime const& when);
    long GetLastHazardPeriodInMinutes() const { return m_lLastHazardPeriodInSec / 60; }

private:
    struct ByTimeValue
    {
        bool operator()(COleDateTime const& a, COleDateTime const& b) const
        {
            return a.m_dt < b.m_dt;
        }
    };

    void SetLastHazardPeriodInSec(long seconds) { m_lLastHazardPeriodInSec = seconds; }

    std::multiset<COleDateTime, ByTimeValue> m_Events;
    int m_iEventCount = 0;
    int m_iEventLimit = -1;
    int m_iPeriodMinutes = -1;
    long m_lLastHazardPeriodInSec = 0;
};
