// Cards written by the library, read by an independent vCard reader (python3-vobject).
#include "PhonebookTestSupport.h"

#include <cstdio>
#include <map>
#include <memory>
#include <shared/phonebook/CMasterPhonebook.h>
#include <shared/phonebook/CVCFLocatorAttributes.h>
#include <shared/phonebook/CVCFWardenAttributes.h>

namespace
{
const char* const kPython = "/usr/bin/python3";

bool VobjectAvailable()
{
    const std::string command = std::string(kPython) + " -c 'import vobject' 2>/dev/null";
    return std::system(command.c_str()) == 0;
}

} // namespace

using VobjectInterop = PhonebookFileTest;

TEST_F(VobjectInterop, IndependentReaderSeesWhatWasWritten)
{
    if (!VobjectAvailable())
        GTEST_SKIP() << "python3-vobject is not installed";

    CMasterPhonebook book;
    for (unsigned i = 0; i < 200; ++i)
    {
        CString nick;
        nick.Format("Nick %u", i);
        CString number;
        number.Format("+44 7700 %06u", i * 37);
        CString last;
        last.Format("O'Brien-%u", i);
        book.AddEntry(Cint64(i * 3, 0xC0DE0000 + i), nick, number, last, Permissions(i));
    }
    {
        CStdioFile file;
        ASSERT_TRUE(OpenForWriting(file, "book.vcf"));
        book.SaveAsVCards(file);
    }

    const std::string command = std::string(kPython) +
                                " " SHARED_SOURCE_DIR "/tests/phonebook/read_vcards.py " +
                                PathOf("book.vcf");
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    ASSERT_TRUE(pipe);
    std::map<std::string, std::vector<std::string>> cards;
    char buffer[4096];
    while (std::fgets(buffer, sizeof buffer, pipe.get()))
    {
        std::istringstream line(buffer);
        std::vector<std::string> fields;
        for (std::string field; std::getline(line, field, '\t');)
            fields.push_back(field.substr(0, field.find('\n')));
        ASSERT_EQ(fields.size(), 6u) << buffer;
        cards[fields[0]] = fields;
    }
    ASSERT_EQ(pclose(pipe.release()), 0);
    ASSERT_EQ(cards.size(), 200u);

    book.GotoStart();
    CPhonebookEntry* entry = nullptr;
    while (book.GetNext(entry))
    {
        const auto found = cards.find(std::string(entry->GetPhonebookEntryId()));
        ASSERT_NE(found, cards.end());
        const auto& fields = found->second;
        EXPECT_EQ(fields[1], std::string(entry->GetLastName()));
        EXPECT_EQ(fields[2], std::string(entry->GetNick()));
        EXPECT_EQ(fields[3], std::string(entry->GetVoiceNumber()));
        const CPhonebookEntryAttributes a = entry->GetAttributes();
        const CVCFLocatorAttributes locator(a.GetAllowVoice(), a.GetAllowSpot(), a.GetAllowTrack(),
                                            a.GetSendSOS(), a.GetSendGeofence());
        EXPECT_EQ(fields[4], std::string(locator.GetValue()));
        EXPECT_EQ(fields[5], std::string(CVCFWardenAttributes(a.GetWardenWarnings()).GetValue()));
    }
}
