#pragma once

// Helpers shared by the archive and places tests: a scratch folder, files from bytes, archives
// over them, and the cause of the archive exception a piece of code throws.

#include "../support/Scratch.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <iterator>
#include <shared/archive/CArchive.h>
#include <shared/framework/CFile.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace archive_test
{

using test_support::Bytes;

// Bytes written out by hand, for golden comparisons.
inline Bytes B(std::initializer_list<int> values)
{
    Bytes bytes;
    for (int v : values)
    {
        bytes.push_back(static_cast<unsigned char>(v));
    }
    return bytes;
}

inline void Append(Bytes& to, const Bytes& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

inline void AppendText(Bytes& to, const std::string& text)
{
    to.insert(to.end(), text.begin(), text.end());
}

using test_support::ScratchFolder;

// What a store archive writes when body runs on it.
inline Bytes Store(const std::function<void(CArchive&)>& body, int bufferSize = 4096)
{
    ScratchFolder folder;
    const std::string path = folder.File("stored.bin");
    CFile file;
    EXPECT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    {
        CArchive ar(&file, CArchive::store, bufferSize);
        body(ar);
        ar.Close();
    }
    file.Close();
    return ScratchFolder::Read(path);
}

// Runs body on a load archive over the bytes. Exceptions pass through to the caller.
inline void Load(const Bytes& bytes, const std::function<void(CArchive&)>& body,
                 int bufferSize = 4096)
{
    ScratchFolder folder;
    const std::string path = folder.File("loaded.bin");
    ScratchFolder::Write(path, bytes);
    CFile file;
    EXPECT_TRUE(file.Open(path.c_str(), CFile::modeRead));
    CArchive ar(&file, CArchive::load, bufferSize);
    body(ar);
}

constexpr int kNoException = -1;
constexpr int kOtherException = -2;

// The cause of the CArchiveException* that body throws, kNoException when it throws none, and
// kOtherException for any other framework exception. Every exception is freed.
inline int ArchiveCause(const std::function<void()>& body)
{
    try
    {
        body();
    }
    catch (CArchiveException* e)
    {
        const int cause = e->m_cause;
        e->Delete();
        return cause;
    }
    catch (CException* e)
    {
        e->Delete();
        return kOtherException;
    }
    return kNoException;
}

} // namespace archive_test
