#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <shared/platform/SerialPortPath.h>

#ifndef _WIN32
extern char** environ; // declared by no standard header
#endif

namespace shared::platform
{

namespace
{
std::mutex& PathLock()
{
    static std::mutex lock;
    return lock;
}
std::map<int, std::string>& Paths()
{
    static std::map<int, std::string> paths;
    return paths;
}
} // namespace

std::string SerialPortEnvironmentName(int port)
{
    return "SHARED_COM" + std::to_string(port);
}

std::string DefaultSerialPortDevicePath(int port)
{
#ifdef _WIN32
    return port < 1 ? std::string() : "\\\\.\\COM" + std::to_string(port);
#else
    return port < 1 ? std::string() : "/dev/ttyS" + std::to_string(port - 1);
#endif
}

std::string SerialPortDevicePath(int port)
{
    if (port < 1)
    {
        return {};
    }
    {
        std::lock_guard guard(PathLock());
        auto const it = Paths().find(port);
        if (it != Paths().end())
        {
            return it->second;
        }
    }
    char const* fromEnvironment = std::getenv(SerialPortEnvironmentName(port).c_str());
    if (fromEnvironment != nullptr && *fromEnvironment != '\0')
    {
        return fromEnvironment;
    }
    return DefaultSerialPortDevicePath(port);
}

void SetSerialPortDevicePath(int port, std::string const& path)
{
    if (port < 1)
    {
        return;
    }
    std::lock_guard guard(PathLock());
    if (path.empty())
    {
        Paths().erase(port);
    }
    else
    {
        Paths()[port] = path;
    }
}

std::vector<int> SerialPortsFromEnvironment()
{
    std::set<int> ports;
    std::string const prefix = "SHARED_COM";
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
    {
        std::string const text = *entry;
        std::size_t const equals = text.find('=');
        if (text.rfind(prefix, 0) != 0 || equals == std::string::npos)
        {
            continue;
        }
        std::string const digits = text.substr(prefix.size(), equals - prefix.size());
        if (!digits.empty() && digits.size() < 6 &&
            std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        {
            if (int const port = std::atoi(digits.c_str()); port >= 1)
            {
                ports.insert(port);
            }
        }
    }
    return {ports.begin(), ports.end()};
}

std::vector<std::string> UnmappedSerialDevices(std::set<std::string> const& mapped)
{
    std::vector<std::string> found;
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator("/dev", error))
    {
        std::string const name = entry.path().filename().string();
        if ((name.rfind("ttyUSB", 0) == 0 || name.rfind("ttyACM", 0) == 0) &&
            mapped.count(entry.path().string()) == 0)
        {
            found.push_back(entry.path().string());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace shared::platform
