#pragma once

#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

// The hash of string keys in the library's hashed maps: h = h * 33 + c over the characters, each
// taken as a signed 8-bit value, in unsigned 32-bit arithmetic with wrap-around. The signed
// reading of bytes above 0x7F is part of the value and must not change, or stored tables hash
// differently. An empty string hashes to 0.
SHARED_API unsigned int HashKey(CString const& key);
SHARED_API unsigned int HashKey(CString& key);
