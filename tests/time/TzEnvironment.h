#pragma once

// Sets TZ for the C library (and for the zone seam, which reads TZ when nothing is installed)
// and restores the previous value afterwards, so localtime_r can serve as an oracle.

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

class TzEnvironment
{
public:
    explicit TzEnvironment(const char* tz)
    {
        if (const char* old = std::getenv("TZ"))
            m_previous = old;
        if (tz != nullptr)
            ::setenv("TZ", tz, 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    ~TzEnvironment()
    {
        if (m_previous)
            ::setenv("TZ", m_previous->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    TzEnvironment(const TzEnvironment&) = delete;
    TzEnvironment& operator=(const TzEnvironment&) = delete;

private:
    std::optional<std::string> m_previous;
};
