#include "Command.h"

#include <cstring>
#include <exception>
#include <iostream>
#include <shared/framework/CException.h>
#include <shared/platform/LibraryVersion.h>
#include <shared/platform/StandardStreams.h>
#include <string>

namespace
{

// The framework throws its exceptions by pointer; the catcher owns and deletes them.
std::string FrameworkMessage(CException* e)
{
    char text[512] = {};
    if (!e->GetErrorMessage(text, sizeof text))
        std::strcpy(text, "the framework reported an error");
    e->Delete();
    return text;
}

int Report(const std::string& message, int code)
{
    std::cout.flush();
    std::cerr << "warden: " << message << '\n';
    return code;
}

// A first argument that is neither an option nor a command is most likely a typing slip; CLI11
// would call it an unexpected extra argument, which does not tell the user what is wrong.
bool IsUnknownCommand(const CLI::App& app, const char* first)
{
    if (first == nullptr || first[0] == '-')
        return false;
    for (const CLI::App* sub : app.get_subcommands({}))
        if (sub->check_name(first))
            return false;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    // The same bytes on every platform: output is compared with files and with other builds.
    shared::platform::UseBinaryStandardStreams();
    CLI::App app{"warden: the command-line front door of the Shared tracking library.\n"
                 "Decode device logs, convert coordinates, receive files and inspect data files.",
                 "warden"};
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("warden ") + SharedLibraryVersion(),
                         "Print the version and exit");
    app.footer(warden::ExitCodeHelp() +
               "\nRun 'warden <command> --help' for the options and an example of one command.");
    // Errors are one line each, so scripts and people see the reason without scrolling.
    app.failure_message([](const CLI::App*, const CLI::Error& e)
                        { return std::string("warden: ") + e.what() + "\n"; });
    warden::InstallCommands(app);

    if (argc > 1 && IsUnknownCommand(app, argv[1]))
        return Report(std::string("unknown command \"") + argv[1] +
                          "\" (run 'warden --help' for the list)",
                      warden::kExitUsage);
    // Every failure ends here, after the stack has unwound, so temporary files of an unfinished
    // save are removed by their owners before warden exits.
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        const int code = app.exit(e);
        return code == 0 ? 0 : warden::kExitUsage;
    }
    catch (const warden::Failure& e)
    {
        return Report(e.what(), e.ExitCode());
    }
    catch (CException* e)
    {
        return Report(FrameworkMessage(e), warden::kExitFailure);
    }
    catch (const std::bad_alloc&)
    {
        return Report("out of memory", warden::kExitFailure);
    }
    catch (const std::exception& e)
    {
        return Report(e.what(), warden::kExitFailure);
    }
    return warden::ExitCode();
}
