#include "../support/Scratch.h"

#include <gtest/gtest.h>
#include <shared/framework/CFile.h>
#include <shared/framework/CStdioFile.h>
#include <string>

namespace
{

class FileTest : public ::testing::Test
{
protected:
    std::string PathOf(const char* name) const { return m_folder.File(name); }
    static std::string Contents(const std::string& path)
    {
        return test_support::ScratchFolder::ReadText(path);
    }
    static void Put(const std::string& path, const std::string& bytes)
    {
        test_support::ScratchFolder::WriteText(path, bytes);
    }

    test_support::ScratchFolder m_folder;
    const std::filesystem::path& m_dir = m_folder.Path();
};

// Runs body and returns the cause of the CFileException* it throws (-1 when none).
template <typename Body> int FileCause(Body body)
{
    try
    {
        body();
    }
    catch (CFileException* e)
    {
        const int cause = e->m_cause;
        e->Delete();
        return cause;
    }
    return -1;
}

TEST_F(FileTest, OpenFailuresAreReportedByResultWithTheCause)
{
    CFile file;
    CFileException error;
    const std::string missing = PathOf("missing.bin");
    EXPECT_FALSE(file.Open(missing.c_str(), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
    EXPECT_STREQ(error.m_strFileName, missing.c_str());
    char text[256];
    ASSERT_TRUE(error.GetErrorMessage(text, sizeof text));
    EXPECT_NE(std::string(text).find(missing), std::string::npos);

    EXPECT_FALSE(file.Open(m_dir.string().c_str(), CFile::modeRead, &error));
    EXPECT_EQ(error.m_cause, CFileException::accessDenied);
    EXPECT_FALSE(
        file.Open(PathOf("no/such/dir.bin").c_str(), CFile::modeCreate | CFile::modeWrite, &error));
#ifdef _WIN32 // Windows tells a missing folder from a missing file
    EXPECT_EQ(error.m_cause, CFileException::badPath);
#else
    EXPECT_EQ(error.m_cause, CFileException::fileNotFound);
#endif
    EXPECT_FALSE(file.Open(PathOf("x").c_str(), CFile::modeRead)); // no exception object: fine

    // The throwing constructor turns the same failure into an exception.
    EXPECT_EQ(FileCause([&] { CFile thrown(missing.c_str(), CFile::modeRead); }),
              CFileException::fileNotFound);
    // A closed file refuses work with an exception, never a crash.
    char byte;
    EXPECT_EQ(FileCause([&] { file.Read(&byte, 1); }), CFileException::invalidFile);
    EXPECT_EQ(FileCause([&] { file.Write("x", 1); }), CFileException::invalidFile);
}

TEST_F(FileTest, CreateTruncatesUnlessToldNotTo)
{
    const std::string path = PathOf("data.bin");
    Put(path, "old content");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite);
        EXPECT_EQ(file.GetLength(), 11u);
        file.SeekToEnd();
        file.Write("!", 1);
    }
    EXPECT_EQ(Contents(path), "old content!");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::shareDenyNone);
        EXPECT_EQ(file.GetLength(), 0u);
        file.Write("new", 3);
        file.Close();
        EXPECT_EQ(file.m_hFile, CFile::hFileNull);
    }
    EXPECT_EQ(Contents(path), "new");
}

TEST_F(FileTest, ReadWriteSeekAndLengthAgree)
{
    const std::string path = PathOf("dir.sub/file.name.dat");
    std::filesystem::create_directories(m_dir / "dir.sub");
    CFile file;
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeReadWrite));
    EXPECT_EQ(file.GetFileName(), CString("file.name.dat"));
    EXPECT_EQ(file.GetFileTitle(), CString("file.name"));
    EXPECT_EQ(file.GetFilePath(), CString(path.c_str()));
    CFile hidden;
    ASSERT_TRUE(hidden.Open(PathOf(".hidden").c_str(), CFile::modeCreate | CFile::modeWrite));
    EXPECT_EQ(hidden.GetFileTitle(), CString(".hidden")); // a leading dot starts no extension

    file.Write("0123456789", 10);
    EXPECT_EQ(file.GetPosition(), 10u);
    EXPECT_EQ(file.Seek(-4, CFile::current), 6u);
    char buffer[16] = {};
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 4u);
    EXPECT_STREQ(buffer, "6789");
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 0u); // the end is a zero count, not an error

    file.SetLength(4); // also moves the position to the new end
    EXPECT_EQ(file.GetLength(), 4u);
    EXPECT_EQ(file.GetPosition(), 4u);
    file.SetLength(6); // extends with zeros
    file.SeekToBegin();
    EXPECT_EQ(file.Read(buffer, sizeof buffer), 6u);
    EXPECT_EQ(std::string(buffer, 6), std::string("0123\0\0", 6));
    EXPECT_EQ(FileCause([&] { file.Seek(-100, CFile::begin); }), CFileException::badSeek);
    file.Flush();
}

TEST_F(FileTest, TextModeWritesCarriageReturnBeforeEveryLineFeed)
{
    const std::string path = PathOf("text.txt");
    {
        CStdioFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeText);
        file.WriteString("first\nsecond\n");
        file.WriteString("");
        file.WriteString("third");
        EXPECT_EQ(file.GetPosition(), 20u); // counted in file bytes, carriage returns included
    }
    EXPECT_EQ(Contents(path), "first\r\nsecond\r\nthird");
    {
        CStdioFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeBinary);
        file.WriteString("raw\n");
    }
    EXPECT_EQ(Contents(path), "raw\n");
}

TEST_F(FileTest, ReadStringAcceptsBothLineEndsAndReportsTheEnd)
{
    const std::string path = PathOf("lines.txt");
    Put(path, "dos\r\nunix\n\r\n\nlone\rcr\nlast");
    CStdioFile file;
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeRead));
    CString line("stale");
    const char* expected[] = {"dos", "unix", "", "", "lone\rcr", "last"};
    for (const char* text : expected)
    {
        ASSERT_TRUE(file.ReadString(line));
        EXPECT_EQ(line, CString(text));
    }
    EXPECT_FALSE(file.ReadString(line));
    EXPECT_TRUE(line.IsEmpty());
    EXPECT_FALSE(file.ReadString(line)); // stays at the end

    // The bounded form keeps the line feed, splits long lines, and gives null at the end.
    file.SeekToBegin();
    char buffer[4];
    ASSERT_NE(file.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "dos");
    ASSERT_NE(file.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "\n");
    file.Seek(-4, CFile::end);
    ASSERT_NE(file.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "las");
    ASSERT_NE(file.ReadString(buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "t");
    EXPECT_EQ(file.ReadString(buffer, sizeof buffer), nullptr);
}

TEST_F(FileTest, LineEndingsSplitAcrossTheReadBufferAndLongLines)
{
    const std::string path = PathOf("boundary.txt");
    // The carriage return is the last byte of the first 4096-byte buffer.
    const std::string first(4095, 'a');
    const std::string second(10000, 'b');
    Put(path, first + "\r\n" + second + "\r\n");
    CStdioFile file(path.c_str(), CFile::modeRead);
    CString line;
    ASSERT_TRUE(file.ReadString(line));
    EXPECT_EQ(line.GetLength(), 4095);
    ASSERT_TRUE(file.ReadString(line));
    EXPECT_EQ(std::string(line.GetString()), second);
    EXPECT_FALSE(file.ReadString(line));
}

TEST_F(FileTest, WritingAfterReadingContinuesWhereReadingStopped)
{
    // The application log reads up to a point and appends there: the read-ahead must not move
    // the write position.
    const std::string path = PathOf("mixed.txt");
    Put(path, "one\r\ntwo\r\n\r\nhidden\r\n");
    {
        CStdioFile file(path.c_str(), CFile::modeReadWrite | CFile::modeNoTruncate);
        CString line;
        ASSERT_TRUE(file.ReadString(line));
        ASSERT_TRUE(file.ReadString(line));
        ASSERT_TRUE(file.ReadString(line));
        EXPECT_TRUE(line.IsEmpty());
        EXPECT_EQ(file.GetPosition(), 12u);
        file.WriteString("new\n");
        EXPECT_EQ(file.GetPosition(), 17u);
        EXPECT_EQ(file.GetLength(), 20u);
        // And back to reading: the rest of the old line follows.
        ASSERT_TRUE(file.ReadString(line));
        EXPECT_EQ(line, CString("n"));
    }
    EXPECT_EQ(Contents(path), "one\r\ntwo\r\n\r\nnew\r\nn\r\n");

    // Truncating and rewriting, as a full log does.
    {
        CStdioFile file(path.c_str(), CFile::modeReadWrite);
        CString line;
        file.ReadString(line);
        file.SetLength(0);
        file.WriteString("only\n");
    }
    EXPECT_EQ(Contents(path), "only\r\n");
}

TEST_F(FileTest, BinaryReadOfTextFileTranslatesOnlyInTextMode)
{
    const std::string path = PathOf("blob.bin");
    Put(path, std::string("a\r\nb\0c", 6));
    char buffer[8] = {};
    {
        CStdioFile file(path.c_str(), CFile::modeRead | CFile::typeText);
        EXPECT_EQ(file.Read(buffer, sizeof buffer), 5u);
        EXPECT_EQ(std::string(buffer, 5), std::string("a\nb\0c", 5));
    }
    {
        CStdioFile file(path.c_str(), CFile::modeRead | CFile::typeBinary);
        EXPECT_EQ(file.Read(buffer, sizeof buffer), 6u);
        EXPECT_EQ(std::string(buffer, 6), std::string("a\r\nb\0c", 6));
    }
}

} // namespace
