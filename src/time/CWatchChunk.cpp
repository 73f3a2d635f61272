#include <shared/time/CClock.h>
#include <shared/time/CWatchChunk.h>

CWatchChunk& CWatchChunk::operator=(CWatchChunk const& other)
{
    CAnyChunk::operator=(other);
    m_boRunning = other.m_boRunning;
    return *this;
}

CWatchChunk::~CWatchChunk() = default;

CAnyChunk* CWatchChunk::CreateSimilar(COleDateTime const& start, COleDateTime const& end) const
{
    return new CWatchChunk(start, end);
}

CString CWatchChunk::GetFormatedType() const
{
    return CString("WatchChunk");
}

CString CWatchChunk::GetDiagnosticString() const
{
    CString span;
    span.Format("%d sec", GetSpanInSeconds());
    CString text = GetFormatedType();
    text += "\t\t";
    text += span;
    text += " ";
    text += GetFormatedStart();
    text += "->";
    text += GetFormatedEnd();
    return text;
}

CString CWatchChunk::Run()
{
    m_dtStart = CClock::GetUTCCurrentDateTime();
    m_dtEnd = m_dtStart;
    m_boRunning = true;
    CString text;
    text.Format("StopWatch Run:\nStart Time UTC: %s\n", GetFormatedStart());
    return text;
}

CString CWatchChunk::Stop()
{
    if (!m_boRunning)
        return CString(
            "Chunk StopWatch Error: You have to call Run() before calling first Stop() !!\n");
    m_dtEnd = CClock::GetUTCCurrentDateTime();
    CString text("Chunk Stop:\n");
    text += GetDiagnosticString();
    return text;
}
