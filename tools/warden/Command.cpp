#include "Command.h"

#include <algorithm>
#include <vector>

namespace warden
{
namespace
{
struct Entry
{
    std::string name;
    int order;
    Setup setup;
};

// Function-local so registrations from other translation units may run in any order.
std::vector<Entry>& Entries()
{
    static std::vector<Entry> entries;
    return entries;
}

int g_exitCode = 0;
} // namespace

Registration::Registration(std::string name, int order, Setup setup)
{
    Entries().push_back({std::move(name), order, std::move(setup)});
}

void SetExitCode(int code)
{
    g_exitCode = code;
}
int ExitCode()
{
    return g_exitCode;
}

std::string ExitCodeHelp()
{
    return "Exit status: 0 done; 1 failed (one line on standard error says why); 2 done, but\n"
           "some inputs were rejected; 64 wrong command line.";
}

void Help(CLI::App* cmd, std::initializer_list<const char*> examples, const std::string& exits)
{
    std::string text = cmd->get_footer();
    if (!text.empty())
        text += "\n\n";
    text += "Examples:\n";
    for (const char* example : examples)
        text += std::string("  ") + example + "\n";
    text +=
        "\nExit status: 0 done; " + exits + (exits.empty() ? "" : "; ") + "64 wrong command line.";
    cmd->footer(text);
}

void InstallCommands(CLI::App& app)
{
    auto& entries = Entries();
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b)
                     { return a.order != b.order ? a.order < b.order : a.name < b.name; });
    for (const auto& entry : entries)
        entry.setup(app);
}

} // namespace warden
