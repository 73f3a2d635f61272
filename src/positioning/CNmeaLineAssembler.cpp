#include <shared/positioning/CNmeaLineAssembler.h>

CNmeaLineAssembler::CNmeaLineAssembler(std::size_t maxLineLength)
    : m_maxLineLength(maxLineLength == 0 ? 1 : maxLineLength)
{
}

void CNmeaLineAssembler::Append(const char* data, std::size_t size)
{
    // Handed-out lines are dropped only now, so a line view stays valid until this call.
    m_buffer.erase(0, m_start);
    m_start = 0;
    m_buffer.append(data, size);
}

bool CNmeaLineAssembler::NextLine(std::string_view& line)
{
    const std::string_view rest = std::string_view(m_buffer).substr(m_start);
    const std::size_t feed = rest.substr(0, m_maxLineLength + 1).find('\n');
    if (feed == std::string_view::npos)
    {
        if (rest.size() <= m_maxLineLength)
            return false;
        line = rest.substr(0, m_maxLineLength);
        m_start += m_maxLineLength;
        return true;
    }
    line = rest.substr(0, feed);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    m_start += feed + 1;
    return true;
}

bool CNmeaLineAssembler::Finish(std::string_view& line)
{
    if (NextLine(line))
        return true;
    m_last.assign(m_buffer, m_start);
    m_buffer.clear();
    m_start = 0;
    if (!m_last.empty() && m_last.back() == '\r')
        m_last.pop_back();
    line = m_last;
    return !m_last.empty();
}
