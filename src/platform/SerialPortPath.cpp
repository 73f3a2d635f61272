#include <cstdlib>
#include <map>
#include <mutex>
#include <shared/platform/SerialPortPath.h>

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
    return port < 1 ? std::string() : "/dev/ttyS" + std::to_string(port - 1);
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

} // namespace shared::platform
