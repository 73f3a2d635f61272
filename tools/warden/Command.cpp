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

void SetExitCode(int code) { g_exitCode = code; }
int ExitCode() { return g_exitCode; }

void InstallCommands(CLI::App& app)
{
    auto& entries = Entries();
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.order != b.order ? a.order < b.order : a.name < b.name;
    });
    for (const auto& entry : entries)
        entry.setup(app);
}

} // namespace warden
