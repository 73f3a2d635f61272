#include "NmeaFields.h"

#include <cstring>
#include <memory>
#include <shared/foundation/CTokenArray.h>
#include <shared/positioning/CNmeaGPIOP.h>
#include <shared/positioning/CNmeaGPLOG.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <shared/positioning/CNmeaSentence.h>
#include <string_view>

namespace
{
bool IsTrimSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

int HexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

unsigned char XorUntilStar(std::string_view text)
{
    if (!text.empty() && text.front() == '$')
        text.remove_prefix(1);
    unsigned char sum = 0;
    for (char c : text)
    {
        if (c == '*')
            break;
        sum = static_cast<unsigned char>(sum ^ static_cast<unsigned char>(c));
    }
    return sum;
}

// Every sentence is tokenized into this thread's array: its elements are reused from one
// sentence to the next, so decoding a stream allocates nothing but the records themselves.
CTokenArray& ScratchTokens()
{
    thread_local CTokenArray tokens;
    return tokens;
}
} // namespace

CNmeaSentence::~CNmeaSentence() = default;

CNmeaSentence* CNmeaSentence::Create(char const* text, E_NMEAParseResult& result)
{
    CTokenArray& tokens = ScratchTokens();
    result = Tokenize(text, tokens);
    if (result != eNMEAParseOK)
        return nullptr;

    CString const& type = tokens.GetAt(0);
    std::unique_ptr<CNmeaSentence> sentence;
    if (std::strcmp(type.GetString(), CNmeaGPRMC::GetTypeString()) == 0)
        sentence.reset(new CNmeaGPRMC);
    else if (std::strcmp(type.GetString(), CNmeaGPLOG::GetTypeString()) == 0)
        sentence.reset(new CNmeaGPLOG);
    else if (std::strcmp(type.GetString(), CNmeaGPIOP::GetTypeString()) == 0)
        sentence.reset(new CNmeaGPIOP);
    else
    {
        result = eNMEAUnknownSentence;
        return nullptr;
    }

    result = sentence->Decode(tokens, static_cast<int>(tokens.GetSize()));
    if (result != eNMEAParseOK)
        return nullptr;
    return sentence.release();
}

unsigned char CNmeaSentence::CheckSum(char const* text)
{
    if (text == nullptr)
        return 0;
    return XorUntilStar(text);
}

CString CNmeaSentence::SetCheckSum(char const* text)
{
    std::string_view body = text != nullptr ? std::string_view(text) : std::string_view();
    if (auto star = body.find('*'); star != std::string_view::npos)
        body = body.substr(0, star);
    static char const hex[] = "0123456789ABCDEF";
    unsigned char const sum = XorUntilStar(body);
    CString sentence(body.data(), static_cast<int>(body.size()));
    sentence += '*';
    sentence += hex[sum >> 4];
    sentence += hex[sum & 15];
    return sentence;
}

CNmeaSentence::E_NMEAParseResult CNmeaSentence::Tokenize(char const* text, CTokenArray& tokens)
{
    // The frame is checked in place on the trimmed extent of the text; nothing is copied.
    std::string_view sentence = text != nullptr ? std::string_view(text) : std::string_view();
    while (!sentence.empty() && IsTrimSpace(sentence.front()))
        sentence.remove_prefix(1);
    while (!sentence.empty() && IsTrimSpace(sentence.back()))
        sentence.remove_suffix(1);

    if (sentence.size() < 4)
        return eNMEATooShort;
    if (sentence.front() != '$')
        return eNMEANoStartChar;
    std::size_t const star = sentence.size() - 3;
    if (sentence[star] != '*')
        return eNMEANoChecksumField;
    int const high = HexDigit(sentence[star + 1]);
    int const low = HexDigit(sentence[star + 2]);
    if (high < 0 || low < 0)
        return eNMEABadChecksum;

    // The checksum of the body follows CheckSum's rules to the letter: a second "$" at the start
    // of the body is skipped and an earlier "*" ends the sum. Devices and the application's own
    // sentence writer agree on those rules.
    std::string_view const body = sentence.substr(1, sentence.size() - 4);
    if (XorUntilStar(body) != high * 16 + low)
        return eNMEABadChecksum;

    int const count = tokens.TokenizeString(
        body, ",",
        CTokenArray::TM_QUOTES | CTokenArray::TM_KEEP_QUOTES | CTokenArray::TM_KEEP_EMPTY |
            CTokenArray::TM_KEEP_ESCAPES | CTokenArray::TM_TRIM);
    return count >= 1 ? eNMEAParseOK : eNMEATooShort;
}

int CNmeaSentence::EvaluateDigits(char const* p, int n)
{
    // Unsigned arithmetic wraps where a long run of characters would overflow.
    unsigned value = 0;
    for (int i = 0; i < n; ++i)
        value = value * 10u + static_cast<unsigned>(p[i] - '0');
    return static_cast<int>(value);
}

double CNmeaSentence::EvaluateDegrees(char const* text)
{
    char const* point = std::strchr(text, '.');
    if (point == nullptr)
        point = text + std::strlen(text);
    // With fewer than two characters before the point there are no whole degrees and the minutes
    // start at the beginning (the device software would have read before the field).
    char const* const minutesStart = point - text >= 2 ? point - 2 : text;
    int const degrees = EvaluateDigits(text, static_cast<int>(minutesStart - text));
    double minutes = 0.0;
    int consumed = 0;
    if (!nmea_fields::ReadLeadingNumber(minutesStart, minutes, consumed))
        minutes = 0.0;
    return degrees + minutes * 0.016666666666666666;
}
