#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "X-NIMBUS-ATTRIBUTES;WARDEN" line: whether the contact receives warden warnings.
class SHARED_API CVCFWardenAttributes : public CVCFTextProperty
{
public:
    CVCFWardenAttributes() = default;
    explicit CVCFWardenAttributes(const CString& value) : CVCFTextProperty(value) {}
    // Without it a string literal would convert to bool before CString and pick the flag
    // constructor: CVCFWardenAttributes("WardenWarnings=False") would mean True.
    explicit CVCFWardenAttributes(const char* value) : CVCFTextProperty(value) {}
    explicit CVCFWardenAttributes(bool wardenWarnings);

    CString GetName() const override;
    bool Parse(const CString& value) override;

    bool GetWardenWarnings() const { return m_boWardenWarnings; }

private:
    bool m_boWardenWarnings = false;
};
