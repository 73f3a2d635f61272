#include "Command.h"

#include <cstdio>
#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    CLI::App app{"warden: the command-line front door of the Shared tracking library.\n"
                 "Decode device logs, convert coordinates, receive files and inspect data files.",
                 "warden"};
    app.require_subcommand(1);
    app.footer("Run 'warden <command> --help' for the options of one command.");
    // Errors are one line each, so scripts and people see the reason without scrolling.
    app.failure_message([](const CLI::App*, const CLI::Error& e) {
        return std::string("warden: ") + e.what() + "\n";
    });
    warden::InstallCommands(app);

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        return app.exit(e);
    }
    catch (const warden::Failure& e)
    {
        std::cout.flush();
        std::cerr << "warden: " << e.what() << '\n';
        return e.ExitCode();
    }
    catch (const std::exception& e)
    {
        std::cout.flush();
        std::cerr << "warden: " << e.what() << '\n';
        return 1;
    }
    return warden::ExitCode();
}
