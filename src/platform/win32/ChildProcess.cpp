#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <shared/platform/ChildProcess.h>
#include <shared/platform/SystemError.h>
#include <windows.h>

namespace shared::platform
{
namespace
{

using SteadyClock = std::chrono::steady_clock;

// What the group's members exit with when we end them: above 255, so Stop answers -1 for it as
// the POSIX backend does for a command ended by a signal (it is STATUS_CONTROL_C_EXIT).
constexpr UINT kEndedByUs = 0xC000013A;

HANDLE AsHandle(std::intptr_t value)
{
    return reinterpret_cast<HANDLE>(value);
}

std::intptr_t AsValue(HANDLE handle)
{
    return reinterpret_cast<std::intptr_t>(handle);
}

void CloseOnce(std::intptr_t& handle)
{
    if (handle != 0)
        ::CloseHandle(AsHandle(handle));
    handle = 0;
}

std::string Failure(const char* what)
{
    const unsigned long code = ::GetLastError();
    const std::string text = SystemErrorText(code);
    return std::string(what) + ": " + (text.empty() ? "error " + std::to_string(code) : text);
}

// The system's shell: COMSPEC as Windows sets it, cmd.exe where it is not set.
std::string ShellCommandLine(const std::string& command)
{
    const char* comspec = std::getenv("COMSPEC");
    const std::string shell = comspec != nullptr && *comspec != '\0' ? comspec : "cmd.exe";
    // /s with the whole command in quotes hands cmd the command's own quotes unchanged; /d
    // keeps the user's AutoRun commands out of it.
    return "\"" + shell + "\" /d /s /c \"" + command + "\"";
}

} // namespace

CChildProcess::CChildProcess() = default;

CChildProcess::~CChildProcess()
{
    Stop(0);
}

bool CChildProcess::Start(const std::string& command)
{
    if (m_pid > 0)
    {
        m_error = "already started";
        return false;
    }
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE childIn = nullptr;
    HANDLE toChild = nullptr;
    HANDLE fromChild = nullptr;
    HANDLE childOut = nullptr;
    auto closeAll = [&]
    {
        for (HANDLE h : {childIn, toChild, fromChild, childOut})
            if (h != nullptr)
                ::CloseHandle(h);
    };
    if (!::CreatePipe(&childIn, &toChild, &inherited, 0) ||
        !::CreatePipe(&fromChild, &childOut, &inherited, 0))
    {
        m_error = Failure("cannot create a pipe");
        closeAll();
        return false;
    }
    // Our ends stay ours: a command that inherited its own input's writing end would never see
    // that input close.
    ::SetHandleInformation(toChild, HANDLE_FLAG_INHERIT, 0);
    ::SetHandleInformation(fromChild, HANDLE_FLAG_INHERIT, 0);

    // The job object is the Windows process group: everything the command starts joins it, and
    // closing our handle to it ends whatever is left, even if we are killed ourselves.
    HANDLE job = ::CreateJobObjectA(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job == nullptr ||
        !::SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits))
    {
        m_error = Failure("cannot create a job object for the command");
        if (job != nullptr)
            ::CloseHandle(job);
        closeAll();
        return false;
    }

    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = childIn;
    startup.hStdOutput = childOut;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::string commandLine = ShellCommandLine(command);
    // Suspended until it is in the job, so that nothing it starts can escape the group.
    if (!::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                          CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup,
                          &process))
    {
        m_error = Failure("cannot start the command");
        ::CloseHandle(job);
        closeAll();
        return false;
    }
    if (!::AssignProcessToJobObject(job, process.hProcess))
    {
        m_error = Failure("cannot put the command in a job object");
        ::TerminateProcess(process.hProcess, kEndedByUs);
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
        ::CloseHandle(job);
        closeAll();
        return false;
    }
    ::ResumeThread(process.hThread);
    ::CloseHandle(process.hThread);
    ::CloseHandle(childIn);
    ::CloseHandle(childOut);
    m_pid = static_cast<int>(process.dwProcessId);
    m_hProcess = AsValue(process.hProcess);
    m_hJob = AsValue(job);
    m_hToChild = AsValue(toChild);
    m_hFromChild = AsValue(fromChild);
    m_exitCode = -1;
    return true;
}

long CChildProcess::Read(unsigned char* buffer, unsigned long size, unsigned long timeoutMs)
{
    if (m_hFromChild == 0)
        return -1;
    // Anonymous pipes have no timed read; they are peeked until bytes arrive or time is up.
    const auto limit = SteadyClock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;)
    {
        DWORD available = 0;
        // Fails (broken pipe) only once the command has closed its output and all is read.
        if (!::PeekNamedPipe(AsHandle(m_hFromChild), nullptr, 0, nullptr, &available, nullptr))
            return -1;
        if (available > 0)
        {
            DWORD got = 0;
            if (!::ReadFile(AsHandle(m_hFromChild), buffer, std::min<DWORD>(size, available), &got,
                            nullptr))
                return -1;
            return static_cast<long>(got);
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(limit - SteadyClock::now());
        if (left.count() <= 0)
            return 0;
        ::Sleep(static_cast<DWORD>(std::min<long long>(left.count(), 5)));
    }
}

bool CChildProcess::Write(const unsigned char* data, unsigned long count)
{
    if (m_hToChild == 0)
        return false;
    while (count > 0)
    {
        DWORD put = 0;
        if (!::WriteFile(AsHandle(m_hToChild), data, count, &put, nullptr) || put == 0)
            return false;
        data += put;
        count -= put;
    }
    return true;
}

void CChildProcess::DiscardOutput()
{
    unsigned char scrap[4096];
    DWORD available = 0;
    while (m_hFromChild != 0 &&
           ::PeekNamedPipe(AsHandle(m_hFromChild), nullptr, 0, nullptr, &available, nullptr) &&
           available > 0)
    {
        DWORD got = 0;
        if (!::ReadFile(AsHandle(m_hFromChild), scrap,
                        std::min<DWORD>(sizeof scrap, available), &got, nullptr))
            break;
    }
}

void CChildProcess::Terminate(bool forced)
{
    if (m_pid <= 0)
        return;
    // The polite request is Ctrl+Break to the command's process group; it reaches console
    // programs only, and only when we share their console. Where it cannot be sent, the group
    // is ended at once.
    if (!forced && ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(m_pid)))
        return;
    ::TerminateJobObject(AsHandle(m_hJob), kEndedByUs);
}

void CChildProcess::CloseLine()
{
    CloseOnce(m_hToChild);
    CloseOnce(m_hFromChild);
}

int CChildProcess::Stop(unsigned long graceMs, unsigned long killAfterMs)
{
    CloseLine();
    if (m_pid <= 0)
        return m_exitCode;
    HANDLE const process = AsHandle(m_hProcess);
    if (::WaitForSingleObject(process, graceMs) == WAIT_TIMEOUT)
    {
        Terminate(false);
        ::WaitForSingleObject(process, killAfterMs);
    }
    // Members still running after the command itself finished end with it, as on POSIX.
    ::TerminateJobObject(AsHandle(m_hJob), kEndedByUs);
    ::WaitForSingleObject(process, INFINITE);
    DWORD code = kEndedByUs;
    ::GetExitCodeProcess(process, &code);
    m_exitCode = code <= 255 ? static_cast<int>(code) : -1;
    CloseOnce(m_hProcess);
    CloseOnce(m_hJob);
    m_pid = -1;
    return m_exitCode;
}

} // namespace shared::platform
