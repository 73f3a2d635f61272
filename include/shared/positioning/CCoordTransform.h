#pragma once

// UK National Grid references ("TG-0514-0132") and their conversion to and from GPS
// latitude/longitude, with general Transverse Mercator and datum routines parameterised by
// ellipsoid and datum records.
//
// Latitude/longitude go to the grid by the precise transformation when the application has
// installed one (the address lookup offers OSTN15-grade conversions), otherwise by a
// three-parameter Molodensky shift from the satellite datum to the Airy datum and the National
// Grid projection; that fallback is good to a few metres across Great Britain (see README).
//
// Eastings and northings are whole metres in unsigned long, as in the application's interface.
// All functions report failure by returning false and leave their outputs unchanged then.

#include <functional>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

// Ellipsoid record: semi-major axis (metres) and inverse flattening.
struct ELLIPSOID
{
    double a;
    double invf;
};

// Datum record: its ellipsoid, then the translation (metres) of the datum's centre relative to
// the satellite datum. A DATUM serves wherever an ELLIPSOID is expected.
struct DATUM : ELLIPSOID
{
    double dX;
    double dY;
    double dZ;
};

class SHARED_API CCoordTransform
{
public:
    // Satellite (GPS, WGS84) datum: the WGS84 defining constants (exact by definition).
    static constexpr DATUM s_datumSatellite{{6378137.0, 298.257223563}, 0.0, 0.0, 0.0};
    // Airy 1830 / OSGB36: a exact (OS definition), 1/f = 299.3249646 (from the OS a and b,
    // 1e-7); translations 375, -111, 431 m are EPSG:1195 "OSGB36 to WGS 84 (1)", quoted accuracy
    // 21 m (measured here: mean 8 m, max 17 m against the OS OSTN15 test points).
    static constexpr DATUM s_datumAiry{{6377563.396, 299.3249646}, 375.0, -111.0, 431.0};

    // ---- grid letters <-> eastings/northings --------------------------------------------

    // Letters of the 500 km and 100 km squares and the offsets e, n inside the 100 km square.
    // Requires E < 1300000 and N < 700000 (deliberately narrower in northing than the reverse
    // direction accepts: the application never produced letters north of 700 km).
    static bool EastingNorthing_To_BNG(unsigned long E, unsigned long N, CString& letters,
                                       unsigned long& e, unsigned long& n);
    // Two letters (any case; I is never valid) and offsets below 100000 to full eastings and
    // northings; requires the result to be within N <= 1300000 and E <= 700000.
    static bool BNG_To_EastingNorthing(CString letters, unsigned long e, unsigned long n,
                                       unsigned long& E, unsigned long& N);

    // "%s-%04u-%04u" with digits (1 to 5) figures each for easting and northing, rounded half up
    // one figure at a time without leaving the 100 km square.
    static bool EastingNorthing_To_GridRef(unsigned long E, unsigned long N, int digits,
                                           CString& out);
    // Parses "TG 51409 13177", "tg5140913177", "TG-0514-0132"...: two letters, then an even
    // number (2 to 10) of digits; blanks and '-' are ignored. The result is the south-west
    // corner of the square the reference names.
    static bool GridRef_To_EastingNorthing(CString const& text, unsigned long& E, unsigned long& N);

    // ---- latitude/longitude (GPS, degrees) <-> grid -----------------------------------------

    static bool LatLong_To_BNG(double lat, double lon, CString& letters, unsigned long& e,
                               unsigned long& n);
    static bool LatLong_To_GridRef(double lat, double lon, int digits, CString& out);
    static bool BNG_To_LatLong(CString letters, unsigned long e, unsigned long n, double& lat,
                               double& lon);
    static bool GridRef_To_LatLong(CString const& text, double& lat, double& lon);

    // The shared steps of the four above: GPS latitude/longitude to whole-metre National Grid
    // eastings/northings (rounded half up) and back.
    static bool LatLong_To_EastingNorthing(double lat, double lon, unsigned long& E,
                                           unsigned long& N);
    static bool EastingNorthing_To_LatLong(unsigned long E, unsigned long N, double& lat,
                                           double& lon);

    // ---- precise transformation supplied by the application ---------------------------------

    // toGrid: ETRS89 latitude/longitude (degrees) to OSGB36 easting/northing (metres);
    // toLatLong the reverse. Each returns false when it cannot convert (service unavailable,
    // point outside its coverage) and the fallback path is used instead. Either may be empty.
    struct PreciseTransform
    {
        std::function<bool(double lat, double lon, double& E, double& N)> toGrid;
        std::function<bool(double E, double N, double& lat, double& lon)> toLatLong;
    };
    // Installs (or, with empty functions, removes) the precise transformation. Safe to call
    // while other threads convert; they see either the old or the new one.
    static void SetPreciseTransform(PreciseTransform transform);
    static void ClearPreciseTransform();

    // ---- general routines ----------------------------------------------------------------

    // Transverse Mercator (the OS National Grid series) on any ellipsoid; angles in degrees,
    // lengths in metres. False for null pointers or an impossible ellipsoid.
    static bool LatLon_To_NorthEast(double* north, double* east, double lat, double lon, double N0,
                                    double E0, double phi0, double lambda0, double F0,
                                    ELLIPSOID const* ellipsoid);
    static bool NorthEast_To_LatLon(double* lat, double* lon, double north, double east, double N0,
                                    double E0, double phi0, double lambda0, double F0,
                                    ELLIPSOID const* ellipsoid);
    // Geocentric X, Y, Z (metres) to latitude/longitude (degrees) and ellipsoidal height
    // (metres). False for null pointers, an impossible ellipsoid or the centre of the earth.
    static bool XYZ_To_LatLonHeight(double* lat, double* lon, double* height, double X, double Y,
                                    double Z, ELLIPSOID const* ellipsoid);
    // Moves a latitude/longitude (degrees, on the ellipsoid surface) from one datum to another
    // by the standard Molodensky formulae.
    static bool DatumShift(double* lat, double* lon, DATUM const* from, DATUM const* to);
};
