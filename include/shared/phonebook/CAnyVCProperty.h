#pragma once

#include <shared/framework/CString.h>
#include <shared/platform/Export.h>

// One line of a vCard: a property name such as "TEL;CELL" and its value.
class SHARED_API CAnyVCProperty
{
public:
    CAnyVCProperty() = default;
    CAnyVCProperty(const CAnyVCProperty&) = default;
    CAnyVCProperty& operator=(const CAnyVCProperty&) = default;
    virtual ~CAnyVCProperty();

    // The name, a colon and the value, without a line ending (the card adds it).
    virtual CString GetTextLine() const = 0;
    virtual CString GetName() const = 0;
    // Takes the text after the first colon of a line that was read; false for an empty value.
    virtual bool Parse(const CString& value) = 0;

    static const CString s_sColonDelimiter;
    static const CString s_sSemiColonDelimiter;
    static const CString s_sTrue;
    static const CString s_sFalse;
};

// The common part of every property of this library: one text value, written after the name.
class SHARED_API CVCFTextProperty : public CAnyVCProperty
{
public:
    CVCFTextProperty() = default;
    explicit CVCFTextProperty(const CString& value) : m_sValue(value) {}

    CString GetTextLine() const override;
    // Plain text: a leading colon is dropped and the rest becomes the value.
    bool Parse(const CString& value) override;

    CString GetValue() const { return m_sValue; }

protected:
    CString m_sValue;
};
