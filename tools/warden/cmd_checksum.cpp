// warden checksum SENTENCE...: prints each sentence with its correct checksum.

#include "Batch.h"
#include "Command.h"
#include "Json.h"
#include "Text.h"

#include <iostream>
#include <shared/positioning/CNmeaSentence.h>
#include <string>
#include <vector>

namespace
{
std::string Trimmed(std::string const& text)
{
    auto const first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

void SetupChecksum(CLI::App& app)
{
    auto* cmd = app.add_subcommand(
        "checksum", "Print each sentence with a correct *hh checksum (replacing any old one)");
    auto sentences = std::make_shared<std::vector<std::string>>();
    auto input = std::make_shared<std::string>();
    auto json = std::make_shared<bool>(false);
    cmd->add_option("sentence", *sentences,
                    "Sentence such as '$GPLOG,1,120000,010106' (a missing $ is added); nothing "
                    "or - reads one per line from standard input");
    cmd->add_option("-i,--input", *input, "Read one sentence per line from this file");
    cmd->add_flag("--json", *json,
                  "Print JSON Lines: the input and the sentence with its checksum");
    warden::Help(cmd,
                 {"warden checksum '$GPLOG,1,120000,010106'", "warden checksum < sentences.txt"},
                 "1 the sentence (or every line) is empty; 2 some are");
    cmd->callback(
        [=]
        {
            auto each = [json = *json](std::string const& given, std::ostream& out)
            {
                std::string text = Trimmed(given);
                if (text.empty() || text == "$")
                    throw warden::Failure("empty sentence");
                if (text.front() != '$')
                    text.insert(0, 1, '$');
                std::string const fixed =
                    warden::Utf8(CNmeaSentence::SetCheckSum(warden::Ansi(text)));
                if (json)
                    warden::PrintRecord(warden::Json{{"input", given}, {"sentence", fixed}}, out);
                else
                    out << fixed << '\n';
            };
            warden::Batch batch(*json);
            if (!input->empty() || sentences->empty() ||
                (sentences->size() == 1 && (*sentences)[0] == "-"))
                batch.Run(input->empty() ? std::string("-") : *input, each);
            else
                batch.Run(*sentences, each);
        });
}

const warden::Registration checksumRegistration{"checksum", 30, SetupChecksum};
} // namespace
