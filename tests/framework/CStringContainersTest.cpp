#include <gtest/gtest.h>
#include <shared/framework/CList.h>
#include <shared/framework/CStringArray.h>
#include <shared/framework/CStringList.h>
#include <string>
#include <vector>

namespace
{

std::vector<std::string> Contents(const CStringList& list)
{
    std::vector<std::string> out;
    for (POSITION pos = list.GetHeadPosition(); pos != nullptr;)
        out.emplace_back(list.GetNext(pos).GetString());
    return out;
}

std::vector<std::string> Backwards(const CStringList& list)
{
    std::vector<std::string> out;
    for (POSITION pos = list.GetTailPosition(); pos != nullptr;)
        out.emplace_back(list.GetPrev(pos).GetString());
    return out;
}

std::vector<std::string> Contents(const CStringArray& array)
{
    std::vector<std::string> out;
    for (INT_PTR i = 0; i < array.GetSize(); ++i)
        out.emplace_back(array[i].GetString());
    return out;
}

using Strings = std::vector<std::string>;

} // namespace

TEST(CStringArrayTest, AddInsertRemoveKeepOrderAndReturnIndexes)
{
    CStringArray a;
    EXPECT_TRUE(a.IsEmpty());
    EXPECT_EQ(a.GetUpperBound(), -1);
    EXPECT_EQ(a.Add("a"), 0);
    EXPECT_EQ(a.Add(CString("c")), 1);
    a.InsertAt(1, "b");
    EXPECT_EQ(Contents(a), (Strings{"a", "b", "c"}));
    a.InsertAt(0, "x", 2);
    EXPECT_EQ(Contents(a), (Strings{"x", "x", "a", "b", "c"}));
    a.RemoveAt(0, 2);
    EXPECT_EQ(Contents(a), (Strings{"a", "b", "c"}));
    a.RemoveAt(1, 99); // clamps to the end
    EXPECT_EQ(Contents(a), (Strings{"a"}));
    a.RemoveAt(5);
    a.RemoveAt(-1);
    EXPECT_EQ(a.GetCount(), 1);

    // Inserting past the end grows the array with empty strings, as in MFC.
    a.InsertAt(3, "d");
    EXPECT_EQ(Contents(a), (Strings{"a", "", "", "d"}));
    a.SetAtGrow(5, "f");
    EXPECT_EQ(a.GetSize(), 6);
    EXPECT_EQ(a[5], "f");

    // Adding an element of the array to itself must survive the reallocation.
    for (int i = 0; i < 50; ++i)
    {
        a.Add(a[0]);
        a.SetAtGrow(a.GetSize(), a.GetAt(0));
    }
    EXPECT_EQ(a.GetAt(a.GetUpperBound()), "a");
}

TEST(CStringArrayTest, OutOfRangeAccessIsHarmless)
{
    CStringArray a;
    a.Add("only");
    EXPECT_EQ(a.GetAt(1), "");
    EXPECT_EQ(a.GetAt(-1), "");
    a.SetAt(3, "ignored");
    a[7] = "scratch";
    EXPECT_EQ(a.GetSize(), 1);
    EXPECT_EQ(a[7], ""); // the scratch write did not stick
    a.ElementAt(0) += "!";
    EXPECT_EQ(a[0], "only!");
}

TEST(CStringArrayTest, SizeCopyAppendAndPolymorphicDestruction)
{
    CStringArray a;
    a.SetSize(3);
    EXPECT_EQ(Contents(a), (Strings{"", "", ""}));
    a.SetAt(2, "z");
    a.SetSize(-4);
    EXPECT_TRUE(a.IsEmpty());

    CStringArray b;
    b.Add("1");
    b.Add("2");
    EXPECT_EQ(b.Append(b), 2);
    EXPECT_EQ(Contents(b), (Strings{"1", "2", "1", "2"}));
    a.Copy(b);
    EXPECT_EQ(Contents(a), Contents(b));
    a.InsertAt(1, &b);
    EXPECT_EQ(a.GetSize(), 8);
    EXPECT_EQ(a[1], "1");
    EXPECT_EQ(a[5], "2");

    // Derived arrays (the tokenizer) are destroyed through the base.
    struct Derived : CStringArray
    {
        explicit Derived(bool& flag) : destroyed(flag) {}
        ~Derived() override { destroyed = true; }
        bool& destroyed;
    };
    bool destroyed = false;
    CObject* p = new Derived(destroyed);
    delete p;
    EXPECT_TRUE(destroyed);
}

TEST(CStringListTest, HeadTailInsertionAndBothWalkingDirections)
{
    CStringList list;
    EXPECT_TRUE(list.IsEmpty());
    list.AddTail("b");
    list.AddHead("a");
    const POSITION c = list.AddTail(CString("c"));
    list.InsertBefore(c, "b2");
    list.InsertAfter(c, "d");
    list.InsertBefore(nullptr, "0"); // null: head
    list.InsertAfter(nullptr, "e");  // null: tail
    EXPECT_EQ(Contents(list), (Strings{"0", "a", "b", "b2", "c", "d", "e"}));
    EXPECT_EQ(Backwards(list), (Strings{"e", "d", "c", "b2", "b", "a", "0"}));
    EXPECT_EQ(list.GetCount(), 7);
    EXPECT_EQ(list.GetHead(), "0");
    EXPECT_EQ(list.GetTail(), "e");
    EXPECT_EQ(list.GetAt(c), "c");
    list.SetAt(c, "C");
    EXPECT_EQ(list.GetAt(list.FindIndex(4)), "C");
    EXPECT_EQ(list.FindIndex(7), nullptr);
    EXPECT_EQ(list.FindIndex(-1), nullptr);
}

TEST(CStringListTest, RemovalAndSearch)
{
    CStringList list;
    for (const char* s : {"x", "y", "x", "z"})
        list.AddTail(s);
    const POSITION first = list.Find("x");
    ASSERT_NE(first, nullptr);
    const POSITION second = list.Find("x", first);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(list.Find("x", second), nullptr);
    EXPECT_EQ(list.Find("X"), nullptr);

    list.RemoveAt(second);
    EXPECT_EQ(Contents(list), (Strings{"x", "y", "z"}));
    EXPECT_EQ(list.RemoveHead(), "x");
    EXPECT_EQ(list.RemoveTail(), "z");
    EXPECT_EQ(Contents(list), (Strings{"y"}));
    list.RemoveAll();
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetHeadPosition(), nullptr);

    // Misuse on an empty list gives empty strings instead of crashing.
    EXPECT_EQ(list.RemoveHead(), "");
    EXPECT_EQ(list.GetTail(), "");
    POSITION none = nullptr;
    EXPECT_EQ(list.GetNext(none), "");
    list.RemoveAt(nullptr);
    list.SetAt(nullptr, "ignored");
    EXPECT_TRUE(list.IsEmpty());
}

TEST(CStringListTest, ListsAppendToEachOtherAndCopyDeeply)
{
    CStringList a;
    a.AddTail("1");
    a.AddTail("2");
    CStringList b;
    b.AddTail("x");
    b.AddHead(&a);
    b.AddTail(&a);
    EXPECT_EQ(Contents(b), (Strings{"1", "2", "x", "1", "2"}));
    b.AddTail(&b);
    EXPECT_EQ(b.GetCount(), 10);

    CStringList copy(a);
    copy.GetHead() = "changed";
    EXPECT_EQ(a.GetHead(), "1");
    copy = b;
    EXPECT_EQ(Contents(copy), Contents(b));
}

namespace
{

struct Period
{
    int year = 0;
    int week = 0;
    bool operator==(const Period&) const = default;
};

} // namespace

TEST(CListTest, WorksWithValueTypesAndNonConstArgumentReferences)
{
    // The shape the year-week periods use: CList<T, T&>.
    CList<Period, Period&> periods;
    Period p{2006, 23};
    periods.AddTail(p);
    p.week = 24;
    periods.AddTail(p);
    EXPECT_EQ(periods.GetCount(), 2);
    EXPECT_EQ(periods.GetHead().week, 23);
    Period wanted{2006, 24};
    EXPECT_EQ(periods.Find(wanted), periods.GetTailPosition());

    CList<int> numbers;
    for (int i = 0; i < 5; ++i)
        numbers.AddTail(i);
    POSITION pos = numbers.GetHeadPosition();
    while (pos != nullptr)
    {
        const POSITION current = pos;
        if (numbers.GetNext(pos) % 2 == 1)
            numbers.RemoveAt(current); // removing behind the walk is safe
    }
    EXPECT_EQ(numbers.GetCount(), 3);
    EXPECT_EQ(numbers.GetTail(), 4);
    EXPECT_EQ(numbers.RemoveHead(), 0);
    EXPECT_EQ(numbers.RemoveTail(), 4);
    EXPECT_EQ(numbers.RemoveTail(), 2);
    EXPECT_EQ(numbers.RemoveTail(), 0); // empty: default element
    EXPECT_TRUE(numbers.IsEmpty());
}
