#include <shared/phonebook/CVCFVersion.h>

CString CVCFVersion::GetName() const
{
    return "VERSION";
}
