#pragma once

// A stopwatch over the corrected UTC clock. Stop leaves the watch running on purpose, so each
// further Stop moves the end again: it works as a lap timer.

#include <shared/platform/Export.h>
#include <shared/time/CAnyChunk.h>

class SHARED_API CWatchChunk : public CAnyChunk
{
public:
    CWatchChunk() = default;
    CWatchChunk(COleDateTime const& start, COleDateTime const& end) : CAnyChunk(start, end) {}
    CWatchChunk(CWatchChunk const& other) = default;
    CWatchChunk& operator=(CWatchChunk const& other);
    ~CWatchChunk() override;

    CAnyChunk* CreateSimilar(COleDateTime const& start, COleDateTime const& end) const override;
    CString GetDiagnosticString() const override;
    CString GetFormatedType() const override;
    E_ChunkType GetType() const override { return E_ChunkTypeWatch; }

    CString Run();
    CString Stop();
    bool IsRunning() const { return m_boRunning; }

private:
    bool m_boRunning = false;
};
