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

constexpr CTokenArray::E_TokenizeMode kSentenceMode =
    CTokenArray::TM_QUOTES | CTokenArray::TM_KEEP_QUOTES | CTokenArray::TM_KEEP_EMPTY |
    CTokenArray::TM_KEEP_ESCAPES | CTokenArray::TM_TRIM;

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
    std::string_view body;
    result = CheckFrame(text, body);
    if (result != eNMEAParseOK)
        return nullptr;

    // Position reports are most of a device's stream: they are split in place and decoded from
    // views. Anything else, or a report with more fields than are looked at, goes through the
    // token array.
    std::string_view fields[CNmeaGPRMC::kFieldsRead];
    int const count =
        CTokenArray::SplitInPlace(body, ",", kSentenceMode, fields, CNmeaGPRMC::kFieldsRead);
    if (count >= 1 && fields[0] == CNmeaGPRMC::GetTypeString())
    {
        std::unique_ptr<CNmeaGPRMC> sentence(new CNmeaGPRMC);
        result = sentence->DecodeFields(fields, count);
        return result == eNMEAParseOK ? sentence.release() : nullptr;
    }

    CTokenArray& tokens = ScratchTokens();
    result = tokens.TokenizeString(body, ",", kSentenceMode) >= 1 ? eNMEAParseOK : eNMEATooShort;
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
    std::string_view body;
    E_NMEAParseResult const result = CheckFrame(text, body);
    if (result != eNMEAParseOK)
        return result;
    int const count = tokens.TokenizeString(body, ",", kSentenceMode);
    return count >= 1 ? eNMEAParseOK : eNMEATooShort;
}

CNmeaSentence::E_NMEAParseResult CNmeaSentence::CheckFrame(char const* text, std::string_view& body)
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
    body = sentence.substr(1, sentence.size() - 4);
    if (XorUntilStar(body) != high * 16 + low)
        return eNMEABadChecksum;
    return eNMEAParseOK;
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
    return nmea_fields::ReadDegrees(text);
}
