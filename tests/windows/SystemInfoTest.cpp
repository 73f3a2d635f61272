// The Windows sources of user name, version resources and zone rules, checked against what
// Windows itself reports.
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <shared/platform/HostHooks.h>
#include <shared/platform/TimeZoneRules.h>
#include <shared/platform/UserName.h>
#include <shared/platform/VersionResource.h>
#include <string>
#include <windows.h>

namespace platform = shared::platform;

namespace
{

TEST(WindowsUser, NameIsTheLogonName)
{
    const char* expected = std::getenv("USERNAME");
    if (expected == nullptr)
        GTEST_SKIP() << "USERNAME not set";
    EXPECT_EQ(platform::EffectiveUserName(), std::string(expected));
}

std::string SystemFile(const char* name)
{
    char folder[MAX_PATH] = {};
    ::GetSystemDirectoryA(folder, MAX_PATH);
    return std::string(folder) + "\\" + name;
}

// GetFileVersionInfoA (behind ReadVersionResource here) and the portable reader over the file's
// bytes must find the same resource.
TEST(WindowsVersion, ApiAndPortableReaderAgree)
{
    int compared = 0;
    for (const char* name : {"kernel32.dll", "user32.dll", "notepad.exe", "reg.exe"})
    {
        const std::string path = SystemFile(name);
        std::ifstream file(path, std::ios::binary);
        if (!file)
            continue;
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
        const auto portable = platform::ExtractVersionResource(bytes);
        const auto api = platform::ReadVersionResource(path.c_str());
        ASSERT_EQ(portable.has_value(), api.has_value()) << path;
        if (!api)
            continue;
        const auto fixed = platform::ReadFixedFileInfo(*api);
        const auto portableFixed = platform::ReadFixedFileInfo(*portable);
        ASSERT_TRUE(fixed && portableFixed) << path;
        EXPECT_EQ(fixed->dwFileVersionMS, portableFixed->dwFileVersionMS) << path;
        EXPECT_EQ(fixed->dwFileVersionLS, portableFixed->dwFileVersionLS) << path;
        EXPECT_EQ(platform::ReadStringTables(*api).size(),
                  platform::ReadStringTables(*portable).size())
            << path;

        // VerQueryValueA itself agrees on the fixed block.
        void* block = nullptr;
        UINT length = 0;
        ASSERT_TRUE(::VerQueryValueA(api->data(), "\\", &block, &length)) << path;
        EXPECT_EQ(static_cast<VS_FIXEDFILEINFO*>(block)->dwProductVersionMS,
                  portableFixed->dwProductVersionMS);
        ++compared;
    }
    if (compared == 0)
        GTEST_SKIP() << "no system file with a version resource";
    EXPECT_FALSE(platform::ReadVersionResource(SystemFile("does-not-exist.dll").c_str()));
}

// Wine derives the Windows zone from TZ; the rule read back through GetTimeZoneInformation must
// change at the same instants as the real zone.
TEST(WindowsZone, RulesFollowTheSystemZone)
{
    const char* zone = std::getenv("SHARED_EXPECT_ZONE");
    if (zone == nullptr)
        GTEST_SKIP() << "run with TZ and SHARED_EXPECT_ZONE set";
    const std::string expectedRule = std::string(zone) == "Europe/London"
                                         ? "GMT0BST,M3.5.0/1,M10.5.0"
                                         : "EST5EDT,M3.2.0,M11.1.0";
    const auto expected = platform::TimeZoneRules::FromPosixString(expectedRule);
    const auto actual = platform::TimeZoneRules::FromEnvironment();
    ASSERT_TRUE(expected && actual);
    EXPECT_EQ(actual->GetStandardUtcOffset(), expected->GetStandardUtcOffset());
    EXPECT_EQ(actual->GetDaylightUtcOffset(), expected->GetDaylightUtcOffset());
    for (int year : {2024, 2025, 2026})
    {
        const auto a = actual->GetTransitionsInYear(year);
        const auto e = expected->GetTransitionsInYear(year);
        ASSERT_TRUE(a && e) << year;
        EXPECT_EQ(a->daylightStart, e->daylightStart) << year;
        EXPECT_EQ(a->daylightEnd, e->daylightEnd) << year;
    }
}

} // namespace

namespace
{

struct Received
{
    UINT message = 0;
    WPARAM wParam = 0;
};
Received g_received;

LRESULT CALLBACK RecordingProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message >= WM_APP)
        g_received = {message, wParam};
    return ::DefWindowProcA(window, message, wParam, lParam);
}

// Without a hook, place messages reach the named window synchronously, while the place they
// point at still exists.
TEST(WindowsHost, MessagesReachTheMainWindowDuringTheCall)
{
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = RecordingProc;
    windowClass.hInstance = ::GetModuleHandleA(nullptr);
    windowClass.lpszClassName = "SharedTestMainWindow";
    ASSERT_NE(::RegisterClassA(&windowClass), 0);
    HWND window = ::CreateWindowA("SharedTestMainWindow", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                  windowClass.hInstance, nullptr);
    ASSERT_NE(window, nullptr);

    EXPECT_FALSE(platform::SendToMainWindow(platform::kCreatePlaceSymbolMessage, 1, 0));
    platform::SetMainWindowHandle(window);
    int place = 0;
    EXPECT_TRUE(platform::SendToMainWindow(platform::kCreatePlaceSymbolMessage,
                                           reinterpret_cast<std::uintptr_t>(&place), 0));
    EXPECT_EQ(g_received.message, platform::kCreatePlaceSymbolMessage);
    EXPECT_EQ(g_received.wParam, reinterpret_cast<WPARAM>(&place));
    platform::SetMainWindowHandle(nullptr);
    ::DestroyWindow(window);
}

} // namespace
