#pragma once

// Reads the vCard 2.1 files that phones and address books export, which the device form of the
// library's CVCard does not: folded and quoted-printable lines, character sets, typed numbers
// (TEL;CELL;VOICE, TEL;TYPE=CELL), group prefixes, lower-case delimiters, nested cards. The
// library keeps the device's own strict reading; this is the tool's import path only.
//
//   for (const warden::PhoneCard& card : warden::ReadPhoneCards(text)) ...

#include <optional>
#include <shared/phonebook/CPhonebookEntryAttributes.h>
#include <string>
#include <vector>

namespace warden
{

struct PhoneCard
{
    std::string label;         // how to name the card in messages: its name, else "card N"
    std::string uid;           // UID as written
    std::string nickname;      // NICKNAME, else FN, else "Given Family" from N (code page 1252)
    std::string formattedName; // FN, else the name from N
    std::string number;        // the best voice number, punctuation such as "(905) 555-1234"
                               // reduced to what a device dials; empty when there is none
    std::string problem;       // why the card cannot become an entry whatever the number, or empty
    // Only cards in the device's form carry permissions.
    std::optional<CPhonebookEntryAttributes> attributes;
};

// Every card of the text in file order (a nested card comes before the rest of its parent).
std::vector<PhoneCard> ReadPhoneCards(const std::string& text);

} // namespace warden
