#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <shared/platform/SystemError.h>

using namespace shared::platform;

TEST(SystemErrorTest, CodesWithoutASystemTextHaveNone)
{
    EXPECT_EQ(SystemErrorText(193), "%1 is not a valid Win32 application."); // inserts kept
    for (const unsigned long code : {7UL, 99999UL, 0xFFFFFFFFUL})
        EXPECT_EQ(SystemErrorText(code), "") << code;
}

TEST(SystemErrorTest, HostErrorsMapToWindowsCodesOrCarryTheirErrno)
{
    EXPECT_EQ(WinErrorFromErrno(0), winerror::kSuccess);
    EXPECT_EQ(WinErrorFromErrno(ENOENT), winerror::kFileNotFound);
    EXPECT_EQ(WinErrorFromErrno(EACCES), winerror::kAccessDenied);
    EXPECT_EQ(WinErrorFromErrno(EINVAL), winerror::kInvalidParameter);
    EXPECT_EQ(WinErrorFromErrno(ETIMEDOUT), winerror::kTimeout);
    EXPECT_EQ(WinErrorFromErrno(ENODEV), winerror::kFileNotFound);
    EXPECT_EQ(ErrnoFromWinError(winerror::kFileNotFound), 0);

    // No Windows equivalent: the errno travels in the application-defined range.
    const unsigned long loop = WinErrorFromErrno(ELOOP);
    EXPECT_EQ(loop, kErrnoErrorFlag | static_cast<unsigned long>(ELOOP));
    EXPECT_EQ(ErrnoFromWinError(loop), ELOOP);
    EXPECT_EQ(SystemErrorText(loop), std::strerror(ELOOP));
    EXPECT_FALSE(SystemErrorText(WinErrorFromErrno(EAGAIN)).empty());
    // Every mapped errno has a text.
    for (int err = 1; err < 134; ++err)
        EXPECT_FALSE(SystemErrorText(WinErrorFromErrno(err)).empty()) << err;
}
