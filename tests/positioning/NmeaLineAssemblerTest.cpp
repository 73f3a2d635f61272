#include <gtest/gtest.h>
#include <shared/positioning/CNmeaLineAssembler.h>
#include <string>
#include <vector>

namespace
{
// Every line the assembler gives for the stream fed in pieces of the given size.
std::vector<std::string> Lines(const std::string& stream, std::size_t piece, std::size_t limit)
{
    CNmeaLineAssembler assembler(limit);
    std::vector<std::string> lines;
    std::string_view line;
    for (std::size_t at = 0; at < stream.size(); at += piece)
    {
        assembler.Append(stream.data() + at, std::min(piece, stream.size() - at));
        while (assembler.NextLine(line))
            lines.emplace_back(line);
    }
    while (assembler.Finish(line))
        lines.emplace_back(line);
    return lines;
}
} // namespace

TEST(CNmeaLineAssembler, SameLinesWhateverThePieceSizes)
{
    const std::string stream = "$GPRMC,1*00\r\n\r\n$GPLOG,2\nA\rB\r\nlast";
    const std::vector<std::string> expected = {"$GPRMC,1*00", "", "$GPLOG,2", "A\rB", "last"};
    for (std::size_t piece : {1u, 2u, 5u, 64u})
        EXPECT_EQ(Lines(stream, piece, 100), expected) << "pieces of " << piece;
}

TEST(CNmeaLineAssembler, NoiseWithoutLineFeedsComesOutInPiecesOfTheLimit)
{
    EXPECT_EQ(Lines("abcdefg\nxy", 3, 3), (std::vector<std::string>{"abc", "def", "g", "xy"}));
    EXPECT_TRUE(Lines("", 1, 3).empty());
}

TEST(CNmeaLineAssembler, FinishStillHandsOutWholeLinesFirst)
{
    CNmeaLineAssembler assembler(100);
    assembler.Append("a\r\nb\nrest", 9);
    std::vector<std::string> lines;
    std::string_view line;
    while (assembler.Finish(line))
        lines.emplace_back(line);
    EXPECT_EQ(lines, (std::vector<std::string>{"a", "b", "rest"}));
}
