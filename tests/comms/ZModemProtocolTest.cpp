// The receiver against scripted senders: CRCs, handshake, file headers, data frames, error
// recovery and cancellation, checked byte for byte on what it writes and what it answers.

#include "ZModemTestSupport.h"

#include <gtest/gtest.h>
#include <limits>
#include <numeric>

using namespace zmodem_test;

namespace
{

enum class Frames
{
    Hex,   // hex ZDATA header, CRC-16 data
    Bin16, // binary CRC-16 headers and data
    Bin32, // binary CRC-32 headers and data
};

Bytes Header(const Encoder& enc, Frames frames, int type, const Bytes& header)
{
    switch (frames)
    {
    case Frames::Hex:
        return Encoder::Hex(type, header);
    case Frames::Bin16:
        return enc.Bin16(type, header);
    default:
        return enc.Bin32(type, header);
    }
}

Bytes Sub(const Encoder& enc, Frames frames, const Bytes& data, char end)
{
    return frames == Frames::Bin32 ? enc.Data32(data, end) : enc.Data16(data, end);
}

// ZDATA at `position`, the bytes cut in subpackets of `chunk`, all ending with `mid` but the
// last, which ends with `last`.
Bytes DataFrame(const Encoder& enc, Frames frames, std::uint32_t position, const Bytes& data,
                std::size_t chunk, char mid = 'i', char last = 'h')
{
    Bytes out = Header(enc, frames, CZModem::ZDATA, Encoder::Value(position));
    for (std::size_t at = 0; at < data.size() || at == 0; at += chunk)
    {
        const std::size_t n = std::min(chunk, data.size() - at);
        const bool final = at + n >= data.size();
        Append(out, Sub(enc, frames,
                        Bytes(data.begin() + static_cast<long>(at),
                              data.begin() + static_cast<long>(at + n)),
                        final ? last : mid));
        if (final)
            break;
    }
    return out;
}

Bytes FileHeader(const Encoder& enc, Frames frames, const std::string& name,
                 const std::string& info, std::uint8_t conversion = 0, std::uint8_t management = 0)
{
    Bytes out = Header(enc, frames, CZModem::ZFILE, Encoder::Flags(conversion, management));
    Bytes body = ToBytes(name);
    body.push_back(0);
    Append(body, ToBytes(info));
    body.push_back(0);
    Append(out, Sub(enc, frames, body, 'k'));
    return out;
}

Bytes Finish()
{
    Bytes out = Encoder::Hex(CZModem::ZFIN, Encoder::Value(0));
    Append(out, ToBytes("OO"));
    return out;
}

// ZEOF at `length` (CRC-32 binary), then ZFIN and "OO".
Bytes EofFinish(const Encoder& enc, std::uint32_t length)
{
    Bytes out = enc.Bin32(CZModem::ZEOF, Encoder::Value(length));
    Append(out, Finish());
    return out;
}

Bytes Concat(std::initializer_list<Bytes> parts)
{
    Bytes out;
    for (const Bytes& p : parts)
        Append(out, p);
    return out;
}

Bytes AllByteValues(std::size_t size)
{
    Bytes data(size);
    for (std::size_t i = 0; i < size; ++i)
        data[i] = static_cast<std::uint8_t>((i * 7 + i / 256) & 0xFF);
    return data;
}

// A whole one-file session as a streaming sender would send it.
Bytes OneFileSession(const Encoder& enc, Frames frames, const std::string& name, const Bytes& data,
                     std::size_t chunk = 1024)
{
    Bytes s = Encoder::Hex(CZModem::ZRQINIT, Encoder::Value(0));
    Append(s, FileHeader(enc, frames, name, std::to_string(data.size()) + " 0 100644"));
    Append(s, DataFrame(enc, frames, 0, data, chunk));
    Append(s, Header(enc, frames, CZModem::ZEOF,
                     Encoder::Value(static_cast<std::uint32_t>(data.size()))));
    Append(s, Finish());
    return s;
}

} // namespace

// ---------------------------------------------------------------------------------------------

TEST(ZModemCrc, MatchesPublishedCheckValues)
{
    // The catalogue check values for "123456789": CRC-16/XMODEM 0x31C3, CRC-32 0xCBF43926.
    // Every framed session relies on them.
    const Bytes check = ToBytes("123456789");
    EXPECT_EQ(Crc16(check), 0x31C3);
    EXPECT_EQ(Crc32(check), 0xCBF43926u);
    EXPECT_EQ(Crc16({}), 0);
    EXPECT_EQ(Crc32({}), 0u);
}

TEST(ZModemHandshake, AnnouncesCapabilitiesInZrinitAccordingToFlags)
{
    struct Case
    {
        CZModem::E_ZMODEM_FLAGS flags;
        std::uint8_t zf0;
    };
    for (const Case& c :
         {Case{CZModem::ZMODEM_NO_FLAGS, 0x23}, Case{CZModem::ZMODEM_CAN_SEND_BREAK, 0x27},
          Case{CZModem::ZMODEM_ESCAPE_CONTROLS, 0x63},
          Case{CZModem::ZMODEM_CAN_SEND_BREAK | CZModem::ZMODEM_ESCAPE_CONTROLS, 0x67}})
    {
        ScriptedZModem rx(c.flags);
        rx.Feed(Finish());
        ASSERT_TRUE(rx.ZModemReceive());
        SentStream out(rx.sent);
        ASSERT_FALSE(out.headers.empty());
        EXPECT_EQ(out.headers[0].type, CZModem::ZRINIT);
        EXPECT_EQ(out.headers[0].header, (Bytes{0, 0, 0, c.zf0}));
        // The hex header goes out in one piece ending with CR, 0x8A and XON.
        EXPECT_EQ(rx.sent[0], '*');
        EXPECT_EQ(Bytes(rx.sent.begin() + 18, rx.sent.begin() + 21), (Bytes{'\r', 0x8A, 0x11}));
    }
}

TEST(ZModemHandshake, SessionsWithoutAFileEndAsTheSenderSays)
{
    struct Case
    {
        const char* what;
        Bytes script;
        bool ok;
        int zrinits;
    };
    Bytes nothing = Encoder::Hex(CZModem::ZRQINIT, Encoder::Value(0));
    Append(nothing, Finish());
    Bytes fourCans(4, 0x18);
    Append(fourCans, Finish());
    for (const Case& c : {Case{"nothing to send", nothing, true, 2},
                          Case{"four CANs are no cancel", fourCans, true, 1},
                          Case{"other side receives",
                               Encoder::Hex(CZModem::ZRINIT, Encoder::Flags(0x23)), false, 1},
                          Case{"five CANs", Bytes(5, 0x18), false, 1},
                          Case{"noise, then silence", ToBytes("garbage\r\n"), false, 4}})
    {
        ScriptedZModem rx;
        rx.Feed(c.script);
        EXPECT_EQ(rx.ZModemReceive(), c.ok) << c.what;
        EXPECT_TRUE(rx.store.files.empty());
        const SentStream out(rx.sent);
        EXPECT_EQ(out.Count(CZModem::ZRINIT), c.zrinits) << c.what;
        // Success acknowledges ZFIN (without XON) and reads "OO"; failure ends with the cancel.
        EXPECT_EQ(out.other, c.ok ? Bytes{} : CancelSequence()) << c.what;
        EXPECT_TRUE(!c.ok || (rx.input.empty() && !EndsWith(rx.sent, {0x11}))) << c.what;
    }
}

TEST(ZModemHandshake, DamagedOrPartlyLostHeadersAskForARepeatNotANewHandshake)
{
    // A sender that has just sent ZFILE reads another ZRINIT as "wait for quiet" and repeats
    // nothing while the handshake keeps being restarted; ZNAK makes it repeat at once.
    Encoder enc;
    Bytes damaged = FileHeader(enc, Frames::Bin32, "x", "1");
    damaged[4] ^= 0x01; // in the header, not its subpacket
    Bytes truncated = FileHeader(enc, Frames::Bin32, "x", "1");
    truncated.erase(truncated.begin(), truncated.begin() + 2); // ZPAD and ZDLE lost
    for (const Bytes& lost : {damaged, truncated})
    {
        ScriptedZModem rx;
        rx.Feed(lost);
        rx.FeedTimeouts(1);
        rx.Feed(FileHeader(enc, Frames::Bin32, "x", "1"));
        rx.Feed(DataFrame(enc, Frames::Bin32, 0, ToBytes("y"), 1024));
        rx.Feed(EofFinish(enc, 1));
        ASSERT_TRUE(rx.ZModemReceive());
        ASSERT_NE(rx.store.Completed("x"), nullptr);
        const SentStream out(rx.sent);
        ASSERT_GE(out.headers.size(), 3u);
        EXPECT_EQ(out.headers[1].type, CZModem::ZNAK);
        EXPECT_EQ(out.Count(CZModem::ZRINIT), 2); // the first, and the one after ZEOF
    }
}

TEST(ZModemHandshake, MissingOverAfterZfinStillSucceedsAfterTheLongWait)
{
    ScriptedZModem rx;
    rx.Feed(Encoder::Hex(CZModem::ZFIN, Encoder::Value(0)));
    EXPECT_TRUE(rx.ZModemReceive());
    EXPECT_EQ(rx.timeoutRequests, (std::vector<unsigned long>{10000}));
}

TEST(ZModemHandshake, ZsinitSetsAttentionStringAndEscapingThenErrorsSendIt)
{
    Encoder enc;
    enc.escapeAll = true; // what a sender does once it has asked for escaping
    ScriptedZModem rx;
    rx.Feed(enc.Bin32(CZModem::ZSINIT, Encoder::Flags(0x40)));
    rx.Feed(enc.Data32(ToBytes("ATTN"), 'k')); // the NUL is not needed
    rx.Feed(FileHeader(enc, Frames::Bin32, "f", "3"));
    // A damaged first subpacket, then the good one.
    Bytes bad = enc.Bin32(CZModem::ZDATA, Encoder::Value(0));
    Bytes damaged = enc.Data32(ToBytes("abc"), 'h');
    damaged[0] ^= 0x01;
    Append(bad, damaged);
    rx.Feed(bad);
    rx.Feed(DataFrame(enc, Frames::Bin32, 0, ToBytes("abc"), 1024));
    rx.Feed(EofFinish(enc, 3));

    ASSERT_TRUE(rx.ZModemReceive());
    EXPECT_STREQ(rx.GetAttentionString(), "ATTN");
    EXPECT_TRUE(rx.GetFlags() & CZModem::ZMODEM_ESCAPE_CONTROLS);
    SentStream out(rx.sent);
    ASSERT_GE(out.headers.size(), 2u);
    EXPECT_EQ(out.headers[1].type, CZModem::ZACK);
    EXPECT_EQ(out.headers[1].value, 1u);
    EXPECT_EQ(out.other, ToBytes("ATTN"));
    ASSERT_EQ(rx.store.files.size(), 1u);
    EXPECT_EQ(rx.store.files[0].data, ToBytes("abc"));
    // ESCCTL now set, later ZRINITs say so.
    EXPECT_EQ(out.headers.back().type, CZModem::ZFIN);
    EXPECT_EQ(out.headers[out.headers.size() - 2].header[3], 0x63);
}

TEST(ZModemHandshake, AnswersFreeSpaceAndRefusesCommands)
{
    Encoder enc;
    ScriptedZModem rx;
    rx.Feed(Encoder::Hex(CZModem::ZFREECNT, Encoder::Value(0)));
    rx.Feed(enc.Bin32(CZModem::ZCOMMAND, Encoder::Value(0)));
    rx.Feed(enc.Data32(ToBytes("rm -rf /"), 'k')); // read as noise, never run
    rx.Feed(Finish());
    ASSERT_TRUE(rx.ZModemReceive());
    SentStream out(rx.sent);
    ASSERT_GE(out.headers.size(), 3u);
    EXPECT_EQ(out.headers[1].type, CZModem::ZACK);
    EXPECT_EQ(out.headers[1].value, 0x7FFFFFFFu);
    EXPECT_EQ(out.headers[2].type, CZModem::ZNAK);
    EXPECT_EQ(out.headers.back().type, CZModem::ZFIN);
}

// ---------------------------------------------------------------------------------------------

TEST(ZModemFileHeader, InformationAndOptionsGiveLengthTimeModeBinaryAndAppend)
{
    // Partial or malformed information parses what it can; a name with information is kept.
    struct Case
    {
        std::string info;
        std::uint8_t conversion, management;
        long length;
        unsigned long time;
        int mode;
        bool binary, append;
    };
    // clang-format off
    for (const Case& c : {
             Case{"1234 7654321 100644 0 1 1234", 0, 0, 1234, 2054353, 33188, true, false},
             Case{"77", 2, 0, 77, 0, 0, false, false},
             Case{"12 17", 0, 3, 12, 15, 0, true, true},
             Case{"x 1 2", 2, 3, 0, 0, 0, false, true},
             Case{"5 9 1", 1, 3, 5, 0, 0, true, false}, // binary ignores append
             Case{"99999999999999999999999 1 1", 0, 0x83, std::numeric_limits<long>::max(), 1, 1, true, false}})
    // clang-format on
    {
        SCOPED_TRACE(c.info);
        Encoder enc;
        ScriptedZModem rx;
        rx.Feed(FileHeader(enc, Frames::Bin32, "dir/a.txt", c.info, c.conversion, c.management));
        rx.Feed(EofFinish(enc, 0));
        ASSERT_TRUE(rx.ZModemReceive());
        ASSERT_EQ(rx.store.files.size(), 1u);
        const FileRecord& f = rx.store.files[0];
        EXPECT_EQ(f.name, "dir/a.txt");
        if (sizeof(long) == 8)
        {
            EXPECT_EQ(f.length, c.length);
        }
        EXPECT_EQ(f.modificationTime, c.time);
        EXPECT_EQ(f.mode, c.mode);
        EXPECT_EQ(f.binary, c.binary);
        EXPECT_EQ(f.append, c.append);
    }
}

// ---------------------------------------------------------------------------------------------

class ZModemFrames : public ::testing::TestWithParam<std::tuple<Frames, bool>>
{
};

TEST_P(ZModemFrames, EveryByteValueArrivesIntactInEveryFraming)
{
    const auto [frames, escapeAll] = GetParam();
    Encoder enc;
    enc.escapeAll = escapeAll;
    const Bytes data = AllByteValues(5000);
    ScriptedZModem rx(escapeAll ? CZModem::ZMODEM_ESCAPE_CONTROLS : CZModem::ZMODEM_NO_FLAGS);
    rx.Feed(OneFileSession(enc, frames, "all.bin", data, 700));
    ASSERT_TRUE(rx.ZModemReceive());
    ASSERT_EQ(rx.store.files.size(), 1u);
    EXPECT_TRUE(rx.store.files[0].complete);
    EXPECT_EQ(rx.store.files[0].data, data);
    EXPECT_TRUE(rx.input.empty());
}

INSTANTIATE_TEST_SUITE_P(AllFramings, ZModemFrames,
                         ::testing::Combine(::testing::Values(Frames::Hex, Frames::Bin16,
                                                              Frames::Bin32),
                                            ::testing::Bool()));

TEST(ZModemData, SubpacketEndsGetTheirAcknowledgements)
{
    Encoder enc;
    ScriptedZModem rx;
    rx.Feed(FileHeader(enc, Frames::Bin32, "f", "10"));
    Bytes s = enc.Bin32(CZModem::ZDATA, Encoder::Value(0));
    Append(s, enc.Data32(ToBytes("aa"), 'i'));  // ZCRCG: nothing
    Append(s, enc.Data32(ToBytes("bbb"), 'j')); // ZCRCQ: ZACK 5
    Append(s, enc.Data32(ToBytes("cc"), 'k'));  // ZCRCW: ZACK 7 and XON, header follows
    rx.Feed(s);
    s = enc.Bin32(CZModem::ZDATA, Encoder::Value(7));
    Append(s, enc.Data32(Bytes{}, 'i'));        // empty subpacket
    Append(s, enc.Data32(ToBytes("ddd"), 'h')); // ZCRCE: header follows
    rx.Feed(s);
    rx.Feed(EofFinish(enc, 10));
    ASSERT_TRUE(rx.ZModemReceive());
    EXPECT_EQ(rx.store.files[0].data, ToBytes("aabbbccddd"));

    EXPECT_EQ(SentStream(rx.sent).Values(CZModem::ZACK), (std::vector<std::uint32_t>{5, 7}));
    // Only the ZCRCW acknowledgement is followed by XON.
    std::size_t xonAcks = 0;
    for (std::size_t i = 0; i + 21 <= rx.sent.size(); ++i)
        if (rx.sent[i] == '*' && rx.sent[i + 4] == '0' && rx.sent[i + 5] == '3')
            xonAcks += rx.sent[i + 20] == 0x11;
    EXPECT_EQ(xonAcks, 1u);
}

TEST(ZModemData, DamagedSubpacketIsNotWrittenAndPositionIsAskedAgain)
{
    Encoder enc;
    ScriptedZModem rx;
    rx.Feed(enc.Bin32(CZModem::ZSINIT, Encoder::Flags(0)));
    rx.Feed(enc.Data32(ToBytes("!"), 'k'));
    rx.Feed(FileHeader(enc, Frames::Bin32, "f", "6"));
    Bytes s = enc.Bin32(CZModem::ZDATA, Encoder::Value(0));
    Append(s, enc.Data32(ToBytes("abc"), 'i'));
    Bytes damaged = enc.Data32(ToBytes("def"), 'i');
    damaged[1] = 'E'; // same length, wrong CRC
    Append(s, damaged);
    Append(s, enc.Data32(ToBytes("ghi"), 'h')); // still streaming, must be ignored
    rx.Feed(s);
    rx.Feed(DataFrame(enc, Frames::Bin32, 3, ToBytes("def"), 1024));
    rx.Feed(EofFinish(enc, 6));
    ASSERT_TRUE(rx.ZModemReceive());
    EXPECT_EQ(rx.store.files[0].data, ToBytes("abcdef"));

    SentStream out(rx.sent);
    EXPECT_EQ(out.Values(CZModem::ZRPOS), (std::vector<std::uint32_t>{0, 3}));
    EXPECT_EQ(out.other, ToBytes("!")); // attention once, before the ZRPOS
}

TEST(ZModemData, StreamStillArrivingAfterAResendRequestIsSkippedButNotForever)
{
    // What a streaming sender (and a relay before it) had sent before it read our ZRPOS spans
    // many header hunts; an older answer at another position is in it too. It costs no fault
    // and no further ZRPOS. A stream that never turns into the answer still ends the session.
    for (std::size_t hunts : {40u, 400u})
    {
        Encoder enc;
        ScriptedZModem rx;
        rx.Feed(FileHeader(enc, Frames::Bin32, "f", "6"));
        Bytes s = enc.Bin32(CZModem::ZDATA, Encoder::Value(0));
        Append(s, enc.Data32(ToBytes("abc"), 'i'));
        Bytes damaged = enc.Data32(ToBytes("def"), 'i');
        damaged[1] ^= 1;
        Append(s, damaged);
        Append(s, Bytes(hunts * 3802 / 2, 'g'));
        Append(s, DataFrame(enc, Frames::Bin32, 1, ToBytes("bcdef"), 1024));
        Append(s, Bytes(hunts * 3802 / 2, 'g'));
        rx.Feed(s);
        rx.Feed(DataFrame(enc, Frames::Bin32, 3, ToBytes("def"), 1024));
        rx.Feed(EofFinish(enc, 6));
        const bool ok = rx.ZModemReceive();
        if (hunts == 400)
        {
            EXPECT_FALSE(ok);
            EXPECT_TRUE(EndsWith(rx.sent, CancelSequence()));
            continue;
        }
        ASSERT_TRUE(ok);
        EXPECT_EQ(rx.store.files[0].data, ToBytes("abcdef"));
        EXPECT_EQ(SentStream(rx.sent).Count(CZModem::ZRPOS), 2);
    }
}

// ---------------------------------------------------------------------------------------------

TEST(ZModemSession, ScriptedSessionsStoreAndAnswerAsExpected)
{
    Encoder enc;
    Encoder escaping;
    escaping.escapeAll = true;
    Bytes badFile = FileHeader(enc, Frames::Bin32, "x", "1");
    badFile[badFile.size() - 3] ^= 0x04;
    Bytes badAttention = enc.Data32(ToBytes("XYZ"), 'k');
    badAttention[1] ^= 0x02;
    // Stray control bytes (NUL among them) and XOFF with parity between every byte of an
    // escaped subpacket.
    Bytes noisy;
    for (auto b : escaping.Data32(Bytes{1, 2, 3}, 'h'))
        Append(noisy, {b, 0x05, 0x00, 0x93});
    auto file = [&](const char* name, const char* info)
    { return FileHeader(enc, Frames::Bin32, name, info); };
    auto frame = [&](std::uint32_t at, const Bytes& data, std::size_t chunk = 1024)
    { return DataFrame(enc, Frames::Bin32, at, data, chunk); };
    using Z = CZModem;
    struct Case
    {
        const char* what;
        std::string name; // of the one file stored; empty for none
        std::string data;
        std::vector<int> replies; // header types, unchecked when empty
        bool escape;
        Bytes script;
        std::vector<std::uint32_t> resendAt = {}; // ZRPOS values, unchecked when empty
    };
    // clang-format off
    const Case cases[] = {
        {"name without information is flattened", "dir_name", "", {}, false,
         Concat({enc.Bin32(Z::ZFILE, Encoder::Flags(0)),
                 enc.Data32(ToBytes(std::string("dir/name.", 10)), 'k'), EofFinish(enc, 0)})},
        {"full buffer without NUL gives a bounded name", std::string(1024, 'n'), "", {}, false,
         Concat({enc.Bin32(Z::ZFILE, Encoder::Flags(0)), enc.Data32(Bytes(1024, 'n'), 'k'),
                 EofFinish(enc, 0)})},
        {"damaged file header refused, the resent one taken", "x", "y",
         {Z::ZRINIT, Z::ZNAK, Z::ZRPOS, Z::ZRINIT, Z::ZFIN}, false,
         Concat({badFile, file("x", "1"), frame(0, ToBytes("y")), EofFinish(enc, 1)})},
        {"data at the wrong position and a stale ZEOF are not taken", "f", "abcd", {}, false,
         Concat({file("f", "4"), frame(2, ToBytes("zz")), enc.Bin32(Z::ZEOF, Encoder::Value(2)),
                 frame(0, ToBytes("abcd")), EofFinish(enc, 4)})},
        {"oversized subpacket is an error, not an overflow", "f", std::string(1025, 'q'), {}, false,
         Concat({file("f", "1025"), frame(0, Bytes(1025, 'q'), 1025), frame(0, Bytes(1025, 'q')),
                 EofFinish(enc, 1025)}), {0, 0}},
        {"control characters are noise once escaping is on", "f", "\x01\x02\x03", {}, true,
         Concat({FileHeader(escaping, Frames::Bin32, "f", "3"),
                 escaping.Bin32(Z::ZDATA, Encoder::Value(0)), noisy, EofFinish(escaping, 3)})},
        {"refused file is skipped and the next one received", "yes", "ok",
         {Z::ZRINIT, Z::ZSKIP, Z::ZRINIT, Z::ZRPOS, Z::ZRINIT, Z::ZFIN}, false,
         Concat({file("no", "3"), file("yes", "2"), frame(0, ToBytes("ok")), EofFinish(enc, 2)})},
        {"damaged attention string refused, the old one kept", "", "",
         {Z::ZRINIT, Z::ZNAK, Z::ZRINIT, Z::ZFIN}, false,
         Concat({enc.Bin32(Z::ZSINIT, Encoder::Flags(0)), badAttention, Finish()})},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        ScriptedZModem rx(c.escape ? CZModem::ZMODEM_ESCAPE_CONTROLS : CZModem::ZMODEM_NO_FLAGS);
        rx.store.accept = [](const std::string& name) { return name != "no"; };
        rx.Feed(c.script);
        ASSERT_TRUE(rx.ZModemReceive());
        EXPECT_TRUE(rx.input.empty());
        EXPECT_STREQ(rx.GetAttentionString(), "");
        ASSERT_EQ(rx.store.files.size(), c.name.empty() ? 0u : 1u);
        if (!c.name.empty())
        {
            EXPECT_EQ(rx.store.files[0].name, c.name);
            EXPECT_EQ(rx.store.files[0].data, ToBytes(c.data));
            EXPECT_TRUE(rx.store.files[0].complete);
        }
        if (!c.replies.empty())
        {
            EXPECT_EQ(SentStream(rx.sent).Types(), c.replies);
        }
        if (!c.resendAt.empty())
        {
            EXPECT_EQ(SentStream(rx.sent).Values(CZModem::ZRPOS), c.resendAt);
        }
    }
}

TEST(ZModemSession, FailedCloseFailsTheSessionAndNextSessionStartsWithZferr)
{
    Encoder enc;
    ScriptedZModem rx;
    rx.store.closeResult = false;
    rx.Feed(FileHeader(enc, Frames::Bin32, "a", "1"));
    rx.Feed(DataFrame(enc, Frames::Bin32, 0, ToBytes("x"), 1024));
    rx.Feed(enc.Bin32(CZModem::ZEOF, Encoder::Value(1)));
    EXPECT_FALSE(rx.ZModemReceive());
    EXPECT_TRUE(EndsWith(rx.sent, CancelSequence()));
    EXPECT_TRUE(rx.store.files[0].complete); // the store was told it was whole

    rx.sent.clear();
    rx.Feed(Finish());
    EXPECT_TRUE(rx.ZModemReceive());
    EXPECT_EQ(SentStream(rx.sent).headers[0].type, CZModem::ZFERR);
}

TEST(ZModemSession, FileEndedEarlyIsClosedIncomplete)
{
    // After "keep" arrived: the sender skips the file, cancels mid-subpacket, or sends a header
    // that has no place inside a file. Only the skip lets the session go on.
    Encoder enc;
    Bytes cancel = ToBytes("part");
    Append(cancel, Bytes(8, 0x18));
    Append(cancel, Bytes(8, 0x08));
    Bytes skip = Encoder::Hex(CZModem::ZSKIP, Encoder::Value(0));
    Append(skip, Finish());
    struct Case
    {
        Bytes tail;
        bool ok;
        char end; // of the "keep" subpacket
    };
    for (const Case& c : {Case{skip, true, 'h'}, Case{cancel, false, 'i'},
                          Case{Encoder::Hex(CZModem::ZFIN, Encoder::Value(0)), false, 'h'}})
    {
        ScriptedZModem rx;
        rx.Feed(FileHeader(enc, Frames::Bin32, "a", "100"));
        Bytes s = enc.Bin32(CZModem::ZDATA, Encoder::Value(0));
        Append(s, enc.Data32(ToBytes("keep"), c.end));
        rx.Feed(s);
        rx.Feed(c.tail);
        EXPECT_EQ(rx.ZModemReceive(), c.ok);
        ASSERT_EQ(rx.store.files.size(), 1u);
        EXPECT_TRUE(rx.store.files[0].closed);
        EXPECT_FALSE(rx.store.files[0].complete);
        EXPECT_EQ(rx.store.files[0].data, ToBytes("keep"));
        EXPECT_EQ(EndsWith(rx.sent, CancelSequence()), !c.ok);
    }
}

TEST(ZModemSession, ErrorAllowanceIsTwentyAndResetByGoodData)
{
    for (int timeouts : {20, 21})
    {
        Encoder enc;
        ScriptedZModem rx;
        rx.Feed(FileHeader(enc, Frames::Bin32, "a", "2"));
        rx.Feed(DataFrame(enc, Frames::Bin32, 0, ToBytes("a"), 1024));
        rx.FeedTimeouts(timeouts);
        rx.Feed(DataFrame(enc, Frames::Bin32, 1, ToBytes("b"), 1024));
        rx.FeedTimeouts(timeouts == 20 ? 20 : 0); // allowance renewed by the good subpacket
        rx.Feed(EofFinish(enc, 2));
        const bool ok = rx.ZModemReceive();
        if (timeouts == 20)
        {
            EXPECT_TRUE(ok);
            EXPECT_EQ(rx.store.files[0].data, ToBytes("ab"));
            EXPECT_EQ(SentStream(rx.sent).Count(CZModem::ZRPOS), 41);
        }
        else
        {
            EXPECT_FALSE(ok);
            EXPECT_TRUE(EndsWith(rx.sent, CancelSequence()));
            EXPECT_TRUE(rx.store.files[0].closed);
            EXPECT_FALSE(rx.store.files[0].complete);
            EXPECT_EQ(rx.store.files[0].data, ToBytes("a"));
        }
    }
}

TEST(ZModemHeaders, RejectsUpperCaseHexDigitsBadCrcsAndEndlessGarbage)
{
    // Upper-case digits and a damaged binary header are each one failed attempt, answered with
    // a request to repeat rather than a new handshake.
    Bytes upper = Encoder::Hex(CZModem::ZFIN, Encoder::Value(0xABCDEF));
    for (auto& b : upper)
        if (b >= 'a' && b <= 'f')
            b = static_cast<std::uint8_t>(b - 'a' + 'A');
    Encoder enc;
    Bytes damaged = enc.Bin16(CZModem::ZFIN, Encoder::Value(0));
    damaged[4] ^= 0x01;
    Bytes damaged32 = enc.Bin32(CZModem::ZFIN, Encoder::Value(0));
    damaged32[6] ^= 0x20;
    for (const Bytes& bad : {upper, damaged, damaged32})
    {
        ScriptedZModem rx;
        rx.Feed(bad);
        rx.Feed(Finish());
        EXPECT_TRUE(rx.ZModemReceive());
        const SentStream out(rx.sent);
        EXPECT_EQ(out.Count(CZModem::ZRINIT), 1);
        EXPECT_EQ(out.Count(CZModem::ZNAK), 1);
    }
    ScriptedZModem lower; // every lower-case digit, 'f' included, is one
    lower.Feed(Encoder::Hex(CZModem::ZFIN, Encoder::Value(0xABCDEF)));
    EXPECT_TRUE(lower.ZModemReceive());

    // Endless garbage ends each attempt after a bounded number of bytes.
    ScriptedZModem rx;
    rx.Feed(Bytes(5 * 3802, 'g'));
    rx.Feed(Finish());
    EXPECT_FALSE(rx.ZModemReceive());
    EXPECT_EQ(SentStream(rx.sent).Count(CZModem::ZNAK), 5);
}
