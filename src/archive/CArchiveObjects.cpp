// Objects and class tags: writing and reading objects by class, the tables that turn later
// mentions of a class or object into back-references, and forgetting objects.
#include <cstring>
#include <shared/archive/CArchive.h>

namespace
{

// The framework's object tags.
constexpr WORD wNullTag = 0x0000;
constexpr WORD wNewClassTag = 0xFFFF;
constexpr WORD wClassTag = 0x8000;
constexpr DWORD dwBigClassTag = 0x80000000u;
constexpr WORD wBigObjectTag = 0x7FFF;
// The last index the framework hands out; one more is badIndex.
constexpr DWORD nMaxMapCount = 0x3FFFFFFEu;
// The framework reads class names into a 64-character buffer, terminator included.
constexpr WORD nMaxClassNameLength = 63;

// The address index of a load archive is built only when an object other than the newest few
// is forgotten; until then it is empty and reading an object costs no index entry. Once built
// it holds this key, so that it never looks unbuilt again.
const CObject* const kIndexBuiltKey = nullptr;
constexpr size_t nRecentEntries = 4;

template <typename Index> void IndexLoaded(Index& index, const CObject* pOb, size_t at)
{
    if (!index.empty())
    {
        index[pOb] = static_cast<DWORD>(at);
    }
}

// The position of pOb among the newest entries, or 0. Objects are nearly always forgotten just
// after they are read.
template <typename Array> size_t FindRecent(const Array& entries, const CObject* pOb)
{
    for (size_t i = entries.size(); i-- > 1 && entries.size() - i <= nRecentEntries;)
    {
        if (!entries[i].isClass && entries[i].pObject == pOb)
        {
            return i;
        }
    }
    return 0;
}

} // namespace

void CArchive::CheckCount() const
{
    if (m_nMapCount >= nMaxMapCount)
    {
        Throw(CArchiveException::badIndex);
    }
}

UINT CArchive::GetObjectSchema()
{
    const UINT result = m_nObjectSchema;
    m_nObjectSchema = static_cast<UINT>(-1);
    return result;
}

void CArchive::SetStoreParams(UINT, UINT) {}

void CArchive::SetLoadParams(UINT) {}

void CArchive::MapObject(const CObject* pOb)
{
    if (pOb == nullptr)
    {
        return;
    }
    CheckCount();
    if (IsStoring())
    {
        m_storeMap[pOb] = m_nMapCount++;
    }
    else
    {
        LoadEntry entry;
        entry.pObject = const_cast<CObject*>(pOb);
        entry.pClass = pOb->GetRuntimeClass();
        IndexLoaded(m_loadIndex, pOb, m_loadArray.size());
        m_loadArray.push_back(entry);
        ++m_nMapCount;
    }
}

void CArchive::UnmapObject(const CObject* pOb)
{
    if (pOb == nullptr || IsStoring())
    {
        return;
    }
    size_t at = FindRecent(m_loadArray, pOb);
    if (at == 0)
    {
        if (m_loadIndex.empty())
        {
            // Built once, in order, so that of two entries for one address (the first object
            // freed without being forgotten) the newer wins.
            m_loadIndex.emplace(kIndexBuiltKey, 0);
            for (size_t i = 1; i < m_loadArray.size(); ++i)
            {
                if (!m_loadArray[i].isClass && m_loadArray[i].pObject != nullptr)
                {
                    m_loadIndex[m_loadArray[i].pObject] = static_cast<DWORD>(i);
                }
            }
        }
        const auto found = m_loadIndex.find(pOb);
        if (found == m_loadIndex.end())
        {
            return;
        }
        at = found->second;
    }
    if (!m_loadIndex.empty())
    {
        m_loadIndex.erase(pOb);
    }
    LoadEntry& entry = m_loadArray[at];
    entry.pObject = nullptr;
    entry.forgotten = true;
}

void CArchive::WriteClass(const CRuntimeClass* pClassRef)
{
    RequireStoring();
    if (pClassRef == nullptr)
    {
        Throw(CArchiveException::badClass);
    }
    if (pClassRef->m_wSchema == 0xFFFF)
    {
        // A class without a schema (declared dynamic, not serial) cannot be archived.
        AfxThrowNotSupportedException();
    }
    const auto found = m_storeMap.find(pClassRef);
    if (found != m_storeMap.end())
    {
        const DWORD index = found->second;
        if (index < wBigObjectTag)
        {
            WriteRaw<WORD>(static_cast<WORD>(wClassTag | index));
        }
        else
        {
            WriteRaw<WORD>(wBigObjectTag);
            WriteRaw<DWORD>(dwBigClassTag | index);
        }
        return;
    }
    const size_t nameLength = std::strlen(pClassRef->m_lpszClassName);
    WriteRaw<WORD>(wNewClassTag);
    WriteRaw<WORD>(static_cast<WORD>(pClassRef->m_wSchema));
    WriteRaw<WORD>(static_cast<WORD>(nameLength));
    WriteBytes(pClassRef->m_lpszClassName, nameLength);
    CheckCount();
    m_storeMap[pClassRef] = m_nMapCount++;
}

CRuntimeClass* CArchive::ReadClass(const CRuntimeClass* pClassRefRequested, UINT* pSchema,
                                   DWORD* pObTag)
{
    RequireLoading();
    if (pClassRefRequested != nullptr && pClassRefRequested->m_wSchema == 0xFFFF)
    {
        AfxThrowNotSupportedException();
    }

    const WORD wTag = ReadRaw<WORD>();
    DWORD obTag = 0;
    if (wTag == wBigObjectTag)
    {
        obTag = ReadRaw<DWORD>();
    }
    else
    {
        obTag =
            (static_cast<DWORD>(wTag & wClassTag) << 16) | (wTag & static_cast<WORD>(~wClassTag));
    }

    if ((obTag & dwBigClassTag) == 0)
    {
        // Not a class: the null object or a reference to an object already read.
        if (pObTag == nullptr)
        {
            Throw(CArchiveException::badIndex);
        }
        *pObTag = obTag;
        return nullptr;
    }

    CRuntimeClass* pClassRef = nullptr;
    UINT nSchema = 0;
    if (wTag == wNewClassTag)
    {
        nSchema = ReadRaw<WORD>();
        const WORD nameLength = ReadRaw<WORD>();
        char name[nMaxClassNameLength + 1];
        if (nameLength > nMaxClassNameLength || Read(name, nameLength) != nameLength)
        {
            Throw(CArchiveException::badClass);
        }
        name[nameLength] = '\0';
        pClassRef = CRuntimeClass::FromName(name);
        if (pClassRef == nullptr)
        {
            Throw(CArchiveException::badClass);
        }
        if ((pClassRef->m_wSchema & ~VERSIONABLE_SCHEMA) != nSchema &&
            (pClassRef->m_wSchema & VERSIONABLE_SCHEMA) == 0)
        {
            // Only a class marked versionable may read a schema other than its own.
            Throw(CArchiveException::badSchema);
        }
        CheckCount();
        LoadEntry entry;
        entry.pClass = pClassRef;
        entry.isClass = true;
        entry.schema = nSchema;
        m_loadArray.push_back(entry);
        ++m_nMapCount;
    }
    else
    {
        const DWORD classIndex = obTag & ~dwBigClassTag;
        if (classIndex == 0 || classIndex >= m_loadArray.size() || !m_loadArray[classIndex].isClass)
        {
            Throw(CArchiveException::badIndex);
        }
        pClassRef = m_loadArray[classIndex].pClass;
        nSchema = m_loadArray[classIndex].schema;
    }

    if (pClassRefRequested != nullptr && !pClassRef->IsDerivedFrom(pClassRefRequested))
    {
        Throw(CArchiveException::badClass);
    }
    if (pSchema != nullptr)
    {
        *pSchema = nSchema;
    }
    else
    {
        m_nObjectSchema = nSchema;
    }
    if (pObTag != nullptr)
    {
        *pObTag = obTag;
    }
    return pClassRef;
}

void CArchive::SerializeClass(const CRuntimeClass* pClassRef)
{
    if (IsStoring())
    {
        WriteClass(pClassRef);
    }
    else
    {
        ReadClass(pClassRef);
    }
}

void CArchive::WriteObject(const CObject* pOb)
{
    RequireStoring();
    if (pOb == nullptr)
    {
        WriteRaw<WORD>(wNullTag);
        return;
    }
    const auto found = m_storeMap.find(pOb);
    if (found != m_storeMap.end())
    {
        const DWORD index = found->second;
        if (index < wBigObjectTag)
        {
            WriteRaw<WORD>(static_cast<WORD>(index));
        }
        else
        {
            WriteRaw<WORD>(wBigObjectTag);
            WriteRaw<DWORD>(index);
        }
        return;
    }
    WriteClass(pOb->GetRuntimeClass());
    CheckCount();
    m_storeMap[pOb] = m_nMapCount++;
    const_cast<CObject*>(pOb)->Serialize(*this);
}

CObject* CArchive::ReadObject(const CRuntimeClass* pClassRefRequested)
{
    RequireLoading();
    UINT nSchema = 0;
    DWORD obTag = 0;
    CRuntimeClass* pClassRef = ReadClass(pClassRefRequested, &nSchema, &obTag);

    if (pClassRef == nullptr)
    {
        if (obTag == wNullTag)
        {
            return nullptr;
        }
        if (obTag >= m_loadArray.size() || m_loadArray[obTag].isClass ||
            m_loadArray[obTag].forgotten)
        {
            Throw(CArchiveException::badIndex);
        }
        const LoadEntry& entry = m_loadArray[obTag];
        // Checked against the class recorded when the object was read, so a reference never
        // needs to touch the object itself.
        if (pClassRefRequested != nullptr && entry.pClass != nullptr &&
            !entry.pClass->IsDerivedFrom(pClassRefRequested))
        {
            Throw(CArchiveException::badClass);
        }
        return entry.pObject;
    }

    CObject* pOb = pClassRef->CreateObject();
    if (pOb == nullptr)
    {
        // The file names a class that cannot be created (declared dynamic only).
        Throw(CArchiveException::badClass);
    }
    try
    {
        CheckCount();
        LoadEntry entry;
        entry.pClass = pClassRef;
        entry.pObject = pOb;
        IndexLoaded(m_loadIndex, pOb, m_loadArray.size());
        m_loadArray.push_back(entry);
        ++m_nMapCount;

        const UINT nSchemaSave = m_nObjectSchema;
        m_nObjectSchema = nSchema;
        try
        {
            pOb->Serialize(*this);
        }
        catch (...)
        {
            m_nObjectSchema = nSchemaSave;
            throw;
        }
        m_nObjectSchema = nSchemaSave;
    }
    catch (...)
    {
        // Half-read objects never reach the caller; later references to them are bad.
        UnmapObject(pOb);
        delete pOb;
        throw;
    }
    return pOb;
}

CArchive& AFXAPI operator<<(CArchive& ar, const CObject* pOb)
{
    ar.WriteObject(pOb);
    return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, CObject*& pOb)
{
    pOb = ar.ReadObject(nullptr);
    return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, const CObject*& pOb)
{
    pOb = ar.ReadObject(nullptr);
    return ar;
}
