// warden phonebook: the phonebook that is uploaded to tracking devices. A book is kept on disk as
// a vCard file in the device's own form, the form CMasterPhonebook writes.
#include "Command.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <shared/foundation/CStringManipulator.h>
#include <shared/phonebook/CMasterPhonebook.h>
#include <shared/phonebook/CVCard.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <string>
#include <vector>

namespace
{

std::string Text(const CString& text)
{
    return std::string(text, text.GetLength());
}

void OpenForReading(CStdioFile& file, const std::string& path)
{
    CFileException error;
    if (!file.Open(path.c_str(), CFile::modeRead | CFile::typeText, &error))
        throw warden::Failure("cannot read " + path);
}

void LoadBook(CMasterPhonebook& book, const std::string& path)
{
    CStdioFile file;
    OpenForReading(file, path);
    book.ReadFromVCards(file);
}

// Writes the book beside its destination and renames it over, so an interrupted save leaves the
// previous book whole.
void SaveBook(const CMasterPhonebook& book, const std::string& path)
{
    if (path == "-")
    {
        CStdioFile out;
        if (!out.Open("/dev/stdout", CFile::modeWrite | CFile::typeText))
            throw warden::Failure("cannot write to standard output");
        book.SaveAsVCards(out);
        return;
    }
    CAtomicFileReplacement replacement(path);
    {
        CStdioFile file;
        if (!file.Open(replacement.GetTemporaryPath(),
                       CFile::modeCreate | CFile::modeWrite | CFile::typeText))
            throw warden::Failure("cannot write beside " + path);
        book.SaveAsVCards(file);
        file.Flush();
    }
    if (!replacement.Commit())
        throw warden::Failure("cannot replace " + path);
}

std::string PermissionLetters(const CPhonebookEntryAttributes& a)
{
    std::string letters;
    letters += a.GetAllowVoice() ? 'V' : '-';
    letters += a.GetAllowSpot() ? 'S' : '-';
    letters += a.GetAllowTrack() ? 'T' : '-';
    letters += a.GetSendGeofence() ? 'G' : '-';
    letters += a.GetSendSOS() ? 'O' : '-';
    letters += a.GetWardenWarnings() ? 'W' : '-';
    return letters;
}

// Every device limit the nickname and number break, in words; empty when they fit.
std::vector<std::string> LimitProblems(const CString& nick, const CString& number)
{
    std::vector<std::string> problems;
    if (!CPhonebookEntry::CheckNickLengthOK(nick))
        problems.push_back("nickname has " + std::to_string(nick.GetLength()) +
                           " characters; a device takes " +
                           std::to_string(CPhonebookEntry::s_numMinNickLength) + " to " +
                           std::to_string(CPhonebookEntry::s_numMaxNickLength));
    int invalidCount = 0;
    const int firstInvalid = CStringManipulator::CheckValidCharacters(
        number, CPhonebookEntry::s_sValidNumberChars, invalidCount);
    if (firstInvalid >= 0)
        problems.push_back("number has " + std::to_string(invalidCount) +
                           " character(s) a device cannot dial, the first '" +
                           std::string(1, number.GetAt(firstInvalid)) + "' at position " +
                           std::to_string(firstInvalid + 1) +
                           " (only blanks, '+' and digits are allowed)");
    if (CPhonebookEntry::Normalize(number).GetLength() < CPhonebookEntry::s_numMinChars)
        problems.push_back("number has fewer than " +
                           std::to_string(CPhonebookEntry::s_numMinChars) + " digits");
    if (number.GetLength() > CPhonebookEntry::s_numMaxChars)
        problems.push_back("number is longer than " +
                           std::to_string(CPhonebookEntry::s_numMaxChars) + " characters");
    if (!CPhonebookEntry::CheckSyntaxOK(number))
        problems.push_back("number may hold one '+' only, as its first character");
    return problems;
}

void List(const std::string& path, bool json)
{
    CMasterPhonebook book;
    LoadBook(book, path);
    book.GotoStart();
    CPhonebookEntry* entry = nullptr;
    if (json)
    {
        while (book.GetNext(entry))
        {
            const CPhonebookEntryAttributes a = entry->GetAttributes();
            nlohmann::json row = {
                {"id", Text(entry->GetID().GetFormattedString())},
                {"nickname", Text(entry->GetNick())},
                {"lastName", Text(entry->GetLastName())},
                {"voiceNumber", Text(entry->GetVoiceNumber())},
                {"allowVoice", a.GetAllowVoice()},
                {"allowSpot", a.GetAllowSpot()},
                {"allowTrack", a.GetAllowTrack()},
                {"sendGeofence", a.GetSendGeofence()},
                {"sendSOS", a.GetSendSOS()},
                {"wardenWarnings", a.GetWardenWarnings()},
                {"uploadBytes", entry->GetNumUploadBytes()},
            };
            std::cout << row.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        }
        return;
    }
    std::printf("%-16s  %-16s  %-20s  %-6s  %s\n", "id", "nickname", "voice number", "rights",
                "last name");
    while (book.GetNext(entry))
        std::printf("%-16s  %-16s  %-20s  %-6s  %s\n",
                    static_cast<const char*>(entry->GetID().GetFormattedString()),
                    static_cast<const char*>(entry->GetNick()),
                    static_cast<const char*>(entry->GetVoiceNumber()),
                    PermissionLetters(entry->GetAttributes()).c_str(),
                    static_cast<const char*>(entry->GetLastName()));
    std::printf("%d entries, %d bytes to upload (rights: V voice, S spot, T track, G geofence, "
                "O SOS, W warden warnings)\n",
                book.GetNumEntries(), book.GetNumUploadBytes());
}

void Import(const std::string& source, const std::string& bookPath, unsigned long highPart)
{
    CMasterPhonebook book;
    if (std::filesystem::exists(bookPath))
        LoadBook(book, bookPath);
    book.SetHighPart(highPart);

    CStdioFile file;
    OpenForReading(file, source);
    int added = 0;
    int skipped = 0;
    for (CVCard card; card.ReadFromTextFile(file); card = CVCard())
    {
        const CString nick = card.GetNickName();
        const CString number = card.GetVoiceNumber();
        std::vector<std::string> problems = LimitProblems(nick, number);
        if (problems.empty() && book.FindEntryByVoiceNumber(number, Cint64()) != Cint64())
            problems.push_back("number is already in the book");
        if (problems.empty() && book.FindEntryByNick(nick, Cint64()) != Cint64())
            problems.push_back("nickname is already in the book");
        if (!problems.empty())
        {
            ++skipped;
            std::cerr << "skipped card '" << Text(card.GetUID()) << "' (" << Text(nick)
                      << "): " << problems.front() << '\n';
            continue;
        }
        // A card keeps its id when the id is usable and free; otherwise the book issues one.
        const Cint64 id = CMasterPhonebook::ConvertHexString2ID(card.GetUID());
        if (id != Cint64() && book.GetEntry(id) == nullptr)
            book.AddEntry(id, nick, number, card.GetFormattedName(), card.GetAttributes());
        else
            book.AddEntry(nick, number, card.GetFormattedName(), card.GetAttributes());
        ++added;
    }
    SaveBook(book, bookPath);
    std::printf("%d card(s) added, %d skipped; the book now holds %d entries\n", added, skipped,
                book.GetNumEntries());
}

void Export(const std::string& bookPath, const std::string& destination)
{
    CMasterPhonebook book;
    LoadBook(book, bookPath);
    SaveBook(book, destination);
    if (destination != "-")
        std::printf("%d entries written to %s\n", book.GetNumEntries(), destination.c_str());
}

void Check(const std::string& nick, const std::string& number)
{
    const auto problems = LimitProblems(nick.c_str(), number.c_str());
    if (problems.empty())
    {
        std::printf("fits the device: nickname '%s', number '%s' (dialled as %s), %d bytes\n",
                    nick.c_str(), number.c_str(),
                    static_cast<const char*>(CPhonebookEntry::Normalize(number.c_str())),
                    CPhonebookEntry::GetNumUploadBytes(nick.c_str(), number.c_str()));
        return;
    }
    for (const auto& problem : problems)
        std::printf("%s\n", problem.c_str());
    warden::SetExitCode(1);
}

void Setup(CLI::App& app)
{
    auto* phonebook = app.add_subcommand(
        "phonebook", "Keep the device phonebook: list, check, import and export vCards");
    phonebook->require_subcommand(1);
    phonebook->footer("A book is a vCard file in the device's form (written by 'import' and "
                      "'export').");

    auto* list = phonebook->add_subcommand("list", "List the entries of a book");
    static std::string listPath;
    static bool json = false;
    list->add_option("BOOK", listPath, "The book's vCard file")->required();
    list->add_flag("--json", json, "One JSON object per entry");
    list->callback([] { List(listPath, json); });

    auto* import = phonebook->add_subcommand(
        "import", "Add the cards of a vCard file to a book, skipping those a device would refuse");
    static std::string source;
    static std::string importBook;
    static unsigned long highPart = 0;
    import->add_option("CARDS", source, "vCard file to read")->required();
    import->add_option("BOOK", importBook, "The book to add to (created when missing)")->required();
    import->add_option("--high-part", highPart, "Upper 32 bits of the ids the book issues");
    import->callback([] { Import(source, importBook, highPart);
});

auto* exportCommand = phonebook->add_subcommand(
    "export", "Write a book as the vCard file that is uploaded to a device");
static std::string exportBook;
static std::string destination;
exportCommand->add_option("BOOK", exportBook, "The book's vCard file")->required();
exportCommand->add_option("OUT", destination, "Destination file, or - for standard output")
    ->required();
exportCommand->callback([] { Export(exportBook, destination); });

auto* check = phonebook->add_subcommand(
    "check", "Tell which device limits a nickname and voice number break (exit 1 if any)");
static std::string nick;
static std::string number;
check->add_option("NICK", nick, "Nickname")->required();
check->add_option("NUMBER", number, "Voice number")->required();
check->callback([] { Check(nick, number); });
} // namespace

const warden::Registration registration{"phonebook", 60, Setup};

} // namespace
