#include <shared/time/CSimpleWatchDog.h>

void CSimpleWatchDog::Reset()
{
    m_iCount = 0;
    m_eVerdict = E_VerdictBelowLimit;
}

CSimpleWatchDog::E_Verdict CSimpleWatchDog::HeyItHappend(int occurrences)
{
    m_iCount += occurrences;
    if (m_iCount < m_iLimit)
        return E_VerdictBelowLimit;
    m_eVerdict = E_VerdictLimitReached;
    return E_VerdictLimitReached;
}
