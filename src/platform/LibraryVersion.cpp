#include <shared/platform/LibraryVersion.h>

const char* SharedLibraryVersion() { return SHARED_VERSION_STRING; }
