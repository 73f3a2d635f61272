#ifdef _WIN32

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <shared/platform/StandardStreams.h>

namespace shared::platform
{

bool IsTerminal(EStandardStream stream)
{
    const int fd = stream == EStandardStream::input ? 0 : stream == EStandardStream::output ? 1 : 2;
    return ::_isatty(fd) != 0;
}

void UseBinaryStandardStreams()
{
    for (std::FILE* stream : {stdin, stdout, stderr})
        ::_setmode(::_fileno(stream), _O_BINARY);
}

long ReadSome(std::FILE* stream, void* buffer, std::size_t size, std::string& error)
{
    const unsigned count = size > INT_MAX ? INT_MAX : static_cast<unsigned>(size);
    const int got = ::_read(::_fileno(stream), buffer, count);
    if (got >= 0)
        return got;
    error = std::strerror(errno);
    return -1;
}

} // namespace shared::platform

#endif
