#include <gtest/gtest.h>
#include <shared/positioning/CLocation.h>
#include <shared/positioning/CPosition.h>

TEST(Location, BoundsAreInclusiveAndAnythingBeyondIsOutOfWorld)
{
    CLocation corner(90.0, -180.0);
    EXPECT_EQ(corner.GetStatus(), CLocation::eLocationOK);
    EXPECT_EQ(corner.GetLat(), 90.0);
    EXPECT_EQ(corner.GetLong(), -180.0);

    for (auto [lat, lon] : {std::pair{90.0000001, 0.0}, std::pair{0.0, -180.0000001},
                            std::pair{CLocation::s_dblOutOfWorld, 0.0},
                            std::pair{0.0, std::numeric_limits<double>::quiet_NaN()}})
    {
        CLocation bad(lat, lon);
        EXPECT_EQ(bad.GetStatus(), CLocation::eLocationOutOfWorld) << lat << " " << lon;
        EXPECT_EQ(bad.GetLat(), 5555.1111);
        EXPECT_EQ(bad.GetLong(), 5555.1111);
    }
}

TEST(Location, MarkersSpreadToBothCoordinatesNotApplicableFirst)
{
    CLocation unknown(CLocation::Unknown(), 12.0);
    EXPECT_EQ(unknown.GetStatus(), CLocation::eLocationUnknown);
    EXPECT_EQ(unknown.GetLat(), 1111.1111);
    EXPECT_EQ(unknown.GetLong(), 1111.1111);

    CLocation both(9999.9999, 1111.1111);
    EXPECT_EQ(both.GetStatus(), CLocation::eLocationNotApplicable);
    EXPECT_EQ(both.GetLat(), 9999.9999);
    EXPECT_EQ(both.GetLong(), 9999.9999);

    CLocation notApplicable(0.0, CLocation::NotApplicable());
    EXPECT_EQ(notApplicable.GetStatus(), CLocation::eLocationNotApplicable);

    CLocation byDefault;
    EXPECT_EQ(byDefault.GetStatus(), CLocation::eLocationUnknown);
    EXPECT_EQ(byDefault.GetLat(), CLocation::s_dblUnknown);

    // Setting real coordinates again clears an earlier marker.
    notApplicable.SetLatLong(51.5, -0.1);
    EXPECT_EQ(notApplicable.GetStatus(), CLocation::eLocationOK);
    EXPECT_EQ(notApplicable.GetLong(), -0.1);
}

TEST(Location, EqualityComparesStatusFirstAndCoordinatesExactly)
{
    EXPECT_TRUE(CLocation() == CLocation());
    EXPECT_TRUE(CLocation() == CLocation(CLocation::Unknown(), 3.0));
    EXPECT_FALSE(CLocation() == CLocation(5555.1111, 0.0));
    EXPECT_TRUE(CLocation() != CLocation(5555.1111, 0.0));
    EXPECT_TRUE(CLocation(51.5, 0.1) == CLocation(51.5, 0.1));
    EXPECT_FALSE(CLocation(51.5, 0.1) == CLocation(51.5, 0.1000000001));
    EXPECT_FALSE(CLocation(51.5, 0.1) == CLocation());
    EXPECT_FALSE(CLocation() == CLocation(51.5, 0.1));
    CLocation self(1.0, 2.0);
    EXPECT_TRUE(self == self);
}

TEST(Position, StatusNeedsBothAGoodLocationAndAValidTime)
{
    CPosition byDefault;
    EXPECT_EQ(byDefault.GetStatus(), CPosition::ePositionNotOK);
    EXPECT_EQ(byDefault.GetTimestamp().GetStatus(), COleDateTime::valid);
    EXPECT_EQ(byDefault.GetTimestamp().m_dt, 0.0);
    EXPECT_EQ(byDefault.GetLat(), CLocation::s_dblUnknown);

    COleDateTime const noon(2026, 3, 14, 12, 0, 0);
    CPosition good(noon, CLocation(52.2, 0.12));
    EXPECT_EQ(good.GetStatus(), CPosition::ePositionOK);
    EXPECT_EQ(good.GetLat(), 52.2);
    EXPECT_EQ(good.GetLong(), 0.12);
    EXPECT_EQ(good.GetTimestamp(), noon);

    COleDateTime badTime;
    badTime.SetStatus(COleDateTime::invalid);
    EXPECT_EQ(CPosition(badTime, CLocation(52.2, 0.12)).GetStatus(), CPosition::ePositionNotOK);

    CPosition copy(good);
    EXPECT_EQ(copy.GetStatus(), CPosition::ePositionOK);
    copy = byDefault;
    EXPECT_EQ(copy.GetStatus(), CPosition::ePositionNotOK);
}
