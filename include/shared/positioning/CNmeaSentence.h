#pragma once

#include <shared/framework/CString.h>
#include <shared/platform/Export.h>
#include <string_view>

class CTokenArray;

// One device sentence ("$TYPE,field,...*hh"): the factory Create checks the frame and checksum,
// splits the body into comma-separated fields and returns the decoded record of the matching
// type. Each record keeps a validity bit per value; a missing or malformed field only leaves its
// bit clear, it never fails the sentence.
class SHARED_API CNmeaSentence
{
public:
    enum E_NMEASentenceType : int
    {
        eNMEA_GPLOG = 0,
        eNMEA_GPIOP = 1,
        // 2 is not assigned.
        eNMEA_GPRMC = 3
    };

    enum E_NMEAParseResult : int
    {
        eNMEAParseOK = 0,
        eNMEAUnknownSentence = 1, // frame and checksum good, type word not understood
        eNMEANoStartChar = 2,     // first character (after trimming) is not "$"
        eNMEANoChecksumField = 3, // the third character from the end is not "*"
        eNMEABadChecksum = 4,     // checksum digits not hexadecimal, or not the checksum
        eNMEATooShort = 5         // under 4 characters after trimming, or no field at all
    };

    virtual ~CNmeaSentence();

    virtual E_NMEASentenceType GetType() const = 0;
    virtual void GetTypeString(CString& type) const = 0;

    // Decodes one sentence (surrounding white space is ignored). Returns a new record that the
    // caller owns and deletes, or null; result always receives the outcome.
    static CNmeaSentence* Create(char const* text, E_NMEAParseResult& result);

    // XOR of the characters of text after one leading "$", up to the first "*" or the end.
    static unsigned char CheckSum(char const* text);

    // text without any "*" and what follows it, then "*" and its checksum as two upper-case
    // hexadecimal digits. Adds no "$" and no line end.
    static CString SetCheckSum(char const* text);

protected:
    CNmeaSentence() = default;
    CNmeaSentence(CNmeaSentence const&) = default;
    CNmeaSentence& operator=(CNmeaSentence const&) = default;

    // Checks the frame and checksum of text and splits its body into tokens.
    static E_NMEAParseResult Tokenize(char const* text, CTokenArray& tokens);
    // The frame checks of Tokenize; on success body is the text between "$" and "*".
    static E_NMEAParseResult CheckFrame(char const* text, std::string_view& body);

    // n characters read as a decimal number without checking that they are digits (the callers
    // check the values), as the device software does. n = 0 gives 0.
    static int EvaluateDigits(char const* p, int n);

    // An NMEA angle dddmm.mmmm as decimal degrees: the two digits before the decimal point (or
    // the end) and what follows are minutes, everything before them whole degrees.
    static double EvaluateDegrees(char const* text);

private:
    virtual E_NMEAParseResult Decode(CTokenArray const& tokens, int count) = 0;
};
