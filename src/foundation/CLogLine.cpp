#include <cstdio>
#include <shared/foundation/CLogLine.h>

bool CLogLine::Parse(const CString& line)
{
    *this = CLogLine();
    std::string_view text = line.View();
    if (!text.empty() && text.back() == '\r')
        text.remove_suffix(1);
    m_sLine = CString(text);

    CString* const fields[] = {&m_sDate, &m_sTime, &m_sLevel, &m_sUser};
    std::size_t start = 0;
    for (CString* field : fields)
    {
        const std::size_t tab = text.find('\t', start);
        if (tab == std::string_view::npos)
        {
            for (CString* clear : fields)
                clear->Empty();
            return false;
        }
        *field = CString(text.substr(start, tab - start));
        start = tab + 1;
    }
    m_sMessage = CString(text.substr(start));
    m_bEntry = true;
    return true;
}

COleDateTime CLogLine::GetLocalTime() const
{
    COleDateTime result;
    result.SetStatus(COleDateTime::invalid);
    int day = 0, month = 0, year = 0, hour = 0, minute = 0;
    char end = 0;
    if (!m_bEntry ||
        std::sscanf(m_sDate.GetString(), "%2d-%2d-%2d%c", &day, &month, &year, &end) != 3 ||
        std::sscanf(m_sTime.GetString(), "%2d:%2d%c", &hour, &minute, &end) != 2)
        return result;
    result.SetDateTime(2000 + year, month, day, hour, minute, 0);
    return result;
}
