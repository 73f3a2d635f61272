#include <shared/time/CAnyChunk.h>
#include <shared/time/CClock.h>
#include <shared/time/CDialogConverter.h>

bool CDialogConverter::ConvertToDialogAnalysisPeriod(CAnyChunk& span)
{
    const COleDateTime start = span.GetStart();
    const COleDateTime end = span.GetEnd();
    if (!CClock::Is1stDateBefore2ndDate(start, end))
        return false;
    // The reference date is the dialog's own; its time part is 0 like any midnight.
    const COleDateTime midnight(2002, 1, 17, 0, 0, 0);
    if (CClock::GetTimeOnly(end).m_dt != CClock::GetTimeOnly(midnight).m_dt)
        return false;
    COleDateTime lastSecond = CClock::GetDateOnly(end);
    lastSecond.m_dt -= CClock::GetSecondFraction();
    lastSecond.SetStatus(end.GetStatus());
    span.SetEnd(lastSecond);
    return true;
}
