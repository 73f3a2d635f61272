#pragma once

#include <shared/archive/CArchive.h>
#include <shared/framework/CFile.h>
#include <shared/platform/AtomicFileReplacement.h>

// Writes one object as an archive into the temporary file of a replacement, flushed and
// closed, ready for Commit. False when the temporary file cannot be made; archive and file
// errors on the way come out as the framework's exceptions, for the caller to report its way.
inline bool WriteObjectFile(CAtomicFileReplacement& replacement, CObject* object)
{
    CFile file;
    if (!file.Open(replacement.GetTemporaryPath(), CFile::modeCreate | CFile::modeWrite))
        return false;
    CArchive archive(&file, CArchive::store, 4096);
    archive.WriteObject(object);
    archive.Close();
    file.Flush();
    file.Close();
    return true;
}
