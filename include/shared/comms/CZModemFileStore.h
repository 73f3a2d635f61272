#pragma once

// Where a ZModem receiver puts the files it is sent. The sender's name is turned into a path
// inside one folder (separators become folders, absolute names become relative, names with
// ".." are refused); the data goes to a short-named temporary file in the target's folder and
// is published under the real name only when the file arrived whole. An existing file is never
// replaced unless the store was told it may be, and then it is replaced atomically.

#include <cstdint>
#include <memory>
#include <shared/platform/Export.h>
#include <string>
#include <string_view>

class CFile;
class CAtomicFileReplacement;

class SHARED_API CZModemFileStore
{
public:
    CZModemFileStore(std::string directory, bool overwrite);
    ~CZModemFileStore();
    CZModemFileStore(const CZModemFileStore&) = delete;
    CZModemFileStore& operator=(const CZModemFileStore&) = delete;

    // Starts a file; false (with GetReason) when it is refused or cannot be created, which the
    // receiver answers by telling the sender to skip it. With `binary` false, CR LF line ends
    // are stored as LF. `append` keeps an existing file's content before the new data.
    bool Create(const char* name, bool binary, bool append);
    void Write(const unsigned char* data, unsigned long count);
    // Publishes the current file under its name, with the sender's permission bits (as far as
    // the process's file-creation mask allows) and modification time (seconds since 1970; 0
    // keeps the arrival time). False, with GetReason, when it could not be stored.
    bool Publish(unsigned long modificationTime, int mode);
    // Drops the current file's temporary data; harmless without one.
    void Abandon();

    bool IsOpen() const;
    const std::string& GetReason() const { return m_reason; }
    // Bytes of the current (or last published) file as received, before line-end conversion.
    std::uint64_t GetBytesReceived() const { return m_received; }
    const std::string& GetTargetPath() const { return m_target; }

    // The path below the folder that `name` maps to, "" when the name cannot be placed safely.
    static std::string SafeRelativePath(std::string_view name);
    // Text from the sender made safe to show on a terminal: control bytes (C0, DEL and C1) and
    // invalid UTF-8 are shown as \xNN, so no escape sequence reaches the screen.
    static std::string Printable(std::string_view text);

private:
    void Put(const unsigned char* data, unsigned long count);
    bool Flush();

    std::string m_directory;
    bool m_overwrite;
    std::string m_target;
    std::unique_ptr<CAtomicFileReplacement> m_replacement;
    std::unique_ptr<CFile> m_file;
    std::string m_reason;
    bool m_binary = true;
    bool m_pendingCR = false;
    bool m_writeFailed = false;
    std::uint64_t m_received = 0;
    std::unique_ptr<unsigned char[]> m_buffer;
    std::size_t m_used = 0;
};
