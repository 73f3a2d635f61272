#pragma once

#include <shared/platform/Export.h>
#include <string>
#include <string_view>

// Cuts a byte stream from a device (a serial port, a log file read in large blocks) into its
// sentence lines, whatever sizes the pieces arrive in:
//
//     CNmeaLineAssembler lines;
//     lines.Append(buffer, received);
//     std::string_view line;
//     while (lines.NextLine(line)) decode(line);   // line is valid until the next Append
//     ...at the end of the stream: if (lines.Finish(line)) decode(line);
//
// A line ends at a line feed; the carriage return devices send before it is dropped. A line
// longer than the limit (noise without line feeds) is handed out in pieces of the limit, so
// memory stays bounded and no byte is silently dropped.
class SHARED_API CNmeaLineAssembler
{
public:
    explicit CNmeaLineAssembler(std::size_t maxLineLength = 65536);

    void Append(const char* data, std::size_t size);
    // The next complete line, without its line end; false when none is complete yet.
    bool NextLine(std::string_view& line);
    // The text after the last line feed, when the stream ends without one; false when there
    // is none. The assembler is empty afterwards.
    bool Finish(std::string_view& line);

private:
    std::size_t m_maxLineLength;
    std::string m_buffer;
    std::size_t m_start = 0; // first byte not yet handed out
    std::string m_last;      // keeps the text of Finish alive
};
