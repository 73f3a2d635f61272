#include <shared/time/CAnyCuteChunk.h>

CAnyCuteChunk::~CAnyCuteChunk() = default;

CAnyCuteChunk& CAnyCuteChunk::operator=(CAnyCuteChunk const& other)
{
    CAnyChunk::operator=(other);
    m_byTag = other.m_byTag;
    m_SubChunks = other.m_SubChunks;
    return *this;
}

bool CAnyCuteChunk::AddSubChunk(CAnyChunk const& c)
{
    testInvariant();
    // The list is of mutable pointers because AppendSubChunk and DestroySubChunks need them;
    // AddSubChunk itself never changes the chunk it is given.
    m_SubChunks.push_back(const_cast<CAnyChunk*>(&c));
    return DoesCompletelyContain(c, true, true);
}

bool CAnyCuteChunk::AppendSubChunk(CAnyChunk& c)
{
    testInvariant();
    if (CAnyChunk* last = GetLastSubChunk())
        c.SetStart(last->GetEnd());
    if (c.GetEnd().m_dt >= m_dtEnd.m_dt)
        c.SetEnd(m_dtEnd);
    m_SubChunks.push_back(&c);
    c.SetFlag(m_boFlag);
    testInvariant();
    return true;
}

int CAnyCuteChunk::GetNumFlaggedSubChunks() const
{
    int count = 0;
    for (const CAnyChunk* c : m_SubChunks)
        if (c != nullptr && c->IsFlagged())
            ++count;
    return count;
}

CAnyChunk* CAnyCuteChunk::GetFirstSubChunk() const
{
    return m_SubChunks.empty() ? nullptr : m_SubChunks.front();
}

CAnyChunk* CAnyCuteChunk::GetLastSubChunk() const
{
    return m_SubChunks.empty() ? nullptr : m_SubChunks.back();
}

CAnyChunk* CAnyCuteChunk::GetFirstFlaggedSubChunk() const
{
    for (CAnyChunk* c : m_SubChunks)
        if (c != nullptr && c->IsFlagged())
            return c;
    return nullptr;
}

CAnyChunk* CAnyCuteChunk::GetLastFlaggedSubChunk() const
{
    for (auto it = m_SubChunks.rbegin(); it != m_SubChunks.rend(); ++it)
        if (*it != nullptr && (*it)->IsFlagged())
            return *it;
    return nullptr;
}

long CAnyCuteChunk::GetSubChunkSpanInSeconds(bool flaggedOnly) const
{
    long total = 0;
    for (const CAnyChunk* c : m_SubChunks)
        if (c != nullptr && (!flaggedOnly || c->IsFlagged()))
            total += c->GetSpanInSeconds();
    return total;
}

void CAnyCuteChunk::DestroySubChunks()
{
    for (CAnyChunk* c : m_SubChunks)
        delete c;
    m_SubChunks.clear();
}

bool CAnyCuteChunk::testSequence() const
{
    const CAnyChunk* previous = nullptr;
    for (const CAnyChunk* c : m_SubChunks)
    {
        if (c == nullptr)
            continue;
        if (previous != nullptr && c->GetStart().m_dt < previous->GetStart().m_dt)
            return false;
        previous = c;
    }
    return true;
}

int CAnyCuteChunk::verifyPerfectSequence() const
{
    double expected = m_dtStart.m_dt;
    int gaps = 0;
    for (const CAnyChunk* c : m_SubChunks)
    {
        if (c == nullptr)
            continue;
        if (c->GetStart().m_dt != expected)
        {
            // The diagnostic text is built for a debugger trace only.
            [[maybe_unused]] const CString trace = c->GetDiagnosticString();
            // Sub-chunks that are not cute chunks have no sub-chunks of their own.
            const auto* cute = dynamic_cast<const CAnyCuteChunk*>(c);
            gaps += 1 + (cute != nullptr ? cute->verifyPerfectSequence() : 0);
        }
        expected = c->GetEnd().m_dt;
    }
    if (m_SubChunks.empty() || m_dtEnd.m_dt == expected)
        return gaps;
    return gaps + 1;
}
