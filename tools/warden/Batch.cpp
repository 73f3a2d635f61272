#include "Batch.h"

#include "Command.h"
#include "Json.h"
#include "LineReader.h"

#include <iostream>
#include <shared/platform/StandardStreams.h>
#include <sstream>

namespace warden
{

// A terminal user wants each answer as soon as the line is typed; a pipe or file is faster with
// the stream's own buffering.
Batch::Batch(bool json)
    : m_json(json),
      m_flushEachLine(shared::platform::IsTerminal(shared::platform::EStandardStream::output))
{
}

Batch::~Batch()
{
    if (m_failures == 0)
        return;
    std::cout.flush();
    SetExitCode(m_failures == m_inputs ? kExitFailure : kExitPartial);
}

void Batch::One(long number, const std::string& input, const Each& each)
{
    ++m_inputs;
    std::ostringstream result;
    try
    {
        each(input, result);
        std::cout << result.view();
    }
    catch (const Failure& e)
    {
        ++m_failures;
        if (m_fromArguments)
        {
            std::cout.flush();
            std::cerr << "warden: " << e.what() << '\n';
            return;
        }
        if (m_json)
            PrintRecord(Json{{"line", number}, {"input", input}, {"error", e.what()}}, std::cout);
        else
            std::cout << "*\n";
        std::cout.flush();
        std::cerr << "warden: line " << number << ": " << e.what() << '\n';
    }
    if (m_flushEachLine)
        std::cout.flush();
}

void Batch::Run(const std::vector<std::string>& inputs, const Each& each)
{
    m_fromArguments = true;
    long number = 0;
    for (const auto& input : inputs)
        One(++number, input, each);
}

void Batch::Run(const std::string& source, const Each& each)
{
    LineReader reader(source);
    std::string line;
    long number = 0;
    while (reader.Next(line))
    {
        ++number;
        const auto first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#')
        {
            std::cout << line << '\n';
            continue;
        }
        One(number, line, each);
    }
}

} // namespace warden
