#include "CTransverseMercator.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <shared/positioning/NGpsToOSGrid.h>

// Accuracy, measured against the 40 Ordnance Survey OSTN15 test points (Scilly to Shetland):
// the projection alone is within 0.5 mm forward and a few mm inverse; GPS -> grid through the
// 350 km whole-metre shift lattice is 0.7 m on average, 2.1 m at worst. The degree-based reverse
// conversion (Airy constants after a shift to the GRS80 grid) is 58 m off on average, 111 m at
// worst; the radian-based one returns OSGB36 latitude/longitude, about 100 m from GPS.

namespace NGpsToOSGrid
{
namespace
{

using positioning_detail::CTransverseMercator;

// ---- Ellipsoids (OS, "A guide to coordinate systems in Great Britain", ellipsoid table).
// Airy 1830: a exact as defined; OS gives b = 6356256.909, the record has always carried it
// rounded to the centimetre (6356256.91), which moves grid coordinates by < 0.1 mm.
constexpr double kAiryA = 6377563.396;
constexpr double kAiryB = 6356256.91;
// GRS80: a exact by definition, b = 6356752.3141 (OS guide value, 0.1 mm).
constexpr double kGrs80A = 6378137.0;
constexpr double kGrs80B = 6356752.3141;
// The footpoint is iterated until the meridian arc is within 1 mm of the northing, as this
// module always did (CCoordTransform asks for 0.01 mm).
constexpr double kArcTolerance = 0.001;

// ---- Datum shift lattice: GRS80 grid -> National Grid, whole metres, sampled every 350 km.
// Coarse samples of the OS shift field (the OSTN15 test points show the true shifts vary by a
// few metres within a lattice cell); row i covers eastings from i * 350 km, column j northings
// from j * 350 km.
constexpr double kCell = 350000.0;
constexpr double kInvCell = 2.8571428571428573e-6; // 1 / 350000, nearest double
constexpr double kShiftE[3][5] = {
    {92, 89, 85, 93, 99},
    {96, 96, 97, 99, 104},
    {102, 105, 108, 106, 107},
};
constexpr double kShiftN[3][5] = {
    {-82, -75, -58, -47, -44},
    {-80, -75, -62, -52, -49},
    {-82, -78, -62, -54, -52},
};
// The blend reads row i + 1 and column j + 1, so the lattice covers only these ranges.
constexpr double kLatticeMaxE = 2 * kCell; // 700 km
constexpr double kLatticeMaxN = 4 * kCell; // 1400 km

// One ellipsoid the module can have current: its public record and its projection.
struct CurrentEllipsoid
{
    Ellipsoid record;
    CTransverseMercator projection;
};

CurrentEllipsoid MakeCurrent(char const* name, double a, double b)
{
    CTransverseMercator const tm(a, b, CTransverseMercator::NationalGridOrigin(), kArcTolerance);
    Ellipsoid e{};
    std::strncpy(e.name, name, sizeof e.name - 1);
    CTransverseMercator::Origin const& o = tm.GetOrigin();
    e.a = a;
    e.b = b;
    e.F0 = o.F0;
    e.N0 = o.N0;
    e.E0 = o.E0;
    e.phi0 = o.phi0;
    e.lambda0 = o.lambda0;
    e.aF0 = tm.AF0();
    e.bF0 = tm.BF0();
    e.n = tm.N();
    e.e2 = tm.E2();
    return {e, tm};
}

CurrentEllipsoid const& Airy()
{
    static CurrentEllipsoid const airy = MakeCurrent("Airy (UK National Grid)", kAiryA, kAiryB);
    return airy;
}

CurrentEllipsoid const& Grs80()
{
    static CurrentEllipsoid const grs80 = MakeCurrent("OSGRS80 (GPS)", kGrs80A, kGrs80B);
    return grs80;
}

// The initial, empty record: the supporting routines then compute on zeros, as they always did.
CurrentEllipsoid const& NoEllipsoid()
{
    static CurrentEllipsoid const none{
        Ellipsoid{}, CTransverseMercator(0.0, 0.0, CTransverseMercator::Origin{}, kArcTolerance)};
    return none;
}

// The current ellipsoid is a pointer to one of the immutable records above, swapped atomically:
// a Setup_ call on one thread can never tear a record another thread is reading, and the
// conversions use their own record directly, so threads converting at once agree with one.
std::atomic<CurrentEllipsoid const*> g_current{nullptr};

CurrentEllipsoid const& Current()
{
    CurrentEllipsoid const* current = g_current.load(std::memory_order_acquire);
    return current != nullptr ? *current : NoEllipsoid();
}

void ReportNoEllipsoid()
{
    std::fputs("No current Ellipsoid, please call a Setup_XXX function\n", stdout);
}

void ProjectForward(CTransverseMercator const& tm, double lat, double lon, double* E, double* N)
{
    if (E != nullptr && N != nullptr)
        tm.Forward(lat, lon, *E, *N);
}

void ProjectReverse(CTransverseMercator const& tm, double E, double N, double* lat, double* lon)
{
    if (lat != nullptr && lon != nullptr)
        tm.Reverse(E, N, *lat, *lon);
}

bool InsideLattice(double E, double N)
{
    // Written so that NaN fails every comparison and is rejected.
    return E >= 0.0 && E < kLatticeMaxE && N >= 0.0 && N < kLatticeMaxN;
}

// Bilinear blend of the lattice around (E, N); the caller has checked InsideLattice.
void LatticeShift(double E, double N, double& dE, double& dN)
{
    int const i = static_cast<int>(E / kCell);
    int const j = static_cast<int>(N / kCell);
    double const u = (E - i * kCell) * kInvCell;
    double const t = (N - j * kCell) * kInvCell;
    auto blend = [&](double const(&v)[3][5])
    {
        return v[i][j] * (1 - u) * (1 - t) + v[i][j + 1] * (1 - u) * t + v[i + 1][j] * u * (1 - t) +
               v[i + 1][j + 1] * u * t;
    };
    dE = blend(kShiftE);
    dN = blend(kShiftN);
}

// Truncation to int for IsGridReferenceInUK without undefined behaviour on huge or NaN values.
bool TruncatesIntoUK(double E, double N)
{
    auto fits = [](double v) { return v > -2147483648.0 && v < 2147483648.0; };
    if (!fits(E) || !fits(N))
        return false;
    return IsGridReferenceInUK(static_cast<int>(N), static_cast<int>(E));
}

} // namespace

// ---- conversions -------------------------------------------------------------------------

bool ConvertGPStoNatGrid(double lat, double lon, double* E, double* N)
{
    if (E == nullptr || N == nullptr)
        return false;
    // Each conversion still leaves its ellipsoid current, as callers of the supporting routines
    // expect, but projects with its own record so that another thread's set-up cannot reach it.
    Setup_GRS80();
    double gridE = 0.0;
    double gridN = 0.0;
    ProjectForward(Grs80().projection, lat, lon, &gridE, &gridN);
    double shiftedE = 0.0;
    double shiftedN = 0.0;
    if (!ShiftGRS80toUKNG(gridE, gridN, &shiftedE, &shiftedN))
        return false;
    *E = shiftedE;
    *N = shiftedN;
    return TruncatesIntoUK(shiftedE, shiftedN);
}

bool ConvertGPSDegreestoNatGrid(double lat, double lon, double& E, double& N)
{
    return ConvertGPStoNatGrid(degtorad(lat), degtorad(lon), &E, &N);
}

bool ConvertNatGridtoGPS(double E, double N, double* lat, double* lon)
{
    if (lat == nullptr || lon == nullptr)
        return false;
    // Deliberately no datum shift: existing callers rely on the OSGB36 result.
    Setup_Airy();
    ProjectReverse(Airy().projection, E, N, lat, lon);
    return true;
}

bool ConvertNatGridtoGPSDegrees(double E, double N, double& lat, double& lon)
{
    Setup_Airy();
    double gridE = 0.0;
    double gridN = 0.0;
    if (!ShiftUKNGtoGRS80(E, N, &gridE, &gridN))
        return false;
    // Deliberately inverted with the Airy constants although the shift went to the GRS80 grid:
    // this is the behaviour the application's stored and displayed positions were made with.
    double latRad = 0.0;
    double lonRad = 0.0;
    ProjectReverse(Airy().projection, gridE, gridN, &latRad, &lonRad);
    lat = radtodeg(latRad);
    lon = radtodeg(lonRad);
    return true;
}

// ---- ellipsoid set-up --------------------------------------------------------------------

void Setup_Airy()
{
    g_current.store(&Airy(), std::memory_order_release);
}

void Setup_GRS80()
{
    g_current.store(&Grs80(), std::memory_order_release);
}

void ClearEllipsoid()
{
    g_current.store(nullptr, std::memory_order_release);
}

Ellipsoid GetCurrentEllipsoid()
{
    return Current().record;
}

// ---- projection on the current ellipsoid --------------------------------------------------

double CalculateArcOfMeridian(double phi)
{
    return Current().projection.ArcOfMeridian(phi);
}

double ComputePhi(double N)
{
    return Current().projection.Footpoint(N);
}

void ComputeVRH2(double phi, double* nu, double* rho, double* eta2)
{
    double v = 0.0;
    double r = 0.0;
    double h = 0.0;
    Current().projection.Radii(phi, v, r, h);
    if (nu != nullptr)
        *nu = v;
    if (rho != nullptr)
        *rho = r;
    if (eta2 != nullptr)
        *eta2 = h;
}

void ProjectLKtoGrid(double lat, double lon, double* E, double* N)
{
    CurrentEllipsoid const* current = g_current.load(std::memory_order_acquire);
    if (current == nullptr)
        ReportNoEllipsoid();
    else
        ProjectForward(current->projection, lat, lon, E, N);
}

void ProjectGridtoLK(double E, double N, double* lat, double* lon)
{
    CurrentEllipsoid const* current = g_current.load(std::memory_order_acquire);
    if (current == nullptr)
        ReportNoEllipsoid();
    else
        ProjectReverse(current->projection, E, N, lat, lon);
}

// ---- datum shift lattice ----------------------------------------------------------------

bool ShiftGRS80toUKNG(double E, double N, double* E2, double* N2)
{
    if (E2 == nullptr || N2 == nullptr || !InsideLattice(E, N))
        return false;
    double dE = 0.0;
    double dN = 0.0;
    LatticeShift(E, N, dE, dN);
    *E2 = E + dE;
    *N2 = N + dN;
    return true;
}

bool ShiftUKNGtoGRS80(double E, double N, double* E2, double* N2)
{
    // The lattice is entered with the National Grid values, not iterated: the shift changes by
    // under 0.1 mm per metre, so the inverse is good to a few millimetres.
    if (E2 == nullptr || N2 == nullptr || !InsideLattice(E, N))
        return false;
    double dE = 0.0;
    double dN = 0.0;
    LatticeShift(E, N, dE, dN);
    *E2 = E - dE;
    *N2 = N - dN;
    return true;
}

bool IsGridReferenceInUK(int northing, int easting)
{
    return northing >= 1 && northing < 1300000 && easting >= 1 && easting < 800000;
}

// ---- angles -------------------------------------------------------------------------------

double degtorad(double deg)
{
    return deg * (std::numbers::pi / 180.0);
}

double radtodeg(double rad)
{
    return rad * (180.0 / std::numbers::pi);
}

void hmstodeg(double h, double m, double s, double* deg)
{
    if (deg != nullptr)
        *deg = h + m * 0.016666666666666666 + s * 0.0002777777777777778; // 1/60, 1/3600
}

void hmstorad(double h, double m, double s, double* rad)
{
    double deg = 0.0;
    hmstodeg(h, m, s, &deg);
    if (rad != nullptr)
        *rad = degtorad(deg);
}

void degtohms(double deg, double* h, double* m, double* s)
{
    double const whole = integer_part_of(deg);
    double const minutes = (deg - whole) * 60.0;
    double const wholeMinutes = integer_part_of(minutes);
    if (h != nullptr)
        *h = whole;
    if (m != nullptr)
        *m = wholeMinutes;
    if (s != nullptr)
        *s = (minutes - wholeMinutes) * 60.0;
}

void degtohm(double deg, double* h, double* m)
{
    double const whole = integer_part_of(deg);
    if (h != nullptr)
        *h = whole;
    if (m != nullptr)
        *m = (deg - whole) * 60.0;
}

void radtohms(double rad, double* h, double* m, double* s)
{
    degtohms(radtodeg(rad), h, m, s);
}

double integer_part_of(double value)
{
    return std::trunc(value);
}

} // namespace NGpsToOSGrid
