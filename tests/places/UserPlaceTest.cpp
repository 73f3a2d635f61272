#include "UserPlacesTestSupport.h"

#include <shared/places/CUserPlace.h>
#include <shared/time/CClock.h>

namespace
{
// 2023-03-15 (a Wednesday) at the given hour and minute, UTC.
COleDateTime Wednesday(int hour, int minute)
{
    return COleDateTime(2023, 3, 15, hour, minute, 0);
}

CUserPlace Window(int startHour, int endHour)
{
    CUserPlace place;
    place.SetGeofenceStartTime(COleDateTime(1899, 12, 30, startHour, 0, 0));
    place.SetGeofenceEndTime(COleDateTime(1899, 12, 30, endHour, 0, 0));
    return place;
}
} // namespace

TEST(UserPlace, DefaultsStampTheDeletionTimeNotTheCreationTime)
{
    FixedClock clock;
    CUserPlace place;
    EXPECT_EQ(place.GetItemId(), Cint64());
    EXPECT_STREQ(place.GetCompanyId(), "n/a");
    EXPECT_EQ(place.GetCreationTime().m_dt, 0.0);
    EXPECT_EQ(place.GetCreationTime().GetStatus(), COleDateTime::valid);
    EXPECT_EQ(place.GetDeletionTime().m_dt, kFixedDay);
    EXPECT_EQ(place.GetNumUploadBytes(), 18);
    EXPECT_STREQ(place.GetGeofenceTypeString(), "None");
}

TEST(UserPlace, IdentifierTextFollowsSetItemIdOnly)
{
    CUserPlace place;
    place.SetItemId(Cint64(0x12, 0xABCDEF01));
    EXPECT_STREQ(place.GetUserPlaceIdText(), "00000012ABCDEF01");
    place.SetUserPlaceId("free text");
    EXPECT_STREQ(place.GetUserPlaceIdText(), "free text");
    EXPECT_STREQ(place.GetUserPlaceId(), "00000012ABCDEF01");
    place.SetUserPlaceIdHigh(0xFFFFFFFF);
    place.SetUserPlaceIdLow(7);
    EXPECT_EQ(place.GetItemId(), Cint64(0xFFFFFFFF, 7));
    EXPECT_STREQ(place.GetUserPlaceIdText(), "free text") << "halves leave the text alone";
    place.SetMapLabelText("Depot");
    EXPECT_STREQ(place.GetItemName(), "Depot");
    EXPECT_EQ(place.GetNumUploadBytes(), 23);
}

TEST(UserPlace, ColoursOnlyLightenBlack)
{
    CUserPlace place;
    EXPECT_EQ(place.GetGeofenceAreaColour(), 0xC8C8C8u);
    EXPECT_EQ(place.LightenColoref(0, 300), 0xFFFFFFu) << "clamped";
    EXPECT_EQ(place.LightenColoref(0, -5), 0u) << "clamped";
    EXPECT_EQ(place.LightenColoref(0xFF000000, 10), 0x0A0A0Au) << "high byte ignored";
    for (DWORD colour : {0x000001u, 0x010000u, 0x123456u, 0xFFFFFFu})
    {
        place.SetSymbolColour(colour);
        EXPECT_EQ(place.GetGeofenceAreaColour(), colour);
    }
    place.SetSymbolColour(0x123456);
    const DWORD borders[] = {0x123456, 0x00DD00, 0x0000DD, 0xDD0000, 0xC0C0C0, 0xC0C0C0};
    const long types[] = {0, 1, 2, 3, 4, -1};
    for (int i = 0; i < 6; ++i)
    {
        place.SetGeofenceEnterLeave(types[i]);
        EXPECT_EQ(place.GetGeofenceBorderColour(), borders[i]) << types[i];
        EXPECT_EQ(place.GetGeofenceBorderWidth(), types[i] == 0 ? 1 : 3);
    }
    EXPECT_STREQ(place.GetGeofenceTypeString(), "");
    place.SetGeofenceEnterLeave(3);
    EXPECT_STREQ(place.GetGeofenceTypeString(), "Both");
}

TEST(UserPlace, IconIndexByUseAndType)
{
    CUserPlace place;
    struct Case
    {
        int address, geofence;
        long type;
        int icon;
    };
    const Case cases[] = {{1, 1, 0, 2}, {1, 1, 3, 5}, {1, 0, 2, 1}, {0, 1, 0, 6},
                          {0, 1, 3, 9}, {0, 0, 1, 0}, {1, 0, 4, 0}, {1, 1, -1, 0}};
    for (const Case& c : cases)
    {
        place.SetUseAsAddress(c.address);
        place.SetUseAsGeofence(c.geofence);
        place.SetGeofenceEnterLeave(c.type);
        EXPECT_EQ(place.GetIconIndex(), c.icon) << c.address << c.geofence << c.type;
    }
}

TEST(UserPlace, GeofenceWindowWithinOneDay)
{
    CUserPlace place = Window(9, 17);
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(8, 59)));
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(9, 0))) << "start included";
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(16, 59)));
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(17, 0))) << "end excluded";
    place.SetGeofenceDoWednesday(false);
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(12, 0)));
}

TEST(UserPlace, GeofenceWindowAcrossMidnightBelongsToTheOpeningDay)
{
    CUserPlace place = Window(22, 6);
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(23, 0)));
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(5, 0)));
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(6, 0)));
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(21, 59)));
    // 05:00 on Wednesday is Tuesday night's window.
    place.SetGeofenceDoTuesday(false);
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(5, 0)));
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(23, 0)));
    // Sunday's small hours belong to Saturday.
    place.SetGeofenceDoSaturday(false);
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(COleDateTime(2023, 3, 19, 1, 0, 0)));
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(COleDateTime(2023, 3, 19, 23, 0, 0)));
}

TEST(UserPlace, EqualStartAndEndIsAllDayOnEnabledDays)
{
    CUserPlace place = Window(7, 7);
    for (int hour : {0, 7, 12, 23})
        EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(hour, 30))) << hour;
    // Windows read from old files carry a date; only the time of day counts.
    place.SetGeofenceStartTime(COleDateTime(1999, 12, 31, 0, 0, 0));
    place.SetGeofenceEndTime(COleDateTime(2005, 1, 1, 0, 0, 0));
    EXPECT_TRUE(place.IsGeofenceSMSSendRequired(Wednesday(13, 0)));
    place.SetGeofenceDoWednesday(false);
    EXPECT_FALSE(place.IsGeofenceSMSSendRequired(Wednesday(13, 0)));
    COleDateTime invalid;
    invalid.SetStatus(COleDateTime::invalid);
    EXPECT_FALSE(Window(1, 2).IsGeofenceSMSSendRequired(invalid)) << "no weekday, no message";
}
