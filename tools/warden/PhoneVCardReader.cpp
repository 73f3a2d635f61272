#include "PhoneVCardReader.h"

#include "Text.h"

#include <algorithm>
#include <cctype>
#include <shared/phonebook/CVCFLocatorAttributes.h>
#include <shared/phonebook/CVCFWardenAttributes.h>
#include <sstream>

namespace warden
{

namespace
{

std::string Upper(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

std::string Trim(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string DecodeQuotedPrintable(const std::string& text)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] == '=' && i + 2 < text.size() &&
            std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 2])))
        {
            decoded += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
        else
            decoded += text[i];
    }
    return decoded;
}

// vCard 2.1 escapes ';' (and some writers ',' and '\') with a backslash.
std::string Unescape(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
        out += (text[i] == '\\' && i + 1 < text.size()) ? text[++i] : text[i];
    return out;
}

// Splits a structured value at unescaped ';'.
std::vector<std::string> Components(const std::string& value)
{
    std::vector<std::string> parts(1);
    for (std::size_t i = 0; i < value.size(); ++i)
    {
        if (value[i] == '\\' && i + 1 < value.size())
            parts.back() += value.substr(i++, 2);
        else if (value[i] == ';')
            parts.emplace_back();
        else
            parts.back() += value[i];
    }
    for (std::string& part : parts)
        part = Trim(Unescape(part));
    return parts;
}

struct Property
{
    std::string name;                // upper case, group prefix removed
    std::vector<std::string> params; // upper case, "TYPE=" removed
    std::string value;               // decoded
    bool unshowable = false;         // written in a character set the device cannot show
};

Property ParseLine(const std::string& line)
{
    Property property;
    const auto colon = line.find(':');
    std::vector<std::string> head;
    std::stringstream names(line.substr(0, colon));
    for (std::string part; std::getline(names, part, ';');)
        head.push_back(Upper(Trim(part)));
    property.name = head.empty() ? "" : head.front();
    if (const auto dot = property.name.find('.'); dot != std::string::npos)
        property.name.erase(0, dot + 1);
    bool quoted = false;
    bool foreignCharset = false;
    for (std::size_t i = 1; i < head.size(); ++i)
    {
        std::string param = head[i];
        if (param.starts_with("TYPE="))
            param.erase(0, 5);
        quoted = quoted || param == "QUOTED-PRINTABLE" || param == "ENCODING=QUOTED-PRINTABLE";
        if (param.starts_with("CHARSET="))
            foreignCharset = param != "CHARSET=UTF-8" && param != "CHARSET=US-ASCII" &&
                             param != "CHARSET=ISO-8859-1" && param != "CHARSET=WINDOWS-1252";
        std::stringstream types(param); // TYPE=CELL,VOICE
        for (std::string type; std::getline(types, type, ',');)
            property.params.push_back(type);
    }
    property.value = colon == std::string::npos ? "" : line.substr(colon + 1);
    if (quoted)
        property.value = DecodeQuotedPrintable(property.value);
    // Without a charset, 8-bit bytes that form UTF-8 are UTF-8 (Android writes them so); text
    // in a character set the device cannot show (Shift_JIS ...) is dropped and flagged.
    property.unshowable =
        foreignCharset && std::any_of(property.value.begin(), property.value.end(),
                                      [](char c) { return (c & 0x80) != 0; });
    if (property.unshowable)
        property.value.clear();
    else
        property.value = std::string(Ansi(property.value).View());
    return property;
}

bool Has(const Property& property, const char* type)
{
    return std::find(property.params.begin(), property.params.end(), type) != property.params.end();
}

// Higher is a better number to call: a mobile first, a preferred one next, a plain or voice
// line after; fax, pager and modem lines are never voice numbers.
int NumberRank(const Property& tel)
{
    if (Has(tel, "FAX") || Has(tel, "PAGER") || Has(tel, "MODEM") || Has(tel, "BBS"))
        return 0;
    return 1 + (Has(tel, "CELL") ? 2 : 0) + (Has(tel, "PREF") ? 1 : 0);
}

// Keeps blanks, '+', digits and anything the device would refuse (so the check can name it);
// drops the punctuation people write numbers with.
std::string DialableNumber(const std::string& number)
{
    std::string out;
    for (char c : Trim(number))
        if (std::string("()-./").find(c) == std::string::npos)
            out += c;
    return out;
}

class CardBuilder
{
public:
    void Add(const Property& p)
    {
        if (p.unshowable && (p.name == "NICKNAME" || p.name == "FN" || p.name == "N"))
            m_unshowableName = true;
        if (p.name == "UID")
            m_card.uid = Trim(p.value);
        else if (p.name == "NICKNAME")
            m_nickname = Components(p.value).front();
        else if (p.name == "FN")
            m_card.formattedName = Trim(Unescape(p.value));
        else if (p.name == "N")
        {
            const auto parts = Components(p.value);
            m_nameFromN = Trim((parts.size() > 1 ? parts[1] + " " : "") + parts[0]);
        }
        else if (p.name == "TEL" && NumberRank(p) > m_numberRank)
        {
            m_numberRank = NumberRank(p);
            m_card.number = DialableNumber(p.value);
        }
        else if (p.name == "X-NIMBUS-ATTRIBUTES")
        {
            m_deviceForm = true;
            if (Has(p, "LOCATOR"))
                m_locator.Parse(p.value.c_str());
            else if (Has(p, "WARDEN"))
                m_warden.Parse(p.value.c_str());
        }
    }

    PhoneCard Finish(int index)
    {
        if (m_card.formattedName.empty())
            m_card.formattedName = m_nameFromN;
        m_card.nickname = !m_nickname.empty() ? m_nickname : m_card.formattedName;
        m_card.label = !m_card.nickname.empty() ? m_card.nickname : "card " + std::to_string(index);
        if (m_card.nickname.empty() && m_unshowableName)
            m_card.problem = "name is in a character set the device cannot show";
        if (m_deviceForm)
        {
            CPhonebookEntryAttributes attributes;
            attributes.SetAttributes(m_locator.GetAllowVoice(), m_locator.GetAllowSpot(),
                                     m_locator.GetAllowTrack(), m_locator.GetSendGeofence(),
                                     m_locator.GetSendSOS(), m_warden.GetWardenWarnings());
            m_card.attributes = attributes;
        }
        return m_card;
    }

private:
    PhoneCard m_card;
    std::string m_nickname;
    std::string m_nameFromN;
    int m_numberRank = 0;
    bool m_deviceForm = false;
    bool m_unshowableName = false;
    CVCFLocatorAttributes m_locator;
    CVCFWardenAttributes m_warden;
};

// The logical lines of the text: CR LF or LF ends, folded lines (leading blank) and
// quoted-printable soft breaks (a trailing '=') joined, '#' comment lines dropped.
std::vector<std::string> LogicalLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::stringstream stream(text);
    bool softBreak = false;
    for (std::string line; std::getline(stream, line);)
    {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const bool folded = !line.empty() && (line[0] == ' ' || line[0] == '\t') &&
                            !lines.empty() && !Trim(line).empty();
        if (softBreak || folded)
            lines.back() += softBreak ? line : Trim(line);
        else if (line.starts_with("#"))
            continue;
        else
            lines.push_back(line);
        std::string& current = lines.back();
        softBreak = !current.empty() && current.back() == '=' &&
                    Upper(current.substr(0, current.find(':'))).find("QUOTED-PRINTABLE") !=
                        std::string::npos;
        if (softBreak)
            current.pop_back();
    }
    return lines;
}

} // namespace

std::vector<PhoneCard> ReadPhoneCards(const std::string& text)
{
    std::vector<PhoneCard> cards;
    std::vector<CardBuilder> open;
    int index = 0;
    for (const std::string& line : LogicalLines(text))
    {
        const std::string word = Upper(Trim(line));
        if (word == "BEGIN:VCARD")
            open.emplace_back();
        else if (word == "END:VCARD" && !open.empty())
        {
            cards.push_back(open.back().Finish(++index));
            open.pop_back();
        }
        else if (!open.empty() && line.find(':') != std::string::npos)
            open.back().Add(ParseLine(line));
    }
    return cards;
}

} // namespace warden
