#include <cmath>
#include <cstdio>
#include <limits>
#include <shared/positioning/NWardenMetrics.h>
#include <string>
#include <string_view>

namespace NWardenMetrics
{
namespace
{
// Truncation toward zero as the x86 conversion instruction does it: a value outside the 32-bit
// range (or not a number) gives 0x80000000. The device software was built for x86, and its
// results for absurd inputs are kept rather than left undefined.
std::int32_t TruncateToInt32(double value)
{
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

// Narrower integers are converted through the 32-bit instruction and then cut, like the original.
template <typename T> T TruncateTo(double value)
{
    return static_cast<T>(TruncateToInt32(value));
}

// Brings a value into [low, high] by whole steps. Small excursions are stepped exactly as the
// device software does; huge ones are reduced in one go so that no input loops for ever.
double WrapInto(double value, double low, double high, double step)
{
    if (!std::isfinite(value))
        return value;
    if (value < low - 1.0e6 || value > high + 1.0e6)
        value = std::fmod(value, step);
    while (value < low)
        value += step;
    while (value > high)
        value -= step;
    return value;
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}
bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsDeviceTemperatureMarker(double kelvin)
{
    return kelvin == -1000.0 || kelvin == -2000.0 || kelvin == -3000.0 || kelvin == -4000.0;
}

CString Printed(char const* format, auto... args)
{
    char buffer[96];
    int const n = std::snprintf(buffer, sizeof buffer, format, args...);
    if (n < 0)
        return CString();
    return CString(buffer, n < static_cast<int>(sizeof buffer) ? n : int(sizeof buffer) - 1);
}

struct Sexagesimal
{
    int degrees;
    int minutes;
    int seconds;
    int tenths;
};

// Whole degrees, minutes, seconds and tenths of a second, each truncated.
Sexagesimal Split(double value)
{
    double whole = 0.0;
    double const fraction = std::modf(value, &whole);
    double minutesWhole = 0.0;
    double const minutesFraction = std::modf(fraction * 60.0, &minutesWhole);
    double secondsWhole = 0.0;
    double const secondsFraction = std::modf(minutesFraction * 60.0, &secondsWhole);
    return {TruncateToInt32(whole), TruncateToInt32(minutesWhole), TruncateToInt32(secondsWhole),
            TruncateToInt32(secondsFraction * 10.0)};
}

CString ToNmea(double value, char const* format)
{
    char const* sign = "";
    if (value < 0)
    {
        sign = "-";
        value = -value;
    }
    unsigned const degrees = static_cast<unsigned>(TruncateToInt32(value));
    double const m = (value - degrees) * 60.0;
    unsigned const minutes = static_cast<unsigned>(TruncateToInt32(m));
    unsigned const millionths = static_cast<unsigned>(TruncateToInt32((m - minutes) * 1e6));
    return Printed(format, sign, degrees, minutes, millionths);
}

// The text being parsed, consumed from the front.
class Cursor
{
public:
    explicit Cursor(std::string_view text) : m_text(text) {}

    bool AtEnd() const { return m_text.empty(); }
    char Peek() const { return m_text.front(); }
    void Skip() { m_text.remove_prefix(1); }
    void TrimLeft()
    {
        while (!m_text.empty() && IsSpace(m_text.front()))
            m_text.remove_prefix(1);
    }
    // A run of digits as a number; a run of none reads as 0.
    double Digits()
    {
        double value = 0.0;
        while (!m_text.empty() && IsDigit(m_text.front()))
        {
            value = value * 10.0 + (m_text.front() - '0');
            m_text.remove_prefix(1);
        }
        return value;
    }
    // After a decimal point: the fraction, or false when anything but digits follows.
    bool Fraction(double& fraction)
    {
        fraction = 0.0;
        double scale = 0.1;
        for (char c : m_text)
        {
            if (!IsDigit(c))
                return false;
            fraction += (c - '0') * scale;
            scale *= 0.1;
        }
        m_text = {};
        return true;
    }
    // Between fields: blanks, at most one non-digit (a degree sign, a colon, a quote...), blanks.
    void Separator()
    {
        TrimLeft();
        if (!m_text.empty() && !IsDigit(m_text.front()))
            m_text.remove_prefix(1);
        TrimLeft();
    }

private:
    std::string_view m_text;
};
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

double GetDistance(double long1, double lat1, double long2, double lat2, double& bearing,
                   eDistanceCalcType type, bool metric)
{
    double const rLong1 = DegreesToRadians(long1);
    double const rLat1 = DegreesToRadians(lat1);
    double const rLong2 = DegreesToRadians(long2);
    double const rLat2 = DegreesToRadians(lat2);

    double dLong = std::fabs(rLong1 - rLong2);
    bool const wraps = dLong >= pi; // the short way crosses the 180th meridian
    if (wraps)
        dLong = 2 * pi - dLong;
    double const dLat = std::fabs(rLat1 - rLat2);

    double const cosLat2 = std::cos(rLat2);
    double const flat = std::sqrt(cosLat2 * cosLat2 * dLong * dLong + dLat * dLat);

    double distance = 0.0;
    switch (type)
    {
    case eFlatEarth:
        distance = dblEarthRadiusKm * flat;
        break;
    case eSphericalCosine:
    {
        double const a = pi / 2 - rLat1;
        double const b = pi / 2 - rLat2;
        double c = std::sin(b) * std::sin(a) * std::cos(dLong) + std::cos(b) * std::cos(a);
        if (c > 1.0)
            c = 1.0;
        if (c < -1.0)
            c = -1.0;
        distance = std::acos(c) * dblEarthRadiusKm;
        break;
    }
    case eHaversine:
    {
        double const sLong = std::sin(dLong / 2);
        double const sLat = std::sin(dLat / 2);
        double h = sLong * sLong * std::cos(rLat1) * std::cos(rLat2) + sLat * sLat;
        if (h > 1.0)
            h = 1.0;
        distance = 2 * std::atan2(std::sqrt(h), std::sqrt(1 - h)) * dblEarthRadiusKm;
        break;
    }
    default:
        distance = 0.0;
        break;
    }
    if (!metric)
        distance *= dblMilesPerKm;

    // Two equal points have no direction; north is reported rather than the 0/0 of the formula.
    if (flat == 0.0)
    {
        bearing = 0.0;
        return distance;
    }
    double ratio = dLat / flat;
    if (ratio > 1.0)
        ratio = 1.0;
    double const angle = RadiansToDegrees(std::asin(ratio));
    bool const eastward = wraps ? long1 >= long2 : long2 >= long1;
    if (lat2 < lat1)
        bearing = eastward ? 90 + angle : 270 - angle;
    else
        bearing = eastward ? 90 - angle : 270 + angle;
    return distance;
}

void OffsetPosition(double lat, double lon, double metresNorth, double metresEast, double& newLat,
                    double& newLong)
{
    double const degreesPerMetre = 0.36 / dblEarthCircumferenceKm;
    double cosLat = std::cos(DegreesToRadians(lat));
    if (cosLat == 0.0)
        cosLat = 1e-6;
    double const longPerMetre = degreesPerMetre / cosLat;
    // Beyond a pole the latitude is shifted by 180 degrees, not mirrored: the device software
    // does the same, and positions computed by both must agree.
    newLat = WrapInto(lat + degreesPerMetre * metresNorth, -90.0, 90.0, 180.0);
    newLong = WrapInto(lon + longPerMetre * metresEast, -180.0, 180.0, 360.0);
}

CString DegreesToString(double degrees)
{
    Sexagesimal const s = Split(degrees);
    return Printed("%.3d\xB0 %.2d' %.2d\"", s.degrees, s.minutes, s.seconds);
}

CString LatitudeToString(double latitude)
{
    CString text = DegreesToString(std::fabs(latitude));
    text += latitude >= 0 ? " N" : " S";
    return text;
}

CString LongitudeToString(double longitude)
{
    CString text = DegreesToString(std::fabs(longitude));
    text += longitude >= 0 ? " E" : " W";
    return text;
}

CString LatitudeToBenefonString(double latitude)
{
    Sexagesimal const s = Split(std::fabs(latitude));
    return Printed("%c%02d.%02d.%02d,%1d", latitude >= 0 ? 'N' : 'S', s.degrees, s.minutes,
                   s.seconds, s.tenths);
}

CString LongitudeToBenefonString(double longitude)
{
    Sexagesimal const s = Split(std::fabs(longitude));
    return Printed("%c%03d.%02d.%02d,%1d", longitude >= 0 ? 'E' : 'W', s.degrees, s.minutes,
                   s.seconds, s.tenths);
}

CString LatitudeToNMEAString(double latitude)
{
    return ToNmea(WrapInto(latitude, -90.0, 90.0, 180.0), "%s%02u%02u.%06u");
}

CString LongitudeToNMEAString(double longitude)
{
    return ToNmea(WrapInto(longitude, -180.0, 180.0, 360.0), "%s%03u%02u.%06u");
}

CString GetCardinalFromCourse(double course)
{
    static char const* const words[16] = {"N", "NNE", "NE", "ENE", "E", "ESE", "SE", "SSE",
                                          "S", "SSW", "SW", "WSW", "W", "WNW", "NW", "NNW"};
    // The offset is 12.25 degrees, not half a sector (11.25): every word covers
    // [22.5 k - 12.25, 22.5 k + 10.25). Reports made by the device software use these limits.
    int const index = TruncateToInt32((course + 12.25) * 0.044444444444444446) & 15;
    return CString(words[index]);
}

E_ParseLatLongResult ParseLatLong(CString const& text, bool isLatitude, double& result)
{
    std::string work(text.GetString(), static_cast<std::size_t>(text.GetLength()));
    auto trimRight = [&work]
    {
        while (!work.empty() && IsSpace(work.back()))
            work.pop_back();
    };
    auto trimLeft = [&work]
    {
        std::size_t i = 0;
        while (i < work.size() && IsSpace(work[i]))
            ++i;
        work.erase(0, i);
    };

    trimRight();
    trimLeft();
    if (work.empty())
        return eParseLatLongEmpty;

    // A hemisphere letter at the end is read as if it stood in front: "51 30 N" is "N51 30".
    if (IsLetter(work.back()))
    {
        char const letter = work.back();
        work.pop_back();
        work.insert(work.begin(), letter);
    }

    std::size_t const lastDigit = work.find_last_of("0123456789");
    if (lastDigit == std::string::npos)
        return eParseLatLongEmpty;
    work.erase(lastDigit + 1);

    double sign = 1.0;
    if (!IsDigit(work.front()))
    {
        char const prefix = work.front();
        char const upper = (prefix >= 'a' && prefix <= 'z') ? char(prefix - 'a' + 'A') : prefix;
        switch (upper)
        {
        case '+':
        case 'E':
        case 'N':
            break;
        case '-':
        case 'S':
        case 'W':
            sign = -1.0;
            break;
        default:
            return eParseLatLongBadPrefix;
        }
        if (isLatitude && (upper == 'E' || upper == 'W'))
            return eParseLatLongEastWestForLatitude;
        if (!isLatitude && (upper == 'N' || upper == 'S'))
            return eParseLatLongNorthSouthForLongitude;
        work.erase(0, 1);
        trimLeft();
        if (work.empty() || !IsDigit(work.front()))
            return eParseLatLongNoDegrees;
    }

    Cursor cursor(work);
    double value = cursor.Digits();
    if (!cursor.AtEnd())
    {
        if (cursor.Peek() == '.')
        {
            cursor.Skip();
            double fraction = 0.0;
            if (!cursor.Fraction(fraction))
                return eParseLatLongBadDegreeFraction;
            value += fraction;
        }
        else
        {
            cursor.Separator();
            if (cursor.AtEnd())
                return eParseLatLongNoMinutes;
            double const minutes = cursor.Digits();
            if (minutes >= 60.0)
                return eParseLatLongBadMinutes;
            if (cursor.AtEnd())
            {
                value += minutes / 60.0;
            }
            else if (cursor.Peek() == '.')
            {
                cursor.Skip();
                double fraction = 0.0;
                if (!cursor.Fraction(fraction))
                    return eParseLatLongBadMinutes;
                value += (minutes + fraction) / 60.0;
            }
            else
            {
                cursor.Separator();
                if (cursor.AtEnd())
                    return eParseLatLongNoSeconds;
                double seconds = cursor.Digits();
                if (!cursor.AtEnd())
                {
                    if (cursor.Peek() != '.')
                        return eParseLatLongTrailingText;
                    cursor.Skip();
                    double fraction = 0.0;
                    if (!cursor.Fraction(fraction))
                        return eParseLatLongBadSecondFraction;
                    seconds += fraction;
                }
                if (seconds >= 60.0)
                    return eParseLatLongBadSeconds;
                value += (minutes + seconds / 60.0) / 60.0;
            }
        }
    }

    value *= sign;
    if (isLatitude && !(value >= -90.0 && value <= 90.0))
        return eParseLatLongLatitudeRange;
    if (!isLatitude && !(value >= -180.0 && value <= 180.0))
        return eParseLatLongLongitudeRange;
    result = value;
    return eParseLatLongOK;
}

E_ParseLatLongResult ParseLatitude(CString const& text, double& result)
{
    return ParseLatLong(text, true, result);
}

E_ParseLatLongResult ParseLongitude(CString const& text, double& result)
{
    return ParseLatLong(text, false, result);
}

bool UpdateNMEAChecksum(CString& sentence)
{
    std::string_view const text(sentence.GetString(),
                                static_cast<std::size_t>(sentence.GetLength()));
    std::size_t const dollar = text.find('$');
    std::size_t const star = text.find('*');
    if (dollar == std::string_view::npos || star == std::string_view::npos)
        return false;
    if (star < dollar + 3 || text.size() < star + 3)
        return false;
    unsigned char sum = 0;
    for (std::size_t i = dollar + 1; i < star; ++i)
        sum = static_cast<unsigned char>(sum ^ static_cast<unsigned char>(text[i]));
    static char const hex[] = "0123456789ABCDEF";
    sentence.SetAt(static_cast<int>(star + 1), hex[sum >> 4]);
    sentence.SetAt(static_cast<int>(star + 2), hex[sum & 15]);
    return true;
}

bool IsGridReferenceInUK(int northing, int easting)
{
    return northing >= 1 && northing < 1300000 && easting >= 1 && easting < 800000;
}

} // namespace NWardenMetrics
