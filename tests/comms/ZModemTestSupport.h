#pragma once

// Test doubles for the ZModem receiver: a sender-side frame encoder, a parser for what the
// receiver sends, and receivers whose file store is memory and whose line is either a scripted
// byte queue or a real sender (lrzsz's sz) run as a command, optionally through a noisy line.

#include "../support/Scratch.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <shared/comms/CZModem.h>
#include <shared/platform/ChildProcess.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace zmodem_test
{

using Bytes = std::vector<std::uint8_t>;

inline Bytes ToBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

inline void Append(Bytes& to, const Bytes& from)
{
    to.insert(to.end(), from.begin(), from.end());
}

inline std::uint16_t Crc16(const Bytes& data)
{
    std::uint16_t crc = 0;
    for (auto b : data)
        crc = CZModem::UpdateCRC16(b, crc);
    return CZModem::UpdateCRC16(0, CZModem::UpdateCRC16(0, crc));
}

inline std::uint32_t Crc32(const Bytes& data)
{
    std::uint32_t crc = 0xFFFFFFFFu;
    for (auto b : data)
        crc = CZModem::UpdateCRC32(b, crc);
    return ~crc;
}

// The sender side of the framing, written from the protocol's definition.
class Encoder
{
public:
    bool escapeAll = false; // escape every control character, as a sender told ESCCTL does

    static Bytes Value(std::uint32_t value)
    {
        return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
    }
    // ZF0 is the last header byte.
    static Bytes Flags(std::uint8_t zf0, std::uint8_t zf1 = 0, std::uint8_t zf2 = 0,
                       std::uint8_t zf3 = 0)
    {
        return {zf3, zf2, zf1, zf0};
    }

    // The CRC bytes as they follow `covered`: CRC-16 high byte first, CRC-32 low byte first.
    static Bytes Crc(const Bytes& covered, bool crc32)
    {
        if (crc32)
            return Value(Crc32(covered));
        const std::uint16_t crc = Crc16(covered);
        return {static_cast<std::uint8_t>(crc >> 8), static_cast<std::uint8_t>(crc)};
    }

    static Bytes Hex(int type, const Bytes& header)
    {
        static const char digits[] = "0123456789abcdef";
        Bytes raw{static_cast<std::uint8_t>(type)};
        Append(raw, header);
        Append(raw, Crc(raw, false));
        Bytes out = ToBytes("**\x18"
                            "B");
        for (auto b : raw)
        {
            out.push_back(static_cast<std::uint8_t>(digits[b >> 4]));
            out.push_back(static_cast<std::uint8_t>(digits[b & 15]));
        }
        out.push_back('\r');
        out.push_back(0x8A);
        if (type != CZModem::ZFIN && type != CZModem::ZACK)
            out.push_back(0x11);
        return out;
    }

    Bytes Escaped(const Bytes& data) const
    {
        Bytes out;
        for (auto b : data)
        {
            const bool always = b == 0x18 || b == 0x10 || b == 0x90 || b == 0x11 || b == 0x91 ||
                                b == 0x13 || b == 0x93;
            if (always || (escapeAll && (b & 0x60) == 0))
                Append(out, {0x18, static_cast<std::uint8_t>(b ^ 0x40)});
            else if (b == 0x7F || b == 0xFF)
                Append(out, {0x18, static_cast<std::uint8_t>(b == 0x7F ? 'l' : 'm')});
            else
                out.push_back(b);
        }
        return out;
    }

    Bytes Bin(int type, const Bytes& header, bool crc32) const
    {
        Bytes raw{static_cast<std::uint8_t>(type)};
        Append(raw, header);
        Append(raw, Crc(raw, crc32));
        Bytes out = ToBytes(std::string("*\x18") + (crc32 ? 'C' : 'A'));
        Append(out, Escaped(raw));
        return out;
    }
    Bytes Bin16(int type, const Bytes& header) const { return Bin(type, header, false); }
    Bytes Bin32(int type, const Bytes& header) const { return Bin(type, header, true); }

    // A data subpacket ending with `end` ('h' to 'k').
    Bytes Data(const Bytes& data, char end, bool crc32) const
    {
        Bytes covered = data;
        covered.push_back(static_cast<std::uint8_t>(end));
        Bytes out = Escaped(data);
        out.push_back(0x18);
        out.push_back(static_cast<std::uint8_t>(end));
        Append(out, Escaped(Crc(covered, crc32)));
        return out;
    }
    Bytes Data16(const Bytes& data, char end) const { return Data(data, end, false); }
    Bytes Data32(const Bytes& data, char end) const { return Data(data, end, true); }
};

// A header the receiver sent.
struct SentHeader
{
    int type;
    std::uint32_t value;
    Bytes header;
};

// Splits what the receiver sent into its hex headers (checking their CRC) and other bytes.
struct SentStream
{
    std::vector<SentHeader> headers;
    Bytes other; // bytes outside hex headers (attention strings, cancel sequence)

    explicit SentStream(const Bytes& sent)
    {
        std::size_t i = 0;
        auto nibble = [](std::uint8_t c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
        while (i < sent.size())
        {
            if (i + 4 + 14 <= sent.size() && sent[i] == '*' && sent[i + 1] == '*' &&
                sent[i + 2] == 0x18 && sent[i + 3] == 'B')
            {
                Bytes raw;
                for (std::size_t k = 0; k < 7; ++k)
                    raw.push_back(static_cast<std::uint8_t>(nibble(sent[i + 4 + 2 * k]) << 4 |
                                                            nibble(sent[i + 5 + 2 * k])));
                std::uint16_t crc = 0;
                for (auto b : raw)
                    crc = CZModem::UpdateCRC16(b, crc);
                if (crc == 0)
                {
                    Bytes header(raw.begin() + 1, raw.begin() + 5);
                    const std::uint32_t value = static_cast<std::uint32_t>(
                        header[0] | header[1] << 8 | header[2] << 16 | header[3] << 24);
                    headers.push_back({raw[0], value, header});
                    i += 18;
                    while (i < sent.size() &&
                           (sent[i] == '\r' || sent[i] == 0x8A || sent[i] == 0x11))
                        ++i;
                    continue;
                }
            }
            other.push_back(sent[i++]);
        }
    }

    std::vector<int> Types() const
    {
        std::vector<int> types;
        for (auto& h : headers)
            types.push_back(h.type);
        return types;
    }
    std::vector<std::uint32_t> Values(int type) const
    {
        std::vector<std::uint32_t> values;
        for (auto& h : headers)
            if (h.type == type)
                values.push_back(h.value);
        return values;
    }
    int Count(int type) const { return static_cast<int>(Values(type).size()); }
};

inline const Bytes& CancelSequence()
{
    static const Bytes sequence = {0x2A, 0x2A, 0x18, 0x18, 0x18, 0x18, 0x18, 0x18, 0x18, 0x18,
                                   0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08};
    return sequence;
}

inline bool EndsWith(const Bytes& data, const Bytes& tail)
{
    return data.size() >= tail.size() &&
           std::equal(tail.begin(), tail.end(), data.end() - static_cast<long>(tail.size()));
}

// What a receiver did with one file.
struct FileRecord
{
    std::string name;
    bool binary = true;
    bool append = false;
    Bytes data;
    bool closed = false;
    bool complete = false; // closed at a correct end of file
    unsigned long modificationTime = 0;
    int mode = 0;
    long length = 0;
};

// A memory file store; shared by the scripted and the process-backed receivers.
class MemoryStore
{
public:
    std::vector<FileRecord> files;
    std::function<bool(const std::string&)> accept = [](const std::string&) { return true; };
    bool closeResult = true;

    bool Create(const char* name, bool binary, bool append, long length)
    {
        if (!accept(name))
            return false;
        files.push_back({name, binary, append, {}, false, false, 0, 0, length});
        return true;
    }
    void Write(const unsigned char* data, unsigned long count)
    {
        files.back().data.insert(files.back().data.end(), data, data + count);
    }
    bool Close(unsigned long time, int mode, bool complete)
    {
        files.back().closed = true;
        files.back().complete = complete;
        files.back().modificationTime = time;
        files.back().mode = mode;
        return closeResult;
    }
    const FileRecord* Completed(const std::string& name) const
    {
        for (auto& f : files)
            if (f.name == name && f.complete)
                return &f;
        return nullptr;
    }
};

// A receiver whose file store is memory and which records what it sends.
class MemoryZModem : public CZModem
{
public:
    explicit MemoryZModem(E_ZMODEM_FLAGS flags) : CZModem(flags) {}
    MemoryStore store;
    Bytes sent;

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
    }
};

// A receiver fed from a byte script; an empty script reads as a timeout at once, so timeout
// paths run without waiting.
class ScriptedZModem : public MemoryZModem
{
public:
    explicit ScriptedZModem(E_ZMODEM_FLAGS flags = ZMODEM_NO_FLAGS) : MemoryZModem(flags) {}

    static constexpr int TIMEOUT = -1; // a script entry that reads as one timeout
    std::deque<int> input;
    std::vector<unsigned long> timeoutRequests; // the timeouts asked for, in ms

    void Feed(const Bytes& bytes) { input.insert(input.end(), bytes.begin(), bytes.end()); }
    void FeedTimeouts(int n) { input.insert(input.end(), static_cast<std::size_t>(n), TIMEOUT); }

    using CZModem::GetAttentionString;
    using CZModem::GetFlags;

protected:
    bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) override
    {
        const int next = input.empty() ? TIMEOUT : input.front();
        if (!input.empty())
            input.pop_front();
        if (next == TIMEOUT)
        {
            timeoutRequests.push_back(timeoutMs);
            return false;
        }
        byte = static_cast<std::uint8_t>(next);
        return true;
    }
    // The script stands for a sender that stops at once when asked to resend, so nothing that
    // is queued is stale.
    void ZPurgeInput() override {}
};

// ---------------------------------------------------------------------------------------------
// Real senders

inline bool HaveProgram(const std::string& name)
{
    return ::access(("/usr/bin/" + name).c_str(), X_OK) == 0;
}

using TempDir = test_support::ScratchFolder;

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
    test_support::ScratchFolder::Write(path, data);
}

// sz with `arguments` (plain names, no quoting needed) run in `directory`.
inline std::string SzCommand(const std::filesystem::path& directory,
                             const std::vector<std::string>& arguments)
{
    std::string command = "cd '" + directory.string() + "' && exec sz";
    for (const auto& a : arguments)
        command += " '" + a + "'";
    return command;
}

// Damage applied to the bytes travelling from the sender to the receiver, at rates in parts
// per million per byte, from a fixed seed.
struct LineNoise
{
    std::uint32_t seed = 1;
    std::uint32_t corruptPpm = 0;
    std::uint32_t dropPpm = 0;
    std::uint32_t duplicatePpm = 0;
};

// A receiver whose line is a command and whose store is memory. It can end the sender (and all
// it started) once it has read a given number of bytes.
class ProcessZModem : public MemoryZModem
{
public:
    explicit ProcessZModem(const std::string& command, E_ZMODEM_FLAGS flags = ZMODEM_NO_FLAGS,
                           LineNoise noise = {})
        : MemoryZModem(flags), m_noise(noise), m_rng(noise.seed)
    {
        started = m_child.Start(command);
        // Shorter than the protocol's 3 s so that recovery from a lost header stays quick.
        SetReceiveTimeout(5);
    }

    // Ends the line; the sender's exit code, -1 when it had to be ended.
    int Finish() { return m_child.Stop(5000); }

    bool started = false;
    std::size_t damaged = 0;
    std::size_t endSenderAfter = 0; // bytes; 0 never
    bool endForced = false;

protected:
    void ZSendBytes(unsigned char const* data, unsigned long count) override
    {
        MemoryZModem::ZSendBytes(data, count);
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
            if (m_next == m_filled)
            {
                const long n = m_child.Read(m_buffer, sizeof m_buffer, timeoutMs);
                if (n <= 0)
                    return false;
                m_next = 0;
                m_filled = static_cast<std::size_t>(n);
                m_read += m_filled;
                if (endSenderAfter != 0 && m_read >= endSenderAfter)
                {
                    m_child.Terminate(endForced);
                    endSenderAfter = 0;
                }
            }
            byte = m_buffer[m_next++];
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
    void ZPurgeInput() override
    {
        m_next = m_filled;
        m_child.DiscardOutput();
    }

private:
    bool Hit(std::uint32_t ppm) { return ppm != 0 && m_rng() % 1000000u < ppm; }

    shared::platform::CChildProcess m_child;
    LineNoise m_noise;
    std::mt19937 m_rng;
    int m_duplicate = -1;
    unsigned char m_buffer[4096];
    std::size_t m_next = 0;
    std::size_t m_filled = 0;
    std::size_t m_read = 0;
};

} // namespace zmodem_test
