#include "PlacesTestSupport.h"

#include <algorithm>
#include <list>
#include <random>
#include <shared/archive/CArchive.h>
#include <shared/framework/CFile.h>
#include <shared/places/CSet.h>

namespace
{
std::vector<Cint64> Members(CSet& set)
{
    std::vector<Cint64> members;
    set.GotoStart();
    for (int i = 0; i < set.GetNumberOfItems(); ++i)
        members.push_back(set.GetNext());
    return members;
}

// The set's own body, written through a store archive into a file and read back as bytes.
Bytes Body(CSet& set, const ScratchFolder& folder)
{
    const std::string path = folder.File("set.bin");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive archive(&file, CArchive::store);
        set.Serialize(archive);
    }
    return ScratchFolder::Read(path);
}
} // namespace

TEST(Set, InsertKeepsOneCopyButAlwaysSignals)
{
    FixedClock clock;
    CSet set;
    RecordingSlot slot;
    set.ConnectSignal(slot);
    EXPECT_TRUE(set.InsertItem(Cint64(0, 7), false));
    EXPECT_FALSE(set.InsertItem(Cint64(0, 7), false));
    EXPECT_EQ(set.GetNumberOfItems(), 1);
    ASSERT_EQ(slot.calls.size(), 2u);
    EXPECT_EQ(slot.calls[1], std::make_pair(Cint64(0, 7), 'A'));

    clock.Source().Advance(60000);
    set.InsertItem(Cint64(0, 8), false);
    EXPECT_DOUBLE_EQ(set.GetLastUpdatedTime().m_dt, kFixedDay) << "time moves only on request";
    set.InsertItem(Cint64(0, 7), true);
    EXPECT_GT(set.GetLastUpdatedTime().m_dt, kFixedDay) << "also for an id already there";
}

TEST(Set, RemoveAlwaysStampsAndSignals)
{
    FixedClock clock;
    CSet set;
    RecordingSlot slot;
    set.ConnectSignal(slot);
    clock.Source().Advance(1000);
    EXPECT_FALSE(set.RemoveItem(Cint64(1, 1)));
    EXPECT_GT(set.GetLastUpdatedTime().m_dt, kFixedDay);
    ASSERT_EQ(slot.calls.size(), 1u);
    EXPECT_EQ(slot.calls[0], std::make_pair(Cint64(1, 1), 'D'));

    set.InsertItem(Cint64(0, 1), false);
    set.InsertItem(Cint64(0, 2), false);
    set.InsertItem(Cint64(0, 3), false);
    EXPECT_TRUE(set.RemoveItem(Cint64(0, 2)));
    EXPECT_FALSE(set.IsItemInSet(Cint64(0, 2)));
    EXPECT_EQ(Members(set), (std::vector<Cint64>{Cint64(0, 1), Cint64(0, 3)}));
    set.EmptyList();
    set.GotoStart();
    EXPECT_EQ(set.GetNext(), Cint64());
}

TEST(Set, AssignmentAppendsAndCopyTakesListeners)
{
    CSet source;
    source.SetSetName("Depots");
    source.SetSetId(Cint64(0, 9));
    source.InsertItem(Cint64(0, 1), false);
    source.InsertItem(Cint64(0, 2), false);
    RecordingSlot slot;
    source.ConnectSignal(slot);

    CSet target;
    target.InsertItem(Cint64(0, 2), false);
    target = source;
    EXPECT_EQ(Members(target), (std::vector<Cint64>{Cint64(0, 2), Cint64(0, 1), Cint64(0, 2)}));
    EXPECT_STREQ(target.GetSetName(), "Depots");
    EXPECT_EQ(target.GetSetId(), Cint64(0, 9));
    target = target;
    EXPECT_EQ(target.GetNumberOfItems(), 3);

    CSet copy(source);
    EXPECT_EQ(Members(copy), (std::vector<Cint64>{Cint64(0, 1), Cint64(0, 2)}));
    slot.calls.clear();
    copy.InsertItem(Cint64(0, 5), false);
    EXPECT_EQ(slot.calls.size(), 1u) << "the copy's signal reaches the source's listeners";
}

TEST(Set, ArchiveBodyIsByteExact)
{
    ScratchFolder folder;
    CSet set;
    set.SetSetId(Cint64(0xA, 0xFF));
    set.SetSetName("Vans");
    set.SetLastUpdatedTime(COleDateTime(kFixedDay));
    set.InsertItem(Cint64(1, 2), false);
    set.InsertItem(Cint64(3, 4), false);
    const Bytes expected =
        ArchiveBytes().Id(0xA, 0xFF).String("Vans").I32(2).Date(kFixedDay).Id(1, 2).Id(3, 4).Get();
    EXPECT_EQ(Body(set, folder), expected);

    set.SetSetName(std::string(300, 'n').c_str());
    const Bytes longName = Body(set, folder);
    ASSERT_GT(longName.size(), 11u);
    EXPECT_EQ(longName[8], 0xFF) << "names of 255 characters or more take the escape";
    EXPECT_EQ(longName[9] | longName[10] << 8, 300);
}

TEST(Set, LoadingCollapsesDuplicatesAndKeepsTheStoredTime)
{
    ScratchFolder folder;
    const std::string path = folder.File("set.bin");
    ScratchFolder::Write(path, ArchiveBytes()
                                   .Id(0, 5)
                                   .String("Dupes")
                                   .I32(3)
                                   .Date(40000.25)
                                   .Id(0, 1)
                                   .Id(0, 1)
                                   .Id(0, 2)
                                   .Get());
    CSet set;
    set.InsertItem(Cint64(9, 9), false);
    RecordingSlot slot;
    set.ConnectSignal(slot);
    CFile file(path.c_str(), CFile::modeRead);
    CArchive archive(&file, CArchive::load);
    set.Serialize(archive);
    EXPECT_EQ(Members(set), (std::vector<Cint64>{Cint64(9, 9), Cint64(0, 1), Cint64(0, 2)}));
    EXPECT_DOUBLE_EQ(set.GetLastUpdatedTime().m_dt, 40000.25);
    EXPECT_EQ(slot.calls.size(), 3u) << "one signal per id read";
}

// Random inserts, removals, merges and walks against a linked list with an iterator cursor: the
// member order, duplicates, membership and where a walk resumes must all agree.
TEST(Set, AgreesWithAListUnderRandomEdits)
{
    std::mt19937 random(7);
    CSet set;
    std::list<Cint64> model;
    auto cursor = model.end();
    auto id = [&]
    { return Cint64(static_cast<unsigned>(random() % 3), static_cast<unsigned>(random() % 40)); };
    for (int step = 0; step < 20000; ++step)
    {
        const Cint64 value = id();
        switch (random() % 6)
        {
        case 0:
        case 1:
            EXPECT_EQ(set.InsertItem(value, false),
                      std::find(model.begin(), model.end(), value) == model.end());
            if (std::find(model.begin(), model.end(), value) == model.end())
                model.push_back(value);
            break;
        case 2:
        {
            const auto found = std::find(model.begin(), model.end(), value);
            EXPECT_EQ(set.RemoveItem(value), found != model.end());
            if (found != model.end())
                cursor = cursor == found ? model.erase(found) : (model.erase(found), cursor);
            break;
        }
        case 3:
            set.GotoStart();
            cursor = model.begin();
            break;
        case 4:
            ASSERT_EQ(set.GetNext(), cursor == model.end() ? Cint64() : *cursor++) << step;
            break;
        default:
            if (random() % 50 == 0) // a merge brings duplicates in
            {
                CSet other;
                other.InsertItem(value, false);
                set = other;
                model.push_back(value);
            }
            EXPECT_EQ(set.IsItemInSet(value),
                      std::find(model.begin(), model.end(), value) != model.end());
        }
    }
    EXPECT_EQ(Members(set), std::vector<Cint64>(model.begin(), model.end()));
}
