#pragma once

// MFC's list of strings: the members of CList<CString> with LPCTSTR arguments, walked with
// POSITION values. Invalid positions are handled as CList handles them.

#include <shared/framework/CList.h>
#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>

class SHARED_API CStringList : public CObject
{
    DECLARE_SERIAL(CStringList)

public:
    explicit CStringList(INT_PTR nBlockSize = 10);
    CStringList(const CStringList&) = default;
    CStringList& operator=(const CStringList&) = default;
    ~CStringList() override;

    // The framework's layout: the element count (as CArchive::WriteCount writes it), then each
    // string. Loading appends to the list, as in MFC.
    void Serialize(CArchive& ar) override;

    INT_PTR GetCount() const noexcept { return m_list.GetCount(); }
    INT_PTR GetSize() const noexcept { return m_list.GetSize(); }
    BOOL IsEmpty() const noexcept { return m_list.IsEmpty(); }

    CString& GetHead();
    const CString& GetHead() const;
    CString& GetTail();
    const CString& GetTail() const;
    CString RemoveHead();
    CString RemoveTail();

    POSITION AddHead(LPCTSTR newElement);
    POSITION AddHead(const CString& newElement);
    POSITION AddTail(LPCTSTR newElement);
    POSITION AddTail(const CString& newElement);
    void AddHead(CStringList* pNewList);
    void AddTail(CStringList* pNewList);
    void RemoveAll() noexcept { m_list.RemoveAll(); }

    POSITION GetHeadPosition() const noexcept { return m_list.GetHeadPosition(); }
    POSITION GetTailPosition() const noexcept { return m_list.GetTailPosition(); }
    CString& GetNext(POSITION& rPosition);
    const CString& GetNext(POSITION& rPosition) const;
    CString& GetPrev(POSITION& rPosition);
    const CString& GetPrev(POSITION& rPosition) const;

    CString& GetAt(POSITION position);
    const CString& GetAt(POSITION position) const;
    void SetAt(POSITION pos, LPCTSTR newElement);
    void SetAt(POSITION pos, const CString& newElement);
    void RemoveAt(POSITION position);

    POSITION InsertBefore(POSITION position, LPCTSTR newElement);
    POSITION InsertBefore(POSITION position, const CString& newElement);
    POSITION InsertAfter(POSITION position, LPCTSTR newElement);
    POSITION InsertAfter(POSITION position, const CString& newElement);

    // Case-sensitive search after startAfter (from the head when null); null when absent.
    POSITION Find(LPCTSTR searchValue, POSITION startAfter = nullptr) const;
    POSITION FindIndex(INT_PTR nIndex) const;

private:
    CList<CString, const CString&> m_list;
};
