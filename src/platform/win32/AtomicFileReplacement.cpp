#include <atomic>
#include <shared/platform/AtomicFileReplacement.h>
#include <windows.h>

CAtomicFileReplacement::CAtomicFileReplacement(std::string destination)
    : m_destination(std::move(destination))
{
    // Unique per process and per replacement, so concurrent saves never share a temporary file.
    static std::atomic<unsigned> counter{0};
    m_temporary = m_destination + ".tmp-" + std::to_string(::GetCurrentProcessId()) + "-" +
                  std::to_string(counter.fetch_add(1));
}

CAtomicFileReplacement::~CAtomicFileReplacement()
{
    if (!m_committed)
        ::DeleteFileA(m_temporary.c_str());
}

bool CAtomicFileReplacement::Commit()
{
    // MOVEFILE_WRITE_THROUGH returns only once the rename is on disk, what the folder fsync does
    // on POSIX; the replacement is atomic on NTFS.
    if (!::MoveFileExA(m_temporary.c_str(), m_destination.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return false;
    m_committed = true;
    return true;
}
