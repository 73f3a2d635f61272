#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "VERSION" line of a card.
class SHARED_API CVCFVersion : public CVCFTextProperty
{
public:
    CVCFVersion() = default;
    explicit CVCFVersion(const CString& value) : CVCFTextProperty(value) {}

    CString GetName() const override;
};
