#pragma once

// What almost every test needs around the code under test: a scratch folder removed with all
// it holds, whole-file reads and writes, and an environment variable set for one scope.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace test_support
{

using Bytes = std::vector<unsigned char>;

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
    ~ScratchFolder()
    {
        std::error_code ignored; // a test may have left a file it could not delete
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::string File(const std::string& name) const { return (m_path / name).string(); }

    static void Write(const std::filesystem::path& path, const Bytes& bytes)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    static Bytes Read(const std::filesystem::path& path)
    {
        std::ifstream in(path, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    static void WriteText(const std::filesystem::path& path, const std::string& text)
    {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }
    static std::string ReadText(const std::filesystem::path& path)
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path m_path;
};

// Sets (or, given null, clears) one environment variable for the life of the object.
class ScopedEnv
{
public:
    ScopedEnv(const char* name, const char* value) : m_name(name)
    {
        if (const char* old = std::getenv(name))
            m_old = old;
        if (value != nullptr)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }
    ~ScopedEnv()
    {
        if (m_old)
            ::setenv(m_name.c_str(), m_old->c_str(), 1);
        else
            ::unsetenv(m_name.c_str());
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_old;
};

} // namespace test_support
