#include <algorithm>
#include <shared/archive/CArchive.h>
#include <shared/framework/CStringArray.h>

IMPLEMENT_SERIAL(CStringArray, CObject, 0)

namespace
{

// Where writes to an index outside the array go; reset on every use so nothing leaks between
// callers.
CString& Scratch()
{
    static thread_local CString scratch;
    scratch.Empty();
    return scratch;
}

const CString& EmptyString()
{
    static const CString empty;
    return empty;
}

} // namespace

CStringArray::~CStringArray() = default;

void CStringArray::SetSize(INT_PTR nNewSize, INT_PTR /*nGrowBy*/)
{
    m_data.resize(static_cast<std::size_t>(std::max<INT_PTR>(nNewSize, 0)));
}

void CStringArray::FreeExtra()
{
    m_data.shrink_to_fit();
}

const CString& CStringArray::GetAt(INT_PTR nIndex) const
{
    if (nIndex < 0 || nIndex >= GetSize())
    {
        return EmptyString();
    }
    return m_data[static_cast<std::size_t>(nIndex)];
}

void CStringArray::SetAt(INT_PTR nIndex, LPCTSTR newElement)
{
    if (nIndex >= 0 && nIndex < GetSize())
    {
        m_data[static_cast<std::size_t>(nIndex)] = newElement;
    }
}

void CStringArray::SetAt(INT_PTR nIndex, const CString& newElement)
{
    if (nIndex >= 0 && nIndex < GetSize())
    {
        m_data[static_cast<std::size_t>(nIndex)] = newElement;
    }
}

CString& CStringArray::ElementAt(INT_PTR nIndex)
{
    if (nIndex < 0 || nIndex >= GetSize())
    {
        return Scratch();
    }
    return m_data[static_cast<std::size_t>(nIndex)];
}

void CStringArray::SetAtGrow(INT_PTR nIndex, LPCTSTR newElement)
{
    SetAtGrow(nIndex, CString(newElement));
}

void CStringArray::SetAtGrow(INT_PTR nIndex, const CString& newElement)
{
    if (nIndex < 0)
    {
        return;
    }
    const CString value(newElement); // may refer to an element that the growth moves
    if (nIndex >= GetSize())
    {
        SetSize(nIndex + 1);
    }
    m_data[static_cast<std::size_t>(nIndex)] = value;
}

INT_PTR CStringArray::Add(LPCTSTR newElement)
{
    m_data.emplace_back(newElement);
    return GetUpperBound();
}

INT_PTR CStringArray::Add(const CString& newElement)
{
    m_data.push_back(newElement);
    return GetUpperBound();
}

INT_PTR CStringArray::Append(const CStringArray& src)
{
    const INT_PTR first = GetSize();
    if (&src == this)
    {
        const std::vector<CString> copy(m_data);
        m_data.insert(m_data.end(), copy.begin(), copy.end());
    }
    else
    {
        m_data.insert(m_data.end(), src.m_data.begin(), src.m_data.end());
    }
    return first;
}

void CStringArray::Copy(const CStringArray& src)
{
    if (&src != this)
    {
        m_data = src.m_data;
    }
}

void CStringArray::InsertAt(INT_PTR nIndex, LPCTSTR newElement, INT_PTR nCount)
{
    InsertAt(nIndex, CString(newElement), nCount);
}

void CStringArray::InsertAt(INT_PTR nIndex, const CString& newElement, INT_PTR nCount)
{
    if (nIndex < 0 || nCount <= 0)
    {
        return;
    }
    const CString value(newElement);
    if (nIndex >= GetSize())
    {
        SetSize(nIndex + nCount);
        std::fill(m_data.begin() + nIndex, m_data.end(), value);
    }
    else
    {
        m_data.insert(m_data.begin() + nIndex, static_cast<std::size_t>(nCount), value);
    }
}

void CStringArray::InsertAt(INT_PTR nStartIndex, const CStringArray* pNewArray)
{
    if (pNewArray == nullptr || nStartIndex < 0 || pNewArray->IsEmpty())
    {
        return;
    }
    const std::vector<CString> copy(pNewArray->m_data);
    if (nStartIndex > GetSize())
    {
        SetSize(nStartIndex);
    }
    m_data.insert(m_data.begin() + nStartIndex, copy.begin(), copy.end());
}

void CStringArray::RemoveAt(INT_PTR nIndex, INT_PTR nCount)
{
    if (nIndex < 0 || nCount <= 0 || nIndex >= GetSize())
    {
        return;
    }
    const INT_PTR last = nIndex + std::min(GetSize() - nIndex, nCount);
    m_data.erase(m_data.begin() + nIndex, m_data.begin() + last);
}

void CStringArray::Serialize(CArchive& ar)
{
    CObject::Serialize(ar);
    if (ar.IsStoring())
    {
        ar.WriteCount(static_cast<DWORD_PTR>(m_data.size()));
        for (const CString& s : m_data)
        {
            ar << s;
        }
    }
    else
    {
        // Read element by element rather than sizing from the count first, so that a corrupt
        // count fails at the end of the data instead of allocating what it claims.
        const DWORD_PTR count = ar.ReadCount();
        std::vector<CString> loaded;
        for (DWORD_PTR i = 0; i < count; ++i)
        {
            CString s;
            ar >> s;
            loaded.push_back(std::move(s));
        }
        m_data = std::move(loaded);
    }
}
