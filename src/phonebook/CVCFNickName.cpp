#include <shared/phonebook/CVCFNickName.h>

CString CVCFNickName::GetName() const
{
    return "NICKNAME";
}
