// warden reg: the library's registry store from the command line.
//   warden reg get  'HKCU\Software\Acme' NAME [--type]
//   warden reg set  'HKCU\Software\Acme' NAME VALUE [--dword | --string | --binary]
//   warden reg delete 'HKCU\Software\Acme' NAME
//   warden reg list 'HKCU\Software\Acme'
// Root keys may be given long (HKEY_CURRENT_USER) or short (HKCU, HKLM, HKCR, HKU, HKCC). NAME ""
// or "@" is the key's unnamed value. --root DIR works on another store than the default one.
#include "Command.h"
#include "Json.h"
#include "Text.h"

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <shared/platform/RegistryStore.h>
#include <shared/platform/SystemError.h>
#include <string>
#include <vector>

namespace
{

namespace platform = shared::platform;
namespace winerror = shared::platform::winerror;

struct KeyPath
{
    HKEY root;
    std::string subKey;
};

std::string Ansi(const std::string& utf8)
{
    return warden::Ansi(utf8).StdString();
}

KeyPath ParseKeyPath(const std::string& text)
{
    const std::size_t slash = text.find('\\');
    const std::string rootName = text.substr(0, slash);
    const auto root = platform::RegistryStore::ParseRootKey(rootName);
    if (!root)
        throw warden::Failure("unknown root key \"" + rootName +
                              "\" (use HKCU, HKLM, HKCR, HKU, HKCC or their long names)");
    // Keys, names and texts in the store are the application's code page 1252.
    return {*root, slash == std::string::npos ? std::string() : Ansi(text.substr(slash + 1))};
}

std::string ValueName(const std::string& name)
{
    return name == "@" ? std::string() : Ansi(name);
}

platform::RegistryStore Store(const std::string& root)
{
    if (!root.empty())
        return platform::RegistryStore(root);
    platform::RegistryStore store = platform::RegistryStore::Default();
    if (store.Root().empty())
        throw warden::Failure("no registry location: set SHARED_REGISTRY_ROOT or HOME");
    return store;
}

[[noreturn]] void Fail(const std::string& what, unsigned long error)
{
    std::string reason = platform::SystemErrorText(error);
    if (reason.empty())
        reason = "error " + std::to_string(error);
    throw warden::Failure(what + ": " + reason);
}

std::string TypeName(unsigned long type)
{
    switch (type)
    {
    case REG_NONE:
        return "REG_NONE";
    case REG_SZ:
        return "REG_SZ";
    case REG_EXPAND_SZ:
        return "REG_EXPAND_SZ";
    case REG_BINARY:
        return "REG_BINARY";
    case REG_DWORD:
        return "REG_DWORD";
    case REG_DWORD_BIG_ENDIAN:
        return "REG_DWORD_BIG_ENDIAN";
    case REG_MULTI_SZ:
        return "REG_MULTI_SZ";
    case REG_QWORD:
        return "REG_QWORD";
    default:
        return "type " + std::to_string(type);
    }
}

std::string Hex(const std::vector<std::uint8_t>& bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string out;
    for (const std::uint8_t b : bytes)
    {
        out += kDigits[b >> 4];
        out += kDigits[b & 0xF];
    }
    return out;
}

// The value as a person reads it: text up to its zero, a number in decimal, anything else (or
// a number of the wrong size) as hexadecimal bytes.
std::string Display(const platform::RegistryValue& value)
{
    const auto& d = value.data;
    if (value.type == REG_SZ || value.type == REG_EXPAND_SZ)
    {
        const std::string text(d.begin(), d.end());
        return warden::Utf8(std::string_view(text).substr(0, text.find('\0')));
    }
    if (value.type == REG_DWORD && d.size() == 4)
        return std::to_string(std::uint32_t{d[0]} | std::uint32_t{d[1]} << 8 |
                              std::uint32_t{d[2]} << 16 | std::uint32_t{d[3]} << 24);
    return Hex(d);
}

std::uint32_t ParseDword(const std::string& text)
{
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0' || errno == ERANGE)
        throw warden::Failure("not a number: \"" + text + "\"");
    if (value < INT32_MIN || value > static_cast<long long>(UINT32_MAX))
        throw warden::Failure("out of the 32-bit range: \"" + text + "\"");
    return static_cast<std::uint32_t>(value);
}

// Hexadecimal bytes; blanks, ':' and '-' between them are allowed for readability.
std::vector<std::uint8_t> ParseBinary(const std::string& text)
{
    std::string digits;
    for (const char c : text)
    {
        if (std::isxdigit(static_cast<unsigned char>(c)))
            digits += c;
        else if (c != ' ' && c != ':' && c != '-')
            throw warden::Failure("not hexadecimal bytes: \"" + text + "\"");
    }
    if (digits.size() % 2 != 0)
        throw warden::Failure("odd number of hexadecimal digits: \"" + text + "\"");
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

void Get(const std::string& root, const std::string& key, const std::string& name, bool withType,
         bool json)
{
    const KeyPath path = ParseKeyPath(key);
    platform::RegistryValue value;
    const unsigned long error =
        Store(root).QueryValue(path.root, path.subKey, ValueName(name), value);
    if (error == winerror::kFileNotFound)
    {
        if (Store(root).OpenKey(path.root, path.subKey) != winerror::kSuccess)
            throw warden::Failure("no key " + key);
        throw warden::Failure("no value \"" + name + "\" in " + key);
    }
    if (error != winerror::kSuccess)
        Fail("cannot read " + key, error);
    if (json)
    {
        warden::PrintDocument(warden::Json{{"key", key},
                                           {"name", name},
                                           {"type", TypeName(value.type)},
                                           {"value", Display(value)}});
        return;
    }
    if (withType)
        std::cout << TypeName(value.type) << ' ';
    std::cout << Display(value) << '\n';
}

void Set(const std::string& root, const std::string& key, const std::string& name,
         const std::string& text, bool dword, bool binary)
{
    const KeyPath path = ParseKeyPath(key);
    const platform::RegistryValue value = dword ? platform::RegistryValue::Dword(ParseDword(text))
                                          : binary
                                              ? platform::RegistryValue::Binary(ParseBinary(text))
                                              : platform::RegistryValue::String(Ansi(text));
    const platform::RegistryStore store = Store(root);
    if (const unsigned long error = store.CreateKey(path.root, path.subKey);
        error != winerror::kSuccess)
        Fail("cannot create " + key, error);
    if (const unsigned long error = store.SetValue(path.root, path.subKey, ValueName(name), value);
        error != winerror::kSuccess)
        Fail("cannot write " + key, error);
}

void Delete(const std::string& root, const std::string& key, const std::string& name)
{
    const KeyPath path = ParseKeyPath(key);
    const unsigned long error = Store(root).DeleteValue(path.root, path.subKey, ValueName(name));
    if (error == winerror::kFileNotFound)
        throw warden::Failure("no value \"" + name + "\" in " + key);
    if (error != winerror::kSuccess)
        Fail("cannot delete from " + key, error);
}

void List(const std::string& root, const std::string& key, bool json)
{
    const KeyPath path = ParseKeyPath(key);
    const platform::RegistryStore store = Store(root);
    std::vector<std::string> subKeys;
    unsigned long error = store.EnumSubKeys(path.root, path.subKey, subKeys);
    if (error == winerror::kFileNotFound)
        throw warden::Failure("no key " + key);
    if (error != winerror::kSuccess)
        Fail("cannot list " + key, error);
    std::vector<platform::RegistryNamedValue> values;
    error = store.EnumValues(path.root, path.subKey, values);
    if (error != winerror::kSuccess)
        Fail("cannot list " + key, error);
    if (json)
    {
        warden::Json out{
            {"key", key}, {"subkeys", warden::Json::array()}, {"values", warden::Json::array()}};
        for (const std::string& subKey : subKeys)
            out["subkeys"].push_back(warden::Utf8(subKey));
        for (const auto& [name, value] : values)
            out["values"].push_back({{"name", warden::Utf8(name)},
                                     {"type", TypeName(value.type)},
                                     {"value", Display(value)}});
        warden::PrintDocument(out);
        return;
    }
    for (const std::string& subKey : subKeys)
        std::cout << warden::Utf8(subKey) << "\\\n";
    for (const auto& [name, value] : values)
        std::cout << (name.empty() ? "@" : warden::Utf8(name)) << '\t' << TypeName(value.type)
                  << '\t' << Display(value) << '\n';
}

void SetupReg(CLI::App& app)
{
    auto* reg = app.add_subcommand("reg", "Read and write the library's registry store");
    reg->require_subcommand(1);
    warden::Help(reg,
                 {"warden reg set 'HKCU\\Software\\Acme' Port 3 --dword",
                  "warden reg get 'HKCU\\Software\\Acme' Port --type",
                  "warden reg list 'HKCU\\Software\\Acme' --json"},
                 "1 no such key or value, or the store cannot be written");
    auto root = std::make_shared<std::string>();
    reg->add_option("--root", *root,
                    "Store directory (default: $SHARED_REGISTRY_ROOT, else "
                    "$XDG_CONFIG_HOME/shared-registry, else ~/.config/shared-registry)");

    auto key = std::make_shared<std::string>();
    auto name = std::make_shared<std::string>();
    auto text = std::make_shared<std::string>();
    auto withType = std::make_shared<bool>(false);
    auto dword = std::make_shared<bool>(false);
    auto string = std::make_shared<bool>(false);
    auto binary = std::make_shared<bool>(false);
    auto json = std::make_shared<bool>(false);
    const char* keyHelp = "ROOT\\KEY, e.g. 'HKCU\\Software\\Acme'";
    const char* nameHelp = "Value name (\"\" or @ for the key's unnamed value)";

    auto* get = reg->add_subcommand("get", "Print a value");
    get->add_option("KEY", *key, keyHelp)->required();
    get->add_option("NAME", *name, nameHelp)->required();
    get->add_flag("--type", *withType, "Print the value's type before it");
    get->add_flag("--json", *json, "Print JSON: key, name, type and value");
    get->callback([=] { Get(*root, *key, *name, *withType, *json); });

    auto* set = reg->add_subcommand("set", "Write a value, creating the key when missing");
    set->add_option("KEY", *key, keyHelp)->required();
    set->add_option("NAME", *name, nameHelp)->required();
    set->add_option("VALUE", *text, "The value")->required();
    auto* dwordFlag =
        set->add_flag("--dword", *dword, "A 32-bit number (decimal, 0x hex, or negative)");
    auto* stringFlag = set->add_flag("--string", *string, "Text (REG_SZ; the default)");
    auto* binaryFlag = set->add_flag("--binary", *binary,
                                     "Hexadecimal bytes (REG_BINARY), e.g. 0a1bff or 0a:1b:ff");
    dwordFlag->excludes(stringFlag)->excludes(binaryFlag);
    stringFlag->excludes(binaryFlag);
    set->callback([=] { Set(*root, *key, *name, *text, *dword, *binary); });

    auto* del = reg->add_subcommand("delete", "Remove a value");
    del->add_option("KEY", *key, keyHelp)->required();
    del->add_option("NAME", *name, nameHelp)->required();
    del->callback([=] { Delete(*root, *key, *name); });

    auto* list = reg->add_subcommand("list", "List a key's sub-keys and values");
    list->add_option("KEY", *key, keyHelp)->required();
    list->add_flag("--json", *json, "Print JSON: the sub-keys and the values with their types");
    list->callback([=] { List(*root, *key, *json); });
}

const warden::Registration registration{"reg", 81, SetupReg};

} // namespace
