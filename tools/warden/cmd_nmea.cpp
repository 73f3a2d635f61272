// warden nmea [FILE|-] [--json] [--strict]: decodes a device log line by line.

#include "Command.h"
#include "NmeaPrinter.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

namespace
{
void DecodeStream(std::istream& in, warden::NmeaPrinter& printer)
{
    printer.PrintHeader(std::cout);
    std::string line;
    while (std::getline(in, line))
        printer.PrintLine(line, std::cout);
    printer.PrintSummary(std::cout);
}

void SetupNmea(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "nmea", "Decode a device log ($GPRMC, $GPLOG, $GPIOP): one row per sentence and a summary");
    struct Options
    {
        std::string file = "-";
        bool json = false;
        bool strict = false;
    };
    auto options = std::make_shared<Options>();
    cmd->add_option("file", options->file,
                    "Device log to decode; - or nothing reads standard input");
    cmd->add_flag("--json", options->json,
                  "Print one JSON object per line and a final summary object instead of the table");
    cmd->add_flag("--strict", options->strict, "Exit with status 2 when any line was rejected");
    cmd->callback(
        [options]
        {
            warden::NmeaPrinter printer(options->json ? warden::NmeaPrinter::Format::Json
                                                      : warden::NmeaPrinter::Format::Table);
            if (options->file == "-")
            {
                DecodeStream(std::cin, printer);
            }
            else
            {
                std::ifstream in(options->file, std::ios::binary);
                if (!in)
                    throw warden::Failure("cannot open " + options->file + ": " +
                                          std::strerror(errno));
                DecodeStream(in, printer);
                if (in.bad())
                    throw warden::Failure("error reading " + options->file);
            }
            if (options->strict && printer.Counts().Rejected() > 0)
                warden::SetExitCode(2);
        });
}

const warden::Registration nmeaRegistration{"nmea", 10, SetupNmea};
} // namespace
