#pragma once

// MFC's growable array of strings, indexed from 0.
//
// Indexes outside the array are not fatal here: reads give an empty string, SetAt and RemoveAt
// ignore what lies outside, and a write through ElementAt/operator[] past the end goes to a
// scratch string that the array does not keep. InsertAt and SetAtGrow past the end grow the
// array as in MFC.

#include <shared/framework/CObject.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/platform/Export.h>
#include <vector>

class SHARED_API CStringArray : public CObject
{
    DECLARE_SERIAL(CStringArray)

public:
    CStringArray() = default;
    CStringArray(const CStringArray&) = default;
    CStringArray& operator=(const CStringArray&) = default;
    ~CStringArray() override;

    // The framework's layout: the element count (as CArchive::WriteCount writes it), then each
    // string. Loading replaces the contents.
    void Serialize(CArchive& ar) override;

    INT_PTR GetSize() const noexcept { return static_cast<INT_PTR>(m_data.size()); }
    INT_PTR GetCount() const noexcept { return GetSize(); }
    BOOL IsEmpty() const noexcept { return m_data.empty() ? TRUE : FALSE; }
    INT_PTR GetUpperBound() const noexcept { return GetSize() - 1; }
    // nGrowBy is accepted for compatibility; growth is left to the standard library.
    void SetSize(INT_PTR nNewSize, INT_PTR nGrowBy = -1);
    void FreeExtra();
    void RemoveAll() noexcept { m_data.clear(); }

    const CString& GetAt(INT_PTR nIndex) const;
    void SetAt(INT_PTR nIndex, LPCTSTR newElement);
    void SetAt(INT_PTR nIndex, const CString& newElement);
    CString& ElementAt(INT_PTR nIndex);
    const CString* GetData() const noexcept { return m_data.empty() ? nullptr : m_data.data(); }
    CString* GetData() noexcept { return m_data.empty() ? nullptr : m_data.data(); }

    void SetAtGrow(INT_PTR nIndex, LPCTSTR newElement);
    void SetAtGrow(INT_PTR nIndex, const CString& newElement);
    // Each returns the index of the new element.
    INT_PTR Add(LPCTSTR newElement);
    INT_PTR Add(const CString& newElement);
    // Returns the index of the first appended element.
    INT_PTR Append(const CStringArray& src);
    void Copy(const CStringArray& src);

    CString operator[](INT_PTR nIndex) const { return GetAt(nIndex); }
    CString& operator[](INT_PTR nIndex) { return ElementAt(nIndex); }

    void InsertAt(INT_PTR nIndex, LPCTSTR newElement, INT_PTR nCount = 1);
    void InsertAt(INT_PTR nIndex, const CString& newElement, INT_PTR nCount = 1);
    void InsertAt(INT_PTR nStartIndex, const CStringArray* pNewArray);
    void RemoveAt(INT_PTR nIndex, INT_PTR nCount = 1);

    // Range access for modern callers.
    auto begin() noexcept { return m_data.begin(); }
    auto end() noexcept { return m_data.end(); }
    auto begin() const noexcept { return m_data.begin(); }
    auto end() const noexcept { return m_data.end(); }

private:
    std::vector<CString> m_data;
};
