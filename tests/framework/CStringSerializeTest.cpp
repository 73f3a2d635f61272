#include "../archive/ArchiveTestSupport.h"

#include <gtest/gtest.h>
#include <shared/archive/CArchive.h>
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/framework/CStringArray.h>
#include <shared/framework/CStringList.h>
#include <string>
#include <vector>

namespace
{

using archive_test::Bytes;
using archive_test::Load;
using archive_test::Store;

// A count of three, then "a", "" and "xyz" with their one-byte lengths.
const Bytes kThreeStrings = {0x03, 0x00, 0x01, 'a', 0x00, 0x03, 'x', 'y', 'z'};

} // namespace

TEST(CStringSerializeTest, ArrayAndListUseTheFrameworkLayoutBothWays)
{
    CStringArray array;
    CStringList list;
    for (const char* text : {"a", "", "xyz"})
    {
        array.Add(text);
        list.AddTail(text);
    }
    EXPECT_EQ(Store([&](CArchive& ar) { array.Serialize(ar); }), kThreeStrings);
    EXPECT_EQ(Store([&](CArchive& ar) { list.Serialize(ar); }), kThreeStrings);

    // An array is replaced by what it loads; a list appends it.
    CStringArray loadedArray;
    loadedArray.Add("replaced");
    Load(kThreeStrings, [&](CArchive& ar) { loadedArray.Serialize(ar); });
    ASSERT_EQ(loadedArray.GetSize(), 3);
    EXPECT_EQ(loadedArray[0], "a");
    EXPECT_EQ(loadedArray[1], "");
    EXPECT_EQ(loadedArray[2], "xyz");
    CStringList loadedList;
    loadedList.AddTail("kept");
    Load(kThreeStrings, [&](CArchive& ar) { loadedList.Serialize(ar); });
    ASSERT_EQ(loadedList.GetCount(), 4);
    EXPECT_EQ(loadedList.GetHead(), "kept");
    EXPECT_EQ(loadedList.GetTail(), "xyz");
}

TEST(CStringSerializeTest, TruncatedDataLeavesTheArrayAsItWas)
{
    CStringArray array;
    array.Add("original");
    const Bytes truncated = {0x05, 0x00, 0x01, 'a'};
    bool threw = false;
    try
    {
        Load(truncated, [&](CArchive& ar) { array.Serialize(ar); });
    }
    catch (CException* e)
    {
        threw = true;
        e->Delete();
    }
    EXPECT_TRUE(threw);
    ASSERT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array[0], "original");
    // Only exceptions made to be thrown from the heap delete themselves.
    CException onStack(FALSE);
    onStack.Delete();
}
