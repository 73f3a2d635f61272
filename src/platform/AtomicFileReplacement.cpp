#include <atomic>
#include <charconv>
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/platform/ProcessId.h>
#include <string_view>

namespace fs = shared::platform;

namespace
{

// The longest file name most file systems take (NAME_MAX, and Windows' 255 characters).
constexpr std::size_t kMaxNameLength = 255;
// Distinctive, so that no file a user would name is taken for a leftover and removed.
constexpr std::string_view kTemporaryEnd = ".savetmp";

// "~<process>-<counter>.savetmp"
std::string TemporarySuffix(unsigned long process, unsigned counter)
{
    return "~" + std::to_string(process) + "-" + std::to_string(counter) +
           std::string(kTemporaryEnd);
}

// The destination's name, cut so that with a suffix of the given length it is still a legal
// name; never cut inside a UTF-8 sequence.
std::string_view NamePrefix(std::string_view name, std::size_t suffixLength)
{
    if (name.size() + suffixLength <= kMaxNameLength)
        return name;
    std::size_t keep = kMaxNameLength - suffixLength;
    while (keep > 0 && (static_cast<unsigned char>(name[keep]) & 0xC0) == 0x80)
        --keep;
    return name.substr(0, keep);
}

bool ParseNumber(std::string_view text, unsigned long& value)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

// The process that wrote a temporary file of this destination's name, or false when the entry
// is not one.
bool WriterOfTemporary(std::string_view entry, std::string_view name, unsigned long& process)
{
    if (entry.size() <= kTemporaryEnd.size() || !entry.ends_with(kTemporaryEnd))
        return false;
    const std::size_t tilde = entry.rfind('~');
    if (tilde == std::string_view::npos)
        return false;
    const std::string_view numbers =
        entry.substr(tilde + 1, entry.size() - tilde - 1 - kTemporaryEnd.size());
    const std::size_t dash = numbers.find('-');
    unsigned long counter = 0;
    if (dash == std::string_view::npos || !ParseNumber(numbers.substr(0, dash), process) ||
        !ParseNumber(numbers.substr(dash + 1), counter))
        return false;
    return entry.substr(0, tilde) == NamePrefix(name, entry.size() - tilde);
}

} // namespace

CAtomicFileReplacement::CAtomicFileReplacement(std::string destination, EMode mode)
    : m_destination(std::move(destination)), m_folder(fs::FolderOfPath(m_destination)), m_mode(mode)
{
#ifdef _WIN32
    const std::size_t slash = m_destination.find_last_of("/\\");
#else
    const std::size_t slash = m_destination.find_last_of('/');
#endif
    const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    m_name = m_destination.substr(nameStart);
    // Unique per process and per replacement, so concurrent saves never share a temporary file.
    static std::atomic<unsigned> counter{0};
    const std::string suffix = TemporarySuffix(fs::CurrentProcessId(), counter.fetch_add(1));
    m_temporary = m_destination.substr(0, nameStart);
    m_temporary += NamePrefix(m_name, suffix.size());
    m_temporary += suffix;
    RemoveLeftovers();
}

CAtomicFileReplacement::~CAtomicFileReplacement()
{
    if (!m_committed)
        fs::GetFileSystemCalls().remove(m_temporary.c_str());
}

void CAtomicFileReplacement::RemoveLeftovers() const
{
    std::vector<std::string> entries;
    if (fs::GetFileSystemCalls().listFolder(m_folder.c_str(), entries) != 0)
        return;
    const unsigned long self = fs::CurrentProcessId();
    for (const std::string& entry : entries)
    {
        unsigned long writer = 0;
        // This process's own temporaries may belong to saves still running on other threads.
        if (WriterOfTemporary(entry, m_name, writer) && writer != self &&
            !fs::IsProcessRunning(writer))
        {
            const std::string path =
                m_destination.substr(0, m_destination.size() - m_name.size()) + entry;
            fs::GetFileSystemCalls().remove(path.c_str());
        }
    }
}

bool CAtomicFileReplacement::Commit()
{
    const fs::FileSystemCalls& calls = fs::GetFileSystemCalls();
    m_error = m_mode == EMode::replace
                  ? calls.rename(m_temporary.c_str(), m_destination.c_str())
                  : calls.renameNoReplace(m_temporary.c_str(), m_destination.c_str());
    if (m_error != 0)
        return false;
    m_committed = true;
    // The rename itself must reach the disk for the new file to survive a power cut.
    calls.syncFolder(m_folder.c_str());
    return true;
}
