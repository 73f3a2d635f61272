#include "LineReader.h"

#include "Command.h"

#include <cerrno>
#include <cstring>
#include <shared/platform/StandardStreams.h>

namespace warden
{

LineReader::LineReader(const std::string& source)
    : m_name(source == "-" ? "standard input" : source),
      m_file(source == "-" ? stdin : std::fopen(source.c_str(), "rb")), m_ownsFile(source != "-")
{
    if (m_file == nullptr)
        throw Failure("cannot open " + source + ": " + std::strerror(errno));
}

LineReader::~LineReader()
{
    if (m_ownsFile)
        std::fclose(m_file);
}

bool LineReader::Next(std::string& line)
{
    std::string_view view;
    while (!m_lines.NextLine(view))
    {
        if (m_ended)
        {
            if (!m_lines.Finish(view))
                return false;
            break;
        }
        // read, not fread: it returns what a terminal or pipe has, so a typed line is answered
        // at once instead of after 64 KiB more.
        char block[1 << 16];
        std::string reason;
        const long got = shared::platform::ReadSome(m_file, block, sizeof block, reason);
        if (got < 0)
            throw Failure("error reading " + m_name + ": " + reason);
        if (got == 0)
            m_ended = true;
        else
            m_lines.Append(block, static_cast<std::size_t>(got));
    }
    line.assign(view);
    return true;
}

} // namespace warden
