#pragma once

// The receiving side of a ZModem file transfer.
//
// The engine knows nothing about lines or files: a derived class supplies the byte channel
// (ZReadByte, ZSendBytes) and the file store (ZCreateFile, ZWriteData, ZCloseFile). One call of
// ZModemReceive() runs a whole session on the calling thread: it answers the sender with ZRINIT
// (offering 32-bit CRC), receives every file offered, acknowledges ZFIN and returns true; on
// failure it sends the cancel sequence and returns false. Bytes of a damaged subpacket never
// reach ZWriteData.

#include <array>
#include <cstdint>
#include <shared/platform/Export.h>

class SHARED_API CZModem
{
public:
    // Constructor flags, a bit set.
    enum E_ZMODEM_FLAGS : std::uint32_t
    {
        ZMODEM_NO_FLAGS = 0,
        ZMODEM_CAN_SEND_BREAK = 1,  // told to the sender in ZRINIT
        ZMODEM_ESCAPE_CONTROLS = 2, // ask for, and honour, escaping of every control character
    };

    // Standard ZModem frame types.
    enum E_FRAME_TYPE : int
    {
        ZRQINIT = 0,
        ZRINIT = 1,
        ZSINIT = 2,
        ZACK = 3,
        ZFILE = 4,
        ZSKIP = 5,
        ZNAK = 6,
        ZABORT = 7,
        ZFIN = 8,
        ZRPOS = 9,
        ZDATA = 10,
        ZEOF = 11,
        ZFERR = 12,
        ZCRC = 13,
        ZCHALLENGE = 14,
        ZCOMPL = 15,
        ZCAN = 16,
        ZFREECNT = 17,
        ZCOMMAND = 18,
    };

    // Results of the internal readers besides frame types and data bytes.
    enum E_RESULT : int
    {
        RESULT_ERROR = -1,
        RESULT_TIMEOUT = -2,
        RESULT_GOTCRCE = 0x100 | 'h', // 360: end of frame, header follows
        RESULT_GOTCRCG = 0x100 | 'i', // 361: frame continues, no answer expected
        RESULT_GOTCRCQ = 0x100 | 'j', // 362: frame continues, ZACK expected
        RESULT_GOTCRCW = 0x100 | 'k', // 363: end of frame, ZACK expected
        RESULT_GOTCAN = 0x100 | 0x18, // 280: raw cancel, reported as ZCAN
    };

    static constexpr unsigned long BUFFER_SIZE = 1024;  // largest data subpacket accepted
    static constexpr unsigned long ATTENTION_SIZE = 64; // attention string, NUL included
    static constexpr unsigned long INPUT_SIZE = 4096;   // bytes read ahead through ZReadBlock

    explicit CZModem(E_ZMODEM_FLAGS flags);
    CZModem(const CZModem&) = default;
    CZModem& operator=(const CZModem&) = default;
    virtual ~CZModem();

    // Runs one receive session. True when it ended normally (also when the sender had nothing to
    // send); false when it failed, in which case the cancel sequence has been sent.
    bool ZModemReceive();

    // CRC-16/XMODEM (polynomial 0x1021, no reflection), the form used by ZModem headers and
    // 16-bit frames; CRC-32 is the standard reflected one (polynomial 0xEDB88320, ISO-HDLC).
    static const std::array<std::uint16_t, 256> s_wCRC16Table;
    static const std::array<std::uint32_t, 256> s_dwCRC32Table;
    // Shifts one byte into a register that holds the message itself, not the message times
    // x^16; a sender finalises by shifting in two zero bytes, a receiver expects 0 after
    // shifting in the two CRC bytes.
    static std::uint16_t UpdateCRC16(std::uint8_t byte, std::uint16_t crc)
    {
        return static_cast<std::uint16_t>(s_wCRC16Table[crc >> 8] ^ (crc << 8) ^ byte);
    }
    static std::uint32_t UpdateCRC32(std::uint8_t byte, std::uint32_t crc)
    {
        return s_dwCRC32Table[(crc ^ byte) & 0xFF] ^ (crc >> 8);
    }

protected:
    // A file header has been accepted. Returning false makes the engine skip the file
    // (the sender is told ZSKIP and offers the next one). `name` is as the sender gave it
    // and may hold '/' separators: sanitising it is the store's job.
    virtual bool ZCreateFile(char const* name, bool binary, bool append);
    // The current file ends: at its end, on skip, on cancel or on failure. IsClosingAtEndOfFile()
    // tells a complete file from an abandoned one. Returning false at a complete end fails the
    // session (the sender learns of it through the cancel sequence).
    virtual bool ZCloseFile(unsigned long modificationTime, int mode);
    // Never called by the engine; kept for derived classes that talk to a line with a break.
    virtual bool ZSendBreak();
    // An intact data subpacket's bytes, in order.
    virtual void ZWriteData(unsigned char const* data, unsigned long count) = 0;
    // Every transmission (headers, attention string, cancel sequence) goes out through here.
    virtual void ZSendBytes(unsigned char const* data, unsigned long count) = 0;
    // One received byte; false on timeout (or when the line is gone).
    virtual bool ZReadByte(unsigned char& byte, unsigned long timeoutMs) = 0;
    // Discards bytes that have arrived but not been read. The engine calls it when it has found
    // a damaged header or subpacket, just before it asks the sender to resend; the owner of a
    // line may also call it before a session to drop chatter (modem responses, leftovers).
    virtual void ZPurgeInput() = 0;
    // Up to `size` received bytes, waiting up to timeoutMs for the first; 0 on timeout. The
    // default reads one byte through ZReadByte. A line that can hand over everything that has
    // arrived in one go overrides it and saves a call per byte; the engine then holds what it
    // read ahead, so bytes that follow the end of a session may be consumed by it.
    virtual unsigned long ZReadBlock(unsigned char* buffer, unsigned long size,
                                     unsigned long timeoutMs);

    // Information about the session, for derived classes.
    bool IsClosingAtEndOfFile() const { return m_bClosingAtEnd; }
    long GetFileLength() const { return m_lFileLength; }
    unsigned long GetModificationTime() const { return m_ulModificationTime; }
    unsigned int GetFileMode() const { return m_uFileMode; }
    unsigned char GetConversionOption() const { return m_byConversion; }
    unsigned char GetManagementOption() const { return m_byManagement; }
    unsigned char GetTransportOption() const { return m_byTransport; }
    char const* GetAttentionString() const { return m_szAttention.data(); }
    E_ZMODEM_FLAGS GetFlags() const { return m_eFlags; }
    // Receive timeout in tenths of a second (30 by default), used for every ordinary read.
    unsigned long GetReceiveTimeout() const { return m_ulReceiveTimeout; }
    void SetReceiveTimeout(unsigned long tenths) { m_ulReceiveTimeout = tenths; }

    static void SetHeaderValue(std::array<std::uint8_t, 4>& header, std::uint32_t value);
    static std::uint32_t GetHeaderValue(std::array<std::uint8_t, 4> const& header);

private:
    int BeginTransfer();
    int ReceiveFiles();
    int ReceiveFileData();
    void ParseFileHeader(bool& binary, bool& append, char* name, unsigned long nameSize);
    bool CloseFile(bool atEnd);

    int ReceiveHeader();
    int ReceiveHexHeader();
    int ReceiveBinaryHeader16();
    int ReceiveBinaryHeader32();
    template <class Crc> int ReceiveBinaryHeaderWithCrc();
    int ReceiveBinaryData(std::uint8_t* buffer, unsigned long size, unsigned long& count);
    int ReceiveData16(std::uint8_t* buffer, unsigned long size, unsigned long& count);
    int ReceiveData32(std::uint8_t* buffer, unsigned long size, unsigned long& count);
    // The one data loop behind both: Crc gives the register, its start, the CRC length and the
    // good residue.
    template <class Crc>
    int ReceiveDataWithCrc(std::uint8_t* buffer, unsigned long size, unsigned long& count);

    int ReadByteWithTimeOut(unsigned long tenths);
    int Read7BitByte(unsigned long tenths);
    int ReadHexByte();
    int ReadByteWithEscapeDecode();
    int DecodeControlByte(int c);

    void SendHexHeader(int type, std::array<std::uint8_t, 4> const& header);
    void SendPositionHeader(int type, std::uint32_t value);
    void SendAttentionSequence();
    void SendCancelSequence();
    void AcknowledgeZFIN();

    E_ZMODEM_FLAGS m_eFlags;
    std::array<std::uint8_t, BUFFER_SIZE> m_abyBuffer{};
    std::array<std::uint8_t, 4> m_abyRxHeader{}; // ZP0..ZP3, that is ZF3..ZF0
    std::array<std::uint8_t, 4> m_abyTxHeader{};
    std::array<char, ATTENTION_SIZE> m_szAttention{};
    int m_nAnswerType = 0; // 0 answer ZRINIT, 1 answer ZFERR (a file could not be closed)
    int m_nFrameKind = 0;  // 0, or 'A' binary CRC-16, 'B' hex, 'C' binary CRC-32
    std::uint8_t m_byConversion = 0;
    std::uint8_t m_byManagement = 0;
    std::uint8_t m_byTransport = 0;
    long m_lFileLength = 0;
    unsigned long m_ulModificationTime = 0;
    unsigned int m_uFileMode = 0;
    unsigned long m_ulReceiveTimeout = 30;
    unsigned long m_ulFileHeaderLength = 0; // bytes of the last file-header subpacket
    bool m_bClosingAtEnd = false;
    std::array<std::uint8_t, INPUT_SIZE> m_abyInput{};
    unsigned long m_uInputNext = 0; // next unread byte of m_abyInput
    unsigned long m_uInputEnd = 0;
    bool m_bHeaderGarbage = false;  // the last header hunt ran out of bytes, found no header
    bool m_bHeaderFragment = false; // the last hunt timed out after bytes that made no header
};

constexpr CZModem::E_ZMODEM_FLAGS operator|(CZModem::E_ZMODEM_FLAGS a, CZModem::E_ZMODEM_FLAGS b)
{
    return static_cast<CZModem::E_ZMODEM_FLAGS>(static_cast<std::uint32_t>(a) |
                                                static_cast<std::uint32_t>(b));
}
