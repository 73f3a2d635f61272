#pragma once

#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

// One line of the application log read back into its fields, so that a viewer need not know
// the file's layout:
//
//     CLogLine entry;
//     if (entry.Parse(line) && entry.GetLevel() == "WARN") show(entry.GetLocalTime(), ...);
//
// A line that is not a five-field entry (a hand edit, a foreign file) parses as false and keeps
// its text in GetLine(), so it can still be shown as it is.
class SHARED_API CLogLine
{
public:
    CLogLine() = default;

    // Splits at the first four tabs (the message may hold tabs of its own). A trailing carriage
    // return, left by a reader that does not translate CR LF, is dropped.
    bool Parse(const CString& line);

    bool IsEntry() const { return m_bEntry; }
    const CString& GetLine() const { return m_sLine; }
    const CString& GetDate() const { return m_sDate; } // dd-mm-yy, local
    const CString& GetTime() const { return m_sTime; } // HH:MM, local
    const CString& GetLevel() const { return m_sLevel; }
    const CString& GetUser() const { return m_sUser; }
    const CString& GetMessage() const { return m_sMessage; }

    // The date and time fields as a local date-time (years 00-99 are 2000-2099, as the log
    // writes them); invalid when the fields do not read as a date and time.
    COleDateTime GetLocalTime() const;

private:
    bool m_bEntry = false;
    CString m_sLine;
    CString m_sDate;
    CString m_sTime;
    CString m_sLevel;
    CString m_sUser;
    CString m_sMessage;
};
