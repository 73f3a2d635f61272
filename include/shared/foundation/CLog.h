#pragma once

// The application log: one small tab-separated text file, written a line at a time.
//
// Each entry is "date<TAB>time<TAB>level<TAB>user<TAB>message" with the local date as
// dd-mm-yy and the local time as HH:MM, the level as INFO (0), ERROR (1), WARN (2) or ???, and
// the name of the user running the process ("Unknown" when it cannot be found). Lines end with
// carriage return + line feed on every host. The file never holds more than 550 lines before
// a write; a write to a full file first drops the 50 oldest.
//
// Nothing stays open between calls: each call opens, reads, writes and closes the file. Calls
// within one process are serialised; separate processes writing one file can lose entries.

#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/CStringList.h>
#include <shared/platform/Export.h>

class SHARED_API CLog : public CObject
{
    DECLARE_DYNCREATE(CLog)

public:
    CLog();
    virtual ~CLog();

    // Formats the message (at most 1,023 characters are kept), cuts it at its first line feed,
    // and appends one entry. False only when the file cannot be opened.
    static bool AddToLog(int level, const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    // Appends the file's lines, oldest first, to lines (which is not emptied first). Reading
    // stops at the first empty line. False when the file cannot be opened.
    static bool ReadFromLog(CStringList& lines);

    // An empty name means the default, "Application.log" in the current directory.
    static void SetLogFileName(CString name);

    // The log's path; empty until the first call or SetLogFileName.
    static CString s_strLogFileName;
};

namespace NMacroGlobals
{
// The debug-trace hook: accepts any printf-style arguments and does nothing in this build.
SHARED_API void TraceWrite(const char* format, ...);
} // namespace NMacroGlobals
