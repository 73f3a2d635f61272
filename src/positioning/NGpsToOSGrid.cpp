#include <cmath>
#include <cstdint>
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

// ---- National Grid projection constants (OS, "A guide to coordinate systems in Great Britain",
// National Grid definition; exact by definition).
constexpr double kF0 = 0.9996012717;     // central meridian scale factor
constexpr double kN0 = -100000.0;        // northing of true origin, m
constexpr double kE0 = 400000.0;         // easting of true origin, m
constexpr double kPhi0Degrees = 49.0;    // latitude of true origin, 49 deg N
constexpr double kLambda0Degrees = -2.0; // longitude of true origin, 2 deg W

// ---- Ellipsoids (same OS guide, ellipsoid table).
// Airy 1830: a exact as defined; OS gives b = 6356256.909, the record has always carried it
// rounded to the centimetre (6356256.91), which moves grid coordinates by < 0.1 mm.
constexpr double kAiryA = 6377563.396;
constexpr double kAiryB = 6356256.91;
// GRS80: a exact by definition, b = 6356752.3141 (OS guide value, 0.1 mm).
constexpr double kGrs80A = 6378137.0;
constexpr double kGrs80B = 6356752.3141;

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

// ComputePhi cannot meet its 1 mm test once the northing is so large that doubles are coarser
// than a millimetre; the iteration contracts by a factor < 0.01 per step, so 64 steps is far
// beyond anything a real northing needs.
constexpr int kMaxPhiIterations = 64;

// Deliberately module-wide and unlocked: the conversions are serialised by their callers.
Ellipsoid g_current{};

void Setup(char const* name, double a, double b)
{
    Ellipsoid e{};
    std::strncpy(e.name, name, sizeof e.name - 1);
    e.a = a;
    e.b = b;
    e.F0 = kF0;
    e.N0 = kN0;
    e.E0 = kE0;
    e.phi0 = degtorad(kPhi0Degrees);
    e.lambda0 = degtorad(kLambda0Degrees);
    e.aF0 = a * kF0;
    e.bF0 = b * kF0;
    e.n = (e.aF0 - e.bF0) / (e.aF0 + e.bF0);
    e.e2 = (e.aF0 * e.aF0 - e.bF0 * e.bF0) / (e.aF0 * e.aF0);
    g_current = e;
}

bool HasEllipsoid()
{
    return g_current.name[0] != '\0';
}

void ReportNoEllipsoid()
{
    std::fputs("No current Ellipsoid, please call a Setup_XXX function\n", stdout);
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
    Setup_GRS80();
    double gridE = 0.0;
    double gridN = 0.0;
    ProjectLKtoGrid(lat, lon, &gridE, &gridN);
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
    ProjectGridtoLK(E, N, lat, lon);
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
    ProjectGridtoLK(gridE, gridN, &latRad, &lonRad);
    lat = radtodeg(latRad);
    lon = radtodeg(lonRad);
    return true;
}

// ---- ellipsoid set-up --------------------------------------------------------------------

void Setup_Airy()
{
    Setup("Airy (UK National Grid)", kAiryA, kAiryB);
}

void Setup_GRS80()
{
    Setup("OSGRS80 (GPS)", kGrs80A, kGrs80B);
}

void ClearEllipsoid()
{
    g_current = Ellipsoid{};
}

Ellipsoid GetCurrentEllipsoid()
{
    return g_current;
}

// ---- projection --------------------------------------------------------------------------

double CalculateArcOfMeridian(double phi)
{
    Ellipsoid const& el = g_current;
    double const n = el.n;
    double const n2 = n * n;
    double const n3 = n2 * n;
    double const dPhi = phi - el.phi0;
    double const sPhi = phi + el.phi0;
    return el.bF0 * ((1.0 + n + 1.25 * n2 + 1.25 * n3) * dPhi -
                     (3.0 * n + 3.0 * n2 + 2.625 * n3) * std::sin(dPhi) * std::cos(sPhi) +
                     (1.875 * n2 + 1.875 * n3) * std::sin(2.0 * dPhi) * std::cos(2.0 * sPhi) -
                     (35.0 / 24.0) * n3 * std::sin(3.0 * dPhi) * std::cos(3.0 * sPhi));
}

double ComputePhi(double N)
{
    Ellipsoid const& el = g_current;
    double phi = (N - el.N0) / el.aF0 + el.phi0;
    double residual = N - el.N0 - CalculateArcOfMeridian(phi);
    for (int k = 0; std::fabs(residual) >= 0.001 && k < kMaxPhiIterations; ++k)
    {
        phi += residual / el.aF0;
        residual = N - el.N0 - CalculateArcOfMeridian(phi);
    }
    return phi;
}

void ComputeVRH2(double phi, double* nu, double* rho, double* eta2)
{
    Ellipsoid const& el = g_current;
    double const s = std::sin(phi);
    double const w = 1.0 - el.e2 * s * s;
    double const v = el.aF0 / std::sqrt(w);
    double const r = (1.0 - el.e2) * v / w;
    if (nu != nullptr)
        *nu = v;
    if (rho != nullptr)
        *rho = r;
    if (eta2 != nullptr)
        *eta2 = v / r - 1.0;
}

void ProjectLKtoGrid(double lat, double lon, double* E, double* N)
{
    if (!HasEllipsoid())
    {
        ReportNoEllipsoid();
        return;
    }
    if (E == nullptr || N == nullptr)
        return;
    Ellipsoid const& el = g_current;
    double nu = 0.0;
    double rho = 0.0;
    double eta2 = 0.0;
    ComputeVRH2(lat, &nu, &rho, &eta2);
    double const M = CalculateArcOfMeridian(lat);

    double const s = std::sin(lat);
    double const c = std::cos(lat);
    double const c3 = c * c * c;
    double const c5 = c3 * c * c;
    double const t2 = std::tan(lat) * std::tan(lat);
    double const t4 = t2 * t2;

    // Published series; coefficients 1/2, 1/24, 1/720, 1/6, 1/120.
    double const I = M + el.N0;
    double const II = nu / 2.0 * s * c;
    double const III = nu / 24.0 * s * c3 * (5.0 - t2 + 9.0 * eta2);
    double const IIIA = nu / 720.0 * s * c5 * (61.0 - 58.0 * t2 + t4);
    double const IV = nu * c;
    double const V = nu / 6.0 * c3 * (nu / rho - t2);
    double const VI = nu / 120.0 * c5 * (5.0 - 18.0 * t2 + t4 + 14.0 * eta2 - 58.0 * t2 * eta2);

    double const dL = lon - el.lambda0;
    double const dL2 = dL * dL;
    *N = I + II * dL2 + III * dL2 * dL2 + IIIA * dL2 * dL2 * dL2;
    *E = el.E0 + IV * dL + V * dL2 * dL + VI * dL2 * dL2 * dL;
}

void ProjectGridtoLK(double E, double N, double* lat, double* lon)
{
    if (!HasEllipsoid())
    {
        ReportNoEllipsoid();
        return;
    }
    if (lat == nullptr || lon == nullptr)
        return;
    Ellipsoid const& el = g_current;
    double const phi = ComputePhi(N);
    double nu = 0.0;
    double rho = 0.0;
    double eta2 = 0.0;
    ComputeVRH2(phi, &nu, &rho, &eta2);

    double const t = std::tan(phi);
    double const t2 = t * t;
    double const t4 = t2 * t2;
    double const t6 = t4 * t2;
    double const sec = 1.0 / std::cos(phi);
    double const nu3 = nu * nu * nu;
    double const nu5 = nu3 * nu * nu;
    double const nu7 = nu5 * nu * nu;

    // Published series; coefficients 1/24, 1/720, 1/6, 1/120, 1/5040. XIIA uses 662 as the OS
    // publishes it (a copy with 622 circulates; the term is below 0.1 mm inside the grid).
    double const VII = t / (2.0 * rho * nu);
    double const VIII = t / (24.0 * rho * nu3) * (5.0 + 3.0 * t2 + eta2 - 9.0 * t2 * eta2);
    double const IX = t / (720.0 * rho * nu5) * (61.0 + 90.0 * t2 + 45.0 * t4);
    double const X = sec / nu;
    double const XI = sec / (6.0 * nu3) * (nu / rho + 2.0 * t2);
    double const XII = sec / (120.0 * nu5) * (5.0 + 28.0 * t2 + 24.0 * t4);
    double const XIIA = sec / (5040.0 * nu7) * (61.0 + 662.0 * t2 + 1320.0 * t4 + 720.0 * t6);

    double const dE = E - el.E0;
    double const dE2 = dE * dE;
    double const dE3 = dE2 * dE;
    *lat = phi - VII * dE2 + VIII * dE2 * dE2 - IX * dE3 * dE3;
    *lon = el.lambda0 + X * dE - XI * dE3 + XII * dE3 * dE2 - XIIA * dE3 * dE3 * dE;
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

// ---- console routines ----------------------------------------------------------------------

namespace
{

void Prompt(std::FILE* out, char const* text)
{
    std::fputs(text, out);
    std::fflush(out);
}

bool ReadNumber(std::FILE* in, std::FILE* out, char const* prompt, double& value)
{
    Prompt(out, prompt);
    return std::fscanf(in, "%lf", &value) == 1;
}

// Reads "degrees minutes seconds" and returns radians.
bool ReadAngle(std::FILE* in, std::FILE* out, char const* prompt, char const* complaint,
               double& radians)
{
    Prompt(out, prompt);
    double h = 0.0;
    double m = 0.0;
    double s = 0.0;
    if (std::fscanf(in, "%lg %lg %lg", &h, &m, &s) != 3)
    {
        std::fputs(complaint, out);
        return false;
    }
    hmstorad(h, m, s, &radians);
    return true;
}

bool ReadLatLong(std::FILE* in, std::FILE* out, double& lat, double& lon)
{
    return ReadAngle(in, out, "Latitude (K)?  (h m s) ", "Latitude needs three fields\n", lat) &&
           ReadAngle(in, out, "Longitude (L)? (h m s) ", "Longitude needs three fields\n", lon);
}

bool ReadEastNorth(std::FILE* in, std::FILE* out, char const* eastPrompt, char const* northPrompt,
                   double& E, double& N)
{
    if (!ReadNumber(in, out, eastPrompt, E))
    {
        std::fputs("Eastings needs a number\n", out);
        return false;
    }
    if (!ReadNumber(in, out, northPrompt, N))
    {
        std::fputs("Northings needs a number\n", out);
        return false;
    }
    return true;
}

// The hand-check routines work on whichever ellipsoid the user set up last, and on the
// National Grid's own (Airy) when none is.
void EnsureEllipsoid()
{
    if (!HasEllipsoid())
        Setup_Airy();
}

} // namespace

void DoENtoLK(std::FILE* in, std::FILE* out)
{
    double E = 0.0;
    double N = 0.0;
    if (!ReadEastNorth(in, out, "Eastings (E)?  ", "Northings (N)? ", E, N))
        return;
    EnsureEllipsoid();
    std::fprintf(out, "Ellipsoid = %s\n", g_current.name);
    std::fprintf(out, "Eastings (E)    %lf\n", E);
    std::fprintf(out, "Northings (N)   %lf\n", N);
    double lat = 0.0;
    double lon = 0.0;
    ProjectGridtoLK(E, N, &lat, &lon);
    double h = 0.0;
    double m = 0.0;
    double s = 0.0;
    radtohms(lat, &h, &m, &s);
    std::fprintf(out, "Latitude (K)        %lg %lg %lg\n", h, m, s);
    radtohms(lon, &h, &m, &s);
    std::fprintf(out, "Longitude (L)       %lg %lg %lg\n", h, m, s);
    std::fputs("Converting back...\n", out);
    double E2 = 0.0;
    double N2 = 0.0;
    ProjectLKtoGrid(lat, lon, &E2, &N2);
    std::fprintf(out, "Eastings (E)    %lf\n", E2);
    std::fprintf(out, "Northings (N)   %lf\n", N2);
}

void DoLKtoEN(std::FILE* in, std::FILE* out)
{
    double lat = 0.0;
    double lon = 0.0;
    if (!ReadLatLong(in, out, lat, lon))
        return;
    EnsureEllipsoid();
    std::fprintf(out, "Latitude (K)\t%lf\n", radtodeg(lat));
    std::fprintf(out, "Longitude (L)\t%lf\n", radtodeg(lon));
    double E = 0.0;
    double N = 0.0;
    ProjectLKtoGrid(lat, lon, &E, &N);
    std::fprintf(out, "Eastings (E)\t%lf\n", E);
    std::fprintf(out, "Northings (N)\t%lf\n", N);
    std::fputs("Converting back...\n", out);
    double lat2 = 0.0;
    double lon2 = 0.0;
    ProjectGridtoLK(E, N, &lat2, &lon2);
    std::fprintf(out, "Latitude (K)\t%lf\n", radtodeg(lat2));
    std::fprintf(out, "Longitude (L)\t%lf\n", radtodeg(lon2));
}

void DoShift(std::FILE* in, std::FILE* out)
{
    double x = 0.0;
    double y = 0.0;
    if (!ReadEastNorth(in, out, "Eastings (x)?  ", "Northings (y)? ", x, y))
        return;
    double E = 0.0;
    double N = 0.0;
    if (!ShiftGRS80toUKNG(x, y, &E, &N))
    {
        std::fputs("Outside the datum shift table\n", out);
        return;
    }
    std::fprintf(out, "Eastings (E)    %lf\n", E);
    std::fprintf(out, "Northings (N)   %lf\n", N);
}

void DoShiftFromGPSLatLong(std::FILE* in, std::FILE* out)
{
    double lat = 0.0;
    double lon = 0.0;
    if (!ReadLatLong(in, out, lat, lon))
        return;
    Setup_GRS80();
    double x = 0.0;
    double y = 0.0;
    ProjectLKtoGrid(lat, lon, &x, &y);
    std::fprintf(out, "GRS80 Eastings (x)   %lf\n", x);
    std::fprintf(out, "GRS80 Northings (y)  %lf\n", y);
    double E = 0.0;
    double N = 0.0;
    if (!ShiftGRS80toUKNG(x, y, &E, &N))
    {
        std::fputs("Outside the datum shift table\n", out);
        return;
    }
    std::fprintf(out, "UKNG Eastings (E)    %lf\n", E);
    std::fprintf(out, "UKNG Northings (N)   %lf\n", N);
}

void DoENtoLK()
{
    DoENtoLK(stdin, stdout);
}
void DoLKtoEN()
{
    DoLKtoEN(stdin, stdout);
}
void DoShift()
{
    DoShift(stdin, stdout);
}
void DoShiftFromGPSLatLong()
{
    DoShiftFromGPSLatLong(stdin, stdout);
}

// ---- scrambling --------------------------------------------------------------------------

namespace
{
constexpr std::uint32_t kTeaDelta = 0x9E3779B9u;       // TEA key schedule constant
constexpr std::uint32_t kTeaDecipherSum = 0xC6EF3720u; // kTeaDelta * 32 mod 2^32
constexpr int kTeaRounds = 32;

std::uint32_t Word(unsigned long v)
{
    return static_cast<std::uint32_t>(v & 0xFFFFFFFFul);
}
} // namespace

void TEAencipher(unsigned long const* in, unsigned long* out, unsigned long const* key)
{
    if (in == nullptr || out == nullptr || key == nullptr)
        return;
    std::uint32_t y = Word(in[0]);
    std::uint32_t z = Word(in[1]);
    std::uint32_t const k0 = Word(key[0]);
    std::uint32_t const k1 = Word(key[1]);
    std::uint32_t const k2 = Word(key[2]);
    std::uint32_t const k3 = Word(key[3]);
    std::uint32_t sum = 0;
    for (int r = 0; r < kTeaRounds; ++r)
    {
        sum += kTeaDelta;
        y += ((z << 4) + k0) ^ (z + sum) ^ ((z >> 5) + k1);
        z += ((y << 4) + k2) ^ (y + sum) ^ ((y >> 5) + k3);
    }
    out[0] = y;
    out[1] = z;
}

void TEAdecipher(unsigned long const* in, unsigned long* out, unsigned long const* key)
{
    if (in == nullptr || out == nullptr || key == nullptr)
        return;
    std::uint32_t y = Word(in[0]);
    std::uint32_t z = Word(in[1]);
    std::uint32_t const k0 = Word(key[0]);
    std::uint32_t const k1 = Word(key[1]);
    std::uint32_t const k2 = Word(key[2]);
    std::uint32_t const k3 = Word(key[3]);
    std::uint32_t sum = kTeaDecipherSum;
    for (int r = 0; r < kTeaRounds; ++r)
    {
        z -= ((y << 4) + k2) ^ (y + sum) ^ ((y >> 5) + k3);
        y -= ((z << 4) + k0) ^ (z + sum) ^ ((z >> 5) + k1);
        sum -= kTeaDelta;
    }
    out[0] = y;
    out[1] = z;
}

namespace
{
void ShiftCharacters(char const* in, char* out, int length, int direction)
{
    if (in == nullptr || out == nullptr || length < 1)
        return;
    for (int i = 0; i < length - 1; ++i)
    {
        auto const amount = static_cast<unsigned>((i & 255) + 2);
        auto const c = static_cast<unsigned char>(in[i]);
        out[i] = static_cast<char>(static_cast<unsigned char>(
            direction > 0 ? c + amount : c - amount)); // 8-bit wrap-around
    }
    out[length - 1] = '\0';
}
} // namespace

void CEAencipher(char const* in, char* out, int length)
{
    ShiftCharacters(in, out, length, +1);
}

void CEAdecipher(char const* in, char* out, int length)
{
    ShiftCharacters(in, out, length, -1);
}

} // namespace NGpsToOSGrid
