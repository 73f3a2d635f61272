#include <shared/archive/CArchive.h>
#include <shared/framework/CStringList.h>

IMPLEMENT_SERIAL(CStringList, CObject, 0)

CStringList::CStringList(INT_PTR nBlockSize) : m_list(nBlockSize) {}

CStringList::~CStringList() = default;

CString& CStringList::GetHead()
{
    return m_list.GetHead();
}

const CString& CStringList::GetHead() const
{
    return m_list.GetHead();
}

CString& CStringList::GetTail()
{
    return m_list.GetTail();
}

const CString& CStringList::GetTail() const
{
    return m_list.GetTail();
}

CString CStringList::RemoveHead()
{
    return m_list.RemoveHead();
}

CString CStringList::RemoveTail()
{
    return m_list.RemoveTail();
}

POSITION CStringList::AddHead(LPCTSTR newElement)
{
    return m_list.AddHead(CString(newElement));
}

POSITION CStringList::AddHead(const CString& newElement)
{
    return m_list.AddHead(newElement);
}

POSITION CStringList::AddTail(LPCTSTR newElement)
{
    return m_list.AddTail(CString(newElement));
}

POSITION CStringList::AddTail(const CString& newElement)
{
    return m_list.AddTail(newElement);
}

void CStringList::AddHead(CStringList* pNewList)
{
    if (pNewList != nullptr)
    {
        m_list.AddHead(&pNewList->m_list);
    }
}

void CStringList::AddTail(CStringList* pNewList)
{
    if (pNewList != nullptr)
    {
        m_list.AddTail(&pNewList->m_list);
    }
}

CString& CStringList::GetNext(POSITION& rPosition)
{
    return m_list.GetNext(rPosition);
}

const CString& CStringList::GetNext(POSITION& rPosition) const
{
    return m_list.GetNext(rPosition);
}

CString& CStringList::GetPrev(POSITION& rPosition)
{
    return m_list.GetPrev(rPosition);
}

const CString& CStringList::GetPrev(POSITION& rPosition) const
{
    return m_list.GetPrev(rPosition);
}

CString& CStringList::GetAt(POSITION position)
{
    return m_list.GetAt(position);
}

const CString& CStringList::GetAt(POSITION position) const
{
    return m_list.GetAt(position);
}

void CStringList::SetAt(POSITION pos, LPCTSTR newElement)
{
    m_list.SetAt(pos, CString(newElement));
}

void CStringList::SetAt(POSITION pos, const CString& newElement)
{
    m_list.SetAt(pos, newElement);
}

void CStringList::RemoveAt(POSITION position)
{
    m_list.RemoveAt(position);
}

POSITION CStringList::InsertBefore(POSITION position, LPCTSTR newElement)
{
    return m_list.InsertBefore(position, CString(newElement));
}

POSITION CStringList::InsertBefore(POSITION position, const CString& newElement)
{
    return m_list.InsertBefore(position, newElement);
}

POSITION CStringList::InsertAfter(POSITION position, LPCTSTR newElement)
{
    return m_list.InsertAfter(position, CString(newElement));
}

POSITION CStringList::InsertAfter(POSITION position, const CString& newElement)
{
    return m_list.InsertAfter(position, newElement);
}

POSITION CStringList::Find(LPCTSTR searchValue, POSITION startAfter) const
{
    return m_list.Find(CString(searchValue), startAfter);
}

POSITION CStringList::FindIndex(INT_PTR nIndex) const
{
    return m_list.FindIndex(nIndex);
}

void CStringList::Serialize(CArchive& ar)
{
    CObject::Serialize(ar);
    if (ar.IsStoring())
    {
        ar.WriteCount(static_cast<DWORD_PTR>(m_list.GetCount()));
        for (POSITION pos = m_list.GetHeadPosition(); pos != nullptr;)
        {
            ar << m_list.GetNext(pos);
        }
    }
    else
    {
        DWORD_PTR count = ar.ReadCount();
        while (count-- > 0)
        {
            CString s;
            ar >> s;
            m_list.AddTail(s);
        }
    }
}
