// warden receive (--port N | --device PATH | --exec 'COMMAND') [--dir DIR] [--overwrite]
//                [--baud 115200] [--data-bits 8] [--parity none] [--stop-bits 1]
//                [--handshake none] [--escape-controls] [--quiet]
// Receives files over ZModem into DIR (default: the current directory) with a progress line
// per file and a summary. Each file is written to a temporary file beside its target and
// renamed into place only once it arrived whole; an existing file is never replaced unless
// --overwrite is given (the sender is told to skip it). --exec runs COMMAND through /bin/sh
// with its standard input and output as the line (e.g. --exec 'sz -q report.log').

#include "Command.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <poll.h>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/comms/CZModem.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

std::atomic<bool> g_interrupted{false};

extern "C" void OnReceiveInterrupt(int)
{
    g_interrupted = true;
}

// ---------------------------------------------------------------------------------------------
// Lines

class Line
{
public:
    virtual ~Line() = default;
    virtual bool Read(unsigned char& byte, unsigned long timeoutMs) = 0;
    virtual void Write(unsigned char const* data, unsigned long count) = 0;
    virtual void Purge() = 0;
};

// A command run through /bin/sh whose standard input and output are the line.
class CommandPipe : public Line
{
public:
    explicit CommandPipe(const std::string& command)
    {
        std::signal(SIGPIPE, SIG_IGN);
        int toChild[2];
        int fromChild[2];
        if (::pipe(toChild) != 0)
            throw warden::Failure(std::string("cannot create a pipe: ") + std::strerror(errno));
        if (::pipe(fromChild) != 0)
        {
            ::close(toChild[0]);
            ::close(toChild[1]);
            throw warden::Failure(std::string("cannot create a pipe: ") + std::strerror(errno));
        }
        m_pid = ::fork();
        if (m_pid < 0)
            throw warden::Failure(std::string("cannot start the command: ") + std::strerror(errno));
        if (m_pid == 0)
        {
            ::dup2(toChild[0], 0);
            ::dup2(fromChild[1], 1);
            for (int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]})
                ::close(fd);
            ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        m_write = toChild[1];
        m_read = fromChild[0];
        ::fcntl(m_read, F_SETFL, ::fcntl(m_read, F_GETFL) | O_NONBLOCK);
    }

    ~CommandPipe() override { CloseAndWait(); }

    bool Read(unsigned char& byte, unsigned long timeoutMs) override
    {
        if (m_next < m_filled)
        {
            byte = m_buffer[m_next++];
            return true;
        }
        const auto limit = Clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;)
        {
            if (g_interrupted || m_read < 0)
                return false;
            const ssize_t n = ::read(m_read, m_buffer, sizeof m_buffer);
            if (n > 0)
            {
                m_filled = static_cast<std::size_t>(n);
                m_next = 1;
                byte = m_buffer[0];
                return true;
            }
            if (n == 0)
                return false; // the command closed its output: nothing more will come
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK)
                return false;
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now());
            if (left.count() <= 0)
                return false;
            // Short waits keep Ctrl-C responsive.
            pollfd p{m_read, POLLIN, 0};
            ::poll(&p, 1, static_cast<int>(std::min<long>(left.count(), 200)));
        }
    }

    void Write(unsigned char const* data, unsigned long count) override
    {
        while (count > 0 && m_write >= 0)
        {
            const ssize_t n = ::write(m_write, data, count);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return; // the command is gone; reads will time out and end the session
            data += n;
            count -= static_cast<unsigned long>(n);
        }
    }

    void Purge() override
    {
        m_next = m_filled = 0;
        while (::read(m_read, m_buffer, sizeof m_buffer) > 0)
        {
        }
    }

    // Closes the line and waits (a few seconds at most) for the command; its exit status.
    int CloseAndWait()
    {
        if (m_read >= 0)
            ::close(m_read);
        if (m_write >= 0)
            ::close(m_write);
        m_read = m_write = -1;
        if (m_pid <= 0)
            return m_status;
        const auto limit = Clock::now() + std::chrono::seconds(5);
        int sig = SIGTERM;
        for (;;)
        {
            const pid_t r = ::waitpid(m_pid, &m_status, WNOHANG);
            if (r == m_pid || r < 0)
                break;
            if (Clock::now() > limit)
            {
                ::kill(m_pid, sig);
                sig = SIGKILL;
            }
            ::usleep(10000);
        }
        m_pid = -1;
        return m_status;
    }

private:
    pid_t m_pid = -1;
    int m_status = 0;
    int m_read = -1;
    int m_write = -1;
    unsigned char m_buffer[65536];
    std::size_t m_next = 0;
    std::size_t m_filled = 0;
};

class PortLine : public Line
{
public:
    explicit PortLine(CSerialPortDevice& device) : m_device(device) {}

    bool Read(unsigned char& byte, unsigned long timeoutMs) override
    {
        if (m_next < m_filled)
        {
            byte = m_buffer[m_next++];
            return true;
        }
        const auto limit = Clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;)
        {
            if (g_interrupted)
                return false;
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now());
            const unsigned long wait =
                static_cast<unsigned long>(std::clamp<long>(left.count(), 0, 200));
            // Whatever the FIFO holds, taken in one go.
            m_filled = m_device.Read(m_buffer, sizeof m_buffer, wait, 0);
            if (m_filled > 0)
            {
                m_next = 1;
                byte = m_buffer[0];
                return true;
            }
            if (left.count() <= 200)
                return false;
        }
    }
    void Write(unsigned char const* data, unsigned long count) override
    {
        // Long enough for a 20-byte header at 300 baud.
        m_device.Write(data, count, 5000);
    }
    void Purge() override
    {
        m_next = m_filled = 0;
        m_device.PurgeInput();
    }

private:
    CSerialPortDevice& m_device;
    unsigned char m_buffer[4096];
    unsigned long m_next = 0;
    unsigned long m_filled = 0;
};

// ---------------------------------------------------------------------------------------------
// The file store

struct Totals
{
    int received = 0;
    int skipped = 0;
    int failed = 0;
    unsigned long long bytes = 0;
};

std::string HumanRate(double bytesPerSecond)
{
    char text[32];
    if (bytesPerSecond >= 1024.0 * 1024.0)
        std::snprintf(text, sizeof text, "%.1f MiB/s", bytesPerSecond / (1024.0 * 1024.0));
    else
        std::snprintf(text, sizeof text, "%.1f KiB/s", bytesPerSecond / 1024.0);
    return text;
}

// Turns the sender's name into a path inside the target directory, or an empty path when the
// name cannot be placed safely there (absolute paths become relative; ".." is refused).
fs::path SafeRelativePath(const std::string& name)
{
    fs::path result;
    std::string part;
    auto flush = [&]() -> bool
    {
        if (part == "..")
            return false;
        if (!part.empty() && part != ".")
            result /= part;
        part.clear();
        return true;
    };
    for (char c : name)
    {
        if (c == '/' || c == '\\')
        {
            if (!flush())
                return {};
        }
        else
            part += (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) ? '_' : c;
    }
    if (!flush())
        return {};
    return result;
}

class WardenZModem : public CZModem
{
public:
    WardenZModem(Line& line, fs::path directory, bool overwrite, bool quiet, E_ZMODEM_FLAGS flags)
        : CZModem(flags), m_line(line), m_directory(std::move(directory)), m_overwrite(overwrite),
          m_quiet(quiet)
    {
    }
    ~WardenZModem() override { Abandon(); }

    Totals totals;

protected:
    bool ZCreateFile(char const* name, bool binary, bool append) override
    {
        Abandon();
        m_name = name;
        m_binary = binary;
        m_pendingCR = false;
        m_writeError = false;
        const fs::path relative = SafeRelativePath(name);
        if (relative.empty())
            return Skip("unsafe name");
        m_target = m_directory / relative;
        std::error_code ec;
        const bool exists = fs::exists(fs::symlink_status(m_target, ec));
        if (exists && !m_overwrite)
            return Skip("exists (use --overwrite to replace it)");
        fs::create_directories(m_target.parent_path(), ec);
        if (ec)
            return Skip("cannot create folder: " + ec.message());
        std::string pattern =
            (m_target.parent_path() / ("." + m_target.filename().string() + ".zmodem-XXXXXX"))
                .string();
        m_fd = ::mkstemp(pattern.data());
        if (m_fd < 0)
            return Skip(std::string("cannot create file: ") + std::strerror(errno));
        m_temporary = pattern;
        if (append && exists)
        {
            // Appending keeps the old content: it is copied into the new file first.
            std::error_code copyError;
            fs::copy_file(m_target, m_temporary, fs::copy_options::overwrite_existing, copyError);
            ::lseek(m_fd, 0, SEEK_END);
            if (copyError)
                return Skip("cannot copy the file to append to: " + copyError.message());
        }
        m_start = Clock::now();
        m_lastProgress = Clock::time_point{};
        Progress(false);
        return true;
    }

    void ZWriteData(unsigned char const* data, unsigned long count) override
    {
        if (m_binary)
            Put(data, count);
        else
        {
            // Text: CR LF becomes LF; a lone CR stays.
            for (unsigned long i = 0; i < count; ++i)
            {
                const unsigned char c = data[i];
                if (m_pendingCR && c != '\n')
                {
                    static const unsigned char cr = '\r';
                    Put(&cr, 1);
                }
                m_pendingCR = c == '\r';
                if (!m_pendingCR)
                    Put(&c, 1);
            }
        }
        m_received += count;
        Progress(false);
    }

    bool ZCloseFile(unsigned long modificationTime, int mode) override
    {
        if (m_fd < 0)
            return true;
        if (!IsClosingAtEndOfFile())
        {
            Finish("incomplete, not kept");
            ++totals.failed;
            Abandon();
            return true;
        }
        if (m_pendingCR)
        {
            static const unsigned char cr = '\r';
            Put(&cr, 1);
        }
        Flush();
        const mode_t mask = ::umask(0);
        ::umask(mask);
        const mode_t permissions = (mode != 0 ? static_cast<mode_t>(mode) & 0777 : 0666) & ~mask;
        bool ok = !m_writeError && ::fchmod(m_fd, permissions) == 0 && ::fsync(m_fd) == 0;
        if (ok && modificationTime != 0)
        {
            const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(modificationTime), 0}};
            ::futimens(m_fd, times);
        }
        ok = ::close(m_fd) == 0 && ok;
        m_fd = -1;
        if (ok)
        {
            // Without --overwrite, link() refuses a file that appeared meanwhile.
            if (m_overwrite)
                ok = ::rename(m_temporary.c_str(), m_target.c_str()) == 0;
            else
                ok = ::link(m_temporary.c_str(), m_target.c_str()) == 0;
        }
        const std::string reason = ok ? "" : std::strerror(errno);
        const unsigned long long received = m_received;
        Progress(true);
        Abandon();
        if (!ok)
        {
            m_received = received;
            Finish("cannot be stored: " + reason);
            m_received = 0;
            ++totals.failed;
            return false;
        }
        m_received = received;
        Finish("received");
        m_received = 0;
        ++totals.received;
        totals.bytes += received;
        return true;
    }

    void ZSendBytes(unsigned char const* data, unsigned long count) override
    {
        m_line.Write(data, count);
    }
    bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) override
    {
        return m_line.Read(byte, timeoutMs);
    }
    void ZPurgeInput() override { m_line.Purge(); }

private:
    bool Skip(const std::string& why)
    {
        Abandon();
        ++totals.skipped;
        if (!m_quiet)
            std::cerr << ClearLine() << m_name << ": skipped, " << why << '\n';
        return false;
    }

    void Put(unsigned char const* data, unsigned long count)
    {
        if (m_used + count > sizeof m_buffer)
            Flush();
        std::memcpy(m_buffer + m_used, data, count);
        m_used += count;
    }

    void Flush()
    {
        unsigned char const* p = m_buffer;
        while (m_used > 0 && m_fd >= 0 && !m_writeError)
        {
            const ssize_t n = ::write(m_fd, p, m_used);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
            {
                // Reported when the file ends; the session then fails rather than keep it.
                m_writeError = true;
                break;
            }
            p += n;
            m_used -= static_cast<std::size_t>(n);
        }
        m_used = 0;
    }

    // Drops the temporary file of an unfinished one.
    void Abandon()
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
        m_used = 0;
        if (!m_temporary.empty())
            ::unlink(m_temporary.c_str());
        m_temporary.clear();
        m_received = 0;
    }

    void Progress(bool final)
    {
        if (m_quiet || !m_terminal)
            return;
        const auto now = Clock::now();
        if (!final && now - m_lastProgress < std::chrono::milliseconds(200))
            return;
        m_lastProgress = now;
        const double seconds = std::chrono::duration<double>(now - m_start).count();
        std::cerr << "\r\033[K" << m_name << "  " << m_received;
        if (GetFileLength() > 0)
            std::cerr << " / " << GetFileLength();
        std::cerr << " bytes";
        if (seconds > 0.05)
            std::cerr << "  " << HumanRate(static_cast<double>(m_received) / seconds);
        std::cerr << std::flush;
    }

    const char* ClearLine() const { return m_terminal ? "\r\033[K" : ""; }

    void Finish(const std::string& outcome)
    {
        if (!m_quiet)
            std::cerr << ClearLine() << m_name << ": " << outcome << " (" << m_received
                      << " bytes)\n";
    }

    Line& m_line;
    fs::path m_directory;
    bool m_overwrite;
    bool m_quiet;
    bool m_terminal; // the progress line is redrawn in place only on a terminal
    std::string m_name;
    fs::path m_target;
    std::string m_temporary;
    int m_fd = -1;
    bool m_binary = true;
    bool m_pendingCR = false;
    bool m_writeError = false;
    unsigned long long m_received = 0;
    unsigned char m_buffer[1 << 16];
    std::size_t m_used = 0;
    Clock::time_point m_start{};
    Clock::time_point m_lastProgress{};
};

// ---------------------------------------------------------------------------------------------

struct Options
{
    int port = 0;
    std::string device;
    std::string command;
    std::string dir = ".";
    bool overwrite = false;
    bool quiet = false;
    bool escapeControls = false;
    unsigned long baud = 115200;
    unsigned dataBits = 8;
    std::string parity = "none";
    std::string stopBits = "1";
    std::string handshake = "none";
};

void RunReceive(const Options& options)
{
    const int sources =
        (options.port != 0 || !options.device.empty() ? 1 : 0) + (!options.command.empty() ? 1 : 0);
    if (sources != 1)
        throw warden::Failure("receive needs one of --port N, --device PATH or --exec COMMAND");
    std::error_code ec;
    if (!fs::is_directory(options.dir, ec))
        throw warden::Failure("no such folder: " + options.dir);

    using Device = CSerialPortDevice;
    std::unique_ptr<Device> device;
    std::unique_ptr<Line> line;
    CommandPipe* command = nullptr;
    if (!options.command.empty())
    {
        auto owned = std::make_unique<CommandPipe>(options.command);
        command = owned.get();
        line = std::move(owned);
    }
    else
    {
        const int port = options.port != 0 ? options.port : 256;
        if (!options.device.empty())
            Device::SetDevicePath(port, options.device.c_str());
        static const std::map<std::string, Device::EParity> parities{
            {"none", Device::PARITY_BIT_NONE},
            {"odd", Device::PARITY_BIT_ODD},
            {"even", Device::PARITY_BIT_EVEN},
            {"mark", Device::PARITY_BIT_MARK},
            {"space", Device::PARITY_BIT_SPACE}};
        static const std::map<std::string, Device::EStopBits> stops{
            {"1", Device::STOP_BITS_ONE},
            {"1.5", Device::STOP_BITS_ONE_HALF},
            {"2", Device::STOP_BITS_TWO}};
        static const std::map<std::string, Device::EHandshake> handshakes{
            {"none", Device::HANDSHAKE_NONE},
            {"hardware", Device::HANDSHAKE_HARDWARE},
            {"xonxoff", Device::HANDSHAKE_XONXOFF},
            {"cts", Device::HANDSHAKE_CTS}};
        device = std::make_unique<Device>();
        const unsigned long code = device->Open(
            port, static_cast<Device::EBaudrate>(options.baud),
            static_cast<Device::EDataBits>(options.dataBits), parities.at(options.parity),
            stops.at(options.stopBits), handshakes.at(options.handshake), 65536);
        if (code != 0)
            throw warden::Failure("cannot open COM" + std::to_string(port) + " (" +
                                  Device::GetDevicePath(port) + "): error " + std::to_string(code));
        device->PurgeInput();
        line = std::make_unique<PortLine>(*device);
        if (!options.quiet)
            std::cerr << "warden: waiting for a ZModem sender on COM" << port << " ("
                      << Device::GetDevicePath(port) << ")\n";
    }

    g_interrupted = false;
    const auto previousInt = std::signal(SIGINT, OnReceiveInterrupt);
    const auto previousTerm = std::signal(SIGTERM, OnReceiveInterrupt);

    WardenZModem receiver(*line, options.dir, options.overwrite, options.quiet,
                          options.escapeControls ? CZModem::ZMODEM_ESCAPE_CONTROLS
                                                 : CZModem::ZMODEM_NO_FLAGS);
    const auto start = Clock::now();
    const bool ok = receiver.ZModemReceive();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    std::signal(SIGINT, previousInt);
    std::signal(SIGTERM, previousTerm);
    int status = 0;
    if (command != nullptr)
        status = command->CloseAndWait();
    if (device)
        device->Close();

    const Totals& t = receiver.totals;
    std::cout << t.received << " file(s) received, " << t.bytes << " bytes in " << std::fixed;
    std::cout.precision(1);
    std::cout << seconds << " s";
    if (seconds > 0 && t.bytes > 0)
        std::cout << " (" << HumanRate(static_cast<double>(t.bytes) / seconds) << ")";
    if (t.skipped > 0)
        std::cout << ", " << t.skipped << " skipped";
    if (t.failed > 0)
        std::cout << ", " << t.failed << " failed";
    std::cout << '\n';

    if (!ok)
        throw warden::Failure(g_interrupted ? "transfer interrupted; the sender was told to stop"
                                            : "transfer failed; the sender was told to stop");
    if (command != nullptr && WIFEXITED(status) && WEXITSTATUS(status) != 0)
        throw warden::Failure("the command exited with status " +
                              std::to_string(WEXITSTATUS(status)));
    if (t.failed > 0 || t.skipped > 0)
        warden::SetExitCode(2);
}

void SetupReceive(CLI::App& app)
{
    auto* cmd =
        app.add_subcommand("receive", "Receive files over ZModem from a serial port or a command");
    auto options = std::make_shared<Options>();
    cmd->add_option("--port", options->port, "COM port number to open")->check(CLI::Range(1, 9999));
    cmd->add_option("--device", options->device, "Device file to open instead (e.g. /dev/ttyUSB0)");
    cmd->add_option("--exec", options->command,
                    "Run this command with its standard input and output as the line, "
                    "e.g. 'sz -q file'");
    cmd->add_option("--dir", options->dir, "Folder to store the files in")->capture_default_str();
    cmd->add_flag("--overwrite", options->overwrite, "Replace files that already exist");
    cmd->add_flag("--escape-controls", options->escapeControls,
                  "Ask the sender to escape every control character (for lines that eat them)");
    cmd->add_flag("--quiet", options->quiet, "No progress lines, only the summary");
    cmd->add_option("--baud", options->baud, "Bits per second")->capture_default_str();
    cmd->add_option("--data-bits", options->dataBits, "Data bits")
        ->check(CLI::Range(5, 8))
        ->capture_default_str();
    cmd->add_option("--parity", options->parity, "Parity")
        ->check(CLI::IsMember({"none", "odd", "even", "mark", "space"}))
        ->capture_default_str();
    cmd->add_option("--stop-bits", options->stopBits, "Stop bits")
        ->check(CLI::IsMember({"1", "1.5", "2"}))
        ->capture_default_str();
    cmd->add_option("--handshake", options->handshake, "Flow control")
        ->check(CLI::IsMember({"none", "hardware", "xonxoff", "cts"}))
        ->capture_default_str();
    cmd->footer("Exit status: 0 all files received, 1 the session failed, 2 some files were "
                "skipped or not kept.");
    cmd->callback([options] { RunReceive(*options); });
}

const warden::Registration receiveRegistration{"receive", 62, SetupReceive};

} // namespace
