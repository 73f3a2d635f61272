#pragma once

// Where an export goes: standard output for "-", else a file that is replaced whole (a reader
// never sees half a map, and a failed run leaves the previous file as it was).

#include <string>

namespace warden
{

// Throws warden::Failure when the file cannot be written.
void WriteOutput(const std::string& path, const std::string& content);

} // namespace warden
