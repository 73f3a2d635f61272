#pragma once

// Readable rows (or JSON objects) for decoded device sentences, shared by the subcommands that
// show device data ("warden nmea" for logs, "warden listen" for a live port).
//
//   warden::NmeaPrinter printer(warden::NmeaPrinter::Format::Table);
//   printer.PrintHeader(std::cout);
//   for (each line) printer.PrintLine(line, std::cout);
//   printer.PrintSummary(std::cout);

#include <array>
#include <iosfwd>
#include <shared/framework/CString.h>
#include <shared/positioning/CNmeaSentence.h>
#include <string>
#include <string_view>

namespace warden
{

// The decoder's result in words, e.g. "bad checksum".
char const* ParseResultWords(CNmeaSentence::E_NMEAParseResult result);

struct NmeaCounts
{
    long lines = 0;                           // every line given, blank ones included
    std::array<long, 4> sentencesByType{};    // indexed by CNmeaSentence::E_NMEASentenceType
    std::array<long, 6> rejectionsByResult{}; // indexed by E_NMEAParseResult (0 unused)
    long other = 0;   // well-formed sentences of types the library does not decode (GGA, GSV ...)
    long flagged = 0; // decoded, but holding values no receiver can mean (latitude 95 ...)

    long Decoded() const;
    long Rejected() const;
};

class NmeaPrinter
{
public:
    enum class Format
    {
        Table, // one aligned row per line, invalid values left blank
        Json   // one JSON object per line, invalid values null
    };

    explicit NmeaPrinter(Format format) : m_format(format) {}

    // Decode the RMC sentence of any talker ($GNRMC, $GLRMC, $GARMC ...) as $GPRMC, once its
    // checksum has been checked; off by default, as the library knows only $GPRMC.
    void SetAnyTalker(bool anyTalker) { m_anyTalker = anyTalker; }

    // The column heading of the table (nothing for JSON).
    void PrintHeader(std::ostream& out) const;

    // Decodes one line of device text and prints its row. Blank lines and '#' comments are
    // counted but print nothing. Returns the decoder's result (eNMEAParseOK for a blank line).
    CNmeaSentence::E_NMEAParseResult PrintLine(std::string_view line, std::ostream& out);

    // Sentences by type and rejections by reason.
    void PrintSummary(std::ostream& out) const;

    NmeaCounts const& Counts() const { return m_counts; }

private:
    Format m_format;
    bool m_anyTalker = false;
    NmeaCounts m_counts;
    std::string m_buffer; // one printed row, reused so rows cost no allocation
};

} // namespace warden
