#pragma once
// The process's standard streams as a command-line program needs them beyond <cstdio>: whether
// one is a terminal (progress lines, flushing per line) and a read that returns what a pipe or
// terminal has now instead of waiting for a full buffer.

#include <cstddef>
#include <cstdio>
#include <shared/platform/Export.h>
#include <string>

namespace shared::platform
{

enum class EStandardStream
{
    input,
    output,
    error
};

SHARED_API bool IsTerminal(EStandardStream stream);

// Makes the standard streams pass bytes unchanged. Windows opens them in text mode, which writes
// every "\n" as "\r\n" and drops "\r" on reading, so a program's output would differ from what
// it prints elsewhere and from the files it writes. Nothing to do on POSIX.
SHARED_API void UseBinaryStandardStreams();

// One read from the stream's descriptor of at most size bytes, whatever is ready; retries when
// a signal interrupts it. The count read, 0 at the end, or -1 with the host's reason in error.
// The stream's own buffer is bypassed, so do not mix with stdio reads of the same stream.
SHARED_API long ReadSome(std::FILE* stream, void* buffer, std::size_t size, std::string& error);

} // namespace shared::platform
