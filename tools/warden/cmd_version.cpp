// warden version FILE [--json]: the version resource of a Windows module (.exe, .dll, 32- or
// 64-bit): its translations, every string entry of every table, and the fixed file, product
// (with its Beta form) and build versions as CFileVersion formats them.
#include "Command.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <shared/foundation/CFileVersion.h>
#include <shared/platform/VersionResource.h>
#include <string>
#include <unistd.h>

namespace
{

std::string Text(const CString& text)
{
    return std::string(text.GetString(), static_cast<std::size_t>(text.GetLength()));
}

std::string Hex8(std::uint32_t value)
{
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%08x", value);
    return buffer;
}

// A missing or unreadable file is reported with the system's reason, before the resource is
// looked for, so that "no version resource" always means the file was read.
void CheckReadable(const std::string& path)
{
#ifdef _WIN32
    const int fd = ::open(path.c_str(), O_RDONLY);
#else
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
#endif
    if (fd < 0)
        throw warden::Failure("cannot open " + path + ": " + std::strerror(errno));
    ::close(fd);
}

void Run(const std::string& path, bool json)
{
    CheckReadable(path);
    const auto resource = shared::platform::ReadVersionResource(path.c_str());
    if (!resource)
        throw warden::Failure(path + ": no version resource (not a Windows module, or damaged)");

    const auto translations = shared::platform::ReadTranslations(*resource);
    const auto tables = shared::platform::ReadStringTables(*resource);
    CFileVersion version;
    const bool opened = version.Open(path.c_str());

    if (json)
    {
        nlohmann::json out{{"file", path}};
        out["translations"] = nlohmann::json::array();
        for (const std::uint32_t t : translations)
            out["translations"].push_back(Hex8(t));
        out["strings"] = nlohmann::json::object();
        for (const auto& table : tables)
        {
            nlohmann::json entries = nlohmann::json::object();
            for (const auto& [name, value] : table.entries)
                entries[name] = value;
            out["strings"][table.key] = entries;
        }
        if (opened)
            out["fixed"] = {{"fileVersion", Text(version.GetFixedFileVersion())},
                            {"productVersion", Text(version.GetFixedProductVersion())},
                            {"buildVersion", Text(version.GetFixedBuildVersion())}};
        else
            out["fixed"] = nullptr;
        std::cout << out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        version.Close();
        return;
    }

    std::cout << "File: " << path << '\n';
    for (const std::uint32_t t : translations)
    {
        char line[96];
        std::snprintf(line, sizeof line, "Translation: %08x (language 0x%04x, code page %u)\n", t,
                      t >> 16, t & 0xFFFFu);
        std::cout << line;
    }
    for (const auto& table : tables)
    {
        std::cout << "String table " << table.key << ":\n";
        for (const auto& [name, value] : table.entries)
        {
            std::string line = "  " + name + ":";
            if (!value.empty())
            {
                line.resize(std::max<std::size_t>(line.size(), 20), ' ');
                line += ' ' + value;
            }
            std::cout << line << '\n';
        }
    }
    if (opened)
    {
        std::cout << "Fixed file version:    " << Text(version.GetFixedFileVersion()) << '\n'
                  << "Fixed product version: " << Text(version.GetFixedProductVersion()) << '\n'
                  << "Fixed build version:   " << Text(version.GetFixedBuildVersion()) << '\n';
    }
    else
    {
        std::cout << "(no translation table: CFileVersion does not open this file)\n";
    }
    version.Close();
}

void SetupVersion(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "version", "Show the version resource of a Windows module (.exe, .dll, 32- or 64-bit)");
    auto path = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    cmd->add_option("FILE", *path, "The module file")->required();
    cmd->add_flag("--json", *json, "Print JSON");
    cmd->callback([=] { Run(*path, *json); });
}

const warden::Registration registration{"version", 80, SetupVersion};

} // namespace
