#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <shared/positioning/NWardenMetrics.h>
#include <string>
#include <tuple>

namespace NW = NWardenMetrics;

namespace
{
std::string S(CString const& s)
{
    return s.GetString();
}
} // namespace

TEST(WardenMetrics, DeviceScalesTruncateTowardZeroAndKeepTheFieldWidth)
{
    EXPECT_DOUBLE_EQ(NW::CorrectLongLatScale(515000000), 5.15);
    EXPECT_DOUBLE_EQ(NW::CorrectDOPScale(-150), -1.5);
    EXPECT_DOUBLE_EQ(NW::CorrectSpeedScale(65535), 655.35);
    EXPECT_DOUBLE_EQ(NW::CorrectCourseScale(12345), 12.345);
    EXPECT_EQ(NW::InvertLongLatScale(-0.000000019), -1);
    EXPECT_EQ(NW::InvertLongLatScale(21.0), 2100000000);
    EXPECT_EQ(NW::InvertDOPScale(-1.239), -123);
    EXPECT_EQ(NW::InvertSpeedScale(12.349), 1234);
    EXPECT_EQ(NW::InvertCourseScale(12.3459), 12345);
    // 180 degrees does not fit the device's 32-bit field: the x86 "integer indefinite" comes out.
    EXPECT_EQ(NW::InvertLongLatScale(180.0), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(NW::InvertLongLatScale(std::nan("")), std::numeric_limits<std::int32_t>::min());
    // 16-bit fields keep the low bits of the 32-bit conversion.
    EXPECT_EQ(NW::InvertSpeedScale(655.36), 0);
    EXPECT_EQ(NW::InvertSpeedScale(-0.01), 65535);
    EXPECT_EQ(NW::InvertDOPScale(1e12), 0);
}

TEST(WardenMetrics, UnitConversionsUseDeviceConstantsAndKeepMarkers)
{
    // One value per constant (the device software's mile is 1.609269392 km), and the negative
    // or zero inputs that must come back as markers rather than as converted numbers.
    struct
    {
        double (*convert)(double);
        double in, out;
    } const cases[] = {
        {NW::MetresPerSecondToKph, 10.0, 36.0},
        {NW::MetresPerSecondToKph, -1.0, -1.0},
        {NW::MetresPerSecondToMph, -2.0, -2.0},
        {NW::MetresPerSecondToKnots, 0.514444, 1.0},
        {NW::KnotsToMetresPerSecond, -1.0, -1.0},
        {NW::KphToMetresPerSecond, -36.0, -10.0},
        {NW::ConvertKph2Mph, 1.609269392, 1.0},
        {[](double l) { return NW::ConvertLitresToImpGallons(l); }, 10.0, 2.2},
        {[](double l) { return NW::ConvertLitresToUSGallons(l); }, -0.5, -1.0},
        {[](double km) { return NW::ConvertImperialMilesToKm(km); }, -2.0, -1.0},
        {[](double k) { return NW::ConvertKelvinToCelsius(k); }, 273.15, 0.0},
        {[](double k) { return NW::ConvertKelvinToCelsius(k); }, -2000.0, -2000.0}, // marker
        {[](double k) { return NW::ConvertKelvinToCelsius(k); }, -5.0, -1000.0},    // impossible
        {[](double k) { return NW::ConvertKelvinToFahrenheit(k); }, -1.0, -1000.0},
        {[](double c) { return NW::ConvertCelsiusToKelvin(c); }, -300.0, -1000.0},
        {[](double f) { return NW::ConvertFahrenheitToKelvin(f); }, -500.0, -1000.0},
        {NW::ConvertLitresPer100KmToMilesPerImpGallon, 0.0, -1.0},
        {NW::ConvertLitresPer100KmToMilesPerImpGallon, 10.0, 28.24545},
    };
    for (auto const& c : cases)
        EXPECT_NEAR(c.convert(c.in), c.out, 1e-5) << c.in;

    EXPECT_DOUBLE_EQ(NW::GetSpeed(100.0, 0.0), -1.0);
    EXPECT_DOUBLE_EQ(NW::ConvertMetricDistance(1.609269392, false), 1.0);
    EXPECT_DOUBLE_EQ(NW::ConvertMetricDistance(-5.0, false), -5.0);
    EXPECT_NEAR(NW::ConvertMetricFuelConsumption(10.0, false), 28.246, 0.001);
    EXPECT_DOUBLE_EQ(NW::ConvertMetricFuelConsumption(0.0, false), 0.0) << "not infinite";
    EXPECT_DOUBLE_EQ(NW::ConvertMetricFuelVolume(-1.0, false), -1.0);
    EXPECT_DOUBLE_EQ(NW::GetLitresPer100KmFuelEconomy(5.0, 0.0), -1.0);
    EXPECT_NEAR(NW::ConvertFromKelvin(300.0, NW::eFahrenheit), 80.33, 1e-9);
    EXPECT_DOUBLE_EQ(NW::ConvertFromKelvin(300.0, static_cast<NW::E_TemperatureUnits>(0)), 300.0);
}

TEST(WardenMetrics, DistanceAndBearing)
{
    double bearing = -1;
    // Across the 180th meridian the short way is taken.
    EXPECT_NEAR(NW::GetDistance(179.0, 0.0, -179.0, 0.0, bearing, NW::eFlatEarth, true), 222.6,
                0.1);
    EXPECT_NEAR(bearing, 90.0, 1e-9); // eastward across the meridian
    EXPECT_NEAR(NW::GetDistance(-179.0, 0.0, 179.0, 0.0, bearing, NW::eHaversine, true), 222.6,
                0.1);
    EXPECT_NEAR(bearing, 270.0, 1e-9);

    // One degree of latitude on the device's 6378 km sphere, by all three methods.
    for (auto type : {NW::eFlatEarth, NW::eSphericalCosine, NW::eHaversine})
    {
        EXPECT_NEAR(NW::GetDistance(0.0, 51.0, 0.0, 52.0, bearing, type, true), 111.317, 0.001)
            << type;
        EXPECT_NEAR(bearing, 0.0, 1e-9);
    }
    EXPECT_NEAR(NW::GetDistance(0.0, 52.0, 0.0, 51.0, bearing, NW::eHaversine, false),
                111.317 / 1.609269392, 0.001);
    EXPECT_NEAR(bearing, 180.0, 1e-9);
    EXPECT_DOUBLE_EQ(
        NW::GetDistance(0.0, 52.0, 0.0, 51.0, bearing, static_cast<NW::eDistanceCalcType>(3), true),
        0.0);

    // Away from the equator the flat earth shrinks longitude like the sphere does.
    EXPECT_NEAR(NW::GetDistance(0.0, 60.0, 1.0, 60.0, bearing, NW::eFlatEarth, true),
                NW::GetDistance(0.0, 60.0, 1.0, 60.0, bearing, NW::eHaversine, true), 0.1);

    // Quadrants: the bearing comes from the flat angle.
    for (auto [lon, lat, expected] : {std::tuple{1.0, 1.0, 45.0}, std::tuple{1.0, -1.0, 135.0},
                                      std::tuple{-1.0, -1.0, 225.0}, std::tuple{-1.0, 1.0, 315.0}})
    {
        NW::GetDistance(0.0, 0.0, lon, lat, bearing, NW::eFlatEarth, true);
        EXPECT_NEAR(bearing, expected, 0.01) << lon << "," << lat;
    }

    // The same point: no distance and a defined bearing.
    EXPECT_DOUBLE_EQ(NW::GetDistance(1.0, 51.0, 1.0, 51.0, bearing, NW::eSphericalCosine, true),
                     0.0);
    EXPECT_DOUBLE_EQ(bearing, 0.0);
}

TEST(WardenMetrics, OffsetPositionWrapsWithoutMirroring)
{
    double lat = 0;
    double lon = 0;
    double const degreesPerMetre = 0.36 / (2 * 3.141592653589793 * 6378.0);
    NW::OffsetPosition(51.0, -1.0, 1000.0, 0.0, lat, lon);
    EXPECT_DOUBLE_EQ(lat, 51.0 + 1000.0 * degreesPerMetre);
    EXPECT_DOUBLE_EQ(lon, -1.0);
    NW::OffsetPosition(60.0, 0.0, 0.0, 1000.0, lat, lon);
    EXPECT_NEAR(lon, 2 * 1000.0 * degreesPerMetre, 1e-12); // cos 60 = 0.5
    // Past the pole by one degree: shifted by 180, not mirrored.
    NW::OffsetPosition(89.5, 0.0, 1.0 / degreesPerMetre, 0.0, lat, lon);
    EXPECT_NEAR(lat, -89.5, 1e-9);
    NW::OffsetPosition(0.0, 179.5, 0.0, 1.0 / degreesPerMetre, lat, lon);
    EXPECT_NEAR(lon, -179.5, 1e-9);
    // Absurd offsets end, and stay in range.
    NW::OffsetPosition(0.0, 0.0, 1e300, 1e300, lat, lon);
    EXPECT_LE(std::fabs(lat), 90.0);
    EXPECT_LE(std::fabs(lon), 180.0);
}

TEST(WardenMetrics, DisplayAndBenefonText)
{
    // 51 deg 30 min 15.55 s: seconds and tenths are truncated.
    double const lat = 51.0 + 30.0 / 60 + 15.55 / 3600;
    EXPECT_EQ(S(NW::DegreesToString(lat)), "051\xB0 30' 15\"");
    EXPECT_EQ(S(NW::LatitudeToString(lat)), "051\xB0 30' 15\" N");
    EXPECT_EQ(S(NW::LatitudeToString(-lat)), "051\xB0 30' 15\" S");
    EXPECT_EQ(S(NW::LongitudeToString(-0.125)), "000\xB0 07' 30\" W");
    EXPECT_EQ(S(NW::LongitudeToString(0.0)), "000\xB0 00' 00\" E");
    EXPECT_EQ(S(NW::LatitudeToBenefonString(lat)), "N51.30.15,5");
    EXPECT_EQ(S(NW::LatitudeToBenefonString(-lat)), "S51.30.15,5");
    EXPECT_EQ(S(NW::LongitudeToBenefonString(-0.125)), "W000.07.30,0");
    EXPECT_EQ(S(NW::LongitudeToBenefonString(179.5)), "E179.30.00,0");
}

TEST(WardenMetrics, NmeaTextCarriesTheHemisphereInTheSign)
{
    EXPECT_EQ(S(NW::LatitudeToNMEAString(51.5)), "5130.000000");
    EXPECT_EQ(S(NW::LatitudeToNMEAString(-0.5)), "-0030.000000");
    EXPECT_EQ(S(NW::LatitudeToNMEAString(91.0)), "-8900.000000");
    EXPECT_EQ(S(NW::LongitudeToNMEAString(181.0)), "-17900.000000");
    EXPECT_EQ(S(NW::LongitudeToNMEAString(-1.25)), "-00115.000000");
    EXPECT_EQ(S(NW::LongitudeToNMEAString(7.0)), "00700.000000");
}

TEST(WardenMetrics, CompassWordsUseTheOffsetSectors)
{
    struct
    {
        double course;
        char const* word;
    } const cases[] = {{0.0, "N"},   {10.3, "NNE"}, {10.2, "N"},        {-12.0, "N"},
                       {90.0, "E"},  {180.0, "S"},  {270.0, "W"},       {347.0, "NNW"},
                       {348.0, "N"}, {720.0, "N"},  {std::nan(""), "N"}};
    for (auto const& c : cases)
        EXPECT_EQ(S(NW::GetCardinalFromCourse(c.course)), c.word) << c.course;
}

TEST(WardenMetrics, ParseLatLong)
{
    auto parse = [](char const* text, bool latitude, double& v)
    { return latitude ? NW::ParseLatitude(text, v) : NW::ParseLongitude(text, v); };
    struct
    {
        char const* text;
        bool latitude;
        double value;
    } const good[] = {
        {"51 30 15.5 N", true, 51.504305555555555},
        {"N 51.5", true, 51.5},
        {"s51 30", true, -51.5},
        {"-51:30.5", true, -(51 + 30.5 / 60)},
        {"0\xB0 07' 30\" W", false, -0.125},
        {"  +179  ", false, 179.0},
        {"e1.5", false, 1.5},
        {"51.5.", true, 51.5}, // trailing non-digits go
    };
    for (auto const& g : good)
    {
        double v = 0;
        EXPECT_EQ(parse(g.text, g.latitude, v), NW::eParseLatLongOK) << g.text;
        EXPECT_NEAR(v, g.value, 1e-12) << g.text;
    }
    struct
    {
        char const* text;
        bool latitude;
        NW::E_ParseLatLongResult result;
    } const bad[] = {
        {"   ", true, NW::eParseLatLongEmpty},
        {"N", true, NW::eParseLatLongEmpty},
        {"x51", true, NW::eParseLatLongBadPrefix},
        {"N x51", true, NW::eParseLatLongNoDegrees},
        {"51.5x5", true, NW::eParseLatLongBadDegreeFraction},
        {"51 60", true, NW::eParseLatLongBadMinutes},
        {"51 30.x5", true, NW::eParseLatLongBadMinutes},
        {"51 30 60", true, NW::eParseLatLongBadSeconds},
        {"51 30 1.x5", true, NW::eParseLatLongBadSecondFraction},
        {"51 30 15x5", true, NW::eParseLatLongTrailingText},
        {"51 30 15z", true, NW::eParseLatLongBadPrefix}, // a final letter is the hemisphere
        {"-90 0 1", true, NW::eParseLatLongLatitudeRange},
        {"99999999999999999999999999999999999", true, NW::eParseLatLongLatitudeRange},
        {"180.5", false, NW::eParseLatLongLongitudeRange},
        {"51 W", true, NW::eParseLatLongEastWestForLatitude},
        {"1 S", false, NW::eParseLatLongNorthSouthForLongitude},
    };
    for (auto const& b : bad)
    {
        double v = 12345.0;
        EXPECT_EQ(parse(b.text, b.latitude, v), b.result) << b.text;
        EXPECT_EQ(v, 12345.0) << "a failed parse must not write the result: " << b.text;
    }
}

TEST(WardenMetrics, UpdateNmeaChecksumRewritesTheDigitsInPlace)
{
    CString sentence = "$GPLOG,1*00\r\n";
    ASSERT_TRUE(NW::UpdateNMEAChecksum(sentence));
    EXPECT_EQ(S(sentence), "$GPLOG,1*4E\r\n");
    for (char const* bad : {"GPLOG,1*00", "$GPLOG,1", "$A*00", "$GPLOG*0", "*00$GPLOG", ""})
    {
        CString text = bad;
        EXPECT_FALSE(NW::UpdateNMEAChecksum(text)) << bad;
        EXPECT_EQ(S(text), bad);
    }
    CString minimal = "$AB*zz";
    EXPECT_TRUE(NW::UpdateNMEAChecksum(minimal));
    EXPECT_EQ(S(minimal), "$AB*03");
}
