#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "TEL;CELL" line of a card: the voice number.
class SHARED_API CVCFTelephoneNumber : public CVCFTextProperty
{
public:
    CVCFTelephoneNumber() = default;
    explicit CVCFTelephoneNumber(const CString& value) : CVCFTextProperty(value) {}

    CString GetName() const override;
    // Phones put type words before the number ("PREF;+44..."); the number is the last piece
    // between colons and semicolons.
    bool Parse(const CString& value) override;
};
