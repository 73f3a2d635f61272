#pragma once

// A command run by the system's shell with its standard input and output as a byte line to us.
// The command and everything it starts form one group that is always ended together: a shell
// that has forked a program would otherwise leave that program running when only the shell is
// stopped.

#include <cstdint>
#include <shared/platform/Export.h>
#include <string>

namespace shared::platform
{

class SHARED_API CChildProcess
{
public:
    CChildProcess();
    // Ends the whole group (see Stop) if it still runs.
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    // Starts `command` through the shell; false (with the reason in GetError) when it cannot.
    bool Start(const std::string& command);
    bool IsStarted() const { return m_pid > 0; }
    const std::string& GetError() const { return m_error; }

    // Waits up to timeoutMs for output and takes what is there: the number of bytes, 0 on
    // timeout, -1 once the command has closed its output (nothing more will come).
    long Read(unsigned char* buffer, unsigned long size, unsigned long timeoutMs);
    // False when the command no longer reads its input.
    bool Write(const unsigned char* data, unsigned long count);
    // Drops output that has arrived but not been read.
    void DiscardOutput();

    // Asks the whole group to end now (forced: kills it), leaving the line open so that what
    // it still sends can be read; Stop still reaps it.
    void Terminate(bool forced);

    // Closes the line, gives the command graceMs to finish on its own, then ends its group:
    // a terminate request, and a forced kill of whatever is left after killAfterMs. Members of
    // the group still running after the command itself finished are ended too. Answers the
    // command's exit code (0 to 255), or -1 when it was ended by a signal or never started.
    int Stop(unsigned long graceMs, unsigned long killAfterMs = 2000);

private:
    void CloseLine();

    int m_pid = -1;
    int m_toChild = -1;   // POSIX: our end of the command's standard input
    int m_fromChild = -1; // POSIX: our end of its standard output
    int m_exitCode = -1;
    std::string m_error;
    // Windows: the process, the job object that holds its group, and our pipe ends, as handles.
    std::intptr_t m_hProcess = 0;
    std::intptr_t m_hJob = 0;
    std::intptr_t m_hToChild = 0;
    std::intptr_t m_hFromChild = 0;
};

} // namespace shared::platform
