#include <shared/platform/ChildProcess.h>

namespace shared::platform
{

// Running a command as a byte line needs a shell and process groups that end together; the
// Windows build does not offer it yet, and says so instead of starting half a group.

CChildProcess::CChildProcess() = default;

CChildProcess::~CChildProcess() = default;

bool CChildProcess::Start(const std::string&)
{
    m_error = "running a command is not supported on Windows";
    return false;
}

long CChildProcess::Read(unsigned char*, unsigned long, unsigned long)
{
    return -1;
}

bool CChildProcess::Write(const unsigned char*, unsigned long)
{
    return false;
}

void CChildProcess::DiscardOutput() {}

void CChildProcess::CloseLine() {}

int CChildProcess::Stop(unsigned long, unsigned long)
{
    return -1;
}

} // namespace shared::platform
