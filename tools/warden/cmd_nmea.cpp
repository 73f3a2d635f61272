// warden nmea [FILE|-]... [--json] [--strict] [--any-talker]: decodes device logs line by line.

#include "Command.h"
#include "LineReader.h"
#include "NmeaPrinter.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

namespace
{

void SetupNmea(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "nmea", "Decode a device log ($GPRMC, $GPLOG, $GPIOP): one row per sentence and a summary");
    struct Options
    {
        std::vector<std::string> files{"-"};
        bool json = false;
        bool strict = false;
        bool anyTalker = false;
    };
    auto options = std::make_shared<Options>();
    cmd->add_option("files", options->files,
                    "Device logs to decode one after the other; - or nothing reads standard input");
    cmd->add_flag("--json", options->json,
                  "Print one JSON object per line and a final summary object instead of the table");
    cmd->add_flag("--strict", options->strict,
                  "Exit with status 2 when any line was rejected or decoded values are not valid "
                  "(sentences of other types, such as GGA or GSV, are not rejections)");
    cmd->add_flag("--any-talker", options->anyTalker,
                  "Decode $GNRMC, $GLRMC, $GARMC ... (any talker's RMC) like $GPRMC");
    warden::Help(cmd,
                 {"warden nmea samples/drive.nmea", "warden nmea --json --any-talker a.log b.log",
                  "cat device.log | warden nmea --strict"},
                 "1 a file cannot be read; 2 with --strict, some lines were rejected or flagged");
    cmd->callback(
        [options]
        {
            warden::NmeaPrinter printer(options->json ? warden::NmeaPrinter::Format::Json
                                                      : warden::NmeaPrinter::Format::Table);
            printer.SetAnyTalker(options->anyTalker);
            printer.PrintHeader(std::cout);
            std::string line;
            for (auto const& file : options->files)
            {
                warden::LineReader reader(file);
                while (reader.Next(line))
                    printer.PrintLine(line, std::cout);
            }
            printer.PrintSummary(std::cout);
            if (options->strict &&
                (printer.Counts().Rejected() > 0 || printer.Counts().flagged > 0))
                warden::SetExitCode(2);
        });
}

const warden::Registration nmeaRegistration{"nmea", 10, SetupNmea};
} // namespace
