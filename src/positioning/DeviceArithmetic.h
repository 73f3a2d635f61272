#pragma once

// The device software's integer arithmetic, shared by the unit, distance and coordinate-text
// routines of NWardenMetrics so that they truncate and wrap exactly alike.

#include <cmath>
#include <cstdint>
#include <limits>

namespace warden_metrics_detail
{

// Truncation toward zero as the x86 conversion instruction does it: a value outside the 32-bit
// range (or not a number) gives 0x80000000. The device software was built for x86, and its
// results for absurd inputs are kept rather than left undefined.
inline std::int32_t TruncateToInt32(double value)
{
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

// Narrower integers are converted through the 32-bit instruction and then cut, like the original.
template <typename T> inline T TruncateTo(double value)
{
    return static_cast<T>(TruncateToInt32(value));
}

// Brings a value into [low, high] by whole steps. Small excursions are stepped exactly as the
// device software does; huge ones are reduced in one go so that no input loops for ever.
inline double WrapInto(double value, double low, double high, double step)
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

} // namespace warden_metrics_detail
