#pragma once

#include <shared/comms/CSerialPortDevice.h>
#include <shared/platform/Export.h>
#include <string>
#include <vector>

// The serial ports of this host as COM numbers: which device file each one opens and whether it
// could be opened now, plus the adapters that no COM number names yet.
class SHARED_API CSerialPortList
{
public:
    struct Entry
    {
        int port;
        std::string device;
        CSerialPortDevice::EPort status;
    };

    // COM first to last, and every COM number the environment names; ports whose device is not
    // present only with includeAbsent. Each port is opened and closed again (CheckPort).
    static std::vector<Entry> Scan(int first, int last, bool includeAbsent);
    // USB and modem-class adapters that none of the entries opens.
    static std::vector<std::string> Unmapped(std::vector<Entry> const& entries);
};
