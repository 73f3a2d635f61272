// Random bytes as everything the ZModem receiver reads. The first byte picks the constructor
// flags and how the file store answers; the rest is the line. The line ends in timeouts, so
// every session must end; the checks below turn broken invariants into crashes.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <shared/comms/CZModem.h>

namespace
{

class FuzzZModem : public CZModem
{
public:
    FuzzZModem(const std::uint8_t* data, std::size_t size, std::uint8_t options)
        : CZModem(static_cast<E_ZMODEM_FLAGS>(options & 3)), m_data(data), m_size(size),
          m_options(options)
    {
    }

    bool Run()
    {
        const bool ok = ZModemReceive();
        // A failed session ends with the cancel sequence; no file is left open either way.
        static const std::uint8_t cancel[20] = {0x2A, 0x2A, 0x18, 0x18, 0x18, 0x18, 0x18,
                                                0x18, 0x18, 0x18, 0x08, 0x08, 0x08, 0x08,
                                                0x08, 0x08, 0x08, 0x08, 0x08, 0x08};
        if (!ok && (m_lastSend != 20 || std::memcmp(m_lastSent, cancel, 20) != 0))
            std::abort();
        if (m_open)
            std::abort();
        return ok;
    }

protected:
    bool ZCreateFile(char const* name, bool, bool) override
    {
        if (m_open || name == nullptr || std::strlen(name) > BUFFER_SIZE)
            std::abort();
        m_open = (m_options & 0x10) == 0 || (m_created++ % 2) == 0;
        return m_open;
    }
    bool ZCloseFile(unsigned long, int) override
    {
        if (!m_open)
            std::abort();
        m_open = false;
        return (m_options & 0x20) == 0;
    }
    void ZWriteData(unsigned char const* data, unsigned long count) override
    {
        // Only inside a file, never more than has been read, never empty.
        if (!m_open || count == 0 || count > BUFFER_SIZE || count > m_position)
            std::abort();
        volatile unsigned char sink = data[count - 1];
        (void)sink;
        m_written += count;
    }
    void ZSendBytes(unsigned char const* data, unsigned long count) override
    {
        if (count == 0)
            std::abort();
        m_lastSend = count;
        std::memcpy(m_lastSent, data, count < sizeof m_lastSent ? count : sizeof m_lastSent);
    }
    bool ZReadByte(unsigned char& byte, unsigned long) override
    {
        if (m_position >= m_size)
        {
            // A line that only times out must end the session quickly.
            if (++m_timeouts > 1000)
                std::abort();
            return false;
        }
        byte = m_data[m_position++];
        return true;
    }
    void ZPurgeInput() override {}

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_position = 0;
    std::uint8_t m_options;
    bool m_open = false;
    unsigned m_created = 0;
    unsigned long m_written = 0;
    unsigned long m_timeouts = 0;
    unsigned long m_lastSend = 0;
    std::uint8_t m_lastSent[32] = {};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > 1 << 16)
        return 0;
    FuzzZModem receiver(data + 1, size - 1, data[0]);
    receiver.Run();
    return 0;
}
