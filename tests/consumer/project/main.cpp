#include <shared/Shared.h>

#include <cstdio>
#include <cstring>

int main()
{
    const char* version = SharedLibraryVersion();
    std::printf("Shared %s\n", version);
    return std::strlen(version) > 0 ? 0 : 1;
}
