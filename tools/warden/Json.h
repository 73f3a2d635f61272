#pragma once

// One set of JSON conventions for every subcommand: keys in snake_case and in the order written,
// times in ISO 8601 UTC with a trailing Z, text converted from code page 1252. A single answer
// is one indented document; a stream (a log, a batch of inputs) is JSON Lines, one compact
// object per line, so it can be piped into jq or read line by line while it is written.

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <string>

namespace warden
{

using Json = nlohmann::ordered_json;

// "2006-06-12T10:30:00Z"; the library's stored times are UTC. Null for an invalid time.
Json UtcTime(COleDateTime const& utc);
std::string UtcTimeText(COleDateTime const& utc);

// A library text as a JSON string.
Json JsonText(CString const& text);

// One document (a single answer), indented.
void PrintDocument(Json const& document);
// One line of a JSON Lines stream.
void PrintRecord(Json const& record, std::ostream& out);

} // namespace warden
