#include <shared/foundation/CStringManipulator.h>
#include <shared/phonebook/CVCFTelephoneNumber.h>

CString CVCFTelephoneNumber::GetName() const
{
    return "TEL;CELL";
}

bool CVCFTelephoneNumber::Parse(const CString& value)
{
    if (value.IsEmpty())
        return false;
    CStringArray pieces;
    CStringManipulator::SplitToArrayOnDelimiter(value, s_sColonDelimiter + s_sSemiColonDelimiter,
                                                pieces);
    // At least one piece always comes back, even for a value of delimiters only.
    m_sValue = pieces.GetAt(pieces.GetUpperBound());
    return true;
}
