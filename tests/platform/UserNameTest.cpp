#include <gtest/gtest.h>
#include <shared/platform/UserName.h>
#ifndef _WIN32
#include <pwd.h>
#include <unistd.h>
#endif

namespace
{

using shared::platform::EffectiveUserName;
using shared::platform::ScopedUserName;

TEST(UserName, IsTheEffectiveUsersLoginNameAndCanBeReplacedForAScope)
{
    const auto real = EffectiveUserName();
#ifndef _WIN32 // tests/windows compares with GetUserNameA
    const struct passwd* entry = ::getpwuid(::geteuid());
    if (entry != nullptr)
    {
        ASSERT_TRUE(real.has_value());
        EXPECT_EQ(*real, entry->pw_name);
    }
    else
    {
        EXPECT_FALSE(real.has_value());
    }
#endif
    {
        ScopedUserName outer(std::string("outer"));
        EXPECT_EQ(EffectiveUserName(), std::optional<std::string>("outer"));
        {
            ScopedUserName inner(std::nullopt); // a look-up that finds nobody
            EXPECT_FALSE(EffectiveUserName().has_value());
        }
        EXPECT_EQ(EffectiveUserName(), std::optional<std::string>("outer"));
    }
    EXPECT_EQ(EffectiveUserName(), real);
}

} // namespace
