#include <cstdio>
#include <gtest/gtest.h>
#include <shared/platform/LibraryVersion.h>

TEST(LibraryVersion, IsMajorMinorPatch)
{
    unsigned major = 0, minor = 0, patch = 0;
    int used = 0;
    const char* version = SharedLibraryVersion();
    ASSERT_EQ(std::sscanf(version, "%u.%u.%u%n", &major, &minor, &patch, &used), 3);
    EXPECT_EQ(version[used], '\0') << version;
}
