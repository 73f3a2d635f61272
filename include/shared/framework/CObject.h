#pragma once

// The root of the framework's persistent and run-time-typed classes, as in MFC.
//
// Differences from MFC, both deliberate: copying is protected and defaulted rather than private, so
// that value classes built on CObject (identifiers, positions) may keep their implicit copy
// operations; and the diagnostics never abort (AssertValid and Dump do nothing by default).

#include <shared/framework/CRuntimeClass.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class CArchive;
class CDumpContext;

class SHARED_API CObject
{
public:
    static CRuntimeClass classCObject;
    static CRuntimeClass* PASCAL GetThisClass() { return &CObject::classCObject; }
    virtual CRuntimeClass* GetRuntimeClass() const;

    // Pure, as in MFC, so that CObject itself is never instantiated; it still has a body.
    virtual ~CObject() = 0;

    BOOL IsSerializable() const;
    BOOL IsKindOf(const CRuntimeClass* pClass) const;

    // Writes or reads the object's own data; the default has none.
    virtual void Serialize(CArchive& ar);

    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& dc) const;

protected:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};

// The object as a pointer to class_name when it is of that class or derived from it, else null
// (also for a null object).
inline CObject* AFXAPI AfxDynamicDownCast(CRuntimeClass* pClass, CObject* pObject)
{
    return pObject != nullptr && pObject->IsKindOf(pClass) ? pObject : nullptr;
}

#define DYNAMIC_DOWNCAST(class_name, object)                                                       \
    (static_cast<class_name*>(AfxDynamicDownCast(RUNTIME_CLASS(class_name), (object))))
#define STATIC_DOWNCAST(class_name, object) (static_cast<class_name*>(object))
