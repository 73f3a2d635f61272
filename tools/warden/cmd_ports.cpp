// warden ports [--first N] [--last N] [--all] [--json]: the COM numbers, the device file each
// stands for and whether it could be opened now.

#include "Command.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <set>
#include <shared/comms/CSerialPortDevice.h>
#include <shared/platform/SerialPortPath.h>
#include <string>
#include <vector>

extern char** environ;

namespace
{

using Json = nlohmann::ordered_json;

char const* StatusWords(CSerialPortDevice::EPort status)
{
    switch (status)
    {
    case CSerialPortDevice::PORT_AVAILABLE:
        return "available";
    case CSerialPortDevice::PORT_NOT_PRESENT:
        return "not present";
    case CSerialPortDevice::PORT_IN_USE:
        return "in use";
    default:
        return "error";
    }
}

// COM numbers named by SHARED_COM<n> variables, which may lie outside the scanned range.
std::set<int> PortsFromEnvironment()
{
    std::set<int> ports;
    std::string const prefix = "SHARED_COM";
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
    {
        std::string const text = *entry;
        if (text.rfind(prefix, 0) != 0)
        {
            continue;
        }
        std::size_t const equals = text.find('=');
        std::string const digits = text.substr(prefix.size(), equals - prefix.size());
        if (!digits.empty() && digits.size() < 6 &&
            std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        {
            int const port = std::atoi(digits.c_str());
            if (port >= 1)
            {
                ports.insert(port);
            }
        }
    }
    return ports;
}

// USB and modem-class serial devices, which no COM number names by default.
std::vector<std::string> UnmappedDevices(std::set<std::string> const& mapped)
{
    std::vector<std::string> found;
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator("/dev", error))
    {
        std::string const name = entry.path().filename().string();
        if ((name.rfind("ttyUSB", 0) == 0 || name.rfind("ttyACM", 0) == 0) &&
            mapped.count(entry.path().string()) == 0)
        {
            found.push_back(entry.path().string());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

void SetupPorts(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "ports", "List COM port numbers, the device file each one opens and whether it is free");
    struct Options
    {
        int first = 1;
        int last = 32;
        bool all = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    cmd->add_option("--first", options->first, "First COM number to check")
        ->check(CLI::Range(1, 9999));
    cmd->add_option("--last", options->last, "Last COM number to check")
        ->check(CLI::Range(1, 9999));
    cmd->add_flag("--all", options->all, "Also list ports whose device is not present");
    cmd->add_flag("--json", options->json, "Print a JSON array instead of the table");
    cmd->footer("COM n opens /dev/ttyS<n-1> unless the environment variable SHARED_COM<n> names "
                "another device (e.g. SHARED_COM3=/dev/ttyUSB0).");
    cmd->callback(
        [options]
        {
            if (options->last < options->first)
            {
                throw warden::Failure("--last must not be below --first");
            }
            std::set<int> ports = PortsFromEnvironment();
            for (int port = options->first; port <= options->last; ++port)
            {
                ports.insert(port);
            }
            Json rows = Json::array();
            std::set<std::string> mapped;
            if (!options->json)
            {
                std::cout << std::left << std::setw(8) << "Port" << std::setw(28) << "Device"
                          << "Status\n";
            }
            for (int port : ports)
            {
                std::string const path = shared::platform::SerialPortDevicePath(port);
                mapped.insert(path);
                CSerialPortDevice::EPort const status = CSerialPortDevice::CheckPort(port);
                if (status == CSerialPortDevice::PORT_NOT_PRESENT && !options->all)
                {
                    continue;
                }
                if (options->json)
                {
                    rows.push_back({{"port", port},
                                    {"name", "COM" + std::to_string(port)},
                                    {"device", path},
                                    {"status", StatusWords(status)},
                                    {"check", static_cast<int>(status)}});
                }
                else
                {
                    std::cout << std::left << std::setw(8) << ("COM" + std::to_string(port))
                              << std::setw(28) << path << StatusWords(status) << '\n';
                }
            }
            std::vector<std::string> const others = UnmappedDevices(mapped);
            if (options->json)
            {
                std::cout << Json{{"ports", rows}, {"unmapped", others}}.dump(2) << '\n';
                return;
            }
            for (std::string const& device : others)
            {
                std::cout << "(unmapped) " << device << ": set SHARED_COM<n>=" << device
                          << " to use it as COM n\n";
            }
        });
}

const warden::Registration portsRegistration{"ports", 60, SetupPorts};

} // namespace
