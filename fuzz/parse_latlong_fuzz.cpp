// Free-form latitude/longitude text: a result code in range, a written value only on success,
// and that value inside the range for its kind.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <shared/positioning/NWardenMetrics.h>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
        return 0;
    bool const isLatitude = (data[0] & 1) != 0;
    CString const text(reinterpret_cast<char const*>(data + 1), static_cast<int>(size - 1));
    double value = 1e300;
    auto const result = NWardenMetrics::ParseLatLong(text, isLatitude, value);
    if (result < NWardenMetrics::eParseLatLongOK ||
        result > NWardenMetrics::eParseLatLongNorthSouthForLongitude)
        std::abort();
    if (result != NWardenMetrics::eParseLatLongOK)
    {
        if (value != 1e300)
            std::abort();
        return 0;
    }
    double const limit = isLatitude ? 90.0 : 180.0;
    if (!(std::fabs(value) <= limit))
        std::abort();
    // Every text form of a parsed value can be produced.
    if (isLatitude)
    {
        (void)NWardenMetrics::LatitudeToString(value);
        (void)NWardenMetrics::LatitudeToBenefonString(value);
        (void)NWardenMetrics::LatitudeToNMEAString(value);
    }
    else
    {
        (void)NWardenMetrics::LongitudeToString(value);
        (void)NWardenMetrics::LongitudeToBenefonString(value);
        (void)NWardenMetrics::LongitudeToNMEAString(value);
    }
    return 0;
}
