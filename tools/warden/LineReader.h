#pragma once

// Lines of standard input ("-") or of a file, read in large blocks: a pipe delivers a few
// kilobytes at a time, and reading it line by line through the stream library cost twice the
// time of reading the same file.

#include <cstdio>
#include <shared/positioning/CNmeaLineAssembler.h>
#include <string>

namespace warden
{

class LineReader
{
public:
    // Throws Failure when the file cannot be opened.
    explicit LineReader(const std::string& source);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // The next line without its line end; false at the end. Throws Failure on a read error.
    bool Next(std::string& line);

private:
    std::string m_name;
    std::FILE* m_file;
    bool m_ownsFile;
    bool m_ended = false;
    CNmeaLineAssembler m_lines;
};

} // namespace warden
