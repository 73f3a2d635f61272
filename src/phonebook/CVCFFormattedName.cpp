#include <shared/phonebook/CVCFFormattedName.h>

CString CVCFFormattedName::GetName() const
{
    return "FN";
}
