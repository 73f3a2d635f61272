#pragma once

// Helpers shared by the archive tests: a temporary directory, files from bytes, archives over
// them, and the cause of the archive exception a piece of code throws.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <iterator>
#include <shared/archive/CArchive.h>
#include <shared/framework/CFile.h>
#include <string>
#include <vector>

namespace archive_test
{

using Bytes = std::vector<unsigned char>;

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

class TempDir
{
public:
    TempDir()
    {
        char pattern[] = "/tmp/arch-archive-XXXXXX";
        if (::mkdtemp(pattern) != nullptr)
        {
            m_path = pattern;
        }
    }
    ~TempDir() { std::filesystem::remove_all(m_path); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string File(const char* name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

inline Bytes ReadFileBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFileBytes(const std::string& path, const Bytes& bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

// What a store archive writes when body runs on it.
inline Bytes Store(const std::function<void(CArchive&)>& body, int bufferSize = 4096)
{
    TempDir dir;
    const std::string path = dir.File("stored.bin");
    CFile file;
    EXPECT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite));
    {
        CArchive ar(&file, CArchive::store, bufferSize);
        body(ar);
        ar.Close();
    }
    file.Close();
    return ReadFileBytes(path);
}

// Runs body on a load archive over the bytes. Exceptions pass through to the caller.
inline void Load(const Bytes& bytes, const std::function<void(CArchive&)>& body,
                 int bufferSize = 4096)
{
    TempDir dir;
    const std::string path = dir.File("loaded.bin");
    WriteFileBytes(path, bytes);
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
