#include "PlacesTestSupport.h"

#include <shared/places/CGeofenceSetCollection.h>
#include <shared/places/CPhonebookSetCollection.h>
#include <shared/places/CSetCollection.h>
#include <shared/time/CClock.h>

namespace
{
ArchiveBytes CollectionHeader(int count, double date)
{
    return ArchiveBytes().NewClass(1, "CSetCollection").I32(count).Id(0, 0).Date(date);
}

ArchiveBytes SetBody(std::uint32_t low, const std::string& name, std::vector<std::uint32_t> ids)
{
    ArchiveBytes body;
    body.Id(0, low).String(name).I32(static_cast<std::int32_t>(ids.size())).Date(kFixedDay);
    for (auto id : ids)
        body.Id(0, id);
    return body;
}

// Two sets: the first introduces the class "CSet", the second refers to it as class 3.
Bytes TwoSetFile()
{
    return CollectionHeader(2, kFixedDay)
        .NewClass(1, "CSet")
        .Append(SetBody(1, "Vans", {10, 11}))
        .ClassRef(3)
        .Append(SetBody(2, "Cars", {12}))
        .Get();
}
} // namespace

TEST(SetCollection, AddSetIssuesIdsFromTheHighPartAndUtc)
{
    FixedClock clock;
    CSetCollection collection;
    collection.SetHighPart(0x42);
    const DWORD now = CClock::ConvertCOleDateTime2DWORD(CClock::GetUTCCurrentDateTime());
    CSet first;
    CSet second;
    EXPECT_EQ(collection.AddSet(first), Cint64(0x42, now));
    EXPECT_EQ(first.GetSetId(), Cint64(0x42, now)) << "written back into the caller's set";
    EXPECT_EQ(collection.AddSet(second), Cint64(0x42, now + 1));
    EXPECT_EQ(collection.CreateNewSetId(), Cint64(0x42, now + 2));
    EXPECT_EQ(collection.GetNumberInCollection(), 2);
}

TEST(SetCollection, AddingAHeldIdKeepsTheStoredSetButSignals)
{
    FixedClock clock;
    CSetCollection collection;
    RecordingSlot slot;
    collection.ConnectSignal(slot);
    CSet set;
    set.SetSetId(Cint64(0, 5));
    set.SetSetName("Original");
    collection.AddSet(set);
    clock.Source().Advance(3600000);
    const COleDateTime stamp = collection.GetLastUpdatedTime();
    set.SetSetName("Replacement");
    EXPECT_EQ(collection.AddSet(set), Cint64(0, 5));
    EXPECT_STREQ(collection.GetSet(Cint64(0, 5))->GetSetName(), "Original");
    EXPECT_EQ(collection.GetLastUpdatedTime(), stamp);

    collection.RemoveSet(Cint64(0, 77));
    EXPECT_EQ(collection.GetNumberInCollection(), 1);
    collection.RemoveSet(Cint64(0, 5));
    EXPECT_EQ(collection.GetSet(Cint64(0, 5)), nullptr);
    const std::vector<std::pair<Cint64, char>> expected = {
        {Cint64(0, 5), 'A'}, {Cint64(0, 5), 'A'}, {Cint64(0, 77), 'D'}, {Cint64(0, 5), 'D'}};
    EXPECT_EQ(slot.calls, expected);
}

TEST(SetCollection, FindsByNameInIdOrder)
{
    CSetCollection collection;
    for (unsigned id : {30u, 10u, 20u})
    {
        CSet set;
        set.SetSetId(Cint64(0, id));
        set.SetSetName(id == 10 ? "other" : "same");
        collection.AddSet(set);
    }
    ASSERT_NE(collection.GetSetByName("same"), nullptr);
    EXPECT_EQ(collection.GetSetByName("same")->GetSetId(), Cint64(0, 20));
    EXPECT_EQ(collection.GetSetByName("Same"), nullptr);
    collection.GotoStart();
    EXPECT_EQ(collection.GetNext()->GetSetId(), Cint64(0, 10));
    // Removing the set the walk stands on moves the walk on, not back.
    collection.RemoveSet(Cint64(0, 20));
    EXPECT_EQ(collection.GetNext()->GetSetId(), Cint64(0, 30));
    EXPECT_EQ(collection.GetNext(), nullptr);
}

TEST(SetCollection, EmptyCollectionFileIsByteExact)
{
    FixedClock clock;
    ScratchFolder folder;
    CSetCollection collection;
    ASSERT_TRUE(collection.SaveCollection(folder.File("empty.dat").c_str()));
    EXPECT_EQ(ScratchFolder::Read(folder.File("empty.dat")), CollectionHeader(0, kFixedDay).Get());
}

TEST(SetCollection, TwoSetFileReadsAndWritesBackIdentically)
{
    FixedClock clock;
    ScratchFolder folder;
    ScratchFolder::Write(folder.File("sets.dat"), TwoSetFile());
    CPhonebookSetCollection collection;
    ASSERT_TRUE(collection.ReadCollection(folder.File("sets.dat").c_str()));
    ASSERT_EQ(collection.GetNumberInCollection(), 2);
    CSet* vans = collection.GetSet(Cint64(0, 1));
    ASSERT_NE(vans, nullptr);
    EXPECT_STREQ(vans->GetSetName(), "Vans");
    EXPECT_TRUE(vans->IsItemInSet(Cint64(0, 11)));

    ASSERT_TRUE(collection.SaveCollection(folder.File("again.dat").c_str()));
    EXPECT_EQ(ScratchFolder::Read(folder.File("again.dat")), TwoSetFile());

    CGeofenceSetCollection other;
    ASSERT_TRUE(other.ReadCollection(folder.File("again.dat").c_str()))
        << "any kind of set collection reads any set-collection file";
    EXPECT_EQ(other.GetNumberInCollection(), 2);
}

TEST(SetCollection, LoadedSetsWithZeroOrRepeatedIdsFollowAddSet)
{
    FixedClock clock;
    ScratchFolder folder;
    ScratchFolder::Write(folder.File("odd.dat"), CollectionHeader(3, 1.0)
                                                     .NewClass(1, "CSet")
                                                     .Append(SetBody(7, "first", {1}))
                                                     .ClassRef(3)
                                                     .Append(SetBody(7, "second", {2}))
                                                     .ClassRef(3)
                                                     .Append(SetBody(0, "zero", {3}))
                                                     .Get());
    CSetCollection collection;
    ASSERT_TRUE(collection.ReadCollection(folder.File("odd.dat").c_str()));
    EXPECT_EQ(collection.GetNumberInCollection(), 2);
    EXPECT_STREQ(collection.GetSet(Cint64(0, 7))->GetSetName(), "first");
    EXPECT_NE(collection.GetSetByName("zero")->GetSetId(), Cint64()) << "given a fresh id";
    EXPECT_DOUBLE_EQ(collection.GetLastUpdatedTime().m_dt, kFixedDay)
        << "adding the sets stamps the load time over the stored one";
}

TEST(SetCollection, ReadReplacesListenersWithTheFilesNone)
{
    ScratchFolder folder;
    ScratchFolder::Write(folder.File("sets.dat"), TwoSetFile());
    CSetCollection collection;
    RecordingSlot slot;
    collection.ConnectSignal(slot);
    ASSERT_TRUE(collection.ReadCollection(folder.File("sets.dat").c_str()));
    CSet set;
    collection.AddSet(set);
    EXPECT_TRUE(slot.calls.empty());
}

TEST(SetCollection, DamagedFilesFailAndLeaveTheCollectionAlone)
{
    ScratchFolder folder;
    CSetCollection collection;
    CSet keep;
    keep.SetSetId(Cint64(0, 99));
    collection.AddSet(keep);

    const Bytes whole = TwoSetFile();
    // Every truncation, including the empty file.
    for (size_t length = 0; length < whole.size(); ++length)
    {
        ScratchFolder::Write(
            folder.File("cut.dat"),
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_FALSE(collection.ReadCollection(folder.File("cut.dat").c_str())) << length;
    }
    // A count larger than the objects present.
    Bytes overCounted = whole;
    overCounted[20] = 3;
    ScratchFolder::Write(folder.File("over.dat"), overCounted);
    EXPECT_FALSE(collection.ReadCollection(folder.File("over.dat").c_str()));
    EXPECT_FALSE(collection.ReadCollection(folder.File("missing.dat").c_str()));

    CSetCollection untouched;
    untouched.AddSet(keep);
    ScratchFolder::Write(folder.File("cut.dat"), Bytes(whole.begin(), whole.end() - 1));
    EXPECT_FALSE(untouched.ReadCollection(folder.File("cut.dat").c_str()));
    EXPECT_EQ(untouched.GetNumberInCollection(), 1);
    EXPECT_NE(untouched.GetSet(Cint64(0, 99)), nullptr);
}

TEST(SetCollection, FailedSaveKeepsThePreviousFile)
{
    ScratchFolder folder;
    ScratchFolder::Write(folder.File("sets.dat"), TwoSetFile());
    CSetCollection collection;
    EXPECT_FALSE(collection.SaveCollection(folder.File("no/such/folder/sets.dat").c_str()));
    EXPECT_EQ(ScratchFolder::Read(folder.File("sets.dat")), TwoSetFile());
    int leftovers = 0;
    for (const auto& entry : std::filesystem::directory_iterator(
             std::filesystem::path(folder.File("sets.dat")).parent_path()))
        leftovers += entry.path().filename() != "sets.dat";
    EXPECT_EQ(leftovers, 0);
}
