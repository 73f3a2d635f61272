#pragma once

// Which device file stands for a COM port number on this host.
//
// COM n is, in order of precedence:
//   1. the path set for n with SetSerialPortDevicePath (per process);
//   2. the value of the environment variable SHARED_COM<n> (e.g. SHARED_COM3=/dev/ttyUSB0 or a
//      pseudo-terminal such as /dev/pts/5);
//   3. /dev/ttyS<n-1>, the kernel's name for the n-th on-board UART.
// So a USB adapter or a pseudo-terminal can serve as any COM number without changing callers.

#include <set>
#include <shared/platform/Export.h>
#include <string>
#include <vector>

namespace shared::platform
{

// The device path of COM port; empty when port is below 1.
SHARED_API std::string SerialPortDevicePath(int port);

// Sets the path of COM port for this process; an empty path removes the setting. Ports below 1
// are ignored.
SHARED_API void SetSerialPortDevicePath(int port, std::string const& path);

// The path used when nothing is set: /dev/ttyS<port-1>.
SHARED_API std::string DefaultSerialPortDevicePath(int port);

// The environment variable consulted for port: SHARED_COM<port>.
SHARED_API std::string SerialPortEnvironmentName(int port);

// COM numbers that SHARED_COM<n> variables name, in order (they may lie outside any range a
// caller scans).
SHARED_API std::vector<int> SerialPortsFromEnvironment();

// Serial devices of this host that none of the given paths is: USB and modem-class adapters
// (/dev/ttyUSB*, /dev/ttyACM*), which no COM number names by default. Sorted.
SHARED_API std::vector<std::string> UnmappedSerialDevices(std::set<std::string> const& mapped);

} // namespace shared::platform
