// warden checksum SENTENCE...: prints each sentence with its correct checksum.

#include "Command.h"

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
    cmd->add_option("sentence", *sentences,
                    "Sentence such as '$GPLOG,1,120000,010106' (a missing $ is added)")
        ->required();
    cmd->callback(
        [sentences]
        {
            for (auto const& given : *sentences)
            {
                std::string text = Trimmed(given);
                if (text.empty() || text == "$")
                    throw warden::Failure("empty sentence");
                if (text.front() != '$')
                    text.insert(0, 1, '$');
                std::cout << CNmeaSentence::SetCheckSum(text.c_str()).GetString() << '\n';
            }
        });
}

const warden::Registration checksumRegistration{"checksum", 30, SetupChecksum};
} // namespace
