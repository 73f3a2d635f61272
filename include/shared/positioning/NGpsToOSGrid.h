#pragma once

// GPS latitude/longitude (GRS80) <-> UK National Grid eastings/northings.
//
// The projection is the Transverse Mercator series the Ordnance Survey publishes for the
// National Grid; the datum change is a coarse 350 km lattice of whole-metre shifts between the
// GRS80-based grid and the National Grid (a few metres of error, see the accuracy notes in
// NGpsToOSGrid.cpp). For metre-level work use CCoordTransform or a proper OSTN15 transformation.
//
// Threading: the projection functions read one module-wide "current ellipsoid" record that the
// Setup_ functions fill and every conversion sets up first. There is no lock: callers serialise
// conversions (as the application always has).
//
// Angles are radians unless a name says degrees; eastings/northings are metres.

#include <cstdio>
#include <shared/platform/Export.h>

namespace NGpsToOSGrid
{

// ---- conversions -------------------------------------------------------------------------

// GRS80 latitude/longitude (radians) to National Grid metres: project on GRS80, then apply the
// lattice shift. Returns IsGridReferenceInUK of the truncated result; the result is written even
// when that is false. When the projected point lies outside the shift lattice (eastings 0 to
// 700 km, northings 0 to 1400 km on the GRS80 grid) no shift is known: returns false and leaves
// *E and *N unchanged. Null outputs give false.
SHARED_API bool ConvertGPStoNatGrid(double lat, double lon, double* E, double* N);

// As ConvertGPStoNatGrid with latitude/longitude in degrees.
SHARED_API bool ConvertGPSDegreestoNatGrid(double lat, double lon, double& E, double& N);

// National Grid metres to latitude/longitude (radians) on the Airy ellipsoid. No datum shift is
// applied, so the result is OSGB36, not GPS, latitude/longitude (kept for existing callers).
// Returns true (false only for null outputs).
SHARED_API bool ConvertNatGridtoGPS(double E, double N, double* lat, double* lon);

// National Grid metres to latitude/longitude in degrees: lattice shift back to the GRS80 grid,
// then the inverse projection with the Airy constants (kept for existing callers; see the
// accuracy notes). Returns false, leaving the outputs unchanged, for input outside the lattice.
SHARED_API bool ConvertNatGridtoGPSDegrees(double E, double N, double& lat, double& lon);

// ---- ellipsoid set-up --------------------------------------------------------------------

// The current-ellipsoid record. An empty name means no ellipsoid has been set up.
struct Ellipsoid
{
    char name[32];
    double a;       // semi-major axis, metres
    double b;       // semi-minor axis, metres
    double F0;      // central meridian scale factor
    double N0;      // northing of true origin, metres
    double E0;      // easting of true origin, metres
    double phi0;    // latitude of true origin, radians
    double lambda0; // longitude of true origin, radians
    double aF0;     // a * F0
    double bF0;     // b * F0
    double n;       // (aF0 - bF0) / (aF0 + bF0)
    double e2;      // (aF0^2 - bF0^2) / aF0^2
};

SHARED_API void Setup_Airy();  // "Airy (UK National Grid)"
SHARED_API void Setup_GRS80(); // "OSGRS80 (GPS)"
// Back to the initial state with no ellipsoid set up (the projections then refuse to run).
SHARED_API void ClearEllipsoid();
// A copy of the current record.
SHARED_API Ellipsoid GetCurrentEllipsoid();

// ---- projection on the current ellipsoid ---------------------------------------------------

// Forward Transverse Mercator. Without a current ellipsoid prints
// "No current Ellipsoid, please call a Setup_XXX function\n" to standard output and leaves the
// outputs untouched.
SHARED_API void ProjectLKtoGrid(double lat, double lon, double* E, double* N);
// Inverse Transverse Mercator, same no-ellipsoid behaviour.
SHARED_API void ProjectGridtoLK(double E, double N, double* lat, double* lon);

// Meridian arc from the true-origin latitude to phi, scaled by F0 (metres).
SHARED_API double CalculateArcOfMeridian(double phi);
// Footpoint latitude for northing N: iterates until the meridian arc is within 1 mm.
SHARED_API double ComputePhi(double N);
// Radii of curvature in the prime vertical (nu) and meridian (rho), both scaled by F0, and
// eta squared = nu / rho - 1.
SHARED_API void ComputeVRH2(double phi, double* nu, double* rho, double* eta2);

// ---- datum shift lattice ----------------------------------------------------------------

// Both return false and leave the outputs unchanged when (E, N) lies outside the lattice
// (0 <= E < 700000, 0 <= N < 1400000) or an output is null.
SHARED_API bool ShiftGRS80toUKNG(double E, double N, double* E2, double* N2);
SHARED_API bool ShiftUKNGtoGRS80(double E, double N, double* E2, double* N2);

// True when 1 <= northing < 1300000 and 1 <= easting < 800000. Note the argument order.
SHARED_API bool IsGridReferenceInUK(int northing, int easting);

// ---- angles -------------------------------------------------------------------------------

SHARED_API double degtorad(double deg);
SHARED_API double radtodeg(double rad);
// h + m / 60 + s / 3600 (the parts carry the sign each, as degtohms produces them).
SHARED_API void hmstodeg(double h, double m, double s, double* deg);
SHARED_API void hmstorad(double h, double m, double s, double* rad);
// Whole degrees, whole minutes and seconds, each truncated toward zero (so all carry the sign).
SHARED_API void degtohms(double deg, double* h, double* m, double* s);
// Whole degrees and decimal minutes.
SHARED_API void degtohm(double deg, double* h, double* m);
SHARED_API void radtohms(double rad, double* h, double* m, double* s);
// Truncation toward zero.
SHARED_API double integer_part_of(double value);

// ---- console routines for checking conversions by hand ------------------------------------

// Each reads from standard input and writes to standard output; the overloads take the streams
// so that scripts and tests can drive them.
SHARED_API void DoENtoLK();
SHARED_API void DoLKtoEN();
SHARED_API void DoShift();
SHARED_API void DoShiftFromGPSLatLong();
SHARED_API void DoENtoLK(std::FILE* in, std::FILE* out);
SHARED_API void DoLKtoEN(std::FILE* in, std::FILE* out);
SHARED_API void DoShift(std::FILE* in, std::FILE* out);
SHARED_API void DoShiftFromGPSLatLong(std::FILE* in, std::FILE* out);

// ---- scrambling (exported for the application; unused inside the library) ----------------

// TEA (Wheeler and Needham, 1994) on one 64-bit block in[0], in[1] with the 128-bit key
// key[0..3]: 32 rounds, delta 0x9E3779B9. Each element carries one 32-bit word (higher bits
// of inputs are ignored, outputs are below 2^32). in and out may be the same array.
SHARED_API void TEAencipher(unsigned long const* in, unsigned long* out, unsigned long const* key);
SHARED_API void TEAdecipher(unsigned long const* in, unsigned long* out, unsigned long const* key);

// Character shift: out[i] = in[i] + (i & 255) + 2 (8-bit wrap) for i < length - 1, then a
// terminating zero at out[length - 1]. CEAdecipher subtracts the same amounts. A length below 1
// writes nothing.
SHARED_API void CEAencipher(char const* in, char* out, int length);
SHARED_API void CEAdecipher(char const* in, char* out, int length);

} // namespace NGpsToOSGrid
