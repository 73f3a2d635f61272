#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "UID" line of a card.
class SHARED_API CVCFUid : public CVCFTextProperty
{
public:
    CVCFUid() = default;
    explicit CVCFUid(const CString& value) : CVCFTextProperty(value) {}

    CString GetName() const override;
};
