#pragma once

// The registry store's on-disk names and values file, apart from the store that keeps them in
// folders: how key and value names are escaped into file names and lines, and the text of a
// key's values file (a header line, one "name<TAB>type<TAB>hex" line per value, and an "end"
// line with the count, which tells a complete file from a torn one).

#include <optional>
#include <shared/platform/RegistryStore.h>
#include <string>
#include <string_view>
#include <vector>

namespace shared::platform::registryformat
{

// Registry names compare without regard to ASCII case, as Windows' do.
bool EqualNoCase(std::string_view a, std::string_view b);
bool LessNoCase(const std::string& a, const std::string& b);

std::string EncodeKeyName(std::string_view name);
std::string EncodeValueName(std::string_view name);
// Nothing for a malformed escape.
std::optional<std::string> DecodeName(std::string_view text);
std::optional<std::string> DecodeValueName(std::string_view text);

std::vector<std::string_view> SplitAt(std::string_view text, char separator);

// False (values partly filled) when the text is not a complete values file.
bool ParseValues(std::string_view text, std::vector<RegistryNamedValue>& values);
std::string SerialiseValues(const std::vector<RegistryNamedValue>& values);

} // namespace shared::platform::registryformat
