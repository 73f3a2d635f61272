#include <gtest/gtest.h>
#include <shared/platform/SerialLine.h>
#include <string>
#include <vector>

using shared::platform::CSerialMarkDecoder;
using shared::platform::SerialLineMarks;

namespace
{
std::vector<unsigned char> Strip(CSerialMarkDecoder& decoder, std::vector<unsigned char> bytes,
                                 SerialLineMarks& marks)
{
    unsigned long const n =
        decoder.Strip(bytes.data(), static_cast<unsigned long>(bytes.size()), marks);
    bytes.resize(n);
    return bytes;
}
} // namespace

// Breaks and damaged bytes cannot be produced on a pseudo-terminal, so the in-band marks that a
// real UART driver inserts are fed to the decoder directly.
TEST(SerialMarkDecoder, RemovesMarksAndCountsBreaksAndDamagedBytes)
{
    CSerialMarkDecoder decoder;
    SerialLineMarks marks;
    EXPECT_EQ(Strip(decoder, {'a', 0xFF, 0xFF, 'b'}, marks),
              (std::vector<unsigned char>{'a', 0xFF, 'b'}));
    EXPECT_EQ(marks.breaks + marks.errors, 0u);

    // A break (FF 00 00) vanishes; a damaged byte (FF 00 x) is kept and counted.
    EXPECT_EQ(Strip(decoder, {'$', 0xFF, 0x00, 0x00, 'G', 0xFF, 0x00, 'P', 0x00}, marks),
              (std::vector<unsigned char>{'$', 'G', 'P', 0x00}));
    EXPECT_EQ(marks.breaks, 1u);
    EXPECT_EQ(marks.errors, 1u);
}

TEST(SerialMarkDecoder, MarksSplitAcrossReadsAreStillRecognised)
{
    CSerialMarkDecoder decoder;
    SerialLineMarks marks;
    EXPECT_TRUE(Strip(decoder, {0xFF}, marks).empty());
    EXPECT_EQ(Strip(decoder, {0xFF, 'x'}, marks), (std::vector<unsigned char>{0xFF, 'x'}));
    EXPECT_TRUE(Strip(decoder, {0xFF, 0x00}, marks).empty());
    EXPECT_EQ(Strip(decoder, {0x00, 'y'}, marks), (std::vector<unsigned char>{'y'}));
    EXPECT_EQ(marks.breaks, 1u);
    EXPECT_TRUE(Strip(decoder, {0xFF}, marks).empty());
    EXPECT_TRUE(Strip(decoder, {0x00}, marks).empty());
    EXPECT_EQ(Strip(decoder, {0x41, 0x42}, marks), (std::vector<unsigned char>{0x41, 0x42}));
    EXPECT_EQ(marks.errors, 1u);

    // A lone 0xFF before an ordinary byte cannot come from the driver: the byte survives.
    EXPECT_TRUE(Strip(decoder, {0xFF}, marks).empty());
    EXPECT_EQ(Strip(decoder, {'z', 'w'}, marks), (std::vector<unsigned char>{'z', 'w'}));

    // Reset forgets a half-seen mark (after input is purged).
    Strip(decoder, {0xFF}, marks);
    decoder.Reset();
    EXPECT_EQ(Strip(decoder, {0x00, 'q'}, marks), (std::vector<unsigned char>{0x00, 'q'}));
}
