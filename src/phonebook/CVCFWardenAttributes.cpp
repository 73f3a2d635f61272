#include "AttributeFlags.h"

#include <shared/phonebook/CVCFWardenAttributes.h>

using namespace phonebook_detail;

CVCFWardenAttributes::CVCFWardenAttributes(bool wardenWarnings) : m_boWardenWarnings(wardenWarnings)
{
    m_sValue.Format("WardenWarnings=%s", static_cast<const char*>(FlagWord(wardenWarnings)));
}

CString CVCFWardenAttributes::GetName() const
{
    return "X-NIMBUS-ATTRIBUTES;WARDEN";
}

bool CVCFWardenAttributes::Parse(const CString& value)
{
    if (value.IsEmpty())
        return false;
    const CStringArray fields = SplitAttributeFields(value);
    for (INT_PTR i = 0; i < fields.GetSize(); ++i)
        ApplyAttributeField(fields.GetAt(i), "WardenWarnings", m_boWardenWarnings);
    m_sValue = value;
    return !m_sValue.IsEmpty();
}
