#include "UserPlacesTestSupport.h"

#include <shared/places/CUserPlaceCollection.h>
#include <shared/time/CClock.h>

namespace
{
CUserPlace Place(const char* label, long symbolId = 0)
{
    CUserPlace place;
    place.SetMapLabelText(label);
    place.SetSymbolId(symbolId);
    return place;
}

DWORD Now()
{
    return CClock::ConvertCOleDateTime2DWORD(CClock::GetUTCCurrentDateTime());
}

// A place with every field away from its default, so a field read into the wrong slot shows.
PlaceRecord Busy(std::uint32_t low)
{
    PlaceRecord r;
    r.symbolId = -7;
    r.colour = 0x00FF8040;
    r.latitude = 52.2053;
    r.longitude = -0.1218;
    r.mapLabel = "Depot";
    r.reportLabel = "Depot, Mill Road";
    r.symbolChar = 0xA5;
    r.addressRadius = 250;
    r.showingAddress = 1;
    r.geofenceRadius = 500;
    r.useAsAddress = 0;
    r.useAsGeofence = 1;
    r.type = 2;
    r.showingGeofence = 1;
    r.idHigh = 0x10;
    r.idLow = low;
    r.start = 0.25;
    r.end = 0.75;
    r.days[0] = 0;
    r.days[6] = 0;
    r.smsInside = 0;
    r.smsOutside = 1;
    r.firstActivation = 1;
    r.threshold = 9;
    return r;
}

// What a place read at an older schema becomes, written back at schema 6.
PlaceRecord Upgraded(PlaceRecord r, unsigned schema, std::uint32_t freshLow)
{
    const PlaceRecord defaults;
    if (schema < 2)
    {
        r.geofenceRadius = defaults.geofenceRadius;
        r.useAsAddress = defaults.useAsAddress;
        r.useAsGeofence = defaults.useAsGeofence;
    }
    if (schema < 3)
        r.type = 0;
    if (schema < 4)
        r.showingGeofence = 0;
    if (schema < 5)
    {
        r.idHigh = 0;
        r.idLow = freshLow;
    }
    if (schema < 6)
    {
        r.start = r.end = 36525.0; // 1999-12-31 00:00
        for (auto& day : r.days)
            day = 1;
        r.smsInside = r.smsOutside = r.firstActivation = 0;
        r.threshold = 4;
    }
    return r;
}
} // namespace

TEST(UserPlaceCollection, AddGetModifyDeleteWithTheirLogLines)
{
    FixedClock clock;
    ScratchFolder folder;
    LogCapture log(folder);
    HostCapture host;
    CUserPlaceCollection places;
    const Cint64 id(0, 5);

    CUserPlace depot = Place("Depot");
    depot.SetItemId(Cint64(9, 9));
    ASSERT_TRUE(places.AddUserPlace(id, depot));
    EXPECT_EQ(places.GetUserPlace(id)->GetItemId(), Cint64(9, 9)) << "the place's own id stays";
    EXPECT_EQ(places.GetLastUpdatedTime().m_dt, kFixedDay);
    EXPECT_FALSE(places.AddUserPlace(id, Place("Other")));
    EXPECT_STREQ(places.GetUserPlace(id)->GetMapLabelText(), "Depot");

    clock.Source().Advance(60000);
    ASSERT_TRUE(places.ModifyUserPlace(id, Place("Yard")));
    EXPECT_STREQ(places.GetUserPlace(id)->GetMapLabelText(), "Yard");
    EXPECT_GT(places.GetLastUpdatedTime().m_dt, kFixedDay);
    EXPECT_FALSE(places.ModifyUserPlace(Cint64(0, 6), Place("x")));
    EXPECT_EQ(places.GetUserPlace(Cint64(0, 6)), nullptr);
    EXPECT_STREQ(places.GetGeofenceName(Cint64(0, 6)), "");
    EXPECT_FALSE(places.DeleteUserPlace(Cint64(0, 6)));
    ASSERT_TRUE(places.DeleteUserPlace(id));
    EXPECT_EQ(places.GetNumberInCollection(), 0);

    const std::vector<std::string> expected = {
        "ERROR CUserPlaceCollection::AddUserPlace() Already have SymbolId 0000000000000005",
        "ERROR CUserPlaceCollection::ModifyUserPlace() Error getting sidUserPlaceId "
        "0000000000000006",
        "ERROR CUserPlaceCollection::GetUserPlace() Error getting sidUserPlaceId 0000000000000006",
        "ERROR CUserPlaceCollection::GetUserPlace() Error getting sidUserPlaceId 0000000000000006",
        "ERROR CUserPlaceCollection::DeleteUserPlace()() Error getting sidUserPlaceId "
        "0000000000000006",
    };
    EXPECT_EQ(log.Messages(), expected);
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[0].id, 0x819Au);
    EXPECT_EQ(host.messages[0].mapLabel, "Yard");
    EXPECT_EQ(host.messages[1].id, 0x8199u);
    EXPECT_EQ(host.messages[1].mapLabel, "Yard");
}

TEST(UserPlaceCollection, WalksAndSymbolLookupsShareTheCursorInIdOrder)
{
    ScratchFolder folder;
    LogCapture log(folder);
    CUserPlaceCollection places;
    ASSERT_TRUE(places.AddUserPlace(Cint64(1, 0), Place("high", 3)));
    ASSERT_TRUE(places.AddUserPlace(Cint64(0, 0xFFFFFFFF), Place("middle", 3)));
    ASSERT_TRUE(places.AddUserPlace(Cint64(0, 2), Place("low", 4)));
    EXPECT_FALSE(places.AddUserPlace(Cint64(0, 0xFFFFFFFF), Place("again", 5)));
    EXPECT_FALSE(places.AddUserPlace(Cint64(1, 0), Place("again", 5)));
    EXPECT_EQ(places.GetNumberInCollection(), 3);
    EXPECT_STREQ(places.GetGeofenceName(3L), "middle") << "unsigned id order, first match";
    EXPECT_STREQ(places.GetNext()->GetMapLabelText(), "high") << "cursor left after the match";
    EXPECT_EQ(places.GetNext(), nullptr);
    EXPECT_EQ(places.GetUserPlaceBySymbolId(99), nullptr);
    EXPECT_STREQ(places.GetGeofenceName(99L), "");

    IWardenCollection& items = places;
    items.GotoStartItem();
    std::vector<std::string> names;
    IWardenCollectionItem* item = nullptr;
    while (items.GetNextItem(item))
        names.push_back(static_cast<const char*>(item->GetItemName()));
    EXPECT_EQ(item, nullptr);
    EXPECT_EQ(names, (std::vector<std::string>{"low", "middle", "high"}));
    EXPECT_EQ(items.GetItemById(Cint64(0, 2))->GetItemName(), CString("low"));

    // Deleting the place under the cursor moves the cursor on.
    places.GotoStart();
    places.GetNext();
    places.DeleteUserPlace(Cint64(0, 0xFFFFFFFF));
    EXPECT_STREQ(places.GetNext()->GetMapLabelText(), "high");
}

TEST(UserPlaceCollection, NewIdsSkipHeldOnes)
{
    FixedClock clock;
    CUserPlaceCollection places;
    places.SetHighPart(0x77);
    places.AddUserPlace(Cint64(0x77, Now()), Place("a"));
    places.AddUserPlace(Cint64(0x77, Now() + 1), Place("b"));
    EXPECT_EQ(places.CreateNewUserPlaceId(), Cint64(0x77, Now() + 2));
}

TEST(UserPlaceCollection, EmptyFileIsByteExact)
{
    FixedClock clock;
    ScratchFolder folder;
    CUserPlaceCollection places;
    places.SetLastUpdatedTime(COleDateTime(kFixedDay));
    ASSERT_TRUE(places.SaveCollection(folder.File("UserPlaces.dat").c_str()));
    const Bytes empty = PlacesFile({}, kFixedDay).Get();
    EXPECT_EQ(ScratchFolder::Read(folder.File("UserPlaces.dat")), empty);

    CUserPlaceCollection again;
    ASSERT_TRUE(again.ReadCollection(folder.File("UserPlaces.dat").c_str()));
    EXPECT_EQ(again.GetNumberInCollection(), 0);
    EXPECT_EQ(again.GetLastUpdatedTime().m_dt, kFixedDay);
}

TEST(UserPlaceCollection, EverySchemaReadsAndIsWrittenBackAsSchema6)
{
    FixedClock clock;
    ScratchFolder folder;
    HostCapture host;
    for (unsigned schema = 1; schema <= 6; ++schema)
    {
        SCOPED_TRACE(schema);
        const PlaceRecord stored = Busy(0x1234);
        ScratchFolder::Write(folder.File("in.dat"), PlacesFile({stored}, 44000.25, schema).Get());
        CUserPlaceCollection places;
        ASSERT_TRUE(places.ReadCollection(folder.File("in.dat").c_str()));
        ASSERT_EQ(places.GetNumberInCollection(), 1);
        places.GotoStart();
        const CUserPlace* place = places.GetNext();
        EXPECT_EQ(place->GetSymbolId(), -7);
        EXPECT_EQ(place->GetSymbolColour(), 0x00FF8040u);
        EXPECT_DOUBLE_EQ(place->GetLongitude(), -0.1218);
        EXPECT_STREQ(place->GetReportLabelText(), "Depot, Mill Road");
        EXPECT_EQ(place->GetSymbolChar(), 0xA5);
        EXPECT_TRUE(place->GetShowingAddressRadius());
        EXPECT_EQ(place->GetGeofenceRadius(), schema >= 2 ? 500 : 100);
        EXPECT_EQ(place->GetGeofenceEnterLeave(), schema >= 3 ? 2 : 0);
        EXPECT_EQ(place->GetGeofenceThreshold(), schema >= 6 ? 9 : 4);
        EXPECT_EQ(place->GetGeofenceSendSmsOutsidePeriod(), schema >= 6);
        const Cint64 expectedId = schema >= 5 ? Cint64(0x10, 0x1234) : Cint64(0, Now());
        EXPECT_EQ(places.GetUserPlace(expectedId), place) << "keyed by its own id";
        EXPECT_STREQ(place->GetUserPlaceIdText(),
                     schema >= 5 ? "" : static_cast<const char*>(expectedId.GetFormattedString()))
            << "only a fresh id is given through SetItemId";

        ASSERT_TRUE(places.SaveCollection(folder.File("out.dat").c_str()));
        EXPECT_EQ(ScratchFolder::Read(folder.File("out.dat")),
                  PlacesFile({Upgraded(stored, schema, Now())}, 44000.25).Get());
    }
    ASSERT_EQ(host.messages.size(), 6u);
    EXPECT_EQ(host.messages[0].id, 0x8198u);
    EXPECT_EQ(host.messages[0].mapLabel, "Depot");
}

TEST(UserPlaceCollection, ZeroAndRepeatedIdsInAFile)
{
    FixedClock clock;
    ScratchFolder folder;
    LogCapture log(folder);
    PlaceRecord a = Busy(0);
    a.idHigh = 0;
    PlaceRecord b = a;
    b.mapLabel = "Second";
    PlaceRecord c = Busy(3);
    PlaceRecord d = Busy(3);
    d.mapLabel = "Duplicate";
    ScratchFolder::Write(folder.File("in.dat"), PlacesFile({a, b, c, d}, 1.0).Get());
    CUserPlaceCollection places;
    places.SetHighPart(0x55);
    ASSERT_TRUE(places.ReadCollection(folder.File("in.dat").c_str()));
    ASSERT_EQ(places.GetNumberInCollection(), 3);
    // Fresh ids come from the collection object being read, which has no high part yet.
    EXPECT_STREQ(places.GetGeofenceName(Cint64(0, Now())), "Depot");
    EXPECT_STREQ(places.GetGeofenceName(Cint64(0, Now() + 1)), "Second");
    EXPECT_EQ(places.CreateNewUserPlaceId().GetHighPart(), 0x55u) << "the high part stays";
    EXPECT_STREQ(places.GetGeofenceName(Cint64(0x10, 3)), "Depot") << "the first one stays";
    EXPECT_EQ(places.GetLastUpdatedTime().m_dt, 1.0) << "the stored stamp wins";
    EXPECT_EQ(log.Messages(),
              (std::vector<std::string>{"ERROR CUserPlaceCollection::AddUserPlace() Already have "
                                        "SymbolId 0000001000000003"}));
}

TEST(UserPlaceCollection, Schema1CollectionIsStampedAtLoadTime)
{
    FixedClock clock;
    ScratchFolder folder;
    ScratchFolder::Write(folder.File("in.dat"), PlacesFile({Busy(1)}, 0, 6, 1).Get());
    CUserPlaceCollection places;
    ASSERT_TRUE(places.ReadCollection(folder.File("in.dat").c_str()));
    EXPECT_EQ(places.GetNumberInCollection(), 1);
    EXPECT_EQ(places.GetLastUpdatedTime().m_dt, kFixedDay);
}

TEST(UserPlaceCollection, BareBodyIsReadByTheSecondAttemptAndAdded)
{
    FixedClock clock;
    ScratchFolder folder;
    LogCapture log(folder);
    HostCapture host;
    // The body alone: the place class is the archive's first entry, so later places say 0x8001.
    ArchiveBytes body;
    body.I32(2).NewClass(6, "CUserPlace").Append(Busy(1).Body()).ClassRef(1);
    body.Append(Busy(2).Body()).Date(3.5);
    ScratchFolder::Write(folder.File("bare.dat"), body.Get());

    CUserPlaceCollection places;
    places.AddUserPlace(Cint64(0, 1), Place("kept"));
    ASSERT_TRUE(places.ReadCollection(folder.File("bare.dat").c_str()));
    EXPECT_EQ(places.GetNumberInCollection(), 3);
    EXPECT_STREQ(places.GetGeofenceName(Cint64(0, 1)), "kept");
    EXPECT_STREQ(places.GetGeofenceName(Cint64(0x10, 2)), "Depot");
    EXPECT_EQ(places.GetLastUpdatedTime().m_dt, 3.5);
    const auto messages = log.Messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(
        messages[0].rfind("ERROR CUserPlaceCollection::ReadCollection() ArchiveException=", 0), 0u)
        << messages[0];
    EXPECT_EQ(host.boxes.size(), 1u);
}

TEST(UserPlaceCollection, MissingFileAndNullObjectAreLogged)
{
    ScratchFolder folder;
    LogCapture log(folder);
    HostCapture host;
    CUserPlaceCollection places;
    const std::string missing = folder.File("nowhere.dat");
    EXPECT_FALSE(places.ReadCollection(missing.c_str()));
    // A null object: the first attempt reads nothing, the second reads a count of zero and
    // then runs out of bytes.
    ScratchFolder::Write(folder.File("null.dat"), {0, 0});
    EXPECT_FALSE(places.ReadCollection(folder.File("null.dat").c_str()));
    const auto messages = log.Messages();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0], "ERROR CUserPlaceCollection::ReadCollection() Error Opening " + missing);
    EXPECT_EQ(messages[1],
              "ERROR CUserPlaceCollection::ReadCollection() pUserPlaceCollection Error");
    EXPECT_EQ(
        messages[2].rfind("ERROR CUserPlaceCollection::ReadCollection() ArchiveException=", 0), 0u);
    EXPECT_EQ(host.boxes.size(), 1u);
}

TEST(UserPlaceCollection, DamagedFilesFailAndLeaveTheCollectionAlone)
{
    FixedClock clock;
    ScratchFolder folder;
    LogCapture log(folder);
    HostCapture host; // keeps the message boxes off standard error
    CUserPlaceCollection places;
    places.AddUserPlace(Cint64(0, 99), Place("keep"));
    places.SetLastUpdatedTime(COleDateTime(2.0));
    const auto unchanged = [&]
    {
        return places.GetNumberInCollection() == 1 &&
               places.GetGeofenceName(Cint64(0, 99)) == CString("keep") &&
               places.GetLastUpdatedTime().m_dt == 2.0;
    };

    const Bytes whole = PlacesFile({Busy(1), Busy(2)}, kFixedDay).Get();
    for (size_t length = 0; length < whole.size(); ++length)
    {
        ScratchFolder::Write(
            folder.File("cut.dat"),
            Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_FALSE(places.ReadCollection(folder.File("cut.dat").c_str())) << length;
        ASSERT_TRUE(unchanged()) << length;
    }
    // Another class where the collection should be.
    ScratchFolder::Write(folder.File("set.dat"),
                         ArchiveBytes().NewClass(1, "CSet").Id(0, 1).String("s").Get());
    EXPECT_FALSE(places.ReadCollection(folder.File("set.dat").c_str()));
    // A place count far beyond the data.
    Bytes overCounted = whole;
    overCounted[26] = 0x7F;
    ScratchFolder::Write(folder.File("over.dat"), overCounted);
    EXPECT_FALSE(places.ReadCollection(folder.File("over.dat").c_str()));
    EXPECT_TRUE(unchanged());
}

TEST(UserPlaceCollection, SavingReplacesTheFileWholeOrNotAtAll)
{
    FixedClock clock;
    ScratchFolder folder;
    const std::string path = folder.File("UserPlaces.dat");
    ScratchFolder::Write(path, {1, 2, 3});
    CUserPlaceCollection places;
    CUserPlace place = Place("Depot");
    place.SetItemId(Cint64(0, 1));
    places.AddUserPlace(Cint64(0, 1), place);
    ASSERT_TRUE(places.SaveCollection(path.c_str()));
    EXPECT_EQ(ScratchFolder::Read(path).size(), PlacesFile({PlaceRecord()}, 0).Get().size() + 5);
    EXPECT_EQ(std::distance(
                  std::filesystem::directory_iterator(std::filesystem::path(path).parent_path()),
                  std::filesystem::directory_iterator()),
              1)
        << "no temporary file left behind";
    EXPECT_FALSE(places.SaveCollection(folder.File("no/such/folder/UserPlaces.dat").c_str()));
    EXPECT_EQ(ScratchFolder::Read(path).size(), PlacesFile({PlaceRecord()}, 0).Get().size() + 5);
}
