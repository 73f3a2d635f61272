#include <shared/platform/LibraryVersion.h>

#include <gtest/gtest.h>

#include <regex>

TEST(LibraryVersion, IsMajorMinorPatch)
{
    EXPECT_TRUE(std::regex_match(SharedLibraryVersion(), std::regex(R"(\d+\.\d+\.\d+)")));
}
