#include "PortOpenFailure.h"

#include <shared/comms/CSerialPortDevice.h>

namespace warden
{

std::string PortOpenFailure(int port, unsigned long code, std::string const& reason)
{
    std::string const where = "cannot open COM" + std::to_string(port) + " (" +
                              CSerialPortDevice::GetDevicePath(port) + "): ";
    std::string const number = " (error " + std::to_string(code) + ")";
    switch (code)
    {
    case 2: // ERROR_FILE_NOT_FOUND
        return where + "no such port" + number;
    case 5:  // ERROR_ACCESS_DENIED: Windows' answer for a port another program holds
    case 31: // ERROR_GEN_FAILURE
        return where + "the port is in use by another program" + number;
    default:
        return where + (reason.empty() ? "error" : reason) + number;
    }
}

} // namespace warden
