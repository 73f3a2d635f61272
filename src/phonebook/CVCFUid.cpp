#include <shared/phonebook/CVCFUid.h>

CString CVCFUid::GetName() const
{
    return "UID";
}
