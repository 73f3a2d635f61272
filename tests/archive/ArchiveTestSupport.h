#pragma once

// Helpers shared by the archive and places tests: a scratch folder, files from bytes, archives
// over them, and the cause of the archive exception a piece of code throws.

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

// A temporary folder, removed with everything in it.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "shared-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("cannot make a scratch folder");
        m_path = pattern;
    }
    ~ScratchFolder() { std::filesystem::remove_all(m_path); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string File(const std::string& name) const { return (m_path / name).string(); }

    static void Write(const std::string& path, const Bytes& bytes)
    {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    static Bytes Read(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path m_path;
};

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
