#include <shared/Shared.h>
#include <shared/SharedVersion.h>

#include <cstdio>
#include <cstring>

int main()
{
    // The header a consumer compiles against must describe the library it runs with.
    char expected[32];
    std::snprintf(expected, sizeof expected, "%d.%d.%d", SHARED_VERSION_MAJOR, SHARED_VERSION_MINOR,
                  SHARED_VERSION_PATCH);
    const char* version = SharedLibraryVersion();
    std::printf("Shared %s\n", version);
    return std::strcmp(version, expected) == 0 ? 0 : 1;
}
