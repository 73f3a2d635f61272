#include "NGpsToOSGridTestPoints.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <shared/positioning/CCoordTransform.h>
#include <string>

namespace
{

// National Grid projection parameters (OS definition).
constexpr double kN0 = -100000.0;
constexpr double kE0 = 400000.0;
constexpr double kPhi0 = 49.0;
constexpr double kLambda0 = -2.0;
constexpr double kF0 = 0.9996012717;

constexpr ELLIPSOID kGrs80{6378137.0, 298.257222101};

double GroundMetres(double lat1, double lon1, double lat2, double lon2)
{
    constexpr double kMetresPerDegree = 111195.0;
    double const c = std::cos(lat1 * 0.017453292519943295);
    return kMetresPerDegree * std::hypot(lat1 - lat2, (lon1 - lon2) * c);
}

std::string Str(CString const& s)
{
    return std::string(s.GetString());
}

// Removes any precise transformation a test installed, even when it fails.
struct PreciseTransformGuard
{
    ~PreciseTransformGuard() { CCoordTransform::ClearPreciseTransform(); }
};

} // namespace

TEST(CCoordTransformLetters, EastingNorthingToLettersAndBack)
{
    CString letters;
    unsigned long e = 0;
    unsigned long n = 0;
    ASSERT_TRUE(CCoordTransform::EastingNorthing_To_BNG(651409, 313177, letters, e, n));
    EXPECT_EQ(Str(letters), "TG");
    EXPECT_EQ(e, 51409u);
    EXPECT_EQ(n, 13177u);

    struct
    {
        unsigned long E, N;
        char const* letters;
    } const squares[] = {{0, 0, "SV"},           {99999, 99999, "SV"},   {400000, 100000, "SU"},
                         {544359, 180653, "TQ"}, {277324, 630857, "NS"}, {100000, 400000, "SB"},
                         {699999, 699999, "OR"}, {0, 500000, "NV"},      {500000, 500000, "OV"}};
    for (auto const& sq : squares)
    {
        ASSERT_TRUE(CCoordTransform::EastingNorthing_To_BNG(sq.E, sq.N, letters, e, n))
            << sq.letters;
        EXPECT_EQ(Str(letters), sq.letters);
    }

    // Every 100 km square of the lettered area, with offsets, goes there and back.
    for (unsigned long E = 0; E < 700000; E += 100000)
        for (unsigned long N = 0; N < 700000; N += 100000)
        {
            ASSERT_TRUE(
                CCoordTransform::EastingNorthing_To_BNG(E + 12345, N + 67890, letters, e, n));
            EXPECT_NE(letters[1], 'I');
            unsigned long E2 = 0;
            unsigned long N2 = 0;
            ASSERT_TRUE(CCoordTransform::BNG_To_EastingNorthing(letters, e, n, E2, N2))
                << Str(letters);
            EXPECT_EQ(E2, E + 12345);
            EXPECT_EQ(N2, N + 67890);
        }
}

TEST(CCoordTransformLetters, DeliberatelyNarrowNorthingBound)
{
    CString letters;
    unsigned long e = 0;
    unsigned long n = 0;
    EXPECT_FALSE(CCoordTransform::EastingNorthing_To_BNG(400000, 700000, letters, e, n));
    EXPECT_TRUE(CCoordTransform::EastingNorthing_To_BNG(1299999, 0, letters, e, n));
    EXPECT_FALSE(CCoordTransform::EastingNorthing_To_BNG(1300000, 0, letters, e, n));

    // Shetland's letters are known one way only.
    unsigned long E = 0;
    unsigned long N = 0;
    ASSERT_TRUE(CCoordTransform::BNG_To_EastingNorthing("HP", 61000, 12000, E, N));
    EXPECT_EQ(E, 461000u);
    EXPECT_EQ(N, 1212000u);
    CString untouched("unchanged");
    EXPECT_FALSE(CCoordTransform::EastingNorthing_To_BNG(E, N, untouched, e, n));
    EXPECT_EQ(Str(untouched), "unchanged");
}

TEST(CCoordTransformLetters, LettersRefused)
{
    unsigned long E = 5;
    unsigned long N = 6;
    EXPECT_TRUE(CCoordTransform::BNG_To_EastingNorthing("tg", 1, 2, E, N)); // any case
    EXPECT_EQ(E, 600001u);
    EXPECT_EQ(N, 300002u);
    E = 5;
    N = 6;
    for (char const* bad : {"TI", "SI", "XA", "T", "", "TGX", "T1", "1G", "T\xC9"})
        EXPECT_FALSE(CCoordTransform::BNG_To_EastingNorthing(bad, 0, 0, E, N)) << bad;
    EXPECT_FALSE(CCoordTransform::BNG_To_EastingNorthing("TG", 100000, 0, E, N));
    EXPECT_FALSE(CCoordTransform::BNG_To_EastingNorthing("TG", 0, 100000, E, N));
    // Beyond the grid: 900 km east, 1400 km north.
    EXPECT_FALSE(CCoordTransform::BNG_To_EastingNorthing("TE", 0, 0, E, N));
    EXPECT_FALSE(CCoordTransform::BNG_To_EastingNorthing("JA", 0, 0, E, N));
    EXPECT_EQ(E, 5u);
    EXPECT_EQ(N, 6u);
}

TEST(CCoordTransformGridRef, Formatting)
{
    struct
    {
        unsigned long E, N;
        int digits;
        char const* text;
    } const cases[] = {
        {651409, 313177, 3, "TG-0514-0132"},
        {651409, 313177, 5, "TG-51409-13177"},
        {651409, 313177, 4, "TG-5141-1318"},
        {651409, 313177, 1, "TG-0005-0001"},
        // The field stays four wide: small five-figure values print like four-figure ones.
        {600001, 300011, 5, "TG-0001-0011"},
        // Rounds in single figures (45 m rounds up twice) but never out of the square.
        {400045, 100044, 3, "SU-0001-0000"},
        {499999, 199996, 2, "SU-0099-0099"},
    };
    CString out;
    for (auto const& c : cases)
    {
        ASSERT_TRUE(CCoordTransform::EastingNorthing_To_GridRef(c.E, c.N, c.digits, out));
        EXPECT_EQ(Str(out), c.text);
    }
    out = "unchanged";
    EXPECT_FALSE(CCoordTransform::EastingNorthing_To_GridRef(651409, 313177, 0, out));
    EXPECT_FALSE(CCoordTransform::EastingNorthing_To_GridRef(651409, 313177, 6, out));
    EXPECT_FALSE(CCoordTransform::EastingNorthing_To_GridRef(461000, 1212000, 5, out));
    EXPECT_EQ(Str(out), "unchanged");
}

TEST(CCoordTransformGridRef, Parsing)
{
    struct
    {
        char const* text;
        unsigned long E, N;
    } const good[] = {
        {"TG 51409 13177", 651409, 313177},  {"SU387148", 438700, 114800},
        {"SU 387 148", 438700, 114800},      {"TQ 44359 80653", 544359, 180653},
        {"  tg-0514-0132 ", 605140, 301320}, {"SU 1234 5678", 412340, 156780},
        {"NN\t77 30", 277000, 730000},       {"SV00", 0, 0},
        {"HP 6100 1200", 461000, 1212000},   {"TG-51409-13177", 651409, 313177},
    };
    for (auto const& g : good)
    {
        unsigned long E = 0;
        unsigned long N = 0;
        ASSERT_TRUE(CCoordTransform::GridRef_To_EastingNorthing(g.text, E, N)) << g.text;
        EXPECT_EQ(E, g.E) << g.text;
        EXPECT_EQ(N, g.N) << g.text;
    }
    for (char const* bad : {"", "   ", "TG", "TG5", "SU12345", "SU123456789012", "XA1234", "S11234",
                            "SI1234", "SU12a4", "SU+1+2", "TG 5140 13177x", "-"})
    {
        unsigned long E = 9;
        unsigned long N = 9;
        EXPECT_FALSE(CCoordTransform::GridRef_To_EastingNorthing(bad, E, N)) << bad;
        EXPECT_EQ(E, 9u);
    }
}

TEST(CCoordTransformProjection, RefusesNullsAndImpossibleEllipsoids)
{
    double a = 1;
    double b = 2;
    ELLIPSOID const flat{6378137.0, 1.0};
    ELLIPSOID const empty{0.0, 298.0};
    for (ELLIPSOID const* el : {static_cast<ELLIPSOID const*>(nullptr), &flat, &empty})
    {
        EXPECT_FALSE(CCoordTransform::LatLon_To_NorthEast(&a, &b, 52, -1, kN0, kE0, kPhi0, kLambda0,
                                                          kF0, el));
        EXPECT_FALSE(CCoordTransform::NorthEast_To_LatLon(&a, &b, 3e5, 4e5, kN0, kE0, kPhi0,
                                                          kLambda0, kF0, el));
    }
    EXPECT_FALSE(CCoordTransform::LatLon_To_NorthEast(nullptr, &b, 52, -1, kN0, kE0, kPhi0,
                                                      kLambda0, kF0, &kGrs80));
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
}

TEST(CCoordTransformDatum, MolodenskyMatchesGeocentricThreeParameterShift)
{
    // cs2cs (PROJ 9.1.1): +proj=longlat +ellps=WGS84 to +ellps=airy +towgs84=375,-111,431, an
    // exact geocentric translation; Molodensky agrees to centimetres.
    struct
    {
        double lat, lon, airyLat, airyLon;
    } const cases[] = {
        {50.0, -5.0, 49.999455913, -4.998913444}, {52.6579, 1.7161, 52.657526466, 1.717905794},
        {55.0, -3.0, 54.999916822, -2.998574379}, {58.5, -6.5, 58.500300072, -6.498836437},
        {60.5, -1.5, 60.500443593, -1.498159291},
    };
    for (auto const& c : cases)
    {
        double lat = c.lat;
        double lon = c.lon;
        ASSERT_TRUE(CCoordTransform::DatumShift(&lat, &lon, &CCoordTransform::s_datumSatellite,
                                                &CCoordTransform::s_datumAiry));
        EXPECT_LT(GroundMetres(lat, lon, c.airyLat, c.airyLon), 0.05) << c.lat << "," << c.lon;
        // And back again.
        ASSERT_TRUE(CCoordTransform::DatumShift(&lat, &lon, &CCoordTransform::s_datumAiry,
                                                &CCoordTransform::s_datumSatellite));
        EXPECT_LT(GroundMetres(lat, lon, c.lat, c.lon), 0.05) << c.lat << "," << c.lon;
    }
    double lat = 52;
    double lon = -1;
    ASSERT_TRUE(CCoordTransform::DatumShift(&lat, &lon, &CCoordTransform::s_datumAiry,
                                            &CCoordTransform::s_datumAiry));
    EXPECT_EQ(lat, 52);
    EXPECT_EQ(lon, -1);
    lat = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(CCoordTransform::DatumShift(&lat, &lon, &CCoordTransform::s_datumSatellite,
                                             &CCoordTransform::s_datumAiry));
    EXPECT_FALSE(CCoordTransform::DatumShift(&lon, &lon, nullptr, &CCoordTransform::s_datumAiry));
}

TEST(CCoordTransformDatum, GeocentricToLatLonHeight)
{
    // GeographicLib 2.1.2 CartConvert (WGS84): geodetic -> geocentric.
    struct
    {
        double X, Y, Z, lat, lon, h;
    } const cases[] = {
        {3875276.247342, 116105.427205, 5047541.817239, 52.6579, 1.7161, 0},
        {3201007.305656, -83821.326248, 5509137.387976, 60, -1.5, 10000},
        {-4643909.660152, 2553010.940031, -3537217.460650, -33.9, 151.2, -50},
    };
    for (auto const& c : cases)
    {
        double lat = 0;
        double lon = 0;
        double h = 0;
        ASSERT_TRUE(CCoordTransform::XYZ_To_LatLonHeight(&lat, &lon, &h, c.X, c.Y, c.Z,
                                                         &CCoordTransform::s_datumSatellite));
        EXPECT_NEAR(lat, c.lat, 1e-10);
        EXPECT_NEAR(lon, c.lon, 1e-10);
        EXPECT_NEAR(h, c.h, 0.001);
    }
    // On the axis.
    double lat = 0;
    double lon = 0;
    double h = 0;
    ASSERT_TRUE(CCoordTransform::XYZ_To_LatLonHeight(&lat, &lon, &h, 0, 0, -6356852.3142,
                                                     &CCoordTransform::s_datumSatellite));
    EXPECT_DOUBLE_EQ(lat, -90);
    EXPECT_NEAR(h, 100.0, 0.001); // b = 6356752.3142
    EXPECT_FALSE(CCoordTransform::XYZ_To_LatLonHeight(&lat, &lon, &h, 0, 0, 0,
                                                      &CCoordTransform::s_datumSatellite));
    EXPECT_FALSE(CCoordTransform::XYZ_To_LatLonHeight(&lat, &lon, &h, 1, 2, 3, nullptr));
}

TEST(CCoordTransformLatLong, FallbackPathAgainstOsTestPoints)
{
    // The three-parameter OSGB36 shift (EPSG:1195) is quoted at 21 m; across GB it is up to
    // 17 m from the definitive OSTN15 grid (north-west Scotland). A wrong sign or swapped axis
    // in the shift costs hundreds of metres.
    auto const points = grid_test::LoadOsPoints();
    if (points.empty())
        GTEST_SKIP() << "no OS test data";
    for (auto const& p : points)
    {
        unsigned long E = 0;
        unsigned long N = 0;
        ASSERT_TRUE(CCoordTransform::LatLong_To_EastingNorthing(p.lat, p.lon, E, N)) << p.id;
        EXPECT_LT(std::hypot(static_cast<double>(E) - p.east, static_cast<double>(N) - p.north),
                  21.0)
            << p.id;

        double lat = 0;
        double lon = 0;
        ASSERT_TRUE(CCoordTransform::EastingNorthing_To_LatLong(E, N, lat, lon));
        EXPECT_LT(GroundMetres(lat, lon, p.lat, p.lon), 1.0) << p.id; // whole metres, both ways

        CString ref;
        bool const lettered = CCoordTransform::LatLong_To_GridRef(p.lat, p.lon, 5, ref);
        EXPECT_EQ(lettered, N < 700000) << p.id;
        if (lettered)
        {
            ASSERT_TRUE(CCoordTransform::GridRef_To_LatLong(ref, lat, lon));
            EXPECT_LT(GroundMetres(lat, lon, p.lat, p.lon), 1.5) << Str(ref);
        }
    }
}

TEST(CCoordTransformLatLong, CaisterAndFailures)
{
    // The OS Caister example taken to GPS latitude/longitude by the same three parameters.
    double lat = 0;
    double lon = 0;
    ASSERT_TRUE(CCoordTransform::GridRef_To_LatLong("TG 51409 13177", lat, lon));
    CString ref;
    ASSERT_TRUE(CCoordTransform::LatLong_To_GridRef(lat, lon, 5, ref));
    EXPECT_EQ(Str(ref), "TG-51409-13177");
    CString letters;
    unsigned long e = 0;
    unsigned long n = 0;
    ASSERT_TRUE(CCoordTransform::LatLong_To_BNG(lat, lon, letters, e, n));
    EXPECT_EQ(Str(letters), "TG");
    EXPECT_EQ(e, 51409u);
    EXPECT_EQ(n, 13177u);
    double lat2 = 0;
    double lon2 = 0;
    ASSERT_TRUE(CCoordTransform::BNG_To_LatLong("TG", 51409, 13177, lat2, lon2));
    EXPECT_DOUBLE_EQ(lat2, lat);
    EXPECT_DOUBLE_EQ(lon2, lon);

    ref = "unchanged";
    EXPECT_FALSE(CCoordTransform::LatLong_To_GridRef(0, 0, 5, ref));         // far south
    EXPECT_FALSE(CCoordTransform::LatLong_To_GridRef(53.35, 16.26, 5, ref)); // far east
    EXPECT_FALSE(CCoordTransform::LatLong_To_GridRef(std::nan(""), 0, 5, ref));
    EXPECT_FALSE(CCoordTransform::LatLong_To_GridRef(91, 0, 5, ref));
    EXPECT_FALSE(CCoordTransform::LatLong_To_GridRef(52, -1, 0, ref));
    EXPECT_EQ(Str(ref), "unchanged");
    EXPECT_FALSE(CCoordTransform::GridRef_To_LatLong("TI 1 1", lat, lon));
    EXPECT_FALSE(CCoordTransform::BNG_To_LatLong("TG", 100000, 0, lat, lon));
}

TEST(CCoordTransformLatLong, PreciseTransformHook)
{
    PreciseTransformGuard guard;
    int toGridCalls = 0;
    bool available = true;
    CCoordTransform::SetPreciseTransform({[&](double lat, double lon, double& E, double& N)
                                          {
                                              ++toGridCalls;
                                              if (!available)
                                                  return false;
                                              E = 600000.4 + lon;
                                              N = 300000.5 + lat;
                                              return true;
                                          },
                                          [&](double E, double N, double& lat, double& lon)
                                          {
                                              if (!available)
                                                  return false;
                                              lat = N / 1e4;
                                              lon = E / 1e4;
                                              return true;
                                          }});

    CString ref;
    ASSERT_TRUE(CCoordTransform::LatLong_To_GridRef(10, 0.25, 5, ref));
    // Rounded half up (600000.65, 300010.5); five figures still print four wide when small.
    EXPECT_EQ(Str(ref), "TG-0001-0011");
    EXPECT_EQ(toGridCalls, 1);
    double lat = 0;
    double lon = 0;
    ASSERT_TRUE(CCoordTransform::GridRef_To_LatLong("TG 00001 00002", lat, lon));
    EXPECT_DOUBLE_EQ(lat, 30.0002);
    EXPECT_DOUBLE_EQ(lon, 60.0001);

    // When the service declines, the fallback path answers.
    available = false;
    ASSERT_TRUE(CCoordTransform::LatLong_To_GridRef(52.6579, 1.7161, 3, ref));
    EXPECT_EQ(Str(ref).substr(0, 2), "TG");
    EXPECT_EQ(toGridCalls, 2);
    ASSERT_TRUE(CCoordTransform::GridRef_To_LatLong("TG 51409 13177", lat, lon));
    EXPECT_NEAR(lat, 52.658, 0.001);

    // Results that are no easting/northing are refused, not wrapped.
    CCoordTransform::SetPreciseTransform({[](double, double, double& E, double& N)
                                          {
                                              E = -3;
                                              N = std::nan("");
                                              return true;
                                          },
                                          {}});
    EXPECT_FALSE(CCoordTransform::LatLong_To_GridRef(52, -1, 5, ref));
    ASSERT_TRUE(CCoordTransform::GridRef_To_LatLong("TG 51409 13177", lat, lon)); // no reverse hook

    CCoordTransform::ClearPreciseTransform();
    ASSERT_TRUE(CCoordTransform::LatLong_To_GridRef(52.6579, 1.7161, 3, ref));
    EXPECT_EQ(toGridCalls, 2);
}
