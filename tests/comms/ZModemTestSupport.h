#pragma once

// Test doubles for the ZModem receiver: a sender-side frame encoder, a parser for what the
// receiver sends, and a receiver whose line is a scripted byte queue and whose file store is
// memory.

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <shared/comms/CZModem.h>
#include <string>
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

    static Bytes Hex(int type, const Bytes& header)
    {
        static const char digits[] = "0123456789abcdef";
        Bytes raw{static_cast<std::uint8_t>(type)};
        Append(raw, header);
        const std::uint16_t crc = Crc16(raw);
        raw.push_back(static_cast<std::uint8_t>(crc >> 8));
        raw.push_back(static_cast<std::uint8_t>(crc));
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

    Bytes Escape(std::uint8_t b) const
    {
        const bool always =
            b == 0x18 || b == 0x10 || b == 0x90 || b == 0x11 || b == 0x91 || b == 0x13 || b == 0x93;
        if (always || (escapeAll && (b & 0x60) == 0))
            return {0x18, static_cast<std::uint8_t>(b ^ 0x40)};
        if (b == 0x7F)
            return {0x18, 'l'};
        if (b == 0xFF)
            return {0x18, 'm'};
        return {b};
    }

    Bytes Escaped(const Bytes& data) const
    {
        Bytes out;
        for (auto b : data)
            Append(out, Escape(b));
        return out;
    }

    Bytes Bin16(int type, const Bytes& header) const
    {
        Bytes raw{static_cast<std::uint8_t>(type)};
        Append(raw, header);
        const std::uint16_t crc = Crc16(raw);
        raw.push_back(static_cast<std::uint8_t>(crc >> 8));
        raw.push_back(static_cast<std::uint8_t>(crc));
        Bytes out = ToBytes("*\x18"
                            "A");
        Append(out, Escaped(raw));
        return out;
    }

    Bytes Bin32(int type, const Bytes& header) const
    {
        Bytes raw{static_cast<std::uint8_t>(type)};
        Append(raw, header);
        Append(raw, Value(Crc32(raw)));
        Bytes out = ToBytes("*\x18"
                            "C");
        Append(out, Escaped(raw));
        return out;
    }

    // A data subpacket ending with `end` ('h' to 'k').
    Bytes Data16(const Bytes& data, char end) const
    {
        Bytes covered = data;
        covered.push_back(static_cast<std::uint8_t>(end));
        const std::uint16_t crc = Crc16(covered);
        Bytes out = Escaped(data);
        out.push_back(0x18);
        out.push_back(static_cast<std::uint8_t>(end));
        Append(out, Escaped({static_cast<std::uint8_t>(crc >> 8), static_cast<std::uint8_t>(crc)}));
        return out;
    }

    Bytes Data32(const Bytes& data, char end) const
    {
        Bytes covered = data;
        covered.push_back(static_cast<std::uint8_t>(end));
        Bytes out = Escaped(data);
        out.push_back(0x18);
        out.push_back(static_cast<std::uint8_t>(end));
        Append(out, Escaped(Value(Crc32(covered))));
        return out;
    }

    // A ZFILE frame (CRC-32) with "name NUL info".
    Bytes File32(const std::string& name, const std::string& info, std::uint8_t conversion = 0,
                 std::uint8_t management = 0) const
    {
        Bytes out = Bin32(CZModem::ZFILE, Flags(conversion, management));
        Bytes body = ToBytes(name);
        body.push_back(0);
        Append(body, ToBytes(info));
        body.push_back(0);
        Append(out, Data32(body, 'k'));
        return out;
    }
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
    int Count(int type) const
    {
        int n = 0;
        for (auto& h : headers)
            n += h.type == type;
        return n;
    }
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
        FileRecord record;
        record.name = name;
        record.binary = binary;
        record.append = append;
        record.length = length;
        files.push_back(record);
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

// A receiver fed from a byte script; an empty script reads as a timeout at once, so timeout
// paths run without waiting.
class ScriptedZModem : public CZModem
{
public:
    explicit ScriptedZModem(E_ZMODEM_FLAGS flags = ZMODEM_NO_FLAGS) : CZModem(flags) {}

    static constexpr int TIMEOUT = -1; // a script entry that reads as one timeout
    std::deque<int> input;
    Bytes sent;
    MemoryStore store;
    unsigned long timeouts = 0;
    unsigned long purges = 0;
    std::vector<unsigned long> timeoutRequests; // the timeouts asked for, in ms

    void Feed(const Bytes& bytes) { input.insert(input.end(), bytes.begin(), bytes.end()); }
    void FeedTimeouts(int n) { input.insert(input.end(), static_cast<std::size_t>(n), TIMEOUT); }

    using CZModem::GetAttentionString;
    using CZModem::GetFileLength;
    using CZModem::GetFileMode;
    using CZModem::GetFlags;
    using CZModem::GetModificationTime;

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
    bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) override
    {
        const int next = input.empty() ? TIMEOUT : input.front();
        if (!input.empty())
            input.pop_front();
        if (next == TIMEOUT)
        {
            ++timeouts;
            timeoutRequests.push_back(timeoutMs);
            return false;
        }
        byte = static_cast<std::uint8_t>(next);
        return true;
    }
    // The script stands for a sender that stops at once when asked to resend, so nothing that
    // is queued is stale.
    void ZPurgeInput() override { ++purges; }
};

} // namespace zmodem_test
