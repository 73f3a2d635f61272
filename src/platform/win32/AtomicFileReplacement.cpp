#include <shared/platform/AtomicFileReplacement.h>
#include <windows.h>

CAtomicFileReplacement::CAtomicFileReplacement(std::string destination)
    : m_destination(std::move(destination))
{
    // GetTempFileNameA makes the name unique by creating the file, in the destination's own
    // folder so that the final move stays on one volume.
    const auto separator = m_destination.find_last_of("\\/");
    const std::string folder =
        separator == std::string::npos ? "." : m_destination.substr(0, separator + 1);
    char name[MAX_PATH + 1] = {};
    if (::GetTempFileNameA(folder.c_str(), "shr", 0, name) != 0)
        m_temporary = name;
    else
        m_temporary = m_destination + ".tmp"; // a folder that does not exist: Commit fails anyway
}

CAtomicFileReplacement::~CAtomicFileReplacement()
{
    if (!m_committed)
        ::DeleteFileA(m_temporary.c_str());
}

bool CAtomicFileReplacement::Commit()
{
    // MOVEFILE_WRITE_THROUGH returns only once the move is on disk, what the folder fsync does
    // on POSIX; the replacement is atomic on NTFS.
    if (!::MoveFileExA(m_temporary.c_str(), m_destination.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return false;
    m_committed = true;
    return true;
}
