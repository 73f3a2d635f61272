#include <chrono>
#include <cstring>
#include <filesystem>
#include <shared/comms/CZModemFileStore.h>
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <shared/platform/FileSystem.h>
#include <system_error>

namespace fs = std::filesystem;

namespace
{

constexpr std::size_t WRITE_BLOCK = 1 << 16;

std::string ExceptionText(CException* e)
{
    char text[256] = "";
    e->GetErrorMessage(text, sizeof text);
    e->Delete();
    return text;
}

// Length of the valid UTF-8 sequence at the front of `text`, 0 when there is none.
std::size_t Utf8Length(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text[0]);
    std::size_t length = 0;
    unsigned minimum = 0;
    unsigned value = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
        length = 2, minimum = 0x80, value = lead & 0x1F;
    else if (lead >= 0xE0 && lead <= 0xEF)
        length = 3, minimum = 0x800, value = lead & 0x0F;
    else if (lead >= 0xF0 && lead <= 0xF4)
        length = 4, minimum = 0x10000, value = lead & 0x07;
    else
        return 0;
    if (text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
    {
        const auto c = static_cast<unsigned char>(text[i]);
        if ((c & 0xC0) != 0x80)
            return 0;
        value = value << 6 | (c & 0x3F);
    }
    // Overlong forms, surrogates, values past Unicode and C1 controls are all refused.
    if (value < minimum || (value >= 0xD800 && value <= 0xDFFF) || value > 0x10FFFF ||
        (value >= 0x80 && value <= 0x9F))
        return 0;
    return length;
}

} // namespace

CZModemFileStore::CZModemFileStore(std::string directory, bool overwrite)
    : m_directory(std::move(directory)), m_overwrite(overwrite),
      m_buffer(new unsigned char[WRITE_BLOCK])
{
}

CZModemFileStore::~CZModemFileStore()
{
    Abandon();
}

bool CZModemFileStore::IsOpen() const
{
    return m_file != nullptr;
}

std::string CZModemFileStore::SafeRelativePath(std::string_view name)
{
    fs::path result;
    std::string part;
    auto flush = [&]
    {
        if (part == "..")
            return false;
        if (!part.empty() && part != ".")
            result /= part;
        part.clear();
        return true;
    };
    for (char c : name)
    {
        if (c == '/' || c == '\\')
        {
            if (!flush())
                return {};
        }
        else
            part += (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) ? '_' : c;
    }
    if (!flush())
        return {};
    // Forward slashes on every system: Windows takes them too, and names read the same in every
    // build's messages.
    return result.generic_string();
}

std::string CZModemFileStore::Printable(std::string_view text)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size());
    while (!text.empty())
    {
        const auto c = static_cast<unsigned char>(text[0]);
        std::size_t take = 1;
        if (c >= 0x20 && c < 0x7F && c != '\\')
            out += static_cast<char>(c);
        else if (c >= 0x80 && (take = Utf8Length(text)) != 0)
            out.append(text.substr(0, take));
        else
        {
            // A backslash is escaped too, so that what is shown reads back unambiguously.
            take = 1;
            out += "\\x";
            out += digits[c >> 4];
            out += digits[c & 15];
        }
        text.remove_prefix(take);
    }
    return out;
}

bool CZModemFileStore::Create(const char* name, bool binary, bool append)
{
    Abandon();
    m_reason.clear();
    m_target.clear();
    m_received = 0;
    m_binary = binary;
    m_pendingCR = false;
    m_writeFailed = false;

    const std::string relative = SafeRelativePath(name != nullptr ? name : "");
    if (relative.empty())
    {
        m_reason = "unsafe name";
        return false;
    }
    const fs::path target = fs::path(m_directory) / relative;
    m_target = target.string();
    std::error_code ec;
    const bool exists = fs::exists(fs::symlink_status(target, ec));
    if (exists && !m_overwrite)
    {
        m_reason = "exists";
        return false;
    }
    fs::create_directories(target.parent_path(), ec);
    if (ec)
    {
        m_reason = "cannot create folder: " + ec.message();
        return false;
    }
    // The replacement's temporary name stays short whatever the target's name, so a name at the
    // file system's limit still fits.
    auto replacement = std::make_unique<CAtomicFileReplacement>(
        m_target, m_overwrite ? CAtomicFileReplacement::EMode::replace
                              : CAtomicFileReplacement::EMode::keepExisting);
    const fs::path temporary = replacement->GetTemporaryPath();
    if (append && exists)
    {
        // Appending keeps the old content: it is copied into the new file first.
        fs::copy_file(target, temporary, fs::copy_options::overwrite_existing, ec);
        if (ec)
        {
            m_reason = "cannot copy the file to append to: " + ec.message();
            return false;
        }
    }
    auto file = std::make_unique<CFile>();
    CFileException error;
    if (!file->Open(temporary.string().c_str(),
                    CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite |
                        CFile::typeBinary,
                    &error))
    {
        m_reason = "cannot create file: " + ExceptionText(&error);
        return false;
    }
    m_replacement = std::move(replacement);
    m_file = std::move(file);
    try
    {
        m_file->SeekToEnd();
    }
    catch (CException* e)
    {
        m_reason = ExceptionText(e);
        Abandon();
        return false;
    }
    return true;
}

void CZModemFileStore::Write(const unsigned char* data, unsigned long count)
{
    if (!m_file)
        return;
    m_received += count;
    if (m_binary)
    {
        Put(data, count);
        return;
    }
    // Text: CR LF becomes LF; a lone CR stays, also across subpackets.
    static const unsigned char cr = '\r';
    for (unsigned long i = 0; i < count; ++i)
    {
        const unsigned char c = data[i];
        if (m_pendingCR && c != '\n')
            Put(&cr, 1);
        m_pendingCR = c == '\r';
        if (!m_pendingCR)
            Put(&c, 1);
    }
}

void CZModemFileStore::Put(const unsigned char* data, unsigned long count)
{
    if (m_used + count > WRITE_BLOCK)
        Flush();
    if (count > WRITE_BLOCK)
    {
        m_used = 0;
        try
        {
            if (!m_writeFailed)
                m_file->Write(data, static_cast<unsigned>(count));
        }
        catch (CException* e)
        {
            m_reason = ExceptionText(e);
            m_writeFailed = true;
        }
        return;
    }
    std::memcpy(m_buffer.get() + m_used, data, count);
    m_used += count;
}

bool CZModemFileStore::Flush()
{
    const std::size_t used = m_used;
    m_used = 0;
    if (m_writeFailed || used == 0)
        return !m_writeFailed;
    try
    {
        m_file->Write(m_buffer.get(), static_cast<unsigned>(used));
    }
    catch (CException* e)
    {
        // Reported when the file ends; the file is then not kept.
        m_reason = ExceptionText(e);
        m_writeFailed = true;
    }
    return !m_writeFailed;
}

bool CZModemFileStore::Publish(unsigned long modificationTime, int mode)
{
    if (!m_file)
    {
        m_reason = "no file";
        return false;
    }
    if (m_pendingCR)
    {
        static const unsigned char cr = '\r';
        m_pendingCR = false;
        Put(&cr, 1);
    }
    bool ok = Flush();
    if (ok)
    {
        const auto& calls = shared::platform::GetFileSystemCalls();
        const auto handle = static_cast<shared::platform::FileHandle>(m_file->m_hFile);
        std::error_code ec;
        if (mode != 0)
        {
            // The new file was created through the process's file-creation mask; what it took
            // away from read and write bits is taken from the sender's bits too.
            const auto created = static_cast<unsigned>(
                fs::status(m_replacement->GetTemporaryPath(), ec).permissions());
            calls.setPermissions(handle, static_cast<unsigned>(mode) & 0777 & ~(0666 & ~created));
        }
        if (modificationTime != 0)
            calls.setModificationTime(handle, static_cast<std::int64_t>(modificationTime));
        try
        {
            m_file->Flush();
            m_file->Close();
        }
        catch (CException* e)
        {
            m_reason = ExceptionText(e);
            ok = false;
        }
    }
    m_file.reset();
    if (ok && !m_replacement->Commit())
    {
        ok = false;
        m_reason =
            m_replacement->GetError() == shared::platform::fileerror::kExists
                ? "exists"
                : std::system_category().message(static_cast<int>(m_replacement->GetError()));
    }
    Abandon();
    return ok;
}

void CZModemFileStore::Abandon()
{
    if (m_file)
    {
        m_file->Abort();
        m_file.reset();
    }
    m_used = 0;
    // Without a commit the replacement removes its temporary file.
    m_replacement.reset();
}
