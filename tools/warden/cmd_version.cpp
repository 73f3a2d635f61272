// warden version FILE [--json]: the version resource of a Windows module (.exe, .dll, 32- or
// 64-bit): its translations, every string entry of every table, and the fixed file, product
// (with its Beta form) and build versions as CFileVersion formats them.
#include "Command.h"
#include "Json.h"
#include "Text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <shared/foundation/CFileVersion.h>
#include <shared/platform/FileSystem.h>
#include <shared/platform/VersionResource.h>
#include <string>

namespace
{

using warden::Utf8;

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
    namespace pf = shared::platform;
    const pf::FileSystemCalls& calls = pf::GetFileSystemCalls();
    pf::FileHandle handle = pf::kNoFileHandle;
    if (const pf::FileError error = calls.open(path.c_str(), pf::fileopen::kRead, handle))
        throw warden::Failure("cannot open " + path + ": " + pf::FileErrorText(error));
    calls.close(handle);
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
        warden::Json out{{"file", path}};
        out["translations"] = warden::Json::array();
        for (const std::uint32_t t : translations)
            out["translations"].push_back(Hex8(t));
        out["strings"] = warden::Json::object();
        for (const auto& table : tables)
        {
            warden::Json entries = warden::Json::object();
            for (const auto& [name, value] : table.entries)
                entries[name] = value; // already UTF-8
            out["strings"][table.key] = entries;
        }
        if (opened)
            out["fixed"] = {{"file_version", Utf8(version.GetFixedFileVersion())},
                            {"product_version", Utf8(version.GetFixedProductVersion())},
                            {"build_version", Utf8(version.GetFixedBuildVersion())}};
        else
            out["fixed"] = nullptr;
        warden::PrintDocument(out);
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
                line = warden::PadRight(line, 20) + ' ' + value;
            std::cout << line << '\n';
        }
    }
    if (opened)
    {
        std::cout << "Fixed file version:    " << Utf8(version.GetFixedFileVersion()) << '\n'
                  << "Fixed product version: " << Utf8(version.GetFixedProductVersion()) << '\n'
                  << "Fixed build version:   " << Utf8(version.GetFixedBuildVersion()) << '\n';
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
    warden::Help(cmd, {"warden version app.dll", "warden version --json app.exe"},
                 "1 the file cannot be read or has no version resource");
    cmd->callback([=] { Run(*path, *json); });
}

const warden::Registration registration{"version", 80, SetupVersion};

} // namespace
