#include <gtest/gtest.h>
#include <pwd.h>
#include <shared/platform/UserName.h>
#include <unistd.h>

namespace
{

using shared::platform::EffectiveUserName;
using shared::platform::ScopedUserName;

TEST(UserName, IsTheEffectiveUsersLoginNameAndCanBeReplacedForAScope)
{
    const struct passwd* entry = ::getpwuid(::geteuid());
    const auto real = EffectiveUserName();
    if (entry != nullptr)
    {
        ASSERT_TRUE(real.has_value());
        EXPECT_EQ(*real, entry->pw_name);
    }
    else
    {
        EXPECT_FALSE(real.has_value());
    }
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
