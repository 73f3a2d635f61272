#pragma once

// A real ZModem sender (lrzsz's sz) as a child process, connected through pipes or a
// pseudo-terminal, and a receiver that talks to it. Every session has a deadline: when it
// passes, the child is killed and reads fail, so a fault can never hang a test.

#include "ZModemTestSupport.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace zmodem_test
{

inline bool HaveProgram(const std::string& name)
{
    for (const char* dir : {"/usr/bin/", "/bin/", "/usr/local/bin/"})
        if (::access((dir + name).c_str(), X_OK) == 0)
            return true;
    return false;
}

inline std::string FindProgram(const std::string& name)
{
    for (const char* dir : {"/usr/bin/", "/bin/", "/usr/local/bin/"})
        if (::access((dir + name).c_str(), X_OK) == 0)
            return dir + name;
    return {};
}

// A temporary directory, removed with everything in it.
class TempDir
{
public:
    TempDir()
    {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "zmodem-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr)
            m_path = pattern;
    }
    ~TempDir()
    {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

inline Bytes RandomBytes(std::size_t size, std::uint32_t seed)
{
    std::mt19937 rng(seed);
    Bytes data(size);
    for (auto& b : data)
        b = static_cast<std::uint8_t>(rng());
    return data;
}

inline void WriteFile(const std::filesystem::path& path, const Bytes& data)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(data.data()),
              static_cast<std::streamsize>(data.size()));
}

// A child process whose standard input and output are our channel.
class ChildProcess
{
public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess()
    {
        Kill(SIGKILL);
        Reap();
        CloseFds();
    }

    // Starts argv[0] (a full path) in `directory`. With a pseudo-terminal the child's line is
    // raw, 8-bit and without flow control.
    bool Start(const std::vector<std::string>& argv, const std::filesystem::path& directory,
               bool pseudoTerminal = false)
    {
        std::signal(SIGPIPE, SIG_IGN);
        int toChild[2] = {-1, -1};
        int fromChild[2] = {-1, -1};
        int master = -1;
        std::string slaveName;
        if (pseudoTerminal)
        {
            master = ::posix_openpt(O_RDWR | O_NOCTTY);
            if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
                return false;
            slaveName = ::ptsname(master);
        }
        else if (::pipe(toChild) != 0 || ::pipe(fromChild) != 0)
            return false;

        std::vector<char*> args;
        for (auto& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);

        m_pid = ::fork();
        if (m_pid < 0)
            return false;
        if (m_pid == 0)
        {
            if (::chdir(directory.c_str()) != 0)
                ::_exit(127);
            if (pseudoTerminal)
            {
                ::setsid();
                const int slave = ::open(slaveName.c_str(), O_RDWR);
                if (slave < 0)
                    ::_exit(127);
                termios tio{};
                ::tcgetattr(slave, &tio);
                ::cfmakeraw(&tio);
                tio.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF);
                ::tcsetattr(slave, TCSANOW, &tio);
                ::dup2(slave, 0);
                ::dup2(slave, 1);
                ::close(slave);
                ::close(master);
            }
            else
            {
                ::dup2(toChild[0], 0);
                ::dup2(fromChild[1], 1);
                ::close(toChild[0]);
                ::close(toChild[1]);
                ::close(fromChild[0]);
                ::close(fromChild[1]);
            }
            const int devNull = ::open("/dev/null", O_WRONLY);
            ::dup2(devNull, 2);
            ::execv(args[0], args.data());
            ::_exit(127);
        }
        if (pseudoTerminal)
        {
            m_readFd = master;
            m_writeFd = ::dup(master);
        }
        else
        {
            ::close(toChild[0]);
            ::close(fromChild[1]);
            m_writeFd = toChild[1];
            m_readFd = fromChild[0];
        }
        // Reads are non-blocking; on a pseudo-terminal the write descriptor shares the flag,
        // which Write allows for.
        ::fcntl(m_readFd, F_SETFL, ::fcntl(m_readFd, F_GETFL) | O_NONBLOCK);
        return true;
    }

    void SetDeadline(std::chrono::steady_clock::duration limit)
    {
        m_deadline = std::chrono::steady_clock::now() + limit;
    }
    bool DeadlinePassed() const { return std::chrono::steady_clock::now() > m_deadline; }

    bool Read(std::uint8_t& byte, unsigned long timeoutMs)
    {
        if (m_next < m_filled)
        {
            byte = m_buffer[m_next++];
            return true;
        }
        if (DeadlinePassed())
        {
            Kill(SIGKILL);
            return false;
        }
        const auto limit = std::min<std::chrono::steady_clock::time_point>(
            m_deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs));
        for (;;)
        {
            // The descriptor is non-blocking: read what is there, wait only when nothing is.
            const ssize_t n = ::read(m_readFd, m_buffer, sizeof m_buffer);
            if (n > 0)
            {
                m_filled = static_cast<std::size_t>(n);
                m_next = 0;
                m_bytesRead += m_filled;
                byte = m_buffer[m_next++];
                return true;
            }
            if (n == 0)
                return false; // the child closed its side: answer as a timeout, at once
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK)
                return false;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                limit - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return false;
            pollfd p{m_readFd, POLLIN, 0};
            if (::poll(&p, 1, static_cast<int>(left.count())) == 0)
                return false;
        }
    }

    // Up to size bytes, waiting up to timeoutMs for the first; 0 on timeout or end.
    std::size_t ReadSome(std::uint8_t* out, std::size_t size, unsigned long timeoutMs)
    {
        if (size == 0 || !Read(out[0], timeoutMs))
            return 0;
        const std::size_t more = std::min(size - 1, m_filled - m_next);
        std::memcpy(out + 1, m_buffer + m_next, more);
        m_next += more;
        return more + 1;
    }

    void Write(const std::uint8_t* data, std::size_t count)
    {
        while (count > 0 && !DeadlinePassed())
        {
            const ssize_t n = ::write(m_writeFd, data, count);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return; // the child is gone; the reads will tell the engine
            data += n;
            count -= static_cast<std::size_t>(n);
        }
    }

    void Drain()
    {
        m_next = m_filled = 0;
        pollfd p{m_readFd, POLLIN, 0};
        while (::poll(&p, 1, 0) > 0 && ::read(m_readFd, m_buffer, sizeof m_buffer) > 0)
        {
        }
    }

    void Kill(int sig)
    {
        if (m_pid > 0 && !m_reaped)
            ::kill(m_pid, sig);
    }

    // Waits for the child until the deadline (killing it then); returns its wait status.
    int Wait()
    {
        CloseFds();
        while (!m_reaped)
        {
            if (DeadlinePassed())
                Kill(SIGKILL);
            const pid_t r = ::wait4(m_pid, &m_status, WNOHANG, &m_usage);
            if (r == m_pid)
                m_reaped = true;
            else if (r < 0)
                break;
            else
                ::usleep(2000);
        }
        return m_status;
    }
    const rusage& Usage() const { return m_usage; }
    std::size_t BytesRead() const { return m_bytesRead; }

private:
    void Reap()
    {
        if (m_pid > 0 && !m_reaped)
        {
            ::wait4(m_pid, &m_status, 0, &m_usage);
            m_reaped = true;
        }
    }
    void CloseFds()
    {
        if (m_readFd >= 0)
            ::close(m_readFd);
        if (m_writeFd >= 0)
            ::close(m_writeFd);
        m_readFd = m_writeFd = -1;
    }

    pid_t m_pid = -1;
    bool m_reaped = false;
    int m_status = 0;
    rusage m_usage{};
    int m_readFd = -1;
    int m_writeFd = -1;
    std::uint8_t m_buffer[65536];
    std::size_t m_next = 0;
    std::size_t m_filled = 0;
    std::atomic<std::size_t> m_bytesRead{0}; // watched by helper threads
    std::chrono::steady_clock::time_point m_deadline =
        std::chrono::steady_clock::now() + std::chrono::seconds(60);
};

// Damage applied to the bytes travelling from the sender to the receiver, at rates in parts
// per million per byte, from a fixed seed.
struct LineNoise
{
    std::uint32_t seed = 1;
    std::uint32_t corruptPpm = 0;
    std::uint32_t dropPpm = 0;
    std::uint32_t duplicatePpm = 0;
};

// A receiver whose line is a child process and whose store is memory.
class ProcessZModem : public CZModem
{
public:
    ProcessZModem(ChildProcess& child, E_ZMODEM_FLAGS flags = ZMODEM_NO_FLAGS, LineNoise noise = {})
        : CZModem(flags), m_child(child), m_noise(noise), m_rng(noise.seed)
    {
        // Shorter than the protocol's 3 s so that recovery from a lost header stays quick.
        SetReceiveTimeout(5);
    }

    MemoryStore store;
    Bytes sent;
    std::size_t damaged = 0;

protected:
    bool ZCreateFile(char const* name, bool binary, bool append) override
    {
        return store.Create(name, binary, append, GetFileLength());
    }
    bool ZCloseFile(unsigned long time, int mode) override
    {
        return store.Close(time, mode, IsClosingAtEndOfFile());
    }
    void ZWriteData(unsigned char const* data, unsigned long count) override
    {
        store.Write(data, count);
    }
    void ZSendBytes(unsigned char const* data, unsigned long count) override
    {
        sent.insert(sent.end(), data, data + count);
        m_child.Write(data, count);
    }
    bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) override
    {
        if (m_duplicate >= 0)
        {
            byte = static_cast<unsigned char>(m_duplicate);
            m_duplicate = -1;
            return true;
        }
        for (;;)
        {
            if (!m_child.Read(byte, timeoutMs))
                return false;
            if (Hit(m_noise.dropPpm))
            {
                ++damaged;
                continue;
            }
            if (Hit(m_noise.corruptPpm))
            {
                ++damaged;
                byte = static_cast<unsigned char>(byte ^ (1u << (m_rng() % 8)));
            }
            if (Hit(m_noise.duplicatePpm))
            {
                ++damaged;
                m_duplicate = byte;
            }
            return true;
        }
    }
    void ZPurgeInput() override { m_child.Drain(); }

private:
    bool Hit(std::uint32_t ppm) { return ppm != 0 && m_rng() % 1000000u < ppm; }

    ChildProcess& m_child;
    LineNoise m_noise;
    std::mt19937 m_rng;
    int m_duplicate = -1;
};

} // namespace zmodem_test
