#include <gtest/gtest.h>
#include <memory>
#include <shared/platform/SystemTime.h>
#include <shared/time/CChunk.h>
#include <shared/time/CClock.h>
#include <shared/time/CCuteChunk.h>
#include <shared/time/CWatchChunk.h>
#include <utility>

namespace
{

COleDateTime At(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return COleDateTime(y, mo, d, h, mi, s);
}

// Start and end as one comparable value.
std::pair<double, double> Bounds(const COleDateTime& start, const COleDateTime& end)
{
    return {start.m_dt, end.m_dt};
}
std::pair<double, double> Bounds(const CAnyChunk& chunk)
{
    return Bounds(chunk.GetStart(), chunk.GetEnd());
}

const COleDateTime kNine = At(2006, 6, 12, 9);
const COleDateTime kTen = At(2006, 6, 12, 10);
const COleDateTime kEleven = At(2006, 6, 12, 11);
const COleDateTime kNoon = At(2006, 6, 12, 12);

} // namespace

TEST(ChunkTest, CopiesAndSimilarChunks)
{
    CChunk plain(kTen, kNoon);
    CCuteChunk cute(kTen, kNoon);
    CWatchChunk watch(kTen, kNoon);
    plain.SetFlag(true);
    // Copying is written by hand: the flag must travel with the span.
    CChunk copy(plain), assigned;
    assigned = plain;
    EXPECT_TRUE(copy.IsFlagged() && assigned.IsFlagged());
    EXPECT_EQ(Bounds(assigned), Bounds(kTen, kNoon));

    // Similar chunks keep the concrete class.
    for (const CAnyChunk* source :
         {static_cast<const CAnyChunk*>(&plain), static_cast<const CAnyChunk*>(&cute),
          static_cast<const CAnyChunk*>(&watch)})
    {
        std::unique_ptr<CAnyChunk> similar(source->CreateSimilar(kNine, kEleven));
        EXPECT_EQ(similar->GetType(), source->GetType());
        EXPECT_EQ(similar->GetStart().m_dt, kNine.m_dt);
        EXPECT_FALSE(similar->IsFlagged());
    }
}

TEST(ChunkTest, LocationOfMoments)
{
    const CChunk chunk(kTen, kNoon);
    EXPECT_EQ(chunk.GetLocationInTime(kTen, true, true), CAnyChunk::E_TimeLocationWithin);
    EXPECT_EQ(chunk.GetLocationInTime(kTen, false, true), CAnyChunk::E_TimeLocationBefore);
    EXPECT_EQ(chunk.GetLocationInTime(kNoon, true, true), CAnyChunk::E_TimeLocationWithin);
    EXPECT_EQ(chunk.GetLocationInTime(kNoon, true, false), CAnyChunk::E_TimeLocationAfter);
    EXPECT_EQ(chunk.GetLocationInTime(kNine, true, true), CAnyChunk::E_TimeLocationBefore);
    EXPECT_EQ(chunk.GetLocationInTime(kEleven, false, false), CAnyChunk::E_TimeLocationWithin);
    EXPECT_TRUE(chunk.DoesContain(kEleven, false, false));
    EXPECT_FALSE(chunk.DoesContain(kNoon, true, false));

    EXPECT_TRUE(chunk.DoesCompletelyContain(CChunk(kTen, kNoon), true, true));
    EXPECT_FALSE(chunk.DoesCompletelyContain(CChunk(kTen, kNoon), false, true));
    EXPECT_FALSE(chunk.DoesCompletelyContain(CChunk(kNine, kEleven), true, true));

    // Touching end to start: outside each other only when the touch does not count.
    const CChunk before(kNine, kTen);
    EXPECT_FALSE(before.IsCompletelyOutsideOf(chunk, true, true));
    EXPECT_TRUE(before.IsCompletelyOutsideOf(chunk, true, false));
    EXPECT_FALSE(chunk.IsCompletelyOutsideOf(before, true, true));
    EXPECT_TRUE(chunk.IsCompletelyOutsideOf(before, false, true));
    EXPECT_FALSE(CChunk(kNine, kEleven).IsCompletelyOutsideOf(chunk, false, false));
    EXPECT_TRUE(CChunk(At(2006, 6, 13), At(2006, 6, 14)).IsCompletelyOutsideOf(chunk, true, true));

    EXPECT_TRUE(before < chunk);
    EXPECT_FALSE(chunk < before);
    EXPECT_FALSE(CChunk(kTen, kEleven) < chunk); // ends are not looked at
}

TEST(ChunkTest, DaysAndTimesOfDay)
{
    EXPECT_EQ(CChunk(kTen, kNoon).GetNumberOfDays(), 1);
    EXPECT_EQ(CChunk(At(2006, 6, 12), At(2006, 6, 14)).GetNumberOfDays(), 2);
    EXPECT_EQ(CChunk(kTen, At(2006, 6, 14, 1)).GetNumberOfDays(), 3);
    EXPECT_EQ(CChunk(kTen, kNoon).GetSpanInSeconds(), 7200);
    EXPECT_EQ(CChunk(kNoon, kTen).GetSpanInSeconds(), -7200);

    EXPECT_TRUE(CChunk(At(2006, 6, 12), At(2006, 6, 14)).DoesSpanOverFullDays());
    EXPECT_FALSE(CChunk(At(2006, 6, 12), At(2006, 6, 14, 0, 0, 1)).DoesSpanOverFullDays());
    EXPECT_FALSE(CChunk(kTen, At(2006, 6, 14)).DoesSpanOverFullDays());

    // Start 10:00 on the 12th: 09:30 is first found on the 13th, 11:00 on the 12th.
    const CChunk span(kTen, At(2006, 6, 14, 9));
    COleDateTime found;
    ASSERT_TRUE(span.DoesContainTime(At(2001, 1, 1, 9, 30), true, true, found));
    EXPECT_EQ(found.m_dt, At(2006, 6, 13, 9, 30).m_dt);
    ASSERT_TRUE(span.DoesContainTime(kEleven, true, true, found));
    EXPECT_EQ(found.m_dt, kEleven.m_dt);
    ASSERT_TRUE(span.DoesContainTime(kTen, false, true, found)); // start excluded: next day
    EXPECT_EQ(found.m_dt, At(2006, 6, 13, 10).m_dt);
    EXPECT_FALSE(CChunk(kTen, kEleven).DoesContainTime(At(2001, 1, 1, 9, 30), true, true, found));
    EXPECT_EQ(found.m_dt, 0.0);
    COleDateTime unusable; // midnight, were its status ignored
    unusable.SetStatus(COleDateTime::invalid);
    EXPECT_FALSE(span.DoesContainTime(unusable, true, true, found));
    EXPECT_EQ(found.GetStatus(), COleDateTime::valid);
}

TEST(ChunkTest, ReshapingSpans)
{
    CChunk chunk(kTen, kNoon);
    chunk.Bloat(2, 1);
    EXPECT_EQ(Bounds(chunk), Bounds(At(2006, 6, 10, 10), At(2006, 6, 13, 12)));
    chunk.Bloat(-3, 0);
    EXPECT_EQ(chunk.GetStart().m_dt, At(2006, 6, 10, 10).m_dt);
    chunk.BloatToFullDay();
    EXPECT_EQ(Bounds(chunk), Bounds(At(2006, 6, 10), At(2006, 6, 14)));
    chunk.BloatToFullDay(); // already whole days: unchanged
    EXPECT_EQ(chunk.GetEnd().m_dt, At(2006, 6, 14).m_dt);

    CCuteChunk cute(kTen, kNoon);
    cute.SetFlag(true);
    EXPECT_EQ(cute.Cleavage(kTen), nullptr);
    EXPECT_EQ(cute.Cleavage(kNoon), nullptr);
    EXPECT_EQ(cute.Cleavage(kNine), nullptr);
    EXPECT_EQ(cute.GetEnd().m_dt, kNoon.m_dt);
    std::unique_ptr<CAnyChunk> tail(cute.Cleavage(kEleven));
    ASSERT_NE(tail, nullptr);
    EXPECT_EQ(tail->GetType(), CAnyChunk::E_ChunkTypeCute);
    EXPECT_EQ(Bounds(*tail), Bounds(kEleven, kNoon));
    EXPECT_FALSE(tail->IsFlagged());
    EXPECT_EQ(cute.GetEnd().m_dt, kEleven.m_dt);
}

TEST(ChunkTest, IntersectionAndUnion)
{
    CChunk a(kNine, kEleven);
    a.SetFlag(true);
    const CChunk b(kTen, kNoon);
    const CChunk overlap = a.GetIntersection(b);
    EXPECT_EQ(Bounds(overlap), Bounds(kTen, kEleven));
    EXPECT_FALSE(overlap.IsFlagged());
    const CChunk touching = CChunk(kNine, kTen).GetIntersection(b);
    EXPECT_EQ(Bounds(touching), Bounds(kTen, kTen));

    const CChunk disjoint = CChunk(kNine, kTen).GetIntersection(CChunk(kEleven, kNoon));
    EXPECT_EQ(Bounds(disjoint), Bounds(COleDateTime(), COleDateTime()));

    const CChunk joined = CChunk(kNine, kTen).GetUnion(CChunk(kEleven, kNoon));
    EXPECT_EQ(Bounds(joined), Bounds(kNine, kNoon));
}

TEST(ChunkTest, CuteChunkTilesWithSubChunks)
{
    // Two and a half hours, three one-hour chunks: chained end to start, the last cut short.
    CCuteChunk parent(kNine, At(2006, 6, 12, 11, 30));
    parent.SetFlag(true);
    auto* first = new CChunk(kNine, kTen);
    auto* second = new CChunk(At(2006, 6, 12, 15), At(2006, 6, 12, 16));
    auto* third = new CChunk(kTen, kEleven);
    EXPECT_TRUE(parent.AppendSubChunk(*first));
    EXPECT_TRUE(parent.AppendSubChunk(*second));
    EXPECT_TRUE(parent.AppendSubChunk(*third));
    // AppendSubChunk only sets the start and cuts the end at the parent's end.
    EXPECT_EQ(Bounds(*second), Bounds(kTen, At(2006, 6, 12, 11, 30)));
    // Inside the parent: left as it was.
    EXPECT_EQ(Bounds(*third), Bounds(At(2006, 6, 12, 11, 30), kEleven));
    EXPECT_EQ(parent.GetNumSubChunks(), 3);
    EXPECT_EQ(parent.GetNumFlaggedSubChunks(), 3);
    EXPECT_TRUE(parent.testSequence());
    EXPECT_EQ(parent.verifyPerfectSequence(), 1); // ends at 11:00, half an hour short
    parent.DestroySubChunks();
    EXPECT_EQ(parent.GetNumSubChunks(), 0);
    EXPECT_EQ(parent.GetFirstSubChunk(), nullptr);

    CCuteChunk tiled(kNine, At(2006, 6, 12, 11, 30));
    CChunk hours[3] = {CChunk(kNine, kTen), CChunk(kTen, kEleven), CChunk(kEleven, kNoon)};
    for (CChunk& hour : hours)
        tiled.AppendSubChunk(hour);
    EXPECT_EQ(hours[2].GetEnd().m_dt, At(2006, 6, 12, 11, 30).m_dt);
    EXPECT_TRUE(tiled.testSequence());
    EXPECT_EQ(tiled.verifyPerfectSequence(), 0);
    EXPECT_EQ(tiled.GetSubChunkSpanInSeconds(false), 9000);
    EXPECT_EQ(tiled.GetSubChunkSpanInSeconds(true), 0); // the parent was not flagged
    EXPECT_EQ(tiled.GetFirstFlaggedSubChunk(), nullptr);
    hours[1].SetFlag(true);
    hours[2].SetFlag(true);
    EXPECT_EQ(tiled.GetFirstFlaggedSubChunk(), &hours[1]);
    EXPECT_EQ(tiled.GetLastFlaggedSubChunk(), &hours[2]);
    EXPECT_EQ(tiled.GetSubChunkSpanInSeconds(true), 5400);
    EXPECT_EQ(tiled.GetFirstSubChunk(), &hours[0]);
    EXPECT_EQ(tiled.GetLastSubChunk(), &hours[2]);

    CCuteChunk assigned;
    assigned = tiled; // shares the sub-chunk objects
    EXPECT_EQ(assigned.GetLastSubChunk(), &hours[2]);
    tiled.GetSubChunks().clear(); // stack objects: never DestroySubChunks here
}

TEST(ChunkTest, GapsAreCounted)
{
    CCuteChunk parent(kNine, kNoon);
    CChunk a(kNine, kTen);
    CChunk b(At(2006, 6, 12, 10, 30), kEleven);     // gap before
    CCuteChunk c(kEleven, At(2006, 6, 12, 11, 30)); // ends early: gap at the end
    EXPECT_TRUE(parent.AddSubChunk(a));
    EXPECT_TRUE(parent.AddSubChunk(b));
    EXPECT_TRUE(parent.AddSubChunk(c));
    EXPECT_EQ(parent.verifyPerfectSequence(), 2);

    // A late cute sub-chunk adds its own gaps.
    CCuteChunk late(At(2006, 6, 12, 11, 40), kNoon);
    CChunk inner(At(2006, 6, 12, 11, 50), kNoon);
    late.AddSubChunk(inner);
    parent.AddSubChunk(late);
    EXPECT_EQ(parent.verifyPerfectSequence(),
              1 + 2); // b's gap, the gap before `late` and its inner one
    EXPECT_TRUE(parent.testSequence());

    CChunk outside(kNine, At(2006, 6, 12, 13));
    EXPECT_FALSE(parent.AddSubChunk(outside)); // stored although it does not fit
    EXPECT_EQ(parent.GetNumSubChunks(), 5);
    EXPECT_FALSE(parent.testSequence());
    parent.GetSubChunks().clear();
    EXPECT_EQ(parent.verifyPerfectSequence(), 0);
    EXPECT_EQ(parent.GetSubChunkSpanInSeconds(false), 0);
}

TEST(ChunkTest, StopWatchRunsAndLaps)
{
    shared::platform::CManualSystemTimeSource pc(
        shared::platform::UtcMilliseconds(2006, 6, 12, 10, 5, 9));
    shared::platform::CScopedSystemTimeSource use(pc);
    CClock::NotifyCurrentUTCDateTime(At(2006, 6, 12, 10, 5, 9)); // no correction

    CWatchChunk watch;
    watch.Stop(); // before Run: an error text, nothing timed
    EXPECT_EQ(watch.GetEnd().m_dt, 0.0);
    EXPECT_FALSE(watch.IsRunning());

    watch.Run();
    EXPECT_TRUE(watch.IsRunning());
    EXPECT_EQ(watch.GetStart().m_dt, watch.GetEnd().m_dt);

    pc.Advance(5000);
    watch.Stop();
    EXPECT_EQ(watch.GetSpanInSeconds(), 5);
    // Stop leaves it running: a second Stop moves the end again.
    pc.Advance(7000);
    watch.Stop();
    EXPECT_EQ(watch.GetSpanInSeconds(), 12);
    EXPECT_TRUE(watch.IsRunning());

    // The stopwatch reads the corrected clock.
    CClock::NotifyCurrentUTCDateTime(At(2006, 6, 12, 10, 5, 51)); // 30 s ahead
    watch.Stop();
    EXPECT_EQ(watch.GetSpanInSeconds(), 42);
    CClock::NotifyCurrentUTCDateTime(At(2006, 6, 12, 10, 5, 21)); // correction back to zero
}
