#pragma once

#include <string>

namespace warden
{

// Why a serial port did not open, as one line a user can act on: "cannot open COM3 (/dev/ttyS2):
// the port is in use by another program (error 5)". `reason` is the device's own report, used
// for the codes that have no plainer wording.
std::string PortOpenFailure(int port, unsigned long code, std::string const& reason = {});

} // namespace warden
