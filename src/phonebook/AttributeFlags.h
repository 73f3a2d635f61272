#pragma once

// Reading the "Key=True;Key=False" values of the device's extension properties.

#include <shared/foundation/CStringManipulator.h>
#include <shared/framework/CString.h>
#include <shared/framework/CStringArray.h>
#include <shared/phonebook/CAnyVCProperty.h>

namespace phonebook_detail
{

inline CStringArray SplitAttributeFields(const CString& value)
{
    CStringArray fields;
    CStringManipulator::SplitToArrayOnDelimiter(
        value, CAnyVCProperty::s_sColonDelimiter + CAnyVCProperty::s_sSemiColonDelimiter, fields);
    return fields;
}

// A field sets the flag of its key when it starts with the key: the word at its end decides,
// "True" or "False" exactly as the devices write them. Any other spelling ("TRUE", "yes")
// leaves the flag as it was; the comparison is case-sensitive on purpose, to match the
// device firmware.
inline void ApplyAttributeField(const CString& field, const char* key, bool& flag)
{
    const CString keyText(key);
    if (field.Left(keyText.GetLength()) != keyText)
        return;
    if (field.Right(CAnyVCProperty::s_sTrue.GetLength()) == CAnyVCProperty::s_sTrue)
        flag = true;
    else if (field.Right(CAnyVCProperty::s_sFalse.GetLength()) == CAnyVCProperty::s_sFalse)
        flag = false;
}

inline const CString& FlagWord(bool flag)
{
    return flag ? CAnyVCProperty::s_sTrue : CAnyVCProperty::s_sFalse;
}

} // namespace phonebook_detail
