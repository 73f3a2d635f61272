#include <set>
#include <shared/comms/CSerialPortList.h>
#include <shared/platform/SerialPortPath.h>

std::vector<CSerialPortList::Entry> CSerialPortList::Scan(int first, int last, bool includeAbsent)
{
    std::vector<int> const named = shared::platform::SerialPortsFromEnvironment();
    std::set<int> ports(named.begin(), named.end());
    for (int port = first < 1 ? 1 : first; port <= last; ++port)
    {
        ports.insert(port);
    }
    std::vector<Entry> entries;
    for (int port : ports)
    {
        CSerialPortDevice::EPort const status = CSerialPortDevice::CheckPort(port);
        if (status != CSerialPortDevice::PORT_NOT_PRESENT || includeAbsent)
        {
            entries.push_back({port, CSerialPortDevice::GetDevicePath(port), status});
        }
    }
    return entries;
}

std::vector<std::string> CSerialPortList::Unmapped(std::vector<Entry> const& entries)
{
    std::set<std::string> mapped;
    for (Entry const& entry : entries)
    {
        mapped.insert(entry.device);
    }
    return shared::platform::UnmappedSerialDevices(mapped);
}
