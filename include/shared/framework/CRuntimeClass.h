#pragma once

// Run-time class information of the framework's persistent objects, with MFC's macros.
//
//     // header                                   // source
//     class CSet : public CObject                  IMPLEMENT_SERIAL(CSet, CObject, 1 |
//     VERSIONABLE_SCHEMA)
//     {
//         DECLARE_SERIAL(CSet)
//         ...
//     };
//
// Each IMPLEMENT_* macro defines the class's static CRuntimeClass and registers it, at static
// initialisation, in a process-wide registry that CRuntimeClass::FromName searches; this is how an
// archive turns a class name read from a file back into an object. Registration and look-up are
// thread-safe, and a class defined in a shared object that is unloaded removes itself again.
//
// IMPLEMENT_SERIAL also defines `CArchive& operator>>(CArchive&, class_name*&)`, which reads an
// object through CArchive::ReadObject; the source file using it must include the archive header.

#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class CObject;
class CArchive;

// Marks a schema number as versionable: an archive then hands the stored schema to Serialize
// (through CArchive::GetObjectSchema) instead of refusing a file written with another schema.
#define VERSIONABLE_SCHEMA (0x80000000)

struct SHARED_API CRuntimeClass
{
    LPCSTR m_lpszClassName;
    int m_nObjectSize;
    // 0xFFFF for classes that are not serialisable; otherwise the schema, possibly with
    // VERSIONABLE_SCHEMA.
    UINT m_wSchema;
    // Null for classes that cannot be created dynamically (abstract or DECLARE_DYNAMIC only).
    CObject*(PASCAL* m_pfnCreateObject)();
    CRuntimeClass* m_pBaseClass;

    // A new object of this class, owned by the caller; null when the class has no creation
    // function or creation failed.
    CObject* CreateObject();
    BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;

    // The registered class of that name, or null.
    static CRuntimeClass* PASCAL FromName(LPCSTR lpszClassName);
    // A new object of the registered class of that name (owned by the caller), or null.
    static CObject* PASCAL CreateObject(LPCSTR lpszClassName);
};

// Registers a run-time class for its lifetime (the framework's static registration object).
struct SHARED_API AFX_CLASSINIT
{
    explicit AFX_CLASSINIT(CRuntimeClass* pNewClass);
    ~AFX_CLASSINIT();
    AFX_CLASSINIT(const AFX_CLASSINIT&) = delete;
    AFX_CLASSINIT& operator=(const AFX_CLASSINIT&) = delete;

private:
    CRuntimeClass* m_pClass;
};

// The archive extraction operator that DECLARE_SERIAL befriends must be visible outside the shared
// object that defines the class, whatever the visibility default of its build.
#if defined(_WIN32)
#if defined(SHARED_BUILDING_LIBRARY)
#define SHARED_SERIAL_VISIBILITY __declspec(dllexport)
#else
// Functions link through the import library without dllimport; application classes get none.
#define SHARED_SERIAL_VISIBILITY
#endif
#else
#define SHARED_SERIAL_VISIBILITY __attribute__((visibility("default")))
#endif

// GetRuntimeClass is declared without `override` so that classes written in MFC's style (plain
// `virtual` everywhere) compile cleanly; clang's consistency warning is silenced for that one
// declaration so that classes using `override` elsewhere compile cleanly too.
#if defined(__clang__)
#define SHARED_RUNTIME_CLASS_DECL_BEGIN                                                            \
    _Pragma("clang diagnostic push")                                                               \
        _Pragma("clang diagnostic ignored \"-Winconsistent-missing-override\"")
#define SHARED_RUNTIME_CLASS_DECL_END _Pragma("clang diagnostic pop")
#else
#define SHARED_RUNTIME_CLASS_DECL_BEGIN
#define SHARED_RUNTIME_CLASS_DECL_END
#endif

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

#define DECLARE_DYNAMIC(class_name)                                                                \
public:                                                                                            \
    static CRuntimeClass class##class_name;                                                        \
    static CRuntimeClass* PASCAL GetThisClass()                                                    \
    {                                                                                              \
        return &class_name::class##class_name;                                                     \
    }                                                                                              \
    SHARED_RUNTIME_CLASS_DECL_BEGIN                                                                \
    virtual CRuntimeClass* GetRuntimeClass() const;                                                \
    SHARED_RUNTIME_CLASS_DECL_END

#define DECLARE_DYNCREATE(class_name)                                                              \
    DECLARE_DYNAMIC(class_name)                                                                    \
    static CObject* PASCAL CreateObject();

#define DECLARE_SERIAL(class_name)                                                                 \
    DECLARE_DYNCREATE(class_name)                                                                  \
    friend SHARED_SERIAL_VISIBILITY CArchive& AFXAPI operator>>(CArchive& ar, class_name*& pOb);

#define IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, pfnNew)                       \
    CRuntimeClass class_name::class##class_name = {                                                \
        #class_name, static_cast<int>(sizeof(class_name)), static_cast<UINT>(wSchema), pfnNew,     \
        RUNTIME_CLASS(base_class_name)};                                                           \
    CRuntimeClass* class_name::GetRuntimeClass() const                                             \
    {                                                                                              \
        return RUNTIME_CLASS(class_name);                                                          \
    }                                                                                              \
    static const AFX_CLASSINIT _init_##class_name(RUNTIME_CLASS(class_name));

#define IMPLEMENT_DYNAMIC(class_name, base_class_name)                                             \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)                                           \
    CObject* PASCAL class_name::CreateObject()                                                     \
    {                                                                                              \
        return new class_name;                                                                     \
    }                                                                                              \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, 0xFFFF, class_name::CreateObject)

#define IMPLEMENT_SERIAL(class_name, base_class_name, wSchema)                                     \
    CObject* PASCAL class_name::CreateObject()                                                     \
    {                                                                                              \
        return new class_name;                                                                     \
    }                                                                                              \
    IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, wSchema, class_name::CreateObject)         \
    CArchive& AFXAPI operator>>(CArchive& ar, class_name*& pOb)                                    \
    {                                                                                              \
        pOb = static_cast<class_name*>(ar.ReadObject(RUNTIME_CLASS(class_name)));                  \
        return ar;                                                                                 \
    }
