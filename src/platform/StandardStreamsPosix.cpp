#ifndef _WIN32

#include <cerrno>
#include <cstring>
#include <shared/platform/StandardStreams.h>
#include <unistd.h>

namespace shared::platform
{

bool IsTerminal(EStandardStream stream)
{
    const int fd = stream == EStandardStream::input    ? STDIN_FILENO
                   : stream == EStandardStream::output ? STDOUT_FILENO
                                                       : STDERR_FILENO;
    return ::isatty(fd) == 1;
}

void UseBinaryStandardStreams() {}

long ReadSome(std::FILE* stream, void* buffer, std::size_t size, std::string& error)
{
    for (;;)
    {
        const ssize_t got = ::read(::fileno(stream), buffer, size);
        if (got >= 0)
            return static_cast<long>(got);
        if (errno != EINTR)
        {
            error = std::strerror(errno);
            return -1;
        }
    }
}

} // namespace shared::platform

#endif
