#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <shared/foundation/CLog.h>
#include <shared/framework/CStdioFile.h>
#include <shared/platform/SystemTime.h>
#include <shared/platform/UserName.h>

IMPLEMENT_DYNCREATE(CLog, CObject)

CString CLog::s_strLogFileName;

namespace
{

// Past this many lines a write first drops the oldest kLinesDropped. The cap is checked
// before the new line is counted, so a full file of 550 becomes 501.
constexpr INT_PTR kMaxLines = 550;
constexpr int kLinesDropped = 50;
// GetUserNameA into an 80-character buffer fails for longer names; so does the log's.
constexpr size_t kUserNameBuffer = 80;

// Beyond the original: threads that read, append and rotate the one file at once lose lines.
std::mutex& LogLock()
{
    static std::mutex lock;
    return lock;
}

const char* LevelWord(int level)
{
    switch (level)
    {
    case 0:
        return "INFO";
    case 1:
        return "ERROR";
    case 2:
        return "WARN";
    default:
        return "???";
    }
}

CString UserName()
{
    const auto name = shared::platform::EffectiveUserName();
    if (!name.has_value() || name->size() + 1 > kUserNameBuffer)
    {
        return "Unknown";
    }
    return CString(name->c_str());
}

struct LocalStamp
{
    CString date;
    CString time;
};

// Date and time from one reading of the local clock.
LocalStamp LocalNow()
{
    const SYSTEMTIME local = shared::platform::GetLocalTime();
    char date[48];
    char time[32];
    std::snprintf(date, sizeof date, "%02u-%02u-%02u", unsigned{local.wDay}, unsigned{local.wMonth},
                  unsigned{local.wYear} % 100u);
    std::snprintf(time, sizeof time, "%02u:%02u", unsigned{local.wHour}, unsigned{local.wMinute});
    return {CString(date), CString(time)};
}

// Reads lines up to the first one that reads as empty; the end of the file reads as empty.
void ReadLines(CStdioFile& file, CStringList& lines)
{
    CString line;
    while (file.ReadString(line) && !line.IsEmpty())
    {
        lines.AddTail(line);
    }
}

const CString& LogFileName()
{
    if (CLog::s_strLogFileName.IsEmpty())
    {
        CLog::s_strLogFileName = "Application.log";
    }
    return CLog::s_strLogFileName;
}

} // namespace

CLog::CLog() = default;

CLog::~CLog() = default;

bool CLog::AddToLog(int level, const char* format, ...)
{
    // Messages longer than the buffer are cut; one entry stays one short line.
    char buffer[1024] = {};
    if (format != nullptr)
    {
        va_list args;
        va_start(args, format);
        std::vsnprintf(buffer, sizeof buffer, format, args);
        va_end(args);
    }
    CString message(buffer);
    message.TrimRight();

    const std::lock_guard<std::mutex> guard(LogLock());
    CStdioFile file;
    if (!file.Open(LogFileName(), CFile::modeReadWrite | CFile::modeCreate | CFile::modeNoTruncate |
                                      CFile::shareDenyNone | CFile::typeText))
    {
        return false;
    }

    const int lineFeed = message.Find('\n');
    if (lineFeed >= 0)
    {
        message = message.Left(lineFeed);
    }
    const LocalStamp stamp = LocalNow();
    const CString entry = stamp.date + "\t" + stamp.time + "\t" + LevelWord(level) + "\t" +
                          UserName() + "\t" + message;

    try
    {
        CStringList lines;
        ReadLines(file, lines);
        if (lines.GetCount() < kMaxLines)
        {
            // Where reading stopped, which is the end unless an empty line hid the rest.
            file.WriteString(entry + "\n");
        }
        else
        {
            for (int i = 0; i < kLinesDropped; ++i)
            {
                lines.RemoveHead();
            }
            lines.AddTail(entry);
            file.SetLength(0);
            for (POSITION pos = lines.GetHeadPosition(); pos != nullptr;)
            {
                file.WriteString(lines.GetNext(pos) + "\n");
            }
        }
        file.Close();
    }
    catch (CException* e)
    {
        // Write errors are not reported: the log is the place they would be reported to.
        e->Delete();
        file.Abort();
    }
    return true;
}

bool CLog::ReadFromLog(CStringList& lines)
{
    const std::lock_guard<std::mutex> guard(LogLock());
    CStdioFile file;
    if (!file.Open(LogFileName(), CFile::modeRead | CFile::shareDenyNone | CFile::typeText))
    {
        return false;
    }
    try
    {
        ReadLines(file, lines);
        file.Close();
    }
    catch (CException* e)
    {
        e->Delete();
        file.Abort();
    }
    return true;
}

void CLog::SetLogFileName(CString name)
{
    const std::lock_guard<std::mutex> guard(LogLock());
    s_strLogFileName = name;
}

void NMacroGlobals::TraceWrite(const char*, ...) {}
