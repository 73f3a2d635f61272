#pragma once

#include <shared/platform/Export.h>
#include <shared/platform/FileSystem.h>
#include <string>

// Replaces a file whole or not at all. The new content is written to a temporary file beside
// the destination (same folder, so the rename cannot cross file systems); Commit moves it over
// the destination and syncs the folder. Without a Commit the temporary file is removed, so an
// interrupted save leaves the previous file as it was.
//
//     CAtomicFileReplacement replacement(path);
//     CFile file;
//     file.Open(replacement.GetTemporaryPath(), CFile::modeCreate | CFile::modeWrite);
//     ... write, then file.Flush() (fsync) and file.Close() ...
//     ok = replacement.Commit();
//
// A writer killed before its Commit or its destructor leaves its temporary file behind; the
// temporary name records the writer's process, and the next replacement of the same destination
// removes those of writers that are gone. Temporary names stay within the 255-byte limit of a
// file name however long the destination's name is.
//
// All file-system work goes through the platform's file-system calls.
class SHARED_API CAtomicFileReplacement
{
public:
    enum class EMode
    {
        replace,     // the destination may exist and is replaced
        keepExisting // Commit fails (GetError() == fileerror::kExists) when the destination exists
    };

    explicit CAtomicFileReplacement(std::string destination, EMode mode = EMode::replace);
    ~CAtomicFileReplacement();
    CAtomicFileReplacement(const CAtomicFileReplacement&) = delete;
    CAtomicFileReplacement& operator=(const CAtomicFileReplacement&) = delete;

    const char* GetTemporaryPath() const { return m_temporary.c_str(); }
    const std::string& GetDestination() const { return m_destination; }
    // Moves the temporary file to the destination; false (and the destination untouched) when
    // that fails, with the platform's error in GetError().
    bool Commit();
    shared::platform::FileError GetError() const { return m_error; }

private:
    void RemoveLeftovers() const;

    std::string m_destination;
    std::string m_folder;
    std::string m_name;
    std::string m_temporary;
    EMode m_mode;
    shared::platform::FileError m_error = 0;
    bool m_committed = false;
};
