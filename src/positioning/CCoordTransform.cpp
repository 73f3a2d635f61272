#include "CTransverseMercator.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <shared/positioning/CCoordTransform.h>

namespace
{

using positioning_detail::CTransverseMercator;

// Degree/radian factors: the nearest doubles to pi/180 and 180/pi.
constexpr double kDegToRad = 0.017453292519943295;
constexpr double kRadToDeg = 57.29577951308232;

// The inverse series iterates the footpoint latitude until the meridian arc is within
// 0.01 mm, the OS guide's own stopping rule.
constexpr double kArcTolerance = 0.00001; // m

// Geocentric to geodetic: iterate until the latitude settles to below 1e-14 rad (about 0.06 nm
// on the ground); four steps suffice near the earth's surface.
constexpr int kMaxGeodeticIterations = 16;

// 500 km squares in index order, index = 2 * (N div 500 km) + (E div 500 km).
constexpr char kMajorLetters[] = "STNOHJ";
constexpr unsigned long kMajor = 500000;
constexpr unsigned long kMinor = 100000;

// The grid reference text format: the field width stays 4 whatever the number of figures
// (five figures print five, one figure is zero-padded to four), as the application always
// displayed them.
constexpr char kGridRefFormat[] = "%s-%04u-%04u";

// ---- ellipsoid quantities ---------------------------------------------------------------

bool ValidEllipsoid(ELLIPSOID const* el)
{
    // f must lie in [0, 1): invf > 1; a sphere is not a record this library uses.
    return el != nullptr && el->a > 0.0 && el->invf > 1.0 && std::isfinite(el->a) &&
           std::isfinite(el->invf);
}

CTransverseMercator MakeProjection(double N0, double E0, double phi0, double lambda0, double F0,
                                   ELLIPSOID const& el)
{
    double const b = el.a * (1.0 - 1.0 / el.invf);
    return CTransverseMercator(el.a, b, {N0, E0, phi0 * kDegToRad, lambda0 * kDegToRad, F0},
                               kArcTolerance);
}

// The National Grid on the Airy datum record, built once for the fallback path.
CTransverseMercator const& NationalGrid()
{
    static CTransverseMercator const grid = []
    {
        ELLIPSOID const& airy = CCoordTransform::s_datumAiry;
        return CTransverseMercator(airy.a, airy.a * (1.0 - 1.0 / airy.invf),
                                   CTransverseMercator::NationalGridOrigin(), kArcTolerance);
    }();
    return grid;
}

// ---- the precise transformation hook ------------------------------------------------------

struct HookState
{
    std::mutex mutex;
    std::shared_ptr<CCoordTransform::PreciseTransform const> transform;
    // Lets the common case (nothing installed) skip the lock.
    std::atomic<bool> installed{false};
};

HookState& Hook()
{
    static HookState state;
    return state;
}

std::shared_ptr<CCoordTransform::PreciseTransform const> CurrentTransform()
{
    HookState& hook = Hook();
    if (!hook.installed.load(std::memory_order_acquire))
        return nullptr;
    std::lock_guard lock(hook.mutex);
    return hook.transform;
}

// Rounds half up to whole metres, refusing what has no unsigned 32-bit value.
bool RoundMetres(double value, unsigned long& out)
{
    double const shifted = value + 0.5;
    if (!(shifted >= 0.0 && shifted < 4294967296.0))
        return false;
    out = static_cast<unsigned long>(shifted);
    return true;
}

bool FiniteLatLong(double lat, double lon)
{
    return std::isfinite(lat) && std::isfinite(lon) && std::fabs(lat) <= 90.0;
}

} // namespace

// ---- grid letters <-> eastings/northings ----------------------------------------------------

bool CCoordTransform::EastingNorthing_To_BNG(unsigned long E, unsigned long N, CString& letters,
                                             unsigned long& e, unsigned long& n)
{
    // Deliberately E < 1300 km and N < 700 km, the other way round from BNG_To_EastingNorthing:
    // references north of 700 km were never produced by the application, so it keeps refusing
    // them.
    if (E >= 1300000 || N >= 700000)
        return false;
    char const major = kMajorLetters[2 * (N / kMajor) + E / kMajor];
    unsigned long const row = (N / kMinor) % 5;
    unsigned long const column = (E / kMinor) % 5;
    unsigned long v = (17 - row) * 5 + column; // 'A' is 65 = 13 * 5; rows count from the north
    if (v >= 'I')
        ++v;
    char const text[3] = {major, static_cast<char>(v), '\0'}; // "%c%c", without a printf pass
    letters = text;
    e = E % kMinor;
    n = N % kMinor;
    return true;
}

bool CCoordTransform::BNG_To_EastingNorthing(CString letters, unsigned long e, unsigned long n,
                                             unsigned long& E, unsigned long& N)
{
    if (e >= kMinor || n >= kMinor || letters.GetLength() != 2)
        return false;
    char const first = static_cast<char>(std::toupper(static_cast<unsigned char>(letters[0])));
    char const* const found =
        first == '\0' ? nullptr : std::strchr(kMajorLetters, static_cast<unsigned char>(first));
    if (found == nullptr)
        return false;
    unsigned long const k = static_cast<unsigned long>(found - kMajorLetters);
    unsigned long east = (k % 2 == 1) ? e + kMajor : e;
    unsigned long north = n + (k / 2) * kMajor;

    char const second = static_cast<char>(std::toupper(static_cast<unsigned char>(letters[1])));
    if (second < 'A' || second > 'Z' || second == 'I')
        return false;
    unsigned long c = static_cast<unsigned long>(second - 'A');
    if (second > 'I')
        --c;
    north += (4 - c / 5) * kMinor;
    east += (c % 5) * kMinor;
    if (north > 1300000 || east > 700000)
        return false;
    E = east;
    N = north;
    return true;
}

bool CCoordTransform::EastingNorthing_To_GridRef(unsigned long E, unsigned long N, int digits,
                                                 CString& out)
{
    if (digits < 1 || digits > 5)
        return false;
    CString letters;
    unsigned long e = 0;
    unsigned long n = 0;
    if (!EastingNorthing_To_BNG(E, N, letters, e, n))
        return false;
    // One figure at a time, rounding half up but never past the edge of the 100 km square.
    // Rounding in steps is what the application always did (45 m rounds up to the next 100 m).
    unsigned long limit = kMinor;
    for (int step = 5; step > digits; --step)
    {
        e = std::min(e + 5, limit - 1) / 10;
        n = std::min(n + 5, limit - 1) / 10;
        limit /= 10;
    }
    // Formatted on the stack: this is the hot path of position display.
    char text[32];
    std::snprintf(text, sizeof text, kGridRefFormat, letters.GetString(), static_cast<unsigned>(e),
                  static_cast<unsigned>(n));
    out = text;
    return true;
}

bool CCoordTransform::GridRef_To_EastingNorthing(CString const& text, unsigned long& E,
                                                 unsigned long& N)
{
    if (text.IsEmpty())
        return false;
    CString ref(text);
    ref.Trim();
    ref.Remove(' ');
    ref.Remove('\t');
    ref.Remove('-');
    ref.MakeUpper();
    int const length = ref.GetLength();
    if (length < 2 || std::strchr(kMajorLetters, static_cast<unsigned char>(ref[0])) == nullptr ||
        ref[0] == '\0' || !std::isalpha(static_cast<unsigned char>(ref[1])))
        return false;
    int const figures = length - 2;
    if (figures < 2 || figures > 10 || figures % 2 != 0)
        return false;
    int const half = figures / 2;
    unsigned long parts[2] = {0, 0};
    for (int p = 0; p < 2; ++p)
    {
        unsigned long value = 0;
        for (int i = 0; i < half; ++i)
        {
            char const ch = ref[2 + p * half + i];
            if (ch < '0' || ch > '9')
                return false;
            value = value * 10 + static_cast<unsigned long>(ch - '0');
        }
        for (int i = half; i < 5; ++i)
            value *= 10; // the south-west corner of the square the figures name
        parts[p] = value;
    }
    return BNG_To_EastingNorthing(ref.Left(2), parts[0], parts[1], E, N);
}

// ---- latitude/longitude <-> grid ----------------------------------------------------------

bool CCoordTransform::LatLong_To_EastingNorthing(double lat, double lon, unsigned long& E,
                                                 unsigned long& N)
{
    if (!FiniteLatLong(lat, lon))
        return false;
    double east = 0.0;
    double north = 0.0;
    bool converted = false;
    if (auto const precise = CurrentTransform(); precise && precise->toGrid)
        converted = precise->toGrid(lat, lon, east, north);
    if (!converted)
    {
        double airyLat = lat;
        double airyLon = lon;
        if (!DatumShift(&airyLat, &airyLon, &s_datumSatellite, &s_datumAiry))
            return false;
        NationalGrid().Forward(airyLat * kDegToRad, airyLon * kDegToRad, east, north);
    }
    unsigned long roundedE = 0;
    unsigned long roundedN = 0;
    if (!RoundMetres(east, roundedE) || !RoundMetres(north, roundedN))
        return false;
    E = roundedE;
    N = roundedN;
    return true;
}

bool CCoordTransform::EastingNorthing_To_LatLong(unsigned long E, unsigned long N, double& lat,
                                                 double& lon)
{
    double const east = static_cast<double>(E);
    double const north = static_cast<double>(N);
    double outLat = 0.0;
    double outLon = 0.0;
    if (auto const precise = CurrentTransform(); precise && precise->toLatLong)
    {
        if (precise->toLatLong(east, north, outLat, outLon))
        {
            lat = outLat;
            lon = outLon;
            return true;
        }
    }
    NationalGrid().Reverse(east, north, outLat, outLon);
    outLat *= kRadToDeg;
    outLon *= kRadToDeg;
    if (!DatumShift(&outLat, &outLon, &s_datumAiry, &s_datumSatellite))
        return false;
    lat = outLat;
    lon = outLon;
    return true;
}

bool CCoordTransform::LatLong_To_BNG(double lat, double lon, CString& letters, unsigned long& e,
                                     unsigned long& n)
{
    unsigned long E = 0;
    unsigned long N = 0;
    return LatLong_To_EastingNorthing(lat, lon, E, N) &&
           EastingNorthing_To_BNG(E, N, letters, e, n);
}

bool CCoordTransform::LatLong_To_GridRef(double lat, double lon, int digits, CString& out)
{
    unsigned long E = 0;
    unsigned long N = 0;
    return LatLong_To_EastingNorthing(lat, lon, E, N) &&
           EastingNorthing_To_GridRef(E, N, digits, out);
}

bool CCoordTransform::BNG_To_LatLong(CString letters, unsigned long e, unsigned long n, double& lat,
                                     double& lon)
{
    unsigned long E = 0;
    unsigned long N = 0;
    return BNG_To_EastingNorthing(letters, e, n, E, N) &&
           EastingNorthing_To_LatLong(E, N, lat, lon);
}

bool CCoordTransform::GridRef_To_LatLong(CString const& text, double& lat, double& lon)
{
    unsigned long E = 0;
    unsigned long N = 0;
    return GridRef_To_EastingNorthing(text, E, N) && EastingNorthing_To_LatLong(E, N, lat, lon);
}

// ---- precise transformation hook ----------------------------------------------------------

void CCoordTransform::SetPreciseTransform(PreciseTransform transform)
{
    HookState& hook = Hook();
    bool const any = static_cast<bool>(transform.toGrid) || static_cast<bool>(transform.toLatLong);
    std::lock_guard lock(hook.mutex);
    hook.transform = any ? std::make_shared<PreciseTransform const>(std::move(transform)) : nullptr;
    hook.installed.store(any, std::memory_order_release);
}

void CCoordTransform::ClearPreciseTransform()
{
    SetPreciseTransform(PreciseTransform{});
}

// ---- general routines --------------------------------------------------------------------

bool CCoordTransform::LatLon_To_NorthEast(double* north, double* east, double lat, double lon,
                                          double N0, double E0, double phi0, double lambda0,
                                          double F0, ELLIPSOID const* ellipsoid)
{
    if (north == nullptr || east == nullptr || !ValidEllipsoid(ellipsoid))
        return false;
    MakeProjection(N0, E0, phi0, lambda0, F0, *ellipsoid)
        .Forward(lat * kDegToRad, lon * kDegToRad, *east, *north);
    return true;
}

bool CCoordTransform::NorthEast_To_LatLon(double* lat, double* lon, double north, double east,
                                          double N0, double E0, double phi0, double lambda0,
                                          double F0, ELLIPSOID const* ellipsoid)
{
    if (lat == nullptr || lon == nullptr || !ValidEllipsoid(ellipsoid))
        return false;
    double phi = 0.0;
    double lambda = 0.0;
    MakeProjection(N0, E0, phi0, lambda0, F0, *ellipsoid).Reverse(east, north, phi, lambda);
    *lat = phi * kRadToDeg;
    *lon = lambda * kRadToDeg;
    return true;
}

bool CCoordTransform::XYZ_To_LatLonHeight(double* lat, double* lon, double* height, double X,
                                          double Y, double Z, ELLIPSOID const* ellipsoid)
{
    if (lat == nullptr || lon == nullptr || height == nullptr || !ValidEllipsoid(ellipsoid))
        return false;
    if (!std::isfinite(X) || !std::isfinite(Y) || !std::isfinite(Z))
        return false;
    double const a = ellipsoid->a;
    double const f = 1.0 / ellipsoid->invf;
    double const e2 = f * (2.0 - f);
    double const p = std::hypot(X, Y);
    if (p == 0.0 && Z == 0.0)
        return false; // the centre has no latitude

    // Fixed-point iteration on the latitude (Bowring's form of the geodetic equation); starts
    // from the geocentric latitude scaled by 1 / (1 - e2), which is within metres at the
    // surface. Along the axis (p == 0) the latitude is exactly +-90 degrees.
    double phi = std::atan2(Z, p * (1.0 - e2));
    if (p > 0.0)
    {
        for (int k = 0; k < kMaxGeodeticIterations; ++k)
        {
            double const s = std::sin(phi);
            double const nu = a / std::sqrt(1.0 - e2 * s * s);
            double const next = std::atan2(Z + e2 * nu * s, p);
            bool const settled = std::fabs(next - phi) < 1e-14;
            phi = next;
            if (settled)
                break;
        }
    }
    double const s = std::sin(phi);
    double const c = std::cos(phi);
    double const nu = a / std::sqrt(1.0 - e2 * s * s);
    // Stable at every latitude, including the poles where p / cos(phi) is not.
    *height = p * c + Z * s - a * a / nu;
    *lat = phi * kRadToDeg;
    *lon = std::atan2(Y, X) * kRadToDeg;
    return true;
}

bool CCoordTransform::DatumShift(double* lat, double* lon, DATUM const* from, DATUM const* to)
{
    if (lat == nullptr || lon == nullptr || !ValidEllipsoid(from) || !ValidEllipsoid(to))
        return false;
    if (!FiniteLatLong(*lat, *lon))
        return false;
    // Standard Molodensky formulae (DMA TR8350.2, section 7) for a point on the source
    // ellipsoid (h = 0). The records give each datum's centre relative to the satellite datum,
    // so the translation from 'from' to 'to' is the difference of the two.
    double const dX = from->dX - to->dX;
    double const dY = from->dY - to->dY;
    double const dZ = from->dZ - to->dZ;
    double const a = from->a;
    double const f = 1.0 / from->invf;
    double const da = to->a - a;
    double const df = 1.0 / to->invf - f;
    double const b = a * (1.0 - f);
    double const e2 = f * (2.0 - f);

    double const phi = *lat * kDegToRad;
    double const lambda = *lon * kDegToRad;
    double const sPhi = std::sin(phi);
    double const cPhi = std::cos(phi);
    double const sLam = std::sin(lambda);
    double const cLam = std::cos(lambda);
    double const w = 1.0 - e2 * sPhi * sPhi;
    double const Rn = a / std::sqrt(w);                    // prime vertical radius of curvature
    double const Rm = a * (1.0 - e2) / (w * std::sqrt(w)); // meridian radius of curvature

    double const dPhi =
        (-dX * sPhi * cLam - dY * sPhi * sLam + dZ * cPhi + da * (Rn * e2 * sPhi * cPhi) / a +
         df * (Rm * a / b + Rn * b / a) * sPhi * cPhi) /
        Rm;
    // At the poles the longitude is arbitrary; keep it rather than divide by zero.
    double const dLambda = cPhi > 1e-12 ? (-dX * sLam + dY * cLam) / (Rn * cPhi) : 0.0;

    *lat = (phi + dPhi) * kRadToDeg;
    *lon = (lambda + dLambda) * kRadToDeg;
    return true;
}
