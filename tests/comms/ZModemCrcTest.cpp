// Check values and residues of both CRCs.

#include "ZModemTestSupport.h"

#include <gtest/gtest.h>

using namespace zmodem_test;

TEST(ZModemCrc, MatchesPublishedCheckValues)
{
    // The catalogue check values for "123456789": CRC-16/XMODEM 0x31C3, CRC-32 0xCBF43926.
    const Bytes check = ToBytes("123456789");
    EXPECT_EQ(Crc16(check), 0x31C3);
    EXPECT_EQ(Crc32(check), 0xCBF43926u);
    EXPECT_EQ(Crc16({}), 0);
    EXPECT_EQ(Crc32({}), 0u);
}

TEST(ZModemCrc, MessageFollowedByItsCrcLeavesTheResidue)
{
    Bytes data = ToBytes("ZModem \x18\x7f\xff");
    Bytes with16 = data;
    const std::uint16_t c16 = Crc16(data);
    with16.push_back(static_cast<std::uint8_t>(c16 >> 8));
    with16.push_back(static_cast<std::uint8_t>(c16));
    std::uint16_t r16 = 0;
    for (auto b : with16)
        r16 = CZModem::UpdateCRC16(b, r16);
    EXPECT_EQ(r16, 0);

    Bytes with32 = data;
    Append(with32, Encoder::Value(Crc32(data)));
    std::uint32_t r32 = 0xFFFFFFFFu;
    for (auto b : with32)
        r32 = CZModem::UpdateCRC32(b, r32);
    EXPECT_EQ(r32, 0xDEBB20E3u);
}
