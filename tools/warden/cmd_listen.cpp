// warden listen (--port N | --device PATH) [--baud 4800] [--data-bits 8] [--parity none]
//               [--stop-bits 1] [--handshake none] [--json] [--seconds S] [--count N]
//               [--no-clock] [--strict] [--reconnect]
// Opens a serial port and prints each device sentence as it arrives, decoded as "warden nmea"
// does; the UTC times of valid $GPRMC sentences correct the library's clock. Ends on Ctrl-C,
// after --seconds or after --count sentences, then prints the summary. Input is held back in
// the driver while the output cannot keep up, so no sentence is lost; a line that hangs up ends
// the command with an error, or with --reconnect is opened again once it is back.

#include "Command.h"
#include "NmeaPrinter.h"
#include "PortOpenFailure.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <shared/positioning/CNmeaLineAssembler.h>
#include <shared/positioning/CNmeaSentence.h>
#include <shared/time/CClock.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using Device = CSerialPortDevice;

std::atomic<bool> g_interrupted{false};

extern "C" void OnInterrupt(int)
{
    g_interrupted = true;
}

// Device reports go to standard error as they happen (they arrive on the receive thread).
class ReportPrinter : public Device::ErrorSlot, public Device::LineErrorSlot
{
public:
    ~ReportPrinter() override
    {
        Device::ErrorSlot::DisconnectAll();
        Device::LineErrorSlot::DisconnectAll();
    }
    bool Invoke(int port, Device::EErrorLevel level, unsigned long code,
                char const* message) override
    {
        std::lock_guard guard(m_lock);
        if (m_holding)
        {
            m_held.push_back({level, message});
            return false;
        }
        std::cerr << "warden: COM" << port << (level == Device::LEVEL_WARNING ? " warning: " : ": ")
                  << message << " (" << code << ")\n";
        return false;
    }
    // Reports of an open are held until its outcome is known: a failed open is one line that
    // carries the device's own reason, and a port waited for with --reconnect does not print
    // its failure twice a second.
    void Hold()
    {
        std::lock_guard guard(m_lock);
        m_holding = true;
        m_held.clear();
    }
    // Ends holding. After a successful open the held warnings are printed; after a failed one
    // the last error's text is returned for the failure line.
    std::string Release(int port, bool opened)
    {
        std::lock_guard guard(m_lock);
        m_holding = false;
        std::string reason;
        for (auto const& [level, message] : m_held)
        {
            if (opened && level == Device::LEVEL_WARNING)
            {
                std::cerr << "warden: COM" << port << " warning: " << message << '\n';
            }
            else if (level != Device::LEVEL_WARNING)
            {
                reason = message;
            }
        }
        m_held.clear();
        return reason;
    }
    bool Invoke(int port, Device::EError error) override
    {
        std::lock_guard guard(m_lock);
        std::cerr << "warden: COM" << port << " line error 0x" << std::hex
                  << static_cast<unsigned long>(error) << std::dec << LineErrorWords(error) << '\n';
        return false;
    }

private:
    static std::string LineErrorWords(Device::EError error)
    {
        std::string words;
        auto add = [&](unsigned long bit, char const* word)
        {
            if ((error & bit) != 0)
            {
                words += words.empty() ? " (" : ", ";
                words += word;
            }
        };
        add(Device::LINE_RXOVER, "driver buffer overflow");
        add(Device::LINE_OVERRUN, "bytes lost");
        add(Device::LINE_PARITY, "parity");
        add(Device::LINE_FRAME, "framing");
        add(Device::LINE_BREAK, "break");
        return words.empty() ? words : words + ")";
    }

    std::mutex m_lock;
    bool m_holding = false;
    std::vector<std::pair<Device::EErrorLevel, std::string>> m_held;
};

bool FeedClock(std::string_view line)
{
    // Most sentences are of other types; they need no second decoding to learn that.
    if (line.find("GPRMC") == std::string_view::npos)
    {
        return false;
    }
    CNmeaSentence::E_NMEAParseResult result = CNmeaSentence::eNMEAParseOK;
    std::unique_ptr<CNmeaSentence> sentence(
        CNmeaSentence::Create(std::string(line).c_str(), result));
    if (!sentence || sentence->GetType() != CNmeaSentence::eNMEA_GPRMC)
    {
        return false;
    }
    auto const& rmc = static_cast<CNmeaGPRMC const&>(*sentence);
    char status = 'V';
    COleDateTime utc;
    // Only a fix ("A") is a trusted time; a receiver without one reports its own guess.
    if (!rmc.GetStatusIndicator(status) || status != 'A' || !rmc.GetTimeStamp(utc))
    {
        return false;
    }
    CClock::NotifyCurrentUTCDateTime(utc);
    return true;
}

void SetupListen(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "listen", "Print the sentences a device sends on a serial port as they arrive");
    struct Options
    {
        int port = 0;
        std::string device;
        unsigned long baud = 4800;
        unsigned dataBits = 8;
        std::string parity = "none";
        std::string stopBits = "1";
        std::string handshake = "none";
        bool json = false;
        double seconds = 0;
        long count = 0;
        bool noClock = false;
        bool strict = false;
        bool reconnect = false;
    };
    auto options = std::make_shared<Options>();
    auto* portOption = cmd->add_option("--port", options->port, "COM port number to open")
                           ->check(CLI::Range(1, 9999));
    auto* deviceOption =
        cmd->add_option("--device", options->device,
                        "Device file to open instead (e.g. /dev/ttyUSB0); with --port it is "
                        "used as that COM number");
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
                  "Print one JSON object per sentence (JSON Lines) and a final summary object");
    cmd->add_option("--seconds", options->seconds, "Stop after this many seconds");
    cmd->add_option("--count", options->count, "Stop after this many sentences");
    cmd->add_flag("--no-clock", options->noClock,
                  "Do not correct the library's clock from $GPRMC times");
    cmd->add_flag("--strict", options->strict, "Exit with status 2 when any line was rejected");
    cmd->add_flag("--reconnect", options->reconnect,
                  "When the line hangs up, wait for the port to come back and go on");
    warden::Help(cmd,
                 {"warden listen --port 1 --baud 9600",
                  "warden listen --device /dev/ttyUSB0 --json",
                  "warden listen --port 3 --seconds 60 --strict --no-clock"},
                 "1 the port cannot be opened or hung up (without --reconnect); 2 with --strict, "
                 "some lines were rejected");
    (void)portOption;
    (void)deviceOption;
    cmd->callback(
        [options]
        {
            if (options->port == 0 && options->device.empty())
            {
                throw warden::Failure("listen needs --port N or --device PATH");
            }
            // A device given alone is opened as a COM number that nothing else names.
            int const port = options->port != 0 ? options->port : 256;
            if (!options->device.empty())
            {
                Device::SetDevicePath(port, options->device.c_str());
            }
            static std::map<std::string, Device::EParity> const parities{
                {"none", Device::PARITY_BIT_NONE},
                {"odd", Device::PARITY_BIT_ODD},
                {"even", Device::PARITY_BIT_EVEN},
                {"mark", Device::PARITY_BIT_MARK},
                {"space", Device::PARITY_BIT_SPACE}};
            static std::map<std::string, Device::EStopBits> const stops{
                {"1", Device::STOP_BITS_ONE},
                {"1.5", Device::STOP_BITS_ONE_HALF},
                {"2", Device::STOP_BITS_TWO}};
            static std::map<std::string, Device::EHandshake> const handshakes{
                {"none", Device::HANDSHAKE_NONE},
                {"hardware", Device::HANDSHAKE_HARDWARE},
                {"xonxoff", Device::HANDSHAKE_XONXOFF},
                {"cts", Device::HANDSHAKE_CTS}};

            ReportPrinter reports;
            Device device;
            device.ConnectErrorHandler(reports, 128);
            device.ConnectLineErrorHandler(reports, 128);
            // A printer that falls behind (a slow terminal, a full pipe) holds the device back
            // instead of losing sentences.
            device.SetHoldInputWhenFull(true);
            constexpr unsigned long kFifoBytes = 1UL << 20;
            std::string reason;
            auto open = [&]
            {
                reports.Hold();
                unsigned long const code = device.Open(
                    port, static_cast<Device::EBaudrate>(options->baud),
                    static_cast<Device::EDataBits>(options->dataBits), parities.at(options->parity),
                    stops.at(options->stopBits), handshakes.at(options->handshake), kFifoBytes);
                reason = reports.Release(port, code == 0);
                return code;
            };
            if (unsigned long const code = open(); code != 0)
            {
                throw warden::Failure(warden::PortOpenFailure(port, code, reason));
            }
            std::cerr << "warden: listening on COM" << port << " (" << Device::GetDevicePath(port)
                      << ") at " << options->baud << " baud; Ctrl-C ends\n";

            g_interrupted = false;
            auto const previous = std::signal(SIGINT, OnInterrupt);
            auto const previousTerm = std::signal(SIGTERM, OnInterrupt);

            warden::NmeaPrinter printer(options->json ? warden::NmeaPrinter::Format::Json
                                                      : warden::NmeaPrinter::Format::Table);
            printer.PrintHeader(std::cout);
            auto const start = std::chrono::steady_clock::now();
            // Sentences are short; a line that grows past this is noise and is cut.
            CNmeaLineAssembler lines(1024);
            long sentences = 0;
            long clockUpdates = 0;
            bool lost = false;
            char block[4096];
            auto more = [&] { return options->count == 0 || sentences < options->count; };
            auto print = [&](std::string_view line)
            {
                if (line.find_first_not_of(" \t") == std::string_view::npos)
                {
                    return;
                }
                printer.PrintLine(line, std::cout);
                ++sentences;
                if (!options->noClock && FeedClock(line))
                {
                    ++clockUpdates;
                }
            };
            std::string_view line;
            while (!g_interrupted)
            {
                if (options->seconds > 0 &&
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - start)
                            .count() >= options->seconds)
                {
                    break;
                }
                if (!more())
                {
                    break;
                }
                // A short wait keeps Ctrl-C and --seconds responsive.
                unsigned long const n = device.Read(block, sizeof block, 200, 0);
                if (n < sizeof block)
                {
                    // Caught up with the device: show what has been printed so far.
                    std::cout.flush();
                }
                lines.Append(block, n);
                while (more() && lines.NextLine(line))
                {
                    print(line);
                }
                if (n == 0 && device.IsLineLost() && device.GetBytesReady() == 0)
                {
                    if (!options->reconnect)
                    {
                        lost = true;
                        break;
                    }
                    std::cerr << "warden: COM" << port << " hung up; waiting for it to return\n";
                    device.Close();
                    while (!g_interrupted && open() != 0)
                    {
                        std::this_thread::sleep_for(std::chrono::milliseconds(500));
                    }
                    if (device.IsOpen())
                    {
                        std::cerr << "warden: COM" << port << " is back\n";
                    }
                }
            }
            if (more() && lines.Finish(line))
            {
                print(line);
            }
            std::signal(SIGINT, previous);
            std::signal(SIGTERM, previousTerm);
            device.Close();
            printer.PrintSummary(std::cout);
            if (!options->noClock)
            {
                std::cerr << "warden: " << clockUpdates << " $GPRMC time(s) given to the clock\n";
            }
            if (lost)
            {
                throw warden::Failure("COM" + std::to_string(port) + " (" +
                                      Device::GetDevicePath(port) +
                                      ") hung up: the device is gone (--reconnect waits for it)");
            }
            if (options->strict && printer.Counts().Rejected() > 0)
            {
                warden::SetExitCode(2);
            }
        });
}

const warden::Registration listenRegistration{"listen", 61, SetupListen};

} // namespace
