#include "OutputFile.h"

#include "Command.h"

#include <iostream>
#include <shared/framework/CFile.h>
#include <shared/platform/AtomicFileReplacement.h>

namespace warden
{

void WriteOutput(const std::string& path, const std::string& content)
{
    if (path == "-")
    {
        std::cout << content << std::flush;
        return;
    }
    CAtomicFileReplacement replacement(path);
    {
        CFile file;
        if (!file.Open(replacement.GetTemporaryPath(), CFile::modeCreate | CFile::modeWrite))
            throw Failure("cannot write beside " + path);
        try
        {
            file.Write(content.data(), static_cast<UINT>(content.size()));
            file.Flush();
        }
        catch (CException* error)
        {
            error->Delete();
            throw Failure("cannot write " + path);
        }
    }
    if (!replacement.Commit())
        throw Failure("cannot replace " + path);
}

} // namespace warden
