#pragma once

#include <ostream>
#include <shared/framework/CString.h>

namespace shared::framework_detail
{

// How dates and spans show in test failures and logs: the formatted value with the raw number
// behind it, "null", or "invalid" with the raw number (which is what tells two invalid values
// apart).
enum class EPrintedState
{
    valid,
    null,
    invalid
};

inline std::ostream& PrintValue(std::ostream& os, EPrintedState state, const CString& formatted,
                                double raw)
{
    CString text;
    if (state == EPrintedState::valid)
        text.Format("%s (%.9f)", static_cast<const char*>(formatted), raw);
    else if (state == EPrintedState::null)
        text = "null";
    else
        text.Format("invalid (%.9f)", raw);
    return os << text;
}

} // namespace shared::framework_detail
