#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <shared/framework/CStdioFile.h>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
#include <sstream>
#include <string>

// Bit 0 allows voice, then spot, track, geofence, SOS and warden warnings.
inline CPhonebookEntryAttributes Permissions(unsigned bits)
{
    CPhonebookEntryAttributes attributes;
    attributes.SetAttributes(bits & 1, bits & 2, bits & 4, bits & 8, bits & 16, bits & 32);
    return attributes;
}

// A scratch folder removed with the fixture, and helpers to write and read its files as bytes.
class PhonebookFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "phonebook-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string PathOf(const std::string& name) const { return (m_dir / name).string(); }

    void WriteBytes(const std::string& name, const std::string& bytes) const
    {
        std::ofstream(PathOf(name), std::ios::binary) << bytes;
    }

    std::string ReadBytes(const std::string& name) const
    {
        std::ifstream in(PathOf(name), std::ios::binary);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }

    bool OpenForReading(CStdioFile& file, const std::string& name) const
    {
        return file.Open(PathOf(name).c_str(), CFile::modeRead | CFile::typeText) != FALSE;
    }

    bool OpenForWriting(CStdioFile& file, const std::string& name) const
    {
        return file.Open(PathOf(name).c_str(),
                         CFile::modeCreate | CFile::modeWrite | CFile::typeText) != FALSE;
    }

    std::filesystem::path m_dir;
};
