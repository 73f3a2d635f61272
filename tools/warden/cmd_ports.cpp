// warden ports [--first N] [--last N] [--all] [--json]: the COM numbers, the device file each
// stands for and whether it could be opened now.

#include "Command.h"
#include "Json.h"

#include <iomanip>
#include <iostream>
#include <shared/comms/CSerialPortList.h>
#include <string>
#include <vector>

namespace
{

using warden::Json;

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
    cmd->add_flag("--json", options->json, "Print one JSON document instead of the table");
    cmd->footer("COM n opens /dev/ttyS<n-1> unless the environment variable SHARED_COM<n> names "
                "another device (e.g. SHARED_COM3=/dev/ttyUSB0).");
    warden::Help(cmd, {"warden ports", "warden ports --first 1 --last 8 --all --json"},
                 "1 --last is below --first");
    cmd->callback(
        [options]
        {
            if (options->last < options->first)
            {
                throw warden::Failure("--last must not be below --first");
            }
            auto const entries = CSerialPortList::Scan(options->first, options->last, options->all);
            Json rows = Json::array();
            if (!options->json)
            {
                std::cout << std::left << std::setw(8) << "Port" << std::setw(28) << "Device"
                          << "Status\n";
            }
            for (CSerialPortList::Entry const& entry : entries)
            {
                std::string const name = "COM" + std::to_string(entry.port);
                if (options->json)
                {
                    rows.push_back({{"port", entry.port},
                                    {"name", name},
                                    {"device", entry.device},
                                    {"status", StatusWords(entry.status)},
                                    {"check", static_cast<int>(entry.status)}});
                }
                else
                {
                    std::cout << std::left << std::setw(8) << name << std::setw(28) << entry.device
                              << StatusWords(entry.status) << '\n';
                }
            }
            std::vector<std::string> const others = CSerialPortList::Unmapped(entries);
            if (options->json)
            {
                warden::PrintDocument(Json{{"ports", rows}, {"unmapped", others}});
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
