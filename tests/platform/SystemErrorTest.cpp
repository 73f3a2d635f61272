#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <shared/platform/SystemError.h>

using namespace shared::platform;

TEST(SystemErrorTest, WindowsCodesHaveTheSystemTexts)
{
    EXPECT_EQ(SystemErrorText(0), "The operation completed successfully.");
    EXPECT_EQ(SystemErrorText(2), "The system cannot find the file specified.");
    EXPECT_EQ(SystemErrorText(5), "Access is denied.");
    EXPECT_EQ(SystemErrorText(31), "A device attached to the system is not functioning.");
    EXPECT_EQ(SystemErrorText(87), "The parameter is incorrect.");
    EXPECT_EQ(SystemErrorText(193), "%1 is not a valid Win32 application."); // inserts ignored
    EXPECT_EQ(SystemErrorText(1460), "This operation returned because the timeout period expired.");
    EXPECT_EQ(SystemErrorText(1815),
              "The specified resource language ID cannot be found in the image file.");
    // Codes the system has no text for.
    EXPECT_EQ(SystemErrorText(7), "");
    EXPECT_EQ(SystemErrorText(99999), "");
    EXPECT_EQ(SystemErrorText(0xFFFFFFFFUL), "");
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
