#pragma once

#include <shared/platform/Export.h>
#include <string>

// Replaces a file whole or not at all. The new content is written to a temporary file beside
// the destination (same folder, so the rename cannot cross file systems); Commit renames it over
// the destination and syncs the folder. Without a Commit the temporary file is removed, so an
// interrupted save leaves the previous file as it was.
//
//     CAtomicFileReplacement replacement(path);
//     CFile file;
//     file.Open(replacement.GetTemporaryPath(), CFile::modeCreate | CFile::modeWrite);
//     ... write, then file.Flush() (fsync) and file.Close() ...
//     ok = replacement.Commit();
class SHARED_API CAtomicFileReplacement
{
public:
    explicit CAtomicFileReplacement(std::string destination);
    ~CAtomicFileReplacement();
    CAtomicFileReplacement(const CAtomicFileReplacement&) = delete;
    CAtomicFileReplacement& operator=(const CAtomicFileReplacement&) = delete;

    const char* GetTemporaryPath() const { return m_temporary.c_str(); }
    const std::string& GetDestination() const { return m_destination; }
    // Renames the temporary file over the destination; false (and the destination untouched)
    // when that fails.
    bool Commit();

private:
    std::string m_destination;
    std::string m_temporary;
    bool m_committed = false;
};
