#include "NGpsToOSGridTestPoints.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>
#include <shared/positioning/NWardenMetrics.h>
#include <string>
#include <thread>

using namespace NGpsToOSGrid;

namespace
{

// OS guide worked example (Caister Water Tower), OSGB36 on Airy 1830.
constexpr double kCaisterE = 651409.903;
constexpr double kCaisterN = 313177.270;

double CaisterLat()
{
    double rad = 0;
    hmstorad(52, 39, 27.2531, &rad);
    return rad;
}
double CaisterLon()
{
    double rad = 0;
    hmstorad(1, 43, 4.5177, &rad);
    return rad;
}

// Metres on the ground for a latitude/longitude difference in radians (good to 1% here).
double GroundMetres(double dLat, double dLon, double lat)
{
    constexpr double kRadius = 6371000.0;
    return kRadius * std::hypot(dLat, dLon * std::cos(lat));
}

// Runs a console routine on the given input text and returns everything it wrote.
template <typename Routine> std::string RunConsole(Routine routine, std::string const& input)
{
    std::FILE* in = std::tmpfile();
    std::FILE* out = std::tmpfile();
    std::fputs(input.c_str(), in);
    std::rewind(in);
    routine(in, out);
    std::rewind(out);
    std::string text;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, out) != nullptr)
        text += buffer;
    std::fclose(in);
    std::fclose(out);
    return text;
}

} // namespace

TEST(NGpsToOSGridProjection, CaisterWorkedExampleBothWaysWithinAMillimetre)
{
    Setup_Airy();
    double E = 0;
    double N = 0;
    ProjectLKtoGrid(CaisterLat(), CaisterLon(), &E, &N);
    EXPECT_NEAR(E, kCaisterE, 0.001);
    EXPECT_NEAR(N, kCaisterN, 0.001);

    double lat = 0;
    double lon = 0;
    ProjectGridtoLK(kCaisterE, kCaisterN, &lat, &lon);
    EXPECT_LT(GroundMetres(lat - CaisterLat(), lon - CaisterLon(), lat), 0.001);
}

TEST(NGpsToOSGridProjection, IogpExampleAwayFromTheCentralMeridian)
{
    // IOGP Guidance Note 7-2: 50.5N 0.5E; with the exact F0 the published figures are
    // 577274.9838, 69740.4923 (PROJ, GeographicLib agree).
    Setup_Airy();
    double E = 0;
    double N = 0;
    ProjectLKtoGrid(degtorad(50.5), degtorad(0.5), &E, &N);
    EXPECT_NEAR(E, 577274.9838, 0.001);
    EXPECT_NEAR(N, 69740.4923, 0.001);
}

TEST(NGpsToOSGridProjection, Grs80ProjectionMatchesOsTestPoints)
{
    // OSTN15 is "project on GRS80 with the National Grid constants, then add Se, Sn", so
    // E - Se, N - Sn are exact projections of the ETRS89 input: the series alone, everywhere
    // from Scilly to Shetland, through both modules' interfaces to it.
    auto const points = grid_test::LoadOsPoints();
    if (points.empty())
        GTEST_SKIP() << "no OS test data";
    ELLIPSOID const grs80{6378137.0, 298.257222101};
    for (auto const& p : points)
    {
        Setup_GRS80();
        double E = 0;
        double N = 0;
        ProjectLKtoGrid(degtorad(p.lat), degtorad(p.lon), &E, &N);
        EXPECT_NEAR(E, p.east - p.se, 0.001) << p.id;
        EXPECT_NEAR(N, p.north - p.sn, 0.001) << p.id;
        double E2 = 0;
        double N2 = 0;
        ASSERT_TRUE(CCoordTransform::LatLon_To_NorthEast(&N2, &E2, p.lat, p.lon, -100000, 400000,
                                                         49, -2, 0.9996012717, &grs80));
        EXPECT_NEAR(E2, E, 0.001) << p.id;
        EXPECT_NEAR(N2, N, 0.001) << p.id;

        // The inverse stops iterating at 1 mm of meridian arc and its series loses a few more
        // millimetres 300 km off the central meridian (the Hebrides).
        double lat = 0;
        double lon = 0;
        ProjectGridtoLK(E, N, &lat, &lon);
        EXPECT_LT(GroundMetres(lat - degtorad(p.lat), lon - degtorad(p.lon), lat), 0.01) << p.id;
        ASSERT_TRUE(CCoordTransform::NorthEast_To_LatLon(&lat, &lon, N, E, -100000, 400000, 49, -2,
                                                         0.9996012717, &grs80));
        EXPECT_LT(GroundMetres(degtorad(lat - p.lat), degtorad(lon - p.lon), 0.9), 0.01) << p.id;
    }
}

TEST(NGpsToOSGridProjection, FootpointStopsWithinOneMillimetreOfTheArc)
{
    Setup_Airy();
    Ellipsoid const el = GetCurrentEllipsoid();
    for (double N : {-100000.0, 0.0, 313177.27, 1234567.0})
    {
        double const phi = ComputePhi(N);
        EXPECT_LT(std::fabs(N - el.N0 - CalculateArcOfMeridian(phi)), 0.001) << N;
    }
    EXPECT_DOUBLE_EQ(CalculateArcOfMeridian(el.phi0), 0.0);
    // Northings too large for a millimetre test in doubles, and NaN, must still return.
    EXPECT_TRUE(std::isfinite(ComputePhi(1e20)));
    EXPECT_TRUE(std::isnan(ComputePhi(std::nan(""))));
}

TEST(NGpsToOSGridProjection, EllipsoidRecords)
{
    Setup_Airy();
    EXPECT_NEAR(GetCurrentEllipsoid().e2, 0.0066705397616, 1e-10); // Airy 1830 e^2 (OS guide)
    Setup_GRS80();
    EXPECT_NEAR(GetCurrentEllipsoid().e2, 0.00669438002290, 1e-10); // GRS80 e^2 (OS guide)
    EXPECT_STREQ(GetCurrentEllipsoid().name, "OSGRS80 (GPS)");
}

TEST(NGpsToOSGridProjection, WithoutEllipsoidPrintsAndLeavesOutputs)
{
    ClearEllipsoid();
    double E = -1;
    double N = -2;
    testing::internal::CaptureStdout();
    ProjectLKtoGrid(0.9, -0.03, &E, &N);
    ProjectGridtoLK(400000, 300000, &E, &N);
    std::string const printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, "No current Ellipsoid, please call a Setup_XXX function\n"
                       "No current Ellipsoid, please call a Setup_XXX function\n");
    EXPECT_EQ(E, -1);
    EXPECT_EQ(N, -2);
}

TEST(NGpsToOSGridShift, LatticeValuesAndBlend)
{
    double E = 0;
    double N = 0;
    // Exactly on a lattice line: the cell starting there with weight 0 on the far side.
    ASSERT_TRUE(ShiftGRS80toUKNG(350000, 0, &E, &N));
    EXPECT_DOUBLE_EQ(E, 350000 + 96);
    EXPECT_DOUBLE_EQ(N, 0 - 80);
    ASSERT_TRUE(ShiftGRS80toUKNG(350000, 700000, &E, &N));
    EXPECT_DOUBLE_EQ(E - 350000, 97);
    EXPECT_DOUBLE_EQ(N - 700000, -62);
    // Centre of cell (1, 3): mean of 99, 104, 106, 107 and of -52, -49, -54, -52.
    ASSERT_TRUE(ShiftGRS80toUKNG(525000, 1225000, &E, &N));
    EXPECT_NEAR(E - 525000, 104.0, 1e-9);
    EXPECT_NEAR(N - 1225000, -51.75, 1e-9);
    // Along one axis only: easting weight 0.25 between rows 0 and 1 at column 2.
    ASSERT_TRUE(ShiftGRS80toUKNG(87500, 700000, &E, &N));
    EXPECT_NEAR(E - 87500, 85 + 0.25 * (97 - 85), 1e-9);
    EXPECT_NEAR(N - 700000, -58 + 0.25 * (-62 + 58), 1e-9);
}

TEST(NGpsToOSGridShift, ReverseUndoesForwardToMillimetres)
{
    for (double E : {1.0, 200000.0, 349999.0, 650000.0})
        for (double N : {1000.0, 500000.0, 1050000.0, 1300000.0})
        {
            double E2 = 0;
            double N2 = 0;
            double E3 = 0;
            double N3 = 0;
            ASSERT_TRUE(ShiftGRS80toUKNG(E, N, &E2, &N2));
            ASSERT_TRUE(ShiftUKNGtoGRS80(E2, N2, &E3, &N3));
            EXPECT_NEAR(E3, E, 0.01) << E << "," << N;
            EXPECT_NEAR(N3, N, 0.01) << E << "," << N;
        }
}

TEST(NGpsToOSGridShift, OutsideTheLatticeIsRefusedUntouched)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct
    {
        double E, N;
    } const outside[] = {{-0.001, 100}, {700000, 100}, {100, -1},     {100, 1400000},
                         {nan, 100},    {100, nan},    {1e300, 1e300}};
    for (auto const& p : outside)
    {
        double E = 7;
        double N = 8;
        EXPECT_FALSE(ShiftGRS80toUKNG(p.E, p.N, &E, &N)) << p.E << "," << p.N;
        EXPECT_FALSE(ShiftUKNGtoGRS80(p.E, p.N, &E, &N)) << p.E << "," << p.N;
        EXPECT_EQ(E, 7);
        EXPECT_EQ(N, 8);
    }
    double E = 0;
    EXPECT_FALSE(ShiftGRS80toUKNG(1000, 1000, &E, nullptr));
    EXPECT_TRUE(ShiftGRS80toUKNG(699999.99, 1399999.99, &E, &E)); // last cell, far corner
}

TEST(NGpsToOSGridConvert, UkBoundsTakeTheNorthingFirst)
{
    struct
    {
        int northing, easting;
        bool inside;
    } const cases[] = {{0, 500000, false},      {1300000, 1, false}, {500000, 0, false},
                       {500000, 800000, false}, {400000, -5, false}, {1, 799999, true},
                       {1299999, 1, true}};
    for (auto const& c : cases)
    {
        EXPECT_EQ(IsGridReferenceInUK(c.northing, c.easting), c.inside) << c.northing;
        EXPECT_EQ(NWardenMetrics::IsGridReferenceInUK(c.northing, c.easting), c.inside);
    }
}

TEST(NGpsToOSGridConvert, GpsToGridAgainstOsTestPoints)
{
    // The lattice holds whole metres (up to 0.7 m of rounding) 350 km apart, and the true
    // OSTN15 shift bends by one to two metres inside a cell (most along the Scottish west
    // coast): 2.5 m holds everywhere in Great Britain, while a wrong row, column, sign or
    // blend weight costs tens of metres.
    auto const points = grid_test::LoadOsPoints();
    if (points.empty())
        GTEST_SKIP() << "no OS test data";
    for (auto const& p : points)
    {
        double E = 0;
        double N = 0;
        EXPECT_TRUE(ConvertGPSDegreestoNatGrid(p.lat, p.lon, E, N)) << p.id;
        EXPECT_LT(std::hypot(E - p.east, N - p.north), 2.5) << p.id;

        double E2 = 0;
        double N2 = 0;
        EXPECT_TRUE(ConvertGPStoNatGrid(degtorad(p.lat), degtorad(p.lon), &E2, &N2));
        EXPECT_EQ(E, E2);
        EXPECT_EQ(N, N2);
    }
}

TEST(NGpsToOSGridConvert, OutsideUkOrLattice)
{
    double E = 1;
    double N = 2;
    // Far south: the GRS80 northing is negative, outside the lattice; nothing is written.
    EXPECT_FALSE(ConvertGPSDegreestoNatGrid(0, 0, E, N));
    EXPECT_EQ(E, 1);
    EXPECT_EQ(N, 2);
    // East of the grid (beyond 700 km).
    EXPECT_FALSE(ConvertGPSDegreestoNatGrid(53.35, 6.26, E, N));
    EXPECT_FALSE(ConvertGPSDegreestoNatGrid(std::nan(""), 0, E, N));
    EXPECT_FALSE(ConvertGPStoNatGrid(0.9, 0, nullptr, &N));
    // Inside the lattice but north of the UK bound: false, yet the result is written.
    ASSERT_FALSE(ConvertGPSDegreestoNatGrid(61.9, -2.0, E, N));
    EXPECT_NEAR(E, 400000 + 99, 5);
    EXPECT_GT(N, 1300000);
    EXPECT_LT(N, 1400000);
}

TEST(NGpsToOSGridConvert, ThreadsConvertingAtOnceAgreeWithOneThread)
{
    // The forward conversion sets GRS80 up and the reverse ones Airy; run together they must
    // not project with each other's ellipsoid.
    constexpr double kLat = 52.2;
    constexpr double kLon = 0.12;
    double E = 0;
    double N = 0;
    ASSERT_TRUE(ConvertGPSDegreestoNatGrid(kLat, kLon, E, N));
    double lat = 0;
    double lon = 0;
    ASSERT_TRUE(ConvertNatGridtoGPSDegrees(E, N, lat, lon));

    // Each thread counts the conversions whose answer differs from the single-threaded one.
    auto convert = [&](bool forward, int& misses)
    {
        for (int i = 0; i < 20000; ++i)
        {
            double a = 0;
            double b = 0;
            if (forward)
                misses += ConvertGPSDegreestoNatGrid(kLat, kLon, a, b) && a == E && b == N ? 0 : 1;
            else
                misses += ConvertNatGridtoGPSDegrees(E, N, a, b) && a == lat && b == lon ? 0 : 1;
        }
    };
    int misses[2] = {0, 0};
    std::thread forward(convert, true, std::ref(misses[0]));
    std::thread reverse(convert, false, std::ref(misses[1]));
    forward.join();
    reverse.join();
    EXPECT_EQ(misses[0], 0);
    EXPECT_EQ(misses[1], 0);
}

TEST(NGpsToOSGridConvert, ReverseConversionsKeepTheirAsymmetry)
{
    // Radians: the plain Airy inverse, no datum shift (OSGB36 latitude/longitude).
    double lat = 0;
    double lon = 0;
    ASSERT_TRUE(ConvertNatGridtoGPS(kCaisterE, kCaisterN, &lat, &lon));
    EXPECT_LT(GroundMetres(lat - CaisterLat(), lon - CaisterLon(), lat), 0.001);

    // Degrees: the lattice shift back to the GRS80 grid, then the Airy inverse.
    double E2 = 0;
    double N2 = 0;
    ASSERT_TRUE(ShiftUKNGtoGRS80(kCaisterE, kCaisterN, &E2, &N2));
    double latShifted = 0;
    double lonShifted = 0;
    ASSERT_TRUE(ConvertNatGridtoGPS(E2, N2, &latShifted, &lonShifted));
    double latDeg = 0;
    double lonDeg = 0;
    ASSERT_TRUE(ConvertNatGridtoGPSDegrees(kCaisterE, kCaisterN, latDeg, lonDeg));
    EXPECT_NEAR(latDeg, radtodeg(latShifted), 1e-12);
    EXPECT_NEAR(lonDeg, radtodeg(lonShifted), 1e-12);

    // ...so neither returns to the GPS position it came from, by tens of metres.
    double E = 0;
    double N = 0;
    ASSERT_TRUE(ConvertGPSDegreestoNatGrid(52.0, -1.0, E, N));
    ASSERT_TRUE(ConvertNatGridtoGPSDegrees(E, N, latDeg, lonDeg));
    double const miss = GroundMetres(degtorad(latDeg - 52.0), degtorad(lonDeg + 1.0), 0.9);
    EXPECT_GT(miss, 5.0);
    EXPECT_LT(miss, 200.0);

    // Outside the lattice the degree version refuses.
    EXPECT_FALSE(ConvertNatGridtoGPSDegrees(-5, 100000, latDeg, lonDeg));
    EXPECT_FALSE(ConvertNatGridtoGPSDegrees(100000, 1500000, latDeg, lonDeg));
}

TEST(NGpsToOSGridAngles, SplitAndJoin)
{
    double h = 0;
    double m = 0;
    double s = 0;
    degtohms(52.6575703056, &h, &m, &s);
    EXPECT_EQ(h * 10000 + m * 100 + std::round(s), 523927);
    // Truncation toward zero: every part carries the sign, and joining gives it back.
    degtohms(-1.5125, &h, &m, &s);
    EXPECT_EQ(h * 10000 + m * 100 + std::round(s), -13045);
    double deg = 0;
    hmstodeg(h, m, s, &deg);
    EXPECT_NEAR(deg, -1.5125, 1e-12);
    degtohm(-0.75, &h, &m);
    EXPECT_EQ(h * 100 + m, -45);
    hmstorad(180, 0, 0, &deg);
    radtohms(deg / 4, &h, &m, &s);
    EXPECT_EQ(h * 10000 + m * 100 + std::round(s), 450000);
}

TEST(NGpsToOSGridConsole, RoutinesConvertWhatTheyRead)
{
    using Routine = void (*)(std::FILE*, std::FILE*);
    Setup_Airy();
    struct
    {
        Routine routine;
        char const* input;
        char const* expected; // a part of the output
    } const cases[] = {
        // Caister both ways, and back again within a millimetre.
        {DoENtoLK, "651409.903 313177.270\n",
         "Latitude (K)        52 39 27.2531\nLongitude (L)       1 43 4.51769\n"
         "Converting back...\nEastings (E)    651409.9028"},
        {DoLKtoEN, "52 39 27.2531\n1 43 4.5177\n",
         "Eastings (E)\t651409.902938\nNorthings (N)\t313177.270343\nConverting back...\n"
         "Latitude (K)\t52.657570\n"},
        {DoShift, "350000 0\n", "Eastings (E)    350096.000000\nNorthings (N)   -80.000000\n"},
        {DoShiftFromGPSLatLong, "52 0 0\n-2 0 0\n",
         "GRS80 Eastings (x)   400000.000000\n"}, // on the central meridian
        {DoENtoLK, "east\n", "Eastings needs a number\n"},
        {DoLKtoEN, "52 39\n", "Latitude needs three fields\n"},
        {DoLKtoEN, "52 39 1\n1 x\n", "Longitude needs three fields\n"},
        {DoShift, "-1 0\n", "Outside the datum shift table\n"},
    };
    for (auto const& c : cases)
    {
        std::string const out = RunConsole(c.routine, c.input);
        EXPECT_NE(out.find(c.expected), std::string::npos) << c.input << out;
    }
}

TEST(NGpsToOSGridScrambling, TeaKnownAnswerAndRoundTrip)
{
    // Published TEA test vector: zero key, zero block.
    unsigned long const zero[4] = {0, 0, 0, 0};
    unsigned long block[2] = {0, 0};
    TEAencipher(block, block, zero); // in place
    EXPECT_EQ(block[0], 0x41EA3A0Aul);
    EXPECT_EQ(block[1], 0x94BAA940ul);

    unsigned long const key[4] = {0x01234567, 0x89ABCDEF, 0xFEDCBA98, 0x76543210};
    unsigned long const plain[2] = {0xDEADBEEF, 0x00C0FFEE};
    unsigned long cipher[2] = {};
    unsigned long back[2] = {};
    TEAencipher(plain, cipher, key);
    EXPECT_NE(cipher[0], plain[0]);
    TEAdecipher(cipher, back, key);
    EXPECT_EQ(back[0], plain[0]);
    EXPECT_EQ(back[1], plain[1]);
    // Only the low 32 bits of each element take part, whatever the width of unsigned long.
    unsigned long const wideKey[4] = {key[0] | ~0xFFFFFFFFul, key[1], key[2], key[3]};
    TEAencipher(plain, back, wideKey);
    EXPECT_TRUE(back[0] == cipher[0] && back[1] == cipher[1]);
}

TEST(NGpsToOSGridScrambling, CharacterShift)
{
    char const text[] = "AB\xFE";
    char out[sizeof text] = {};
    CEAencipher(text, out, static_cast<int>(sizeof text));
    EXPECT_EQ(out[0], 'A' + 2);
    EXPECT_EQ(out[1], 'B' + 3);
    EXPECT_EQ(static_cast<unsigned char>(out[2]), 0x02); // 0xFE + 4 wraps
    EXPECT_EQ(out[3], '\0');
    char back[sizeof text] = {};
    CEAdecipher(out, back, static_cast<int>(sizeof text));
    EXPECT_STREQ(back, text);

    // The amount restarts after 256 characters.
    char longIn[300];
    char longOut[300];
    std::memset(longIn, 'a', sizeof longIn);
    CEAencipher(longIn, longOut, 300);
    EXPECT_EQ(longOut[256], longOut[0]);
    EXPECT_EQ(longOut[299], '\0');

    char one[2] = {'x', 'y'};
    CEAencipher("q", one, 1);
    EXPECT_EQ(one[0], '\0');
    EXPECT_EQ(one[1], 'y');
    CEAencipher("q", one, 0); // nothing to write
    EXPECT_EQ(one[0], '\0');
}
