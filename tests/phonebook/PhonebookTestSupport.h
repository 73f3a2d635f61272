#pragma once

#include "../support/Scratch.h"

#include <gtest/gtest.h>
#include <shared/framework/CStdioFile.h>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
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
    std::string PathOf(const std::string& name) const { return m_dir.File(name); }

    void WriteBytes(const std::string& name, const std::string& bytes) const
    {
        test_support::ScratchFolder::WriteText(PathOf(name), bytes);
    }

    std::string ReadBytes(const std::string& name) const
    {
        return test_support::ScratchFolder::ReadText(PathOf(name));
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

    test_support::ScratchFolder m_dir;
};
