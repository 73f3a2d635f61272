#include "Json.h"

#include "Text.h"

#include <cstdio>
#include <iostream>

namespace warden
{

std::string UtcTimeText(COleDateTime const& utc)
{
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", utc.GetYear(),
                  utc.GetMonth(), utc.GetDay(), utc.GetHour(), utc.GetMinute(), utc.GetSecond());
    return text;
}

Json UtcTime(COleDateTime const& utc)
{
    if (utc.GetStatus() != COleDateTime::valid)
        return nullptr;
    return UtcTimeText(utc);
}

Json JsonText(CString const& text)
{
    return Utf8(text);
}

// Strings that did not come from the library (file names, system messages) may still hold
// bytes that are not UTF-8; they are replaced rather than abort the output.
void PrintDocument(Json const& document)
{
    std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void PrintRecord(Json const& record, std::ostream& out)
{
    out << record.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace warden
