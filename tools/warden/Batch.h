#pragma once

// Inputs one per line, results one per line, in the manner of cs2cs and GeoConvert: a bad input
// is reported ("warden: line 3: <reason>" on standard error, a placeholder line in the output so
// results stay in step with their inputs) and the batch goes on. The exit status tells whether
// any input failed: 1 when every one did, 2 when only some did.
//
//   warden::Batch batch(json);
//   batch.Run(source, [](const std::string& input, std::ostream& out) {
//       if (bad) throw warden::Failure("why");
//       out << result << '\n';
//   });

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace warden
{

class Batch
{
public:
    using Each = std::function<void(const std::string& input, std::ostream& out)>;

    // json: a failed input gives {"line": n, "input": ..., "error": ...} instead of "*".
    explicit Batch(bool json);
    ~Batch();

    // Every line of standard input ("-") or of a file; blank lines and lines starting with '#'
    // are copied through. A file that cannot be opened is a Failure.
    void Run(const std::string& source, const Each& each);
    // Inputs given on the command line, numbered from 1 as if they were lines.
    void Run(const std::vector<std::string>& inputs, const Each& each);

private:
    void One(long number, const std::string& input, const Each& each);

    bool m_json;
    bool m_flushEachLine;
    bool m_fromArguments = false; // errors then name the input, not a line number
    long m_inputs = 0;
    long m_failures = 0;
};

} // namespace warden
