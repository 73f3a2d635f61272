#include <shared/time/CClock.h>
#include <shared/time/CHazardWatchDog.h>

void CHazardWatchDog::SetRules(int eventLimit, int periodMinutes)
{
    m_iEventLimit = eventLimit;
    m_iPeriodMinutes = periodMinutes;
}

void CHazardWatchDog::GetRules(int& eventLimit, int& periodMinutes) const
{
    eventLimit = m_iEventLimit;
    periodMinutes = m_iPeriodMinutes;
}

int CHazardWatchDog::Reset()
{
    const int dropped = static_cast<int>(m_Events.size());
    m_Events.clear();
    m_iEventCount = 0;
    return dropped;
}

CHazardWatchDog::E_Recommendation CHazardWatchDog::HeyItHappend(COleDateTime const& when)
{
    if (when.GetStatus() != COleDateTime::valid)
        return E_RecommendationInvalidTime;
    ++m_iEventCount;
    m_Events.insert(when);

    if (m_iEventCount == m_iEventLimit)
    {
        const long span = CClock::GetDifferenceInSeconds(*m_Events.begin(), *m_Events.rbegin());
        if (span < static_cast<long>(m_iPeriodMinutes) * 60)
        {
            SetLastHazardPeriodInSec(span);
            Reset();
            return E_RecommendationRaiseHazard;
        }
    }
    // Past the limit: forget the earliest event. The span is not tested again (see the header).
    if (m_iEventCount > m_iEventLimit)
    {
        m_Events.erase(m_Events.begin());
        --m_iEventCount;
    }
    return E_RecommendationNoHazard;
}
