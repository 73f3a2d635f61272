// warden phonebook: the phonebook that is uploaded to tracking devices. A book is kept on disk as
// a vCard file in the device's own form, the form CMasterPhonebook writes.
#include "Command.h"
#include "Json.h"
#include "PhoneVCardReader.h"
#include "Text.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <shared/phonebook/CMasterPhonebook.h>
#include <shared/phonebook/NPhonebookLimits.h>
#include <shared/platform/AtomicFileReplacement.h>
#include <string>
#include <vector>

namespace
{

void OpenForReading(CStdioFile& file, const std::string& path)
{
    CFileException error;
    if (!file.Open(path.c_str(), CFile::modeRead | CFile::typeText, &error))
        throw warden::Failure("cannot read " + path);
}

std::string ReadWhole(const std::string& path)
{
    std::error_code error;
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path, error))
        throw warden::Failure("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// An empty file is an empty book (an empty book saves as nothing); any other file must hold a
// card, so that a wrong file is an error rather than a book of no entries.
void LoadBook(CMasterPhonebook& book, const std::string& path)
{
    const std::string text = ReadWhole(path);
    if (text.find_first_not_of(" \t\r\n") != std::string::npos &&
        (text.find('\0') != std::string::npos || text.find("BEGIN:VCARD") == std::string::npos))
        throw warden::Failure(path + " is not a phonebook (it holds no vCard)");
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
    for (const CString& problem : NPhonebookLimits::Describe(nick, number))
        problems.push_back(warden::Utf8(problem));
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
            const warden::Json row = {
                {"id", warden::Utf8(entry->GetID().GetFormattedString())},
                {"nickname", warden::Utf8(entry->GetNick())},
                {"last_name", warden::Utf8(entry->GetLastName())},
                {"voice_number", warden::Utf8(entry->GetVoiceNumber())},
                {"allow_voice", a.GetAllowVoice()},
                {"allow_spot", a.GetAllowSpot()},
                {"allow_track", a.GetAllowTrack()},
                {"send_geofence", a.GetSendGeofence()},
                {"send_sos", a.GetSendSOS()},
                {"warden_warnings", a.GetWardenWarnings()},
                {"upload_bytes", entry->GetNumUploadBytes()},
            };
            warden::PrintRecord(row, std::cout);
        }
        return;
    }
    std::printf("%-16s  %-16s  %-20s  %-6s  %s\n", "id", "nickname", "voice number", "rights",
                "last name");
    while (book.GetNext(entry))
        std::printf("%-16s  %s  %-20s  %-6s  %s\n",
                    static_cast<const char*>(entry->GetID().GetFormattedString()),
                    warden::PadRight(warden::Utf8(entry->GetNick()), 16).c_str(),
                    warden::Utf8(entry->GetVoiceNumber()).c_str(),
                    PermissionLetters(entry->GetAttributes()).c_str(),
                    warden::Utf8(entry->GetLastName()).c_str());
    std::printf("%d entries, %d bytes to upload (rights: V voice, S spot, T track, G geofence, "
                "O SOS, W warden warnings)\n",
                book.GetNumEntries(), book.GetNumUploadBytes());
}

// Permission letters as the list shows them (VSTGOW); "-" for none.
CPhonebookEntryAttributes ParseRights(const std::string& letters)
{
    if (letters.find_first_not_of("VSTGOWvstgow-") != std::string::npos)
        throw warden::Failure("--rights takes the letters V S T G O W (or - for none), not '" +
                                  letters + "'",
                              warden::kExitUsage);
    const auto has = [&letters](char c)
    {
        return letters.find(c) != std::string::npos ||
               letters.find(static_cast<char>(c + 'a' - 'A')) != std::string::npos;
    };
    CPhonebookEntryAttributes rights;
    rights.SetAttributes(has('V'), has('S'), has('T'), has('G'), has('O'), has('W'));
    return rights;
}

// Phone exports are read leniently by the tool itself (see PhoneVCardReader.h); the book stays
// in the device's form. The exit status is 2 when some cards were skipped.
void Import(const std::string& source, const std::string& bookPath, unsigned long highPart,
            const std::string& rights)
{
    const std::optional<CPhonebookEntryAttributes> forced =
        rights.empty() ? std::nullopt : std::optional(ParseRights(rights));
    const std::vector<warden::PhoneCard> cards = warden::ReadPhoneCards(ReadWhole(source));
    if (cards.empty())
        throw warden::Failure(source + " holds no vCard; nothing imported");
    CMasterPhonebook book;
    std::error_code error;
    if (std::filesystem::exists(bookPath, error))
        LoadBook(book, bookPath);
    book.SetHighPart(highPart);

    int added = 0;
    int skipped = 0;
    for (const warden::PhoneCard& card : cards)
    {
        const CString nick = card.nickname.c_str();
        const CString number = card.number.c_str();
        std::vector<std::string> problems;
        if (!card.problem.empty())
            problems.push_back(card.problem);
        else if (card.number.empty())
            problems.push_back("no voice number");
        else if (card.nickname.empty())
            problems.push_back("no name (NICKNAME, FN or N)");
        else
            problems = LimitProblems(nick, number);
        if (problems.empty() && book.FindEntryByVoiceNumber(number, Cint64()) != Cint64())
            problems.push_back("number is already in the book");
        if (problems.empty() && book.FindEntryByNick(nick, Cint64()) != Cint64())
            problems.push_back("nickname is already in the book");
        if (!problems.empty())
        {
            ++skipped;
            std::cerr << "skipped '" << warden::Utf8(card.label) << "': " << problems.front()
                      << '\n';
            continue;
        }
        const CPhonebookEntryAttributes attributes =
            forced.value_or(card.attributes.value_or(CPhonebookEntryAttributes()));
        // Only a card in the device's form carries a device id; a phone's UID is its own.
        const Cint64 id =
            card.attributes ? CMasterPhonebook::ConvertHexString2ID(card.uid.c_str()) : Cint64();
        if (id != Cint64() && book.GetEntry(id) == nullptr)
            book.AddEntry(id, nick, number, card.formattedName.c_str(), attributes);
        else
            book.AddEntry(nick, number, card.formattedName.c_str(), attributes);
        ++added;
    }
    if (added > 0)
        SaveBook(book, bookPath);
    std::printf("%d card(s) added, %d skipped; the book now holds %d entries\n", added, skipped,
                book.GetNumEntries());
    if (skipped > 0)
        warden::SetExitCode(warden::kExitPartial);
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
    // Arguments arrive as UTF-8; the device counts code page 1252 characters.
    const CString nickText = warden::Ansi(nick);
    const CString numberText = warden::Ansi(number);
    const auto problems = LimitProblems(nickText, numberText);
    if (problems.empty())
    {
        std::printf("fits the device: nickname '%s', number '%s' (dialled as %s), %d bytes\n",
                    nick.c_str(), number.c_str(),
                    static_cast<const char*>(CPhonebookEntry::Normalize(numberText)),
                    CPhonebookEntry::GetNumUploadBytes(nickText, numberText));
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

    auto* importCommand = phonebook->add_subcommand(
        "import", "Add the cards of a vCard file to a book, skipping those a device would refuse");
    static std::string source;
    static std::string importBook;
    static unsigned long highPart = 0;
    static std::string rights;
    importCommand->add_option("CARDS", source, "vCard file to read")->required();
    importCommand->add_option("BOOK", importBook, "The book to add to (created when missing)")
        ->required();
    importCommand->add_option("--high-part", highPart, "Upper 32 bits of the ids the book issues");
    importCommand->add_option("--rights", rights,
                              "Permissions of every imported entry as letters: V voice, S spot, "
                              "T track, G geofence, O SOS, W warden warnings, - none (default: the "
                              "card's own in device form, else voice only)");
    importCommand->footer(
        "Reads phone and address-book exports (vCard 2.1): the nickname is NICKNAME, "
        "else FN, else N; the number the best TEL (mobile, preferred, voice). Each "
        "skipped card is named with its reason on standard error; exit status 2 when "
        "any was skipped.\n"
        "Example: warden phonebook import contacts.vcf book.vcf --rights VSG");
    importCommand->callback([] { Import(source, importBook, highPart, rights); });

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
