// warden receive (--port N | --device PATH | --exec 'COMMAND') [--dir DIR] [--overwrite]
//                [--baud 115200] [--data-bits 8] [--parity none] [--stop-bits 1]
//                [--handshake none] [--escape-controls] [--quiet]
// Receives files over ZModem into DIR (default: the current directory) with a progress line
// per file and a summary. Each file is written to a temporary file beside its target and
// renamed into place only once it arrived whole; an existing file is never replaced unless
// --overwrite is given (the sender is told to skip it). --exec runs COMMAND through the shell
// (/bin/sh; cmd.exe on Windows) with its standard input and output as the line (e.g. --exec
// 'sz -q report.log').

#include "Command.h"
#include "Json.h"
#include "PortOpenFailure.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/comms/CZModem.h>
#include <shared/comms/CZModemFileStore.h>
#include <shared/platform/ChildProcess.h>
#include <shared/platform/StandardStreams.h>
#include <shared/time/CClock.h>
#include <string>

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
    // Up to size bytes, waiting up to timeoutMs for the first; 0 on timeout or a dead line.
    virtual unsigned long Read(unsigned char* buffer, unsigned long size,
                               unsigned long timeoutMs) = 0;
    virtual void Write(unsigned char const* data, unsigned long count) = 0;
    virtual void Purge() = 0;

protected:
    // Waits in short slices so that Ctrl-C and a dead line are noticed at once; `attempt`
    // takes one slice's wait and answers the bytes read, or -1 when nothing more can come.
    template <class Attempt>
    static unsigned long ReadInSlices(unsigned long timeoutMs, Attempt attempt)
    {
        const auto limit = Clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;)
        {
            if (g_interrupted)
                return 0;
            const long left = static_cast<long>(
                std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now())
                    .count());
            const long n =
                attempt(static_cast<unsigned long>(std::clamp<long>(left, 0, WAIT_SLICE_MS)));
            if (n != 0 || left <= WAIT_SLICE_MS)
                return n > 0 ? static_cast<unsigned long>(n) : 0;
        }
    }
    static constexpr long WAIT_SLICE_MS = 200;
};

// A command run through the system's shell whose standard input and output are the line. The
// command and whatever it starts are ended together when the session ends, however it ends.
class CommandLine : public Line
{
public:
    explicit CommandLine(const std::string& command)
    {
        if (!m_child.Start(command))
            throw warden::Failure(m_child.GetError());
    }

    unsigned long Read(unsigned char* buffer, unsigned long size, unsigned long timeoutMs) override
    {
        return ReadInSlices(timeoutMs,
                            [&](unsigned long wait) -> long
                            {
                                // The command closed its output: nothing more will come.
                                if (m_closed)
                                    return -1;
                                const long n = m_child.Read(buffer, size, wait);
                                m_closed = n < 0;
                                return n;
                            });
    }

    void Write(unsigned char const* data, unsigned long count) override
    {
        // A command that is gone shows itself through the reads.
        m_child.Write(data, count);
    }

    void Purge() override { m_child.DiscardOutput(); }

    // Ends the line; a command that finished the session normally gets a moment to exit on
    // its own. Answers its exit code, -1 when it had to be ended.
    int Stop(bool sessionOk) { return m_child.Stop(sessionOk ? 5000 : 0); }

private:
    shared::platform::CChildProcess m_child;
    bool m_closed = false;
};

class PortLine : public Line, private CSerialPortDevice::ErrorSlot
{
public:
    explicit PortLine(CSerialPortDevice& device) : m_device(device)
    {
        m_device.ConnectErrorHandler(*this, 128);
    }
    ~PortLine() override { CSerialPortDevice::ErrorSlot::DisconnectAll(); }

    bool IsHungUp() const { return m_hungUp; }

    unsigned long Read(unsigned char* buffer, unsigned long size, unsigned long timeoutMs) override
    {
        return ReadInSlices(timeoutMs,
                            [&](unsigned long wait) -> long
                            {
                                // Bytes that arrived before a hang-up are still delivered.
                                const bool hungUp = m_hungUp;
                                const unsigned long n =
                                    m_device.Read(buffer, size, hungUp ? 0 : wait, 0);
                                return n > 0 ? static_cast<long>(n) : hungUp ? -1 : 0;
                            });
    }
    void Write(unsigned char const* data, unsigned long count) override
    {
        // Long enough for a 20-byte header at 300 baud.
        if (!m_hungUp)
            m_device.Write(data, count, 5000);
    }
    void Purge() override { m_device.PurgeInput(); }

private:
    // The device's receive thread reports a line that failed or was hung up once, as an error
    // (warnings are write timeouts, which the session survives).
    bool Invoke(int, CSerialPortDevice::EErrorLevel level, unsigned long, char const*) override
    {
        if (level != CSerialPortDevice::LEVEL_WARNING)
            m_hungUp = true;
        return false;
    }

    CSerialPortDevice& m_device;
    std::atomic<bool> m_hungUp{false};
};

// ---------------------------------------------------------------------------------------------
// The receiver: the library's file store plus progress lines

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

class WardenZModem : public CZModem
{
public:
    WardenZModem(Line& line, const std::string& directory, bool overwrite, bool quiet, bool json,
                 E_ZMODEM_FLAGS flags)
        : CZModem(flags), m_line(line), m_store(directory, overwrite), m_quiet(quiet), m_json(json),
          m_terminal(shared::platform::IsTerminal(shared::platform::EStandardStream::error))
    {
    }

    Totals totals;

protected:
    bool ZCreateFile(char const* name, bool binary, bool append) override
    {
        // Everything the sender names is shown only in printable form.
        m_name = CZModemFileStore::Printable(name);
        if (!m_store.Create(name, binary, append))
        {
            const std::string& why = m_store.GetReason();
            ++totals.skipped;
            Finish("skipped, " + (why == "exists" ? "exists (use --overwrite to replace it)" : why),
                   false);
            Record("skipped", why, 0);
            return false;
        }
        m_start = Clock::now();
        m_lastProgress = Clock::time_point{};
        Progress(false);
        return true;
    }

    void ZWriteData(unsigned char const* data, unsigned long count) override
    {
        m_store.Write(data, count);
        Progress(false);
    }

    bool ZCloseFile(unsigned long modificationTime, int mode) override
    {
        if (!m_store.IsOpen())
            return true;
        if (!IsClosingAtEndOfFile())
        {
            m_store.Abandon();
            ++totals.failed;
            Finish("incomplete, not kept", true);
            Record("failed", "incomplete", 0);
            return true;
        }
        Progress(true);
        if (!m_store.Publish(modificationTime, mode))
        {
            ++totals.failed;
            Finish("cannot be stored: " + m_store.GetReason(), true);
            Record("failed", m_store.GetReason(), 0);
            return false;
        }
        ++totals.received;
        totals.bytes += m_store.GetBytesReceived();
        Finish("received", true);
        Record("received", "", modificationTime);
        return true;
    }

    void ZSendBytes(unsigned char const* data, unsigned long count) override
    {
        m_line.Write(data, count);
    }
    bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) override
    {
        return m_line.Read(&byte, 1, timeoutMs) == 1;
    }
    unsigned long ZReadBlock(unsigned char* buffer, unsigned long size,
                             unsigned long timeoutMs) override
    {
        return m_line.Read(buffer, size, timeoutMs);
    }
    void ZPurgeInput() override { m_line.Purge(); }

private:
    void Progress(bool final)
    {
        if (m_quiet || !m_terminal)
            return;
        const auto now = Clock::now();
        if (!final && now - m_lastProgress < std::chrono::milliseconds(200))
            return;
        m_lastProgress = now;
        const double seconds = std::chrono::duration<double>(now - m_start).count();
        const auto received = m_store.GetBytesReceived();
        std::cerr << "\r\033[K" << m_name << "  " << received;
        if (GetFileLength() > 0)
            std::cerr << " / " << GetFileLength();
        std::cerr << " bytes";
        if (seconds > 0.05)
            std::cerr << "  " << HumanRate(static_cast<double>(received) / seconds);
        std::cerr << std::flush;
    }

    void Finish(const std::string& outcome, bool withBytes)
    {
        if (m_quiet)
            return;
        std::cerr << (m_terminal ? "\r\033[K" : "") << m_name << ": " << outcome;
        if (withBytes)
            std::cerr << " (" << m_store.GetBytesReceived() << " bytes)";
        std::cerr << '\n';
    }

    // One JSON Lines record per file on standard output, so a script sees each file as it lands.
    void Record(const char* outcome, const std::string& reason, unsigned long modificationTime)
    {
        if (!m_json)
            return;
        warden::Json record{
            {"file", m_name}, {"outcome", outcome}, {"bytes", m_store.GetBytesReceived()}};
        if (!reason.empty())
            record["reason"] = reason;
        // The sender gives the time in seconds since 1970 UTC; 0 when it has none.
        record["modified"] = nullptr;
        if (modificationTime != 0)
        {
            record["modified"] = warden::UtcTimeText(
                CClock::ConvertDWORD2COleDateTime(static_cast<unsigned long>(modificationTime)));
        }
        warden::PrintRecord(record, std::cout);
        std::cout.flush();
    }

    Line& m_line;
    CZModemFileStore m_store;
    bool m_quiet;
    bool m_json;
    bool m_terminal; // the progress line is redrawn in place only on a terminal
    std::string m_name;
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
    bool json = false;
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
    CommandLine* command = nullptr;
    PortLine* portLine = nullptr;
    if (!options.command.empty())
    {
        auto owned = std::make_unique<CommandLine>(options.command);
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
            throw warden::Failure(warden::PortOpenFailure(port, code));
        device->PurgeInput();
        auto owned = std::make_unique<PortLine>(*device);
        portLine = owned.get();
        line = std::move(owned);
        if (!options.quiet)
            std::cerr << "warden: waiting for a ZModem sender on COM" << port << " ("
                      << Device::GetDevicePath(port) << ")\n";
    }

    g_interrupted = false;
    const auto previousInt = std::signal(SIGINT, OnReceiveInterrupt);
    const auto previousTerm = std::signal(SIGTERM, OnReceiveInterrupt);

    WardenZModem receiver(*line, options.dir, options.overwrite, options.quiet, options.json,
                          options.escapeControls ? CZModem::ZMODEM_ESCAPE_CONTROLS
                                                 : CZModem::ZMODEM_NO_FLAGS);
    const auto start = Clock::now();
    const bool ok = receiver.ZModemReceive();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    std::signal(SIGINT, previousInt);
    std::signal(SIGTERM, previousTerm);
    int status = 0;
    if (command != nullptr)
        status = command->Stop(ok);
    if (device)
        device->Close();

    const Totals& t = receiver.totals;
    if (options.json)
    {
        warden::PrintRecord(
            {{"summary",
              {{"received", t.received},
               {"bytes", t.bytes},
               {"seconds", static_cast<double>(static_cast<long long>(seconds * 1000.0)) / 1000.0},
               {"skipped", t.skipped},
               {"failed", t.failed},
               {"ok", ok}}}},
            std::cout);
    }
    else
    {
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
    }

    if (!ok && portLine != nullptr && portLine->IsHungUp())
        throw warden::Failure("transfer failed; the line was hung up");
    if (!ok)
        throw warden::Failure(g_interrupted ? "transfer interrupted; the sender was told to stop"
                                            : "transfer failed; the sender was told to stop");
    if (command != nullptr && status != 0)
        throw warden::Failure(status > 0
                                  ? "the command exited with status " + std::to_string(status)
                                  : std::string("the command did not exit by itself"));
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
    cmd->add_flag("--json", options->json,
                  "Print one JSON object per file (JSON Lines) and a final summary object");
    warden::Help(cmd,
                 {"warden receive --port 1 --dir incoming", "warden receive --exec 'sz -q log.txt'",
                  "warden receive --device /dev/ttyUSB0 --baud 9600 --json --quiet"},
                 "1 the session failed; 2 some files were skipped or not kept");
    cmd->callback([options] { RunReceive(*options); });
}

const warden::Registration receiveRegistration{"receive", 62, SetupReceive};

} // namespace
