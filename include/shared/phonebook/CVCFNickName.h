#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "NICKNAME" line of a card.
class SHARED_API CVCFNickName : public CVCFTextProperty
{
public:
    CVCFNickName() = default;
    explicit CVCFNickName(const CString& value) : CVCFTextProperty(value) {}

    CString GetName() const override;
};
