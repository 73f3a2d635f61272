#include <cstdint>
#include <shared/foundation/HashKey.h>

unsigned int HashKey(CString const& key)
{
    std::uint32_t hash = 0;
    for (char const* p = key.GetString(); *p != '\0'; ++p)
        hash = hash * 33u +
               static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(*p)));
    return hash;
}

unsigned int HashKey(CString& key)
{
    return HashKey(static_cast<CString const&>(key));
}
