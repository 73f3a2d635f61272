// Atomic replacement on Win32 files: MoveFileExA must replace an existing destination (a plain
// rename refuses to) and an abandoned replacement must leave neither a changed file nor litter.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <shared/platform/AtomicFileReplacement.h>
#include <string>
#include <windows.h>

namespace fs = std::filesystem;

namespace
{

std::string Read(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void Write(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

TEST(WindowsFileReplacement, ReplacesWholeOrNotAtAll)
{
    const fs::path folder =
        fs::temp_directory_path() / ("shared-replace-" + std::to_string(::GetCurrentProcessId()));
    fs::create_directories(folder);
    const std::string destination = (folder / "UserPlaces.dat").string();
    Write(destination, "old");

    {
        CAtomicFileReplacement abandoned(destination);
        Write(abandoned.GetTemporaryPath(), "half");
    }
    EXPECT_EQ(Read(destination), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);

    CAtomicFileReplacement replacement(destination);
    Write(replacement.GetTemporaryPath(), "new");
    ASSERT_TRUE(replacement.Commit());
    EXPECT_EQ(Read(destination), "new");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);

    CAtomicFileReplacement nothingWritten((folder / "missing" / "x.dat").string());
    EXPECT_FALSE(nothingWritten.Commit());
    fs::remove_all(folder);
}

} // namespace
