// A COM port of Wine backed by a pseudo-terminal (see serial_under_wine.sh): the Linux side
// feeds sentences, the device reads them through its receive thread and writes a reply back.

#include <cstdlib>
#include <gtest/gtest.h>
#include <shared/comms/CSerialPortDevice.h>
#include <string>

TEST(WindowsSerial, SentencesInBytesOut)
{
    const char* port = std::getenv("SHARED_WINE_COM_PORT");
    if (port == nullptr)
        GTEST_SKIP() << "needs a COM port of Wine mapped to a pseudo-terminal";
    CSerialPortDevice device;
    ASSERT_EQ(0UL, device.Open(std::atoi(port), CSerialPortDevice::BAUDRATE_4800,
                               CSerialPortDevice::DATA_BITS_8, CSerialPortDevice::PARITY_BIT_NONE,
                               CSerialPortDevice::STOP_BITS_ONE, CSerialPortDevice::HANDSHAKE_NONE,
                               4096));

    // The feeder repeats its sentence, so a whole one follows the first line end.
    std::string received;
    unsigned char byte = 0;
    while (received.find("*62\r\n$GPRMC") == std::string::npos && device.Read(byte, 10000))
        received += static_cast<char>(byte);
    EXPECT_NE(std::string::npos, received.find("$GPRMC,101500.000,A,5211.6543,N"));

    const std::string reply = "$PWARD,ACK*00\r\n";
    EXPECT_TRUE(device.Write(reply.data(), static_cast<unsigned long>(reply.size()), 5000));
    device.Close();
    EXPECT_FALSE(device.IsOpen());
}
