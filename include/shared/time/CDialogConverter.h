#pragma once

// Prepares a time span for the analysis-period dialog, which shows whole days: a span that ends
// exactly at a midnight after its start day is shown as ending at 23:59:59 the day before, the
// last day it really covers.

#include <shared/platform/Export.h>

class CAnyChunk;

class SHARED_API CDialogConverter
{
public:
    // True when the end was moved back one second; false, and no change, when the span lies
    // within one day or does not end exactly at midnight.
    static bool ConvertToDialogAnalysisPeriod(CAnyChunk& span);
};
