#include "../support/Scratch.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <shared/foundation/CFileVersion.h>
#include <shared/platform/VersionResource.h>
#include <string>
#include <vector>

namespace fs = std::filesystem;
namespace platform = shared::platform;

namespace
{

// The images are built from tests/foundation/fixtures by the MinGW-w64 binutils at build time.
#ifdef SHARED_PE_FIXTURE_DIR
const fs::path kFixtures = SHARED_PE_FIXTURE_DIR;
#define REQUIRE_FIXTURES() static_cast<void>(0)
#else
const fs::path kFixtures;
#define REQUIRE_FIXTURES() GTEST_SKIP() << "MinGW-w64 binutils were not available at build time"
#endif

std::string Fixture(const char* name)
{
    return (kFixtures / name).string();
}

void ExpectClosed(const CFileVersion& version)
{
    EXPECT_EQ(version.QueryValue("CompanyName"), "");
    EXPECT_EQ(version.GetFixedProductVersion(), "");
    VS_FIXEDFILEINFO info{};
    EXPECT_FALSE(version.GetFixedInfo(info));
}

} // namespace

TEST(FileVersionTest, SixtyFourBitDllWithEveryEntry)
{
    REQUIRE_FIXTURES();
    CFileVersion version;
    ASSERT_TRUE(version.Open(Fixture("full64.dll").c_str()));
    EXPECT_EQ(version.GetCompanyName(), "Acme Tracking Ltd");
    EXPECT_EQ(version.GetLegalCopyright(), "Copyright \xC2\xA9 2024 Acme"); // UTF-8 copyright sign
    EXPECT_EQ(version.GetOriginalFilename(), "decoder.dll");
    EXPECT_EQ(version.GetProductVersion(), "2.1.0 Beta 3");
    EXPECT_EQ(version.QueryValue("NoSuchEntry"), "");
    EXPECT_EQ(version.QueryValue("companyname"), "Acme Tracking Ltd");

    // Product version 2.1.0.3: a beta.
    EXPECT_EQ(version.GetFixedFileVersion(), "1,2,3,4");
    EXPECT_EQ(version.GetFixedProductVersion(), "2.1.0 Beta 3");
    EXPECT_EQ(version.GetFixedBuildVersion(), "2.1");

    VS_FIXEDFILEINFO info{};
    ASSERT_TRUE(version.GetFixedInfo(info));
    EXPECT_EQ(info.dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(info.dwFileType, 0x2u); // the last field: the whole structure was read in place

    // The second translation, asked for explicitly; its text was written in code page 1252.
    EXPECT_EQ(version.QueryValue("CompanyName", 0x040704e4), "Acme Ortung GmbH");
    EXPECT_EQ(version.QueryValue("FileDescription", 0x040704e4),
              "Positionsmeldungen entschl\xC3\xBCsseln");
    EXPECT_EQ(version.QueryValue("ProductName", 0x040704e4), "");
    EXPECT_EQ(version.QueryValue("CompanyName", 0x040c04b0), "");
    version.Close();
    ExpectClosed(version);
    version.Close(); // closing twice is harmless
}

TEST(FileVersionTest, ThirtyTwoBitReleaseExecutable)
{
    REQUIRE_FIXTURES();
    CFileVersion version;
    ASSERT_TRUE(version.Open(Fixture("release32.exe").c_str()));
    // The table is keyed "080904E4": keys are compared without regard to case.
    EXPECT_EQ(version.GetCompanyName(), "Acme Tracking Ltd");
    EXPECT_EQ(version.GetProductVersion(), "2.1");
    EXPECT_EQ(version.GetFileDescription(), "");
    // Product version 2.1.0.0: a release.
    EXPECT_EQ(version.GetFixedProductVersion(), "2.1.0");
    EXPECT_EQ(version.GetFixedBuildVersion(), "2.1");
    EXPECT_EQ(version.GetFixedFileVersion(), "2,1,0,0");
}

TEST(FileVersionTest, FilesWithoutAUsableResourceDoNotOpen)
{
    REQUIRE_FIXTURES();
    const test_support::ScratchFolder folder;
    const std::string text = folder.File("text.dll");
    test_support::ScratchFolder::WriteText(text, "MZ is how this text file happens to start\n");
    const std::vector<std::string> paths{
        Fixture("notranslation32.dll"), // a resource, but no translation table
        Fixture("noversion64.dll"),     // resources, none of them a version
        Fixture("plain64.exe"),         // no resource section
        "/proc/self/exe",               // an ELF binary
        text,
        (kFixtures / "missing.dll").string(),
        kFixtures.string(), // a directory
        "",
    };
    for (const std::string& path : paths)
    {
        CFileVersion version;
        EXPECT_FALSE(version.Open(path.c_str())) << path;
        ExpectClosed(version);
    }
    CFileVersion version;
    EXPECT_FALSE(version.Open(nullptr));

    // The untranslated resource is there all the same; it just cannot be opened.
    const auto resource = platform::ReadVersionResource(Fixture("notranslation32.dll").c_str());
    ASSERT_TRUE(resource);
    EXPECT_TRUE(platform::ReadTranslations(*resource).empty());
    const auto fixed = platform::ReadFixedFileInfo(*resource);
    ASSERT_TRUE(fixed);
    EXPECT_EQ(fixed->dwProductVersionMS, 0x00030000u);
}

TEST(FileVersionTest, OpenReplacesCopiesShareAndCloseIsPerObject)
{
    REQUIRE_FIXTURES();
    CFileVersion version;
    ASSERT_TRUE(version.Open(Fixture("full64.dll").c_str()));
    CFileVersion copy(version);
    CFileVersion assigned;
    assigned = version;
    version.Close();
    EXPECT_EQ(copy.GetProductName(), "Warden");
    EXPECT_EQ(assigned.GetFixedProductVersion(), "2.1.0 Beta 3");

    // Opening another file replaces what was held; a failed open leaves the object closed.
    ASSERT_TRUE(copy.Open(Fixture("release32.exe").c_str()));
    EXPECT_EQ(copy.GetFixedProductVersion(), "2.1.0");
    EXPECT_EQ(copy.QueryValue("FileDescription"), "");
    EXPECT_FALSE(assigned.Open(Fixture("plain64.exe").c_str()));
    ExpectClosed(assigned);
}

TEST(FileVersionTest, TruncatedImagesNeverYieldPartialData)
{
    REQUIRE_FIXTURES();
    const test_support::Bytes image = test_support::ScratchFolder::Read(Fixture("full64.dll"));
    ASSERT_GT(image.size(), 1024u);
    const test_support::ScratchFolder folder;
    const std::string path = folder.File("cut.dll");
    for (std::size_t size = 0; size < image.size(); size += (size < 1024 ? 7 : 61))
    {
        test_support::ScratchFolder::Write(path,
                                           {image.begin(), image.begin() + std::ptrdiff_t(size)});
        CFileVersion version;
        if (version.Open(path.c_str()))
        {
            // Only padding was cut: everything must read as from the whole file.
            EXPECT_EQ(version.GetFixedProductVersion(), "2.1.0 Beta 3") << size;
            EXPECT_EQ(version.GetLegalCopyright(), "Copyright \xC2\xA9 2024 Acme") << size;
        }
        const std::span<const std::uint8_t> prefix(image.data(), size);
        const auto resource = platform::ExtractVersionResource(prefix);
        EXPECT_EQ(resource.has_value(), version.Open(path.c_str())) << size;
    }
}

// A section whose raw data is said to end early: what lies after that end in the file belongs to
// no section, so the resource must not be read from it, whatever bytes are there.
TEST(FileVersionTest, SectionsEndWhereTheirRawDataEnds)
{
    REQUIRE_FIXTURES();
    const test_support::Bytes image = test_support::ScratchFolder::Read(Fixture("full64.dll"));
    const auto whole = platform::ExtractVersionResource(image);
    ASSERT_TRUE(whole);
    const auto le32 = [&](std::size_t at)
    {
        return std::uint32_t{image[at]} | std::uint32_t{image[at + 1]} << 8 |
               std::uint32_t{image[at + 2]} << 16 | std::uint32_t{image[at + 3]} << 24;
    };
    const std::size_t coff = le32(0x3C) + 4;
    const std::size_t table = coff + 20 + (std::size_t{image[coff + 16]} | std::size_t{image[coff + 17]} << 8);
    std::size_t rsrc = table;
    while (std::memcmp(&image[rsrc], ".rsrc", 5) != 0)
        rsrc += 40;
    const std::uint32_t raw = le32(rsrc + 16);
    const std::uint32_t pointer = le32(rsrc + 20);
    for (std::uint32_t shorter = 16; shorter < raw; shorter += 16)
    {
        test_support::Bytes cut = image;
        const std::uint32_t size = raw - shorter;
        for (int i = 0; i < 4; ++i)
            cut[rsrc + 16 + static_cast<std::size_t>(i)] =
                static_cast<unsigned char>(size >> (8 * i));
        std::fill(cut.begin() + std::ptrdiff_t(pointer + size),
                  cut.begin() + std::ptrdiff_t(pointer + raw), 0x5A);
        const auto resource = platform::ExtractVersionResource(cut);
        EXPECT_TRUE(!resource || *resource == *whole) << size;
    }
}
