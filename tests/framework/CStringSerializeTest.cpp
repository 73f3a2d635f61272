#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <shared/archive/CArchive.h>
#include <shared/framework/CException.h>
#include <shared/framework/CFile.h>
#include <shared/framework/CStringArray.h>
#include <shared/framework/CStringList.h>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

class ScratchFile
{
public:
    ScratchFile()
    {
        char pattern[] = "/tmp/fw-serialize-XXXXXX";
        if (::mkdtemp(pattern) != nullptr)
            m_dir = pattern;
    }
    ~ScratchFile() { std::filesystem::remove_all(m_dir); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::string Path() const { return (m_dir / "data.bin").string(); }

    Bytes Store(const std::function<void(CArchive&)>& body) const
    {
        {
            CFile file;
            EXPECT_TRUE(file.Open(Path().c_str(), CFile::modeCreate | CFile::modeWrite));
            CArchive ar(&file, CArchive::store);
            body(ar);
            ar.Close();
            file.Close();
        }
        std::ifstream in(Path(), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    void Load(const Bytes& bytes, const std::function<void(CArchive&)>& body) const
    {
        {
            std::ofstream out(Path(), std::ios::binary | std::ios::trunc);
            out.write(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<std::streamsize>(bytes.size()));
        }
        CFile file;
        EXPECT_TRUE(file.Open(Path().c_str(), CFile::modeRead));
        CArchive ar(&file, CArchive::load);
        body(ar);
    }

private:
    std::filesystem::path m_dir;
};

// A count of three, then "a", "" and "xyz" with their one-byte lengths.
const Bytes kThreeStrings = {0x03, 0x00, 0x01, 'a', 0x00, 0x03, 'x', 'y', 'z'};

} // namespace

TEST(CStringSerializeTest, ArrayAndListUseTheFrameworkLayoutBothWays)
{
    ScratchFile scratch;
    CStringArray array;
    CStringList list;
    for (const char* text : {"a", "", "xyz"})
    {
        array.Add(text);
        list.AddTail(text);
    }
    EXPECT_EQ(scratch.Store([&](CArchive& ar) { array.Serialize(ar); }), kThreeStrings);
    EXPECT_EQ(scratch.Store([&](CArchive& ar) { list.Serialize(ar); }), kThreeStrings);

    // An array is replaced by what it loads; a list appends it.
    CStringArray loadedArray;
    loadedArray.Add("replaced");
    scratch.Load(kThreeStrings, [&](CArchive& ar) { loadedArray.Serialize(ar); });
    ASSERT_EQ(loadedArray.GetSize(), 3);
    EXPECT_EQ(loadedArray[0], "a");
    EXPECT_EQ(loadedArray[1], "");
    EXPECT_EQ(loadedArray[2], "xyz");
    CStringList loadedList;
    loadedList.AddTail("kept");
    scratch.Load(kThreeStrings, [&](CArchive& ar) { loadedList.Serialize(ar); });
    ASSERT_EQ(loadedList.GetCount(), 4);
    EXPECT_EQ(loadedList.GetHead(), "kept");
    EXPECT_EQ(loadedList.GetTail(), "xyz");
}

TEST(CStringSerializeTest, TruncatedDataLeavesTheArrayAsItWas)
{
    ScratchFile scratch;
    CStringArray array;
    array.Add("original");
    const Bytes truncated = {0x05, 0x00, 0x01, 'a'};
    bool threw = false;
    try
    {
        scratch.Load(truncated, [&](CArchive& ar) { array.Serialize(ar); });
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
