#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "FN" line of a card.
class SHARED_API CVCFFormattedName : public CVCFTextProperty
{
public:
    CVCFFormattedName() = default;
    explicit CVCFFormattedName(const CString& value) : CVCFTextProperty(value) {}

    CString GetName() const override;
};
