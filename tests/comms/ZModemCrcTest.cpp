// Both CRCs against their published check values; every framed session relies on them.

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
