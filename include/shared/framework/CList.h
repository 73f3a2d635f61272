#pragma once

// MFC's doubly linked list template, CList<TYPE, ARG_TYPE>, walked with POSITION values:
//
//     POSITION pos = list.GetHeadPosition();
//     while (pos != nullptr)
//         Use(list.GetNext(pos));
//
// A POSITION stays valid until its element is removed. Misuse is not fatal: a null POSITION reads
// as a default element (a scratch value the list does not keep) and is ignored by SetAt and
// RemoveAt; removing from an empty list returns a default element. Elements are compared with
// operator== by Find, as MFC's CompareElements does.

#include <cstdlib>
#include <shared/framework/CObject.h>
#include <shared/framework/WinTypes.h>
#include <type_traits>
#include <utility>

template <class TYPE, class ARG_TYPE = const TYPE&> class CList : public CObject
{
protected:
    struct CNode
    {
        CNode* pNext;
        CNode* pPrev;
        TYPE data;
    };

public:
    // nBlockSize is accepted for compatibility; nodes are allocated one by one.
    explicit CList(INT_PTR nBlockSize = 10) { static_cast<void>(nBlockSize); }
    CList(const CList& other) : CObject() { AddTailFrom(other); }
    CList& operator=(const CList& other)
    {
        if (&other != this)
        {
            RemoveAll();
            AddTailFrom(other);
        }
        return *this;
    }
    ~CList() override { RemoveAll(); }

    INT_PTR GetCount() const noexcept { return m_nCount; }
    INT_PTR GetSize() const noexcept { return m_nCount; }
    BOOL IsEmpty() const noexcept { return m_nCount == 0 ? TRUE : FALSE; }

    TYPE& GetHead() { return m_pNodeHead != nullptr ? m_pNodeHead->data : Scratch(); }
    const TYPE& GetHead() const { return m_pNodeHead != nullptr ? m_pNodeHead->data : Scratch(); }
    TYPE& GetTail() { return m_pNodeTail != nullptr ? m_pNodeTail->data : Scratch(); }
    const TYPE& GetTail() const { return m_pNodeTail != nullptr ? m_pNodeTail->data : Scratch(); }

    TYPE RemoveHead()
    {
        if (m_pNodeHead == nullptr)
        {
            return Scratch();
        }
        TYPE value(m_pNodeHead->data);
        FreeNode(m_pNodeHead);
        return value;
    }
    TYPE RemoveTail()
    {
        if (m_pNodeTail == nullptr)
        {
            return Scratch();
        }
        TYPE value(m_pNodeTail->data);
        FreeNode(m_pNodeTail);
        return value;
    }

    POSITION AddHead(ARG_TYPE newElement)
    {
        return ToPos(LinkNew(nullptr, m_pNodeHead, newElement));
    }
    POSITION AddTail(ARG_TYPE newElement)
    {
        return ToPos(LinkNew(m_pNodeTail, nullptr, newElement));
    }
    // Adds copies of another list's elements, keeping their order, before the head or after the
    // tail. Adding a list to itself doubles it.
    void AddHead(CList* pNewList)
    {
        if (pNewList == nullptr)
        {
            return;
        }
        CList copy(*pNewList);
        for (CNode* p = copy.m_pNodeTail; p != nullptr; p = p->pPrev)
        {
            AddHead(p->data);
        }
    }
    void AddTail(CList* pNewList)
    {
        if (pNewList != nullptr)
        {
            CList copy(*pNewList);
            AddTailFrom(copy);
        }
    }

    void RemoveAll() noexcept
    {
        CNode* p = m_pNodeHead;
        while (p != nullptr)
        {
            CNode* next = p->pNext;
            delete p;
            p = next;
        }
        m_pNodeHead = m_pNodeTail = nullptr;
        m_nCount = 0;
    }

    POSITION GetHeadPosition() const noexcept { return ToPos(m_pNodeHead); }
    POSITION GetTailPosition() const noexcept { return ToPos(m_pNodeTail); }

    TYPE& GetNext(POSITION& rPosition) { return Step(rPosition, true); }
    const TYPE& GetNext(POSITION& rPosition) const { return Step(rPosition, true); }
    TYPE& GetPrev(POSITION& rPosition) { return Step(rPosition, false); }
    const TYPE& GetPrev(POSITION& rPosition) const { return Step(rPosition, false); }

    TYPE& GetAt(POSITION position)
    {
        CNode* p = FromPos(position);
        return p != nullptr ? p->data : Scratch();
    }
    const TYPE& GetAt(POSITION position) const
    {
        const CNode* p = FromPos(position);
        return p != nullptr ? p->data : Scratch();
    }
    void SetAt(POSITION pos, ARG_TYPE newElement)
    {
        if (CNode* p = FromPos(pos))
        {
            p->data = newElement;
        }
    }
    void RemoveAt(POSITION position)
    {
        if (CNode* p = FromPos(position))
        {
            FreeNode(p);
        }
    }

    // A null position inserts at the head (InsertBefore) or the tail (InsertAfter).
    POSITION InsertBefore(POSITION position, ARG_TYPE newElement)
    {
        CNode* p = FromPos(position);
        if (p == nullptr)
        {
            return AddHead(newElement);
        }
        return ToPos(LinkNew(p->pPrev, p, newElement));
    }
    POSITION InsertAfter(POSITION position, ARG_TYPE newElement)
    {
        CNode* p = FromPos(position);
        if (p == nullptr)
        {
            return AddTail(newElement);
        }
        return ToPos(LinkNew(p, p->pNext, newElement));
    }

    // The first element equal to searchValue after startAfter (from the head when null).
    POSITION Find(ARG_TYPE searchValue, POSITION startAfter = nullptr) const
    {
        const CNode* p = startAfter == nullptr ? m_pNodeHead : FromPos(startAfter)->pNext;
        for (; p != nullptr; p = p->pNext)
        {
            if (p->data == searchValue)
            {
                return ToPos(p);
            }
        }
        return nullptr;
    }
    // The position of the element at a 0-based index, or null when outside the list.
    POSITION FindIndex(INT_PTR nIndex) const
    {
        if (nIndex < 0 || nIndex >= m_nCount)
        {
            return nullptr;
        }
        const CNode* p = m_pNodeHead;
        while (nIndex-- > 0)
        {
            p = p->pNext;
        }
        return ToPos(p);
    }

private:
    static POSITION ToPos(const CNode* p) noexcept
    {
        return reinterpret_cast<POSITION>(const_cast<CNode*>(p));
    }
    static CNode* FromPos(POSITION pos) noexcept { return reinterpret_cast<CNode*>(pos); }

    // The element handed out for invalid access: reset to a default value on every use.
    static TYPE& Scratch()
    {
        if constexpr (std::is_default_constructible_v<TYPE> && std::is_move_assignable_v<TYPE>)
        {
            static thread_local TYPE scratch{};
            scratch = TYPE{};
            return scratch;
        }
        else
        {
            std::abort(); // no default element exists for this type: a caller bug
        }
    }

    TYPE& Step(POSITION& rPosition, bool forward) const
    {
        CNode* p = FromPos(rPosition);
        if (p == nullptr)
        {
            return Scratch();
        }
        rPosition = ToPos(forward ? p->pNext : p->pPrev);
        return p->data;
    }

    template <class V> CNode* LinkNew(CNode* prev, CNode* next, V&& value)
    {
        CNode* p = new CNode{next, prev, TYPE(std::forward<V>(value))};
        (prev != nullptr ? prev->pNext : m_pNodeHead) = p;
        (next != nullptr ? next->pPrev : m_pNodeTail) = p;
        ++m_nCount;
        return p;
    }

    void FreeNode(CNode* p) noexcept
    {
        (p->pPrev != nullptr ? p->pPrev->pNext : m_pNodeHead) = p->pNext;
        (p->pNext != nullptr ? p->pNext->pPrev : m_pNodeTail) = p->pPrev;
        delete p;
        --m_nCount;
    }

    void AddTailFrom(const CList& other)
    {
        for (const CNode* p = other.m_pNodeHead; p != nullptr; p = p->pNext)
        {
            LinkNew(m_pNodeTail, nullptr, p->data);
        }
    }

    CNode* m_pNodeHead = nullptr;
    CNode* m_pNodeTail = nullptr;
    INT_PTR m_nCount = 0;
};
