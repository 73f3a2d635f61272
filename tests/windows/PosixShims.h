#pragma once

// The few POSIX helpers the portable tests set their cases up with, built from the C runtime
// of MinGW; included ahead of every test source of the Windows build.

#ifdef _WIN32
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <direct.h>
#include <io.h>

inline char* mkdtemp(char* pattern)
{
    if (_mktemp_s(pattern, std::strlen(pattern) + 1) != 0)
        return nullptr;
    return _mkdir(pattern) == 0 ? pattern : nullptr;
}

inline int setenv(const char* name, const char* value, int overwrite)
{
    if (overwrite == 0 && std::getenv(name) != nullptr)
        return 0;
    return _putenv_s(name, value);
}

inline int unsetenv(const char* name)
{
    return _putenv_s(name, "");
}

inline std::tm* gmtime_r(const std::time_t* time, std::tm* out)
{
    return gmtime_s(out, time) == 0 ? out : nullptr;
}

inline std::tm* localtime_r(const std::time_t* time, std::tm* out)
{
    return localtime_s(out, time) == 0 ? out : nullptr;
}

inline std::time_t timegm(std::tm* time)
{
    return _mkgmtime(time);
}
#endif
