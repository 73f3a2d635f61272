#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <shared/comms/CZModem.h>

namespace
{

// Line characters of the protocol.
constexpr int ZPAD = '*';
constexpr int ZDLE = 0x18; // also CAN
constexpr int CAN = 0x18;
constexpr int XON = 0x11;
constexpr int XOFF = 0x13;
constexpr int CR = 0x0D;
constexpr int LF = 0x0A;

// ZRINIT capability bits (ZF0).
constexpr std::uint8_t CANFDX = 0x01;  // full duplex
constexpr std::uint8_t CANOVIO = 0x02; // can receive while writing to disk
constexpr std::uint8_t CANBRK = 0x04;  // can send a break
constexpr std::uint8_t CANFC32 = 0x20; // can use 32-bit CRC
constexpr std::uint8_t ESCCTL = 0x40;  // wants control characters escaped

// Header byte positions: ZP0..ZP3 hold ZF3..ZF0.
constexpr int ZF0 = 3;
constexpr int ZF1 = 2;
constexpr int ZF2 = 1;

// ZFILE conversion and management options.
constexpr std::uint8_t ZCBIN = 1;
constexpr std::uint8_t ZCNL = 2;
constexpr std::uint8_t ZMAPND = 3;

// The engine marks a ZACK that must be followed by an XON with bit 7 of the type.
constexpr int ZACK_WITH_XON = CZModem::ZACK | 0x80;

constexpr int ERROR_ALLOWANCE = 20;
constexpr unsigned long HEADER_GARBAGE_LIMIT = 3800; // bytes that start no header
constexpr unsigned long SHORT_TIMEOUT = 1;           // tenths
constexpr unsigned long FINISH_TIMEOUT = 100;        // tenths, the wait for "OO"
constexpr std::uint32_t CRC32_RESIDUE = 0xDEBB20E3;  // reflected CRC-32 over data + CRC
constexpr int HANDSHAKE_ATTEMPTS = 5;
// Header hunts that may run out of bytes without counting as a fault while a resend request is
// fresh: about 240 KiB, more than pipes, pseudo-terminals and a relay between them hold; and at
// most four times that between two intact subpackets, so a sender that only sends noise still
// uses up the allowance.
constexpr unsigned long STALE_HUNTS = 64;
constexpr unsigned long STALE_HUNTS_PER_STALL = 4 * STALE_HUNTS;

constexpr std::array<std::uint16_t, 256> MakeCRC16Table()
{
    std::array<std::uint16_t, 256> table{};
    for (unsigned n = 0; n < 256; ++n)
    {
        unsigned crc = n << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x8000) ? (crc << 1) ^ 0x1021 : crc << 1;
        table[n] = static_cast<std::uint16_t>(crc);
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> MakeCRC32Table()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t n = 0; n < 256; ++n)
    {
        std::uint32_t crc = n;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
        table[n] = crc;
    }
    return table;
}

// Known entries of both tables (CRC-16/XMODEM and CRC-32/ISO-HDLC, as published).
static_assert(MakeCRC16Table()[1] == 0x1021 && MakeCRC16Table()[255] == 0x1EF0);
static_assert(MakeCRC32Table()[1] == 0x77073096u && MakeCRC32Table()[255] == 0x2D02EF8Du);

// XON and XOFF, also with bit 7 set: 0x11, 0x13, 0x91, 0x93.
bool IsIgnoredFlowControl(int c)
{
    return (c & ~0x82) == 0x11;
}

} // namespace

const std::array<std::uint16_t, 256> CZModem::s_wCRC16Table = MakeCRC16Table();
const std::array<std::uint32_t, 256> CZModem::s_dwCRC32Table = MakeCRC32Table();

CZModem::CZModem(E_ZMODEM_FLAGS flags) : m_eFlags(flags) {}

CZModem::~CZModem() = default;

bool CZModem::ZCreateFile(char const*, bool, bool)
{
    return true;
}

bool CZModem::ZCloseFile(unsigned long, int)
{
    return true;
}

bool CZModem::ZSendBreak()
{
    return true;
}

unsigned long CZModem::ZReadBlock(unsigned char* buffer, unsigned long, unsigned long timeoutMs)
{
    return ZReadByte(buffer[0], timeoutMs) ? 1 : 0;
}

void CZModem::SetHeaderValue(std::array<std::uint8_t, 4>& header, std::uint32_t value)
{
    for (auto& byte : header)
    {
        byte = static_cast<std::uint8_t>(value & 0xFF);
        value >>= 8;
    }
}

std::uint32_t CZModem::GetHeaderValue(std::array<std::uint8_t, 4> const& header)
{
    return static_cast<std::uint32_t>(header[0]) | static_cast<std::uint32_t>(header[1]) << 8 |
           static_cast<std::uint32_t>(header[2]) << 16 |
           static_cast<std::uint32_t>(header[3]) << 24;
}

// ---------------------------------------------------------------------------------------------
// Session

bool CZModem::ZModemReceive()
{
    const int begin = BeginTransfer();
    if (begin == ZCOMPL)
        return true;
    if (begin == ZFILE && ReceiveFiles() == 0)
        return true;
    SendCancelSequence();
    return false;
}

int CZModem::BeginTransfer()
{
    // A damaged or partly lost header is answered with ZNAK, not with another ZRINIT: a sender that
    // sees ZRINIT after its ZFILE waits (lrzsz: 5 s) for the line to go quiet before repeating the
    // file header, and ZRINITs every receive timeout (3 s) never let it, so one damaged byte in
    // a later file's header used to end the session. ZNAK makes it repeat at once, as it
    // already does for a damaged file-header subpacket. The attempt still counts.
    bool repeatRequested = false;
    for (int attempt = 0; attempt < HANDSHAKE_ATTEMPTS; ++attempt)
    {
        if (!repeatRequested)
        {
            SetHeaderValue(m_abyTxHeader, 0);
            std::uint8_t capabilities = CANFDX | CANOVIO | CANFC32;
            if (m_eFlags & ZMODEM_CAN_SEND_BREAK)
                capabilities |= CANBRK;
            if (m_eFlags & ZMODEM_ESCAPE_CONTROLS)
                capabilities |= ESCCTL;
            m_abyTxHeader[ZF0] = capabilities;
            SendHexHeader(m_nAnswerType == 1 ? ZFERR : ZRINIT, m_abyTxHeader);
        }
        repeatRequested = false;

        bool nextAttempt = false;
        while (!nextAttempt)
        {
            const int header = ReceiveHeader();
            switch (header)
            {
            case ZSINIT:
            {
                if (m_abyRxHeader[ZF0] & ESCCTL)
                    m_eFlags = m_eFlags | ZMODEM_ESCAPE_CONTROLS;
                // The attention string changes only when its subpacket arrived whole.
                std::array<std::uint8_t, ATTENTION_SIZE> attention{};
                unsigned long count = 0;
                if (ReceiveBinaryData(attention.data(), ATTENTION_SIZE - 1, count) ==
                    RESULT_GOTCRCW)
                {
                    m_szAttention.fill(0);
                    std::memcpy(m_szAttention.data(), attention.data(), count);
                    SendPositionHeader(ZACK, 1);
                }
                else
                {
                    SendPositionHeader(ZNAK, 0);
                    nextAttempt = true;
                }
                break;
            }
            case ZFILE:
            {
                m_byConversion = m_abyRxHeader[ZF0];
                m_byManagement = m_abyRxHeader[ZF1];
                m_byTransport = m_abyRxHeader[ZF2];
                m_nAnswerType = 0;
                unsigned long count = 0;
                if (ReceiveBinaryData(m_abyBuffer.data(), BUFFER_SIZE, count) == RESULT_GOTCRCW)
                {
                    m_ulFileHeaderLength = count;
                    return ZFILE;
                }
                SendPositionHeader(ZNAK, 0);
                break;
            }
            case ZFIN:
                AcknowledgeZFIN();
                return ZCOMPL;
            case ZCOMPL:
                break;
            case ZFREECNT:
                SendPositionHeader(ZACK, 0x7FFFFFFF);
                break;
            case ZCOMMAND:
                // Remote commands are never run.
                SendPositionHeader(ZNAK, 0);
                break;
            case ZRINIT: // the other side is a receiver too
            case ZCAN:
                return RESULT_ERROR;
            case RESULT_ERROR:
            case RESULT_TIMEOUT:
                if (header == RESULT_ERROR || m_bHeaderFragment)
                {
                    SendPositionHeader(ZNAK, 0);
                    repeatRequested = true;
                }
                nextAttempt = true;
                break;
            default:
                nextAttempt = true;
                break;
            }
        }
    }
    return RESULT_ERROR;
}

int CZModem::ReceiveFiles()
{
    for (;;)
    {
        const int result = ReceiveFileData();
        if (result != ZEOF && result != ZSKIP)
            return RESULT_ERROR;
        const int next = BeginTransfer();
        if (next == ZCOMPL)
            return 0;
        if (next != ZFILE)
            return RESULT_ERROR;
    }
}

void CZModem::ParseFileHeader(bool& binary, bool& append, char* name, unsigned long nameSize)
{
    binary = true;
    append = false;
    if (m_byConversion == ZCNL)
        binary = false;
    if (m_byConversion == ZCBIN)
        binary = true; // a binary transfer ignores an append request, deliberately
    else if (m_byManagement == ZMAPND)
        append = true;

    m_lFileLength = 0;
    m_ulModificationTime = 0;
    m_uFileMode = 0;

    // The subpacket holds the name, a NUL, then the file information (up to the next NUL).
    // Both parts are bounded by what actually arrived, whatever the sender put there.
    char const* const begin = reinterpret_cast<char const*>(m_abyBuffer.data());
    const unsigned long total = m_ulFileHeaderLength;
    const unsigned long nameLength = static_cast<unsigned long>(strnlen(begin, total));
    const unsigned long copied = nameLength < nameSize - 1 ? nameLength : nameSize - 1;
    std::memcpy(name, begin, copied);
    name[copied] = '\0';

    char info[BUFFER_SIZE + 1] = {};
    if (nameLength + 1 < total)
    {
        const unsigned long infoLength =
            static_cast<unsigned long>(strnlen(begin + nameLength + 1, total - nameLength - 1));
        std::memcpy(info, begin + nameLength + 1, infoLength);
    }

    if (info[0] != '\0')
    {
        // "%ld%lo%o": length in decimal, modification time and mode in octal; parsing stops at
        // the first field that is not a number. strtol/strtoul clamp where scanf would overflow.
        char* end = nullptr;
        char const* p = info;
        errno = 0;
        const long length = std::strtol(p, &end, 10);
        if (end != p)
        {
            m_lFileLength = length;
            p = end;
            const unsigned long time = std::strtoul(p, &end, 8);
            if (end != p)
            {
                m_ulModificationTime = time;
                p = end;
                const unsigned long mode = std::strtoul(p, &end, 8);
                if (end != p)
                    m_uFileMode = static_cast<unsigned int>(mode);
            }
        }
        return; // with information the name is used as it is
    }

    // Without information the name is made flat: '/' becomes '_' and a trailing '.' goes.
    for (char* c = name; *c != '\0'; ++c)
        if (*c == '/')
            *c = '_';
    const std::size_t length = std::strlen(name);
    if (length > 0 && name[length - 1] == '.')
        name[length - 1] = '\0';
}

bool CZModem::CloseFile(bool atEnd)
{
    m_bClosingAtEnd = atEnd;
    const bool closed = ZCloseFile(m_ulModificationTime, static_cast<int>(m_uFileMode));
    m_bClosingAtEnd = false;
    return closed;
}

int CZModem::ReceiveFileData()
{
    bool binary = true;
    bool append = false;
    char name[BUFFER_SIZE + 1];
    ParseFileHeader(binary, append, name, sizeof name);

    if (!ZCreateFile(name, binary, append))
    {
        SendPositionHeader(ZSKIP, 0);
        return ZSKIP;
    }

    std::uint32_t received = 0;
    int allowance = ERROR_ALLOWANCE;

    // After asking for a resend, whatever the sender had already sent (or a relay between us
    // still holds) keeps arriving before the answer: on a deep line that is more than one
    // header hunt's worth. Counting each such hunt as a fault, and answering it with yet another
    // ZRPOS that restarts the sender once more, used up the allowance on a merely noisy line.
    // So for one receive timeout, and a bounded amount of data, a hunt that finds no header or
    // a ZDATA for an older request is taken as stale and skipped.
    unsigned long staleHunts = 0;
    unsigned long stallHunts = STALE_HUNTS_PER_STALL;
    std::chrono::steady_clock::time_point staleUntil{};
    auto stale = [&]
    {
        if (staleHunts == 0 || stallHunts == 0 || std::chrono::steady_clock::now() > staleUntil)
            return false;
        --staleHunts;
        --stallHunts;
        return true;
    };

    // Counts one fault against the allowance; false when it is used up (the file is closed).
    auto fault = [&](bool sendAttention)
    {
        if (--allowance < 0)
        {
            CloseFile(false);
            return false;
        }
        if (sendAttention)
        {
            // A streaming sender goes on sending until it reads our ZRPOS; whatever of that is
            // already buffered on our side is useless.
            ZPurgeInput();
            m_uInputNext = m_uInputEnd;
            SendAttentionSequence();
        }
        SendPositionHeader(ZRPOS, received);
        staleHunts = STALE_HUNTS;
        staleUntil =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(m_ulReceiveTimeout * 100);
        return true;
    };

    SendPositionHeader(ZRPOS, received);
    for (;;)
    {
        const int header = ReceiveHeader();
        switch (header)
        {
        case RESULT_TIMEOUT:
            if (!fault(false))
                return RESULT_ERROR;
            continue;
        case RESULT_ERROR:
            if (m_bHeaderGarbage && stale())
                continue;
            if (!fault(true))
                return RESULT_ERROR;
            continue;
        case ZNAK:
            SendPositionHeader(ZRPOS, received);
            continue;
        case ZFILE:
        {
            unsigned long ignored = 0;
            ReceiveBinaryData(m_abyBuffer.data(), BUFFER_SIZE, ignored);
            SendPositionHeader(ZRPOS, received);
            continue;
        }
        case ZSKIP:
            CloseFile(false);
            return ZSKIP;
        case ZEOF:
            if (GetHeaderValue(m_abyRxHeader) != received)
                continue; // a stale ZEOF from before a ZRPOS; the real one follows
            if (CloseFile(true))
                return ZEOF;
            m_nAnswerType = 1;
            return RESULT_ERROR;
        case ZDATA:
            break;
        default:
            CloseFile(false);
            return RESULT_ERROR;
        }

        // ZDATA
        if (GetHeaderValue(m_abyRxHeader) != received)
        {
            if (stale())
                continue;
            if (!fault(true))
                return RESULT_ERROR;
            continue;
        }
        bool readHeader = false;
        while (!readHeader)
        {
            unsigned long count = 0;
            const int end = ReceiveBinaryData(m_abyBuffer.data(), BUFFER_SIZE, count);
            switch (end)
            {
            case RESULT_GOTCRCG:
            case RESULT_GOTCRCQ:
            case RESULT_GOTCRCW:
            case RESULT_GOTCRCE:
                allowance = ERROR_ALLOWANCE;
                staleHunts = 0;
                stallHunts = STALE_HUNTS_PER_STALL;
                if (count > 0)
                    ZWriteData(m_abyBuffer.data(), count);
                received += static_cast<std::uint32_t>(count);
                if (end == RESULT_GOTCRCQ)
                    SendPositionHeader(ZACK, received);
                else if (end == RESULT_GOTCRCW)
                {
                    SendPositionHeader(ZACK_WITH_XON, received);
                    readHeader = true;
                }
                else if (end == RESULT_GOTCRCE)
                    readHeader = true;
                break;
            case RESULT_TIMEOUT:
                if (!fault(false))
                    return RESULT_ERROR;
                readHeader = true;
                break;
            case ZCAN:
                CloseFile(false);
                return RESULT_ERROR;
            default:
                if (!fault(true))
                    return RESULT_ERROR;
                readHeader = true;
                break;
            }
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Reading

int CZModem::ReadByteWithTimeOut(unsigned long tenths)
{
    if (m_uInputNext < m_uInputEnd)
        return m_abyInput[m_uInputNext++];
    const unsigned long n = ZReadBlock(m_abyInput.data(), INPUT_SIZE, tenths * 100);
    if (n == 0)
        return RESULT_TIMEOUT;
    m_uInputNext = 1;
    m_uInputEnd = n < INPUT_SIZE ? n : INPUT_SIZE;
    return m_abyInput[0];
}

int CZModem::Read7BitByte(unsigned long tenths)
{
    for (;;)
    {
        int c = ReadByteWithTimeOut(tenths);
        if (c < 0)
            return c;
        c &= 0x7F;
        switch (c)
        {
        case XON:
        case XOFF:
            continue;
        case CR:
        case LF:
        case CAN:
            return c;
        default:
            if ((m_eFlags & ZMODEM_ESCAPE_CONTROLS) && (c & 0x60) == 0)
                continue;
            return c;
        }
    }
}

int CZModem::ReceiveHeader()
{
    m_bHeaderGarbage = false;
    m_bHeaderFragment = false;
    unsigned long hunted = 0; // bytes read while looking for a header
    int pending = -1;         // a byte read ahead that may itself start a header

    auto next = [&](unsigned long tenths)
    {
        if (pending >= 0)
        {
            const int c = pending;
            pending = -1;
            return c;
        }
        ++hunted;
        return Read7BitByte(tenths);
    };
    // The read that timed out is counted too; any before it were the rest of a lost header.
    auto timedOut = [&]
    {
        m_bHeaderFragment = hunted > 1;
        return RESULT_TIMEOUT;
    };
    // Counts CANs that arrive back to back; ZCAN at the fifth, else keeps the byte that broke
    // the run for another look.
    auto cancelRun = [&](int cans)
    {
        for (;;)
        {
            const int c = next(SHORT_TIMEOUT);
            if (c != CAN)
            {
                if (c >= 0)
                    pending = c;
                return false;
            }
            if (++cans == 5)
                return true;
        }
    };

    while (hunted <= HEADER_GARBAGE_LIMIT)
    {
        int c = next(m_ulReceiveTimeout);
        if (c == RESULT_TIMEOUT)
            return timedOut();
        if (c == CAN)
        {
            if (cancelRun(1))
                return ZCAN;
            continue;
        }
        if (c != ZPAD)
            continue;

        while (c == ZPAD && hunted <= HEADER_GARBAGE_LIMIT)
            c = next(m_ulReceiveTimeout);
        if (c == RESULT_TIMEOUT)
            return timedOut();
        if (c != ZDLE)
        {
            pending = c;
            continue;
        }
        const int letter = next(m_ulReceiveTimeout);
        switch (letter)
        {
        case RESULT_TIMEOUT:
            return timedOut();
        case 'A':
            m_nFrameKind = letter;
            return ReceiveBinaryHeader16();
        case 'B':
            m_nFrameKind = letter;
            return ReceiveHexHeader();
        case 'C':
            m_nFrameKind = letter;
            return ReceiveBinaryHeader32();
        case CAN:
            if (cancelRun(2))
                return ZCAN;
            break;
        default:
            pending = letter;
            break;
        }
    }
    m_bHeaderGarbage = true;
    return RESULT_ERROR;
}

int CZModem::ReadHexByte()
{
    int value = 0;
    for (int digit = 0; digit < 2; ++digit)
    {
        const int c = Read7BitByte(m_ulReceiveTimeout);
        if (c < 0)
            return c;
        int nibble = 0;
        if (c >= '0' && c <= '9')
            nibble = c - '0';
        else if (c >= 'a' && c <= 'f')
            nibble = c - 'a' + 10;
        else
            return RESULT_ERROR;
        value = value << 4 | nibble;
    }
    return value;
}

int CZModem::ReceiveHexHeader()
{
    std::uint16_t crc = 0;
    int type = 0;
    for (int n = 0; n < 5; ++n)
    {
        const int c = ReadHexByte();
        if (c < 0)
            return c;
        if (n == 0)
            type = c;
        else
            m_abyRxHeader[static_cast<std::size_t>(n - 1)] = static_cast<std::uint8_t>(c);
        crc = UpdateCRC16(static_cast<std::uint8_t>(c), crc);
    }
    for (int n = 0; n < 2; ++n)
    {
        const int c = ReadHexByte();
        if (c < 0)
            return c;
        crc = UpdateCRC16(static_cast<std::uint8_t>(c), crc);
    }
    if (crc != 0)
        return RESULT_ERROR;

    // The line end after a hex header: CR and LF (the LF often with bit 7 set).
    if (ReadByteWithTimeOut(SHORT_TIMEOUT) == CR)
        ReadByteWithTimeOut(SHORT_TIMEOUT);
    return type;
}

// The CRC register of a frame: its start value, its length on the wire and its good residue.
// Binary headers and data subpackets come in a CRC-16 and a CRC-32 form that differ only in it.
namespace
{
struct Crc16Policy
{
    using Value = std::uint16_t;
    static constexpr Value kInitial = 0;
    static constexpr int kLength = 2;
    static Value Update(std::uint8_t byte, Value crc) { return CZModem::UpdateCRC16(byte, crc); }
    static bool IsGood(Value crc) { return crc == 0; }
};

struct Crc32Policy
{
    using Value = std::uint32_t;
    static constexpr Value kInitial = 0xFFFFFFFFu;
    static constexpr int kLength = 4;
    static Value Update(std::uint8_t byte, Value crc) { return CZModem::UpdateCRC32(byte, crc); }
    static bool IsGood(Value crc) { return crc == CRC32_RESIDUE; }
};
} // namespace

template <class Crc> int CZModem::ReceiveBinaryHeaderWithCrc()
{
    typename Crc::Value crc = Crc::kInitial;
    int type = 0;
    for (int n = 0; n < 5 + Crc::kLength; ++n)
    {
        const int c = ReadByteWithEscapeDecode();
        if (c == RESULT_GOTCAN)
            return ZCAN;
        if (c < 0)
            return c;
        if (c > 0xFF)
            return RESULT_ERROR;
        if (n == 0)
            type = c;
        else if (n < 5)
            m_abyRxHeader[static_cast<std::size_t>(n - 1)] = static_cast<std::uint8_t>(c);
        crc = Crc::Update(static_cast<std::uint8_t>(c), crc);
    }
    return Crc::IsGood(crc) ? type : RESULT_ERROR;
}

int CZModem::ReceiveBinaryHeader16()
{
    return ReceiveBinaryHeaderWithCrc<Crc16Policy>();
}

int CZModem::ReceiveBinaryHeader32()
{
    return ReceiveBinaryHeaderWithCrc<Crc32Policy>();
}

int CZModem::ReadByteWithEscapeDecode()
{
    const int c = ReadByteWithTimeOut(m_ulReceiveTimeout);
    if (c < 0 || (c & 0x60) != 0)
        return c;
    return DecodeControlByte(c);
}

// The rarer half of the decoding: a byte with neither of bits 0x60 set (ZDLE, flow control or
// another control character), which may need more bytes.
int CZModem::DecodeControlByte(int c)
{
    const bool escapeControls = (m_eFlags & ZMODEM_ESCAPE_CONTROLS) != 0;
    for (;;)
    {
        if (c & 0x60)
            return c;
        if (c == ZDLE)
            break;
        if (!IsIgnoredFlowControl(c) && !escapeControls)
            return c;
        c = ReadByteWithTimeOut(m_ulReceiveTimeout);
        if (c < 0)
            return c;
    }

    // After ZDLE. Five CANs in a row, this ZDLE included, are the sender's cancel.
    int cans = 1;
    for (;;)
    {
        c = ReadByteWithTimeOut(m_ulReceiveTimeout);
        if (c < 0)
            return c;
        if (c == CAN)
        {
            if (++cans == 5)
                return RESULT_GOTCAN;
            continue;
        }
        switch (c)
        {
        case 'h':
        case 'i':
        case 'j':
        case 'k':
            return 0x100 | c;
        case 'l':
            return 0x7F;
        case 'm':
            return 0xFF;
        default:
            break;
        }
        if (IsIgnoredFlowControl(c) || (escapeControls && (c & 0x60) == 0))
            continue;
        if ((c & 0x60) == 0x40)
            return c ^ 0x40;
        return RESULT_ERROR;
    }
}

int CZModem::ReceiveBinaryData(std::uint8_t* buffer, unsigned long size, unsigned long& count)
{
    count = 0;
    return m_nFrameKind == 'C' ? ReceiveData32(buffer, size, count)
                               : ReceiveData16(buffer, size, count);
}

// Data subpackets are the bulk of a transfer, so their loop reads bytes itself and leaves only
// control bytes to the full decoder.

template <class Crc>
int CZModem::ReceiveDataWithCrc(std::uint8_t* buffer, unsigned long size, unsigned long& count)
{
    const bool escapeControls = (m_eFlags & ZMODEM_ESCAPE_CONTROLS) != 0;
    auto special = [escapeControls](std::uint8_t b)
    { return (b & 0x60) == 0 && (escapeControls || b == ZDLE || IsIgnoredFlowControl(b)); };
    typename Crc::Value crc = Crc::kInitial;
    unsigned long n = 0;
    for (;;)
    {
        // Plain bytes already read go straight from the input buffer.
        const std::uint8_t* in = m_abyInput.data();
        unsigned long next = m_uInputNext;
        while (next < m_uInputEnd && !special(in[next]))
        {
            if (n >= size)
            {
                m_uInputNext = next;
                return RESULT_ERROR;
            }
            buffer[n++] = in[next];
            crc = Crc::Update(in[next++], crc);
        }
        m_uInputNext = next;

        int c = ReadByteWithTimeOut(m_ulReceiveTimeout);
        if (c < 0)
            return c;
        const auto byte = static_cast<std::uint8_t>(c);
        if (special(byte))
        {
            c = DecodeControlByte(byte);
            if (c == RESULT_GOTCAN)
                return ZCAN;
            if (c < 0)
                return c;
            if (c > 0xFF)
            {
                crc = Crc::Update(static_cast<std::uint8_t>(c & 0xFF), crc);
                for (int k = 0; k < Crc::kLength; ++k)
                {
                    const int b = ReadByteWithEscapeDecode();
                    if (b == RESULT_GOTCAN)
                        return ZCAN;
                    if (b < 0)
                        return b;
                    if (b > 0xFF)
                        return RESULT_ERROR;
                    crc = Crc::Update(static_cast<std::uint8_t>(b), crc);
                }
                if (!Crc::IsGood(crc))
                    return RESULT_ERROR;
                count = n;
                return c;
            }
        }
        if (n >= size)
            return RESULT_ERROR;
        buffer[n++] = static_cast<std::uint8_t>(c);
        crc = Crc::Update(static_cast<std::uint8_t>(c), crc);
    }
}

int CZModem::ReceiveData16(std::uint8_t* buffer, unsigned long size, unsigned long& count)
{
    return ReceiveDataWithCrc<Crc16Policy>(buffer, size, count);
}

int CZModem::ReceiveData32(std::uint8_t* buffer, unsigned long size, unsigned long& count)
{
    return ReceiveDataWithCrc<Crc32Policy>(buffer, size, count);
}

// ---------------------------------------------------------------------------------------------
// Sending

void CZModem::SendHexHeader(int type, std::array<std::uint8_t, 4> const& header)
{
    static constexpr char digits[] = "0123456789abcdef";
    const bool xonAfterAck = type == ZACK_WITH_XON;
    type &= 0x7F;

    std::uint8_t frame[24];
    std::size_t n = 0;
    frame[n++] = ZPAD;
    frame[n++] = ZPAD;
    frame[n++] = ZDLE;
    frame[n++] = 'B';
    auto hex = [&](std::uint8_t byte)
    {
        frame[n++] = static_cast<std::uint8_t>(digits[byte >> 4]);
        frame[n++] = static_cast<std::uint8_t>(digits[byte & 0x0F]);
    };

    std::uint16_t crc = UpdateCRC16(static_cast<std::uint8_t>(type), 0);
    hex(static_cast<std::uint8_t>(type));
    for (std::uint8_t byte : header)
    {
        hex(byte);
        crc = UpdateCRC16(byte, crc);
    }
    crc = UpdateCRC16(0, UpdateCRC16(0, crc));
    hex(static_cast<std::uint8_t>(crc >> 8));
    hex(static_cast<std::uint8_t>(crc & 0xFF));
    frame[n++] = CR;
    frame[n++] = 0x8A;
    if ((type != ZFIN && type != ZACK) || xonAfterAck)
        frame[n++] = XON;
    ZSendBytes(frame, static_cast<unsigned long>(n));
}

void CZModem::SendPositionHeader(int type, std::uint32_t value)
{
    SetHeaderValue(m_abyTxHeader, value);
    SendHexHeader(type, m_abyTxHeader);
}

void CZModem::SendAttentionSequence()
{
    // Break (0xDD) and pause (0xDE) codes go out as plain bytes.
    for (char const* c = m_szAttention.data(); *c != '\0'; ++c)
    {
        const auto byte = static_cast<unsigned char>(*c);
        ZSendBytes(&byte, 1);
    }
}

void CZModem::SendCancelSequence()
{
    // Two asterisks and eight CANs: the pads make a receiving program that is hunting for a
    // header look at the CANs at once.
    static constexpr unsigned char sequence[20] = {0x2A, 0x2A, 0x18, 0x18, 0x18, 0x18, 0x18,
                                                   0x18, 0x18, 0x18, 0x08, 0x08, 0x08, 0x08,
                                                   0x08, 0x08, 0x08, 0x08, 0x08, 0x08};
    ZSendBytes(sequence, sizeof sequence);
}

void CZModem::AcknowledgeZFIN()
{
    SendPositionHeader(ZFIN, 0);
    for (;;)
    {
        const int c = ReadByteWithTimeOut(FINISH_TIMEOUT);
        if (c < 0)
            return;
        if (c == 'O')
        {
            ReadByteWithTimeOut(SHORT_TIMEOUT);
            return;
        }
    }
}
