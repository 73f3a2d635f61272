#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <unistd.h>

namespace
{
std::string FolderOf(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}
} // namespace

CAtomicFileReplacement::CAtomicFileReplacement(std::string destination)
    : m_destination(std::move(destination))
{
    // Unique per process and per replacement, so concurrent saves never share a temporary file.
    static std::atomic<unsigned> counter{0};
    m_temporary = m_destination + ".tmp-" + std::to_string(::getpid()) + "-" +
                  std::to_string(counter.fetch_add(1));
}

CAtomicFileReplacement::~CAtomicFileReplacement()
{
    if (!m_committed)
        ::unlink(m_temporary.c_str());
}

bool CAtomicFileReplacement::Commit()
{
    if (::rename(m_temporary.c_str(), m_destination.c_str()) != 0)
        return false;
    m_committed = true;
    // The rename itself must reach the disk for the new file to survive a power cut.
    const int folder = ::open(FolderOf(m_destination).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0)
    {
        ::fsync(folder);
        ::close(folder);
    }
    return true;
}
