#pragma once

#include <shared/framework/CString.h>
#include <shared/platform/Export.h>
#include <shared/platform/RegistryStore.h>

// Reads and writes single registry values with a default for anything missing, so that callers
// never handle registry errors themselves. The key argument is an open key handle, in practice
// one of the predefined root keys (HKEY_CURRENT_USER...); sub-keys are backslash-separated.
//
// On hosts without the Windows registry the values live in the file-based store of
// shared::platform::RegistryStore (see there for its location and layout).
class SHARED_API CRegistryFuncs
{
public:
    // The value's first four bytes as a little-endian signed 32-bit number, whatever its type
    // (a three-character string with its zero reads as a number too). A missing key or value, or
    // data longer than four bytes, gives defaultValue. Shorter data is padded with zero bytes.
    static long GetRegistryInt(HKEY hKey, CString const& subKey, CString const& valueName,
                               long defaultValue);

    // GetRegistryInt narrowed to 16 bits.
    static short GetRegistryShort(HKEY hKey, CString const& subKey, CString const& valueName,
                                  long defaultValue);

    // The value's text up to its first zero byte. A missing key or value, an empty value or any
    // read failure gives defaultValue.
    static CString GetRegistryStr(HKEY hKey, CString const& subKey, CString const& valueName,
                                  CString const& defaultValue);

    // Writes a REG_DWORD, creating the key (and the keys above it) when missing.
    static bool WriteRegistryInt(HKEY hKey, CString const& subKey, CString const& valueName,
                                 int value);

    // Writes a REG_SZ with its terminating zero, creating the key when missing.
    static bool WriteRegistryStr(HKEY hKey, CString const& subKey, CString const& valueName,
                                 CString const& value);

    // The system's message text for a Windows error code, without the trailing line break; empty
    // for a code the system has no text for. See shared/platform/SystemError.h for the codes
    // known on hosts other than Windows.
    static CString GetSystemErrorString(int errorCode);

private:
    CRegistryFuncs();
    virtual ~CRegistryFuncs();
};
