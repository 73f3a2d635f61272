#pragma once

// Subcommands of warden register themselves: each cmd_<name>.cpp defines a setup function and a
// static Registration, so adding a subcommand never touches main.cpp.
//
//   static void setupNmea(CLI::App& app)
//   {
//       auto* cmd = app.add_subcommand("nmea", "Decode a device log");
//       ...
//       cmd->callback([=] { ...; if (bad) throw warden::Failure("cannot open " + path); });
//   }
//   static const warden::Registration nmeaRegistration{"nmea", 10, setupNmea};
//
// A callback reports failure by throwing warden::Failure; main prints "warden: <message>" as one
// line on standard error and exits with the failure's code. The library's framework exceptions
// (CException*) and standard exceptions end the same way, in main.

#include <CLI/CLI.hpp>
#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>

namespace warden
{

using Setup = std::function<void(CLI::App&)>;

// Exit statuses shared by every subcommand (also listed in --help and docs/warden-json.md).
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1; // nothing or not everything could be done; one line says why
constexpr int kExitPartial = 2; // finished, but some inputs were rejected (lines of a batch ...)
constexpr int kExitUsage = 64;  // the command line itself is wrong (as sysexits' EX_USAGE)

// The exit statuses in words, for the main --help.
std::string ExitCodeHelp();

// Gives a subcommand's --help its examples and the exit statuses it uses beyond 0 and 64,
// e.g. Help(cmd, {"warden grid 52.65798 1.71605"}, "1 outside the grid; 2 some lines failed").
void Help(CLI::App* cmd, std::initializer_list<const char*> examples, const std::string& exits);

struct Registration
{
    // order sorts the subcommands in --help; lower first.
    Registration(std::string name, int order, Setup setup);
};

class Failure : public std::runtime_error
{
public:
    explicit Failure(const std::string& message, int exitCode = 1)
        : std::runtime_error(message), m_exitCode(exitCode)
    {
    }
    int ExitCode() const { return m_exitCode; }

private:
    int m_exitCode;
};

// Lets a subcommand end with a non-zero status without an error message (for example when
// a decode finished but found rejected input and the user asked for --strict).
void SetExitCode(int code);
int ExitCode();

// Installs every registered subcommand on the application; called once by main.
void InstallCommands(CLI::App& app);

} // namespace warden
