#include <shared/phonebook/CAnyVCProperty.h>

const CString CAnyVCProperty::s_sColonDelimiter(":");
const CString CAnyVCProperty::s_sSemiColonDelimiter(";");
const CString CAnyVCProperty::s_sTrue("True");
const CString CAnyVCProperty::s_sFalse("False");

CAnyVCProperty::~CAnyVCProperty() = default;

CString CVCFTextProperty::GetTextLine() const
{
    return GetName() + s_sColonDelimiter + m_sValue;
}

bool CVCFTextProperty::Parse(const CString& value)
{
    if (value.IsEmpty())
        return false;
    m_sValue = value.Left(1) == s_sColonDelimiter ? value.Mid(1) : value;
    return true;
}
