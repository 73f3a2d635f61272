#pragma once

#include <shared/platform/Export.h>

// The version of the library the program is running against, as "major.minor.patch", so that
// a host can log which build it loaded.
SHARED_API const char* SharedLibraryVersion();
