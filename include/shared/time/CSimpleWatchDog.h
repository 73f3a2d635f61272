#pragma once

// Adds up occurrences until a limit is reached; the verdict then stays "reached" until Reset.

#include <shared/platform/Export.h>

class SHARED_API CSimpleWatchDog
{
public:
    enum E_Verdict
    {
        E_VerdictLimitReached = 0,
        E_VerdictBelowLimit = 1
    };

    CSimpleWatchDog() = default;
    CSimpleWatchDog(CSimpleWatchDog const& other) = default;
    CSimpleWatchDog& operator=(CSimpleWatchDog const& other) = default;
    virtual ~CSimpleWatchDog() = default;

    void SetRules(int limit) { m_iLimit = limit; }
    void GetRules(int& limit) const { limit = m_iLimit; }
    void Reset();
    // The name is the interface's own spelling.
    E_Verdict HeyItHappend(int occurrences);
    E_Verdict GetVerdict() const { return m_eVerdict; }

private:
    int m_iLimit = -1;
    int m_iCount = 0;
    E_Verdict m_eVerdict = E_VerdictBelowLimit;
};
