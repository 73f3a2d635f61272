#pragma once

#include <cstdint>
#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

// Units, device scales and coordinate text shared by every positioning piece: the integer scales
// in which devices send positions, speeds, courses and dilution of precision; speed, distance,
// fuel and temperature conversions; distance and bearing between two positions; moving a
// position by metres; latitude/longitude text (display, Benefon phones, NMEA) and its parsing; a
// 16-point compass word; the in-place repair of an NMEA checksum. All functions are pure.
namespace NWardenMetrics
{

// Constants, used exactly as written (the statute mile and the earth radius are the device
// software's own values, not the international ones; results must match theirs).
inline constexpr double pi = 3.141592653589793;
inline constexpr double dblDegreesToRadians = pi * 0.005555555555555556; // one 180th
inline constexpr double dblEarthRadiusKm = 6378.0;
inline constexpr double dblEarthCircumferenceKm = 2 * pi * 6378.0;
inline constexpr double dblKmPerMile = 1.609269392; // statute mile, deliberately not 1.609344
inline constexpr double dblMetresPerMile = 1.609269392 * 1000.0;
inline constexpr double dblMilesPerKm = 1.0 / 1.609269392;
inline constexpr double dblMilesPerNauticalMile = 1.1507575757575759;
inline constexpr double dblKnotsPerMph = 1.0 / 1.1507575757575759;
inline constexpr double dblKmPerNauticalMile = 1.609269392 * 1.1507575757575759;
inline constexpr double dblNauticalMilesPerKm = 1.0 / (1.609269392 * 1.1507575757575759);
inline constexpr double dblMetresPerSecondPerKnot = 0.514444;
inline constexpr double dblKphPerMetresPerSecond = 3.6;
inline constexpr double dblMetresPerSecondPerKph = 0.2777777777777778;
inline constexpr double dblImpGallonsPerLitre = 0.22;
inline constexpr double dblUSGallonsPerLitre = 0.2642;
inline constexpr double dblZeroCelsiusInKelvin = 273.15;
inline constexpr double dblFahrenheitOffset = 459.67;
inline constexpr double dblFahrenheitFactor = 1.8;
// Marks a missing temperature reading.
inline constexpr double dblNoTemperature = -1000.0;

enum eDistanceCalcType
{
    eFlatEarth = 0,
    eSphericalCosine = 1,
    eHaversine = 2
};

// 92 and 93 are the values stored by the application; anything else means kelvin.
enum E_TemperatureUnits
{
    eCelsius = 92,
    eFahrenheit = 93
};

enum E_ParseLatLongResult
{
    eParseLatLongOK = 0,
    eParseLatLongEmpty = 1,
    eParseLatLongBadPrefix = 2,
    eParseLatLongNoDegrees = 3,
    eParseLatLongNoMinutes = 4,
    eParseLatLongNoSeconds = 5,
    eParseLatLongBadDegreeFraction = 6,
    eParseLatLongBadMinutes = 7,
    eParseLatLongBadSeconds = 8,
    eParseLatLongBadSecondFraction = 9,
    eParseLatLongTrailingText = 10,
    eParseLatLongLatitudeRange = 11,
    eParseLatLongLongitudeRange = 12,
    eParseLatLongEastWestForLatitude = 13,
    eParseLatLongNorthSouthForLongitude = 14
};

// Device integer scales. Conversions to the integers truncate toward zero; a value that does not
// fit gives what the x86 conversion instruction gives (the 32-bit "integer indefinite"
// 0x80000000, cut to the narrower type), never undefined behaviour.
SHARED_API double CorrectLongLatScale(std::int32_t value); // value * 1e-8 degrees
SHARED_API std::int32_t InvertLongLatScale(double degrees);
SHARED_API double CorrectDOPScale(std::int16_t value); // value * 0.01
SHARED_API std::int16_t InvertDOPScale(double dop);
SHARED_API double CorrectSpeedScale(std::uint16_t value); // value * 0.01
SHARED_API std::uint16_t InvertSpeedScale(double speed);
SHARED_API double CorrectCourseScale(std::uint16_t value); // value * 0.001
SHARED_API std::uint16_t InvertCourseScale(double course);

SHARED_API double DegreesToRadians(double degrees);
SHARED_API double RadiansToDegrees(double radians);

// Speeds. The functions noted "passes negatives" return a negative input unchanged, so the
// device's negative "no speed" markers survive conversion.
SHARED_API double MetresPerSecondToKph(double mps);     // passes negatives
SHARED_API double MetresPerSecondToMph(double mps);     // passes negatives
SHARED_API double MetresPerSecondToKnots(double mps);   // passes negatives
SHARED_API double KnotsToMetresPerSecond(double knots); // passes negatives
SHARED_API double KphToMetresPerSecond(double kph);
SHARED_API double ConvertKph2Mph(double kph);
SHARED_API double ConvertKph2Knots(double kph);
// distance / time, or -1.0 when time is 0.
SHARED_API double GetSpeed(double const& distance, double const& time);

// Distance, volume and fuel. Inputs of zero or below pass unchanged through the Convert*Metric*
// functions; the others give -1.0 for impossible inputs.
SHARED_API double ConvertMetricDistance(double km, bool metric);
SHARED_API double ConvertMetricFuelConsumption(double litresPer100Km, bool metric);
SHARED_API double ConvertMetricFuelVolume(double litres, bool metric);
SHARED_API double GetLitresPer100KmFuelEconomy(double litres, double km);
SHARED_API double ConvertLitresPer100KmToMilesPerUSGallon(double litresPer100Km);
SHARED_API double ConvertLitresPer100KmToMilesPerImpGallon(double litresPer100Km);
SHARED_API double ConvertLitresToImpGallons(double const& litres);
SHARED_API double ConvertLitresToUSGallons(double const& litres);
SHARED_API double ConvertKmToImperialMiles(double const& km);
SHARED_API double ConvertKmToNauticalMiles(double const& km);
SHARED_API double ConvertImperialMilesToKm(double const& miles);

// Temperatures. -1000.0 marks a missing reading; the device markers -1000, -2000, -3000 and
// -4000 kelvin pass unchanged through the conversions from kelvin.
SHARED_API double ConvertKelvinToCelsius(double const& kelvin);
SHARED_API double ConvertKelvinToFahrenheit(double const& kelvin);
SHARED_API double ConvertCelsiusToKelvin(double const& celsius);
SHARED_API double ConvertFahrenheitToKelvin(double const& fahrenheit);
SHARED_API double ConvertFromKelvin(double const& kelvin, E_TemperatureUnits units);

// Distance (km, or statute miles when metric is false) and bearing (degrees clockwise from
// north, from point 1 to point 2, always from the flat-earth angle). Longitude comes first here,
// latitude first in OffsetPosition: both orders are the established interface.
SHARED_API double GetDistance(double long1, double lat1, double long2, double lat2, double& bearing,
                              eDistanceCalcType type, bool metric);
SHARED_API void OffsetPosition(double lat, double lon, double metresNorth, double metresEast,
                               double& newLat, double& newLong);

// Display text such as 051° 30' 15" N (the degree sign is the code page 1252 byte 0xB0).
SHARED_API CString DegreesToString(double degrees);
SHARED_API CString LatitudeToString(double latitude);
SHARED_API CString LongitudeToString(double longitude);
// Benefon phone text such as N51.30.15,5 and E000.07.30,0.
SHARED_API CString LatitudeToBenefonString(double latitude);
SHARED_API CString LongitudeToBenefonString(double longitude);
// NMEA text such as 5130.000000 and -00007.500000: the hemisphere is carried by the sign.
SHARED_API CString LatitudeToNMEAString(double latitude);
SHARED_API CString LongitudeToNMEAString(double longitude);
// One of the 16 compass words N, NNE, ... NNW.
SHARED_API CString GetCardinalFromCourse(double course);

// Free-form latitude/longitude text (degrees; degrees and minutes; or degrees, minutes and
// seconds; with a sign or a hemisphere letter before or after). result is written only on
// success.
SHARED_API E_ParseLatLongResult ParseLatLong(CString const& text, bool isLatitude, double& result);
SHARED_API E_ParseLatLongResult ParseLatitude(CString const& text, double& result);
SHARED_API E_ParseLatLongResult ParseLongitude(CString const& text, double& result);

// Rewrites the two hexadecimal digits after the first "*" with the checksum of the characters
// between the first "$" and that "*". False, and the text unchanged, when the text has no such
// frame.
SHARED_API bool UpdateNMEAChecksum(CString& sentence);

// True inside the National Grid's extent: 1 <= northing < 1300000 and 1 <= easting < 800000.
SHARED_API bool IsGridReferenceInUK(int northing, int easting);

} // namespace NWardenMetrics
