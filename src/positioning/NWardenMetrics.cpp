#include "DeviceArithmetic.h"

#include <shared/positioning/NWardenMetrics.h>

// Device scales and unit conversions with the device software's own constants.

namespace NWardenMetrics
{

using namespace warden_metrics_detail;

namespace
{
bool IsDeviceTemperatureMarker(double kelvin)
{
    return kelvin == -1000.0 || kelvin == -2000.0 || kelvin == -3000.0 || kelvin == -4000.0;
}
} // namespace

double CorrectLongLatScale(std::int32_t value)
{
    return value * 1e-8;
}
std::int32_t InvertLongLatScale(double degrees)
{
    return TruncateToInt32(degrees * 100000000.0);
}
double CorrectDOPScale(std::int16_t value)
{
    return value * 0.01;
}
std::int16_t InvertDOPScale(double dop)
{
    return TruncateTo<std::int16_t>(dop * 100.0);
}
double CorrectSpeedScale(std::uint16_t value)
{
    return value * 0.01;
}
std::uint16_t InvertSpeedScale(double speed)
{
    return TruncateTo<std::uint16_t>(speed * 100.0);
}
double CorrectCourseScale(std::uint16_t value)
{
    return value * 0.001;
}
std::uint16_t InvertCourseScale(double course)
{
    return TruncateTo<std::uint16_t>(course * 1000.0);
}

double DegreesToRadians(double degrees)
{
    return pi * degrees * 0.005555555555555556;
}
double RadiansToDegrees(double radians)
{
    return radians * 180.0 / pi;
}

double MetresPerSecondToKph(double mps)
{
    return mps < 0 ? mps : mps * dblKphPerMetresPerSecond;
}
double MetresPerSecondToMph(double mps)
{
    return mps < 0 ? mps : mps * 3600.0 / dblMetresPerMile;
}
double MetresPerSecondToKnots(double mps)
{
    return mps < 0 ? mps : mps / dblMetresPerSecondPerKnot;
}
double KnotsToMetresPerSecond(double knots)
{
    return knots < 0 ? knots : knots * dblMetresPerSecondPerKnot;
}
double KphToMetresPerSecond(double kph)
{
    return kph * dblMetresPerSecondPerKph;
}
double ConvertKph2Mph(double kph)
{
    return ConvertMetricDistance(kph, false);
}
double ConvertKph2Knots(double kph)
{
    return ConvertMetricDistance(kph, false) * dblKnotsPerMph;
}
double GetSpeed(double const& distance, double const& time)
{
    return time == 0 ? -1.0 : distance / time;
}

double ConvertMetricDistance(double km, bool metric)
{
    if (metric || km <= 0)
        return km;
    return km * 1000.0 / dblMetresPerMile;
}

double ConvertMetricFuelConsumption(double litresPer100Km, bool metric)
{
    if (metric || litresPer100Km <= 0)
        return litresPer100Km;
    return 100000.0 / (litresPer100Km * (dblMetresPerMile * dblImpGallonsPerLitre));
}

double ConvertMetricFuelVolume(double litres, bool metric)
{
    if (metric || litres <= 0)
        return litres;
    return litres * dblImpGallonsPerLitre;
}

double GetLitresPer100KmFuelEconomy(double litres, double km)
{
    if (litres < 0 || km <= 0)
        return -1.0;
    return litres * 100.0 / km;
}

double ConvertLitresPer100KmToMilesPerUSGallon(double litresPer100Km)
{
    if (litresPer100Km <= 0)
        return -1.0;
    return 100000.0 / (dblMetresPerMile * dblUSGallonsPerLitre * litresPer100Km);
}

double ConvertLitresPer100KmToMilesPerImpGallon(double litresPer100Km)
{
    if (litresPer100Km <= 0)
        return -1.0;
    return 100000.0 / (dblMetresPerMile * dblImpGallonsPerLitre * litresPer100Km);
}

double ConvertLitresToImpGallons(double const& litres)
{
    return litres < 0 ? -1.0 : dblImpGallonsPerLitre * litres;
}
double ConvertLitresToUSGallons(double const& litres)
{
    return litres < 0 ? -1.0 : dblUSGallonsPerLitre * litres;
}
double ConvertKmToImperialMiles(double const& km)
{
    return km < 0 ? -1.0 : km * dblMilesPerKm;
}
double ConvertKmToNauticalMiles(double const& km)
{
    return km < 0 ? -1.0 : km * dblNauticalMilesPerKm;
}
double ConvertImperialMilesToKm(double const& miles)
{
    return miles < 0 ? -1.0 : dblKmPerMile * miles;
}

double ConvertKelvinToCelsius(double const& kelvin)
{
    if (kelvin >= 0)
        return kelvin - dblZeroCelsiusInKelvin;
    return IsDeviceTemperatureMarker(kelvin) ? kelvin : dblNoTemperature;
}

double ConvertKelvinToFahrenheit(double const& kelvin)
{
    if (kelvin >= 0)
        return dblFahrenheitFactor * kelvin - dblFahrenheitOffset;
    return IsDeviceTemperatureMarker(kelvin) ? kelvin : dblNoTemperature;
}

double ConvertCelsiusToKelvin(double const& celsius)
{
    double const kelvin = dblZeroCelsiusInKelvin + celsius;
    return kelvin < 0 ? dblNoTemperature : kelvin;
}

double ConvertFahrenheitToKelvin(double const& fahrenheit)
{
    double const kelvin = (dblFahrenheitOffset + fahrenheit) / dblFahrenheitFactor;
    return kelvin < 0 ? dblNoTemperature : kelvin;
}

double ConvertFromKelvin(double const& kelvin, E_TemperatureUnits units)
{
    switch (units)
    {
    case eCelsius:
        return ConvertKelvinToCelsius(kelvin);
    case eFahrenheit:
        return ConvertKelvinToFahrenheit(kelvin);
    default:
        return kelvin;
    }
}

bool IsGridReferenceInUK(int northing, int easting)
{
    return northing >= 1 && northing < 1300000 && easting >= 1 && easting < 800000;
}

} // namespace NWardenMetrics
