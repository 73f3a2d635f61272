#include <cstdint>
#include <shared/foundation/CRegistryFuncs.h>
#include <shared/platform/SystemError.h>
#include <string>
#include <string_view>

using shared::platform::RegistryStore;
using shared::platform::RegistryValue;

namespace
{

std::string_view View(CString const& text)
{
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

// Every registry error is turned into its message and the message is dropped: the caller only
// ever sees its default or false. Kept deliberately, so that a debugger breakpoint here shows
// the reason while callers stay free of error handling.
void DiscardError(unsigned long code)
{
    static_cast<void>(CRegistryFuncs::GetSystemErrorString(static_cast<int>(code)));
}

// Opens the key for reading and fetches the value; false (error discarded) on any failure.
bool ReadValue(HKEY hKey, CString const& subKey, CString const& valueName, RegistryValue& value)
{
    const RegistryStore store = RegistryStore::Default();
    unsigned long error = store.OpenKey(hKey, View(subKey));
    if (error == shared::platform::winerror::kSuccess)
        error = store.QueryValue(hKey, View(subKey), View(valueName), value);
    if (error != shared::platform::winerror::kSuccess)
    {
        DiscardError(error);
        return false;
    }
    return true;
}

bool WriteValue(HKEY hKey, CString const& subKey, CString const& valueName,
                RegistryValue const& value)
{
    const RegistryStore store = RegistryStore::Default();
    unsigned long error = store.OpenKey(hKey, View(subKey));
    if (error != shared::platform::winerror::kSuccess)
    {
        DiscardError(error);
        error = store.CreateKey(hKey, View(subKey));
        if (error != shared::platform::winerror::kSuccess)
        {
            DiscardError(error);
            return false;
        }
    }
    error = store.SetValue(hKey, View(subKey), View(valueName), value);
    if (error != shared::platform::winerror::kSuccess)
    {
        DiscardError(error);
        return false;
    }
    return true;
}

} // namespace

CRegistryFuncs::CRegistryFuncs() = default;
CRegistryFuncs::~CRegistryFuncs() = default;

long CRegistryFuncs::GetRegistryInt(HKEY hKey, CString const& subKey, CString const& valueName,
                                    long defaultValue)
{
    RegistryValue value;
    if (!ReadValue(hKey, subKey, valueName, value))
        return defaultValue;
    if (value.data.size() > 4)
    {
        DiscardError(shared::platform::winerror::kMoreData);
        return defaultValue;
    }
    std::uint8_t bytes[4] = {};
    for (std::size_t i = 0; i < value.data.size(); ++i)
        bytes[i] = value.data[i];
    const auto word =
        static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
        (static_cast<std::uint32_t>(bytes[2]) << 16) | (static_cast<std::uint32_t>(bytes[3]) << 24);
    // A Windows long is 32 bits: 0xFFFFFFFF reads as -1 on every host.
    return static_cast<long>(static_cast<std::int32_t>(word));
}

short CRegistryFuncs::GetRegistryShort(HKEY hKey, CString const& subKey, CString const& valueName,
                                       long defaultValue)
{
    return static_cast<short>(GetRegistryInt(hKey, subKey, valueName, defaultValue));
}

CString CRegistryFuncs::GetRegistryStr(HKEY hKey, CString const& subKey, CString const& valueName,
                                       CString const& defaultValue)
{
    RegistryValue value;
    if (!ReadValue(hKey, subKey, valueName, value) || value.data.empty())
        return defaultValue;
    std::string_view text(reinterpret_cast<const char*>(value.data.data()), value.data.size());
    text = text.substr(0, text.find('\0'));
    // A string of just its terminating zero is as good as no value.
    if (text.empty())
        return defaultValue;
    return CString(text);
}

bool CRegistryFuncs::WriteRegistryInt(HKEY hKey, CString const& subKey, CString const& valueName,
                                      int value)
{
    return WriteValue(hKey, subKey, valueName,
                      RegistryValue::Dword(static_cast<std::uint32_t>(value)));
}

bool CRegistryFuncs::WriteRegistryStr(HKEY hKey, CString const& subKey, CString const& valueName,
                                      CString const& value)
{
    return WriteValue(hKey, subKey, valueName, RegistryValue::String(View(value)));
}

CString CRegistryFuncs::GetSystemErrorString(int errorCode)
{
    // Negative codes are HRESULT-style values; Windows reads the same bits as an unsigned code.
    const std::string message = shared::platform::SystemErrorText(
        static_cast<unsigned long>(static_cast<unsigned int>(errorCode)));
    CString text{std::string_view(message)};
    text.TrimRight();
    return text;
}
