#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <shared/framework/CObject.h>
#include <shared/framework/CRuntimeClass.h>
#include <vector>

namespace
{

struct ClassRegistry
{
    std::mutex mutex;
    std::vector<CRuntimeClass*> classes;
};

// Never destroyed: registrations from other shared objects may be removed during their own static
// destruction, after this library's statics would otherwise be gone.
ClassRegistry& Registry()
{
    static ClassRegistry* registry = new ClassRegistry;
    return *registry;
}

} // namespace

CObject* CRuntimeClass::CreateObject()
{
    if (m_pfnCreateObject == nullptr)
    {
        return nullptr;
    }
    try
    {
        return (*m_pfnCreateObject)();
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

BOOL CRuntimeClass::IsDerivedFrom(const CRuntimeClass* pBaseClass) const
{
    if (pBaseClass == nullptr)
    {
        return FALSE;
    }
    for (const CRuntimeClass* p = this; p != nullptr; p = p->m_pBaseClass)
    {
        if (p == pBaseClass)
        {
            return TRUE;
        }
    }
    return FALSE;
}

CRuntimeClass* PASCAL CRuntimeClass::FromName(LPCSTR lpszClassName)
{
    if (lpszClassName == nullptr)
    {
        return nullptr;
    }
    ClassRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    const auto found = std::find_if(registry.classes.begin(), registry.classes.end(),
                                    [lpszClassName](const CRuntimeClass* p) {
                                        return std::strcmp(p->m_lpszClassName, lpszClassName) == 0;
                                    });
    return found == registry.classes.end() ? nullptr : *found;
}

CObject* PASCAL CRuntimeClass::CreateObject(LPCSTR lpszClassName)
{
    CRuntimeClass* pClass = FromName(lpszClassName);
    return pClass == nullptr ? nullptr : pClass->CreateObject();
}

AFX_CLASSINIT::AFX_CLASSINIT(CRuntimeClass* pNewClass) : m_pClass(pNewClass)
{
    if (m_pClass == nullptr)
    {
        return;
    }
    ClassRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    registry.classes.push_back(m_pClass);
}

AFX_CLASSINIT::~AFX_CLASSINIT()
{
    if (m_pClass == nullptr)
    {
        return;
    }
    ClassRegistry& registry = Registry();
    std::lock_guard lock(registry.mutex);
    const auto found = std::find(registry.classes.begin(), registry.classes.end(), m_pClass);
    if (found != registry.classes.end())
    {
        registry.classes.erase(found);
    }
}
