#pragma once

// Field readers shared by the sentence decoders (private to the library).

#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <string_view>

namespace nmea_fields
{

// A decimal number at the start of text, as strtod reads it but independent of the locale:
// optional sign, digits with an optional point and exponent, or inf/nan. False when text does
// not start with a number, or the number is beyond the range of double. consumed receives the
// number of characters read.
bool ReadLeadingNumber(char const* text, double& value, int& consumed);
bool ReadLeadingNumber(std::string_view text, double& value, int& consumed);

// Degrees and minutes dddmm.mmmm as decimal degrees, the rules of EvaluateDegrees.
double ReadDegrees(std::string_view text);

// A decimal number that must be the whole (non-empty) field.
bool ReadWholeNumber(CString const& field, double& value);

// An unsigned decimal number that must be the whole field; false also on overflow.
bool ReadWholeUnsigned(CString const& field, unsigned long& value);

// Exactly eight binary digits, the first being bit 7.
bool ReadBinaryByte(CString const& field, unsigned char& value);

} // namespace nmea_fields

namespace nmea_fields
{
// A UTC time stamp from a time field hhmmss (anything after the seconds is ignored) and a date
// field ddmmyy, the year taken as 2000 + yy. The characters are read as digits without checking
// them, as EvaluateDigits does; a field shorter than six characters or an impossible date-time
// gives false.
bool ReadTimeStamp(std::string_view time, std::string_view date, COleDateTime& timestamp);
} // namespace nmea_fields

// The members every sentence record has alike, as the framework's IMPLEMENT_ macros do it: its
// name and type, its valid-part bits, and plain copying (a record holds only values).
#define SHARED_IMPLEMENT_NMEA_RECORD(Class, Name, Type)                                            \
    Class::Class(Class const&) = default;                                                          \
    Class& Class::operator=(Class const&) = default;                                               \
    Class::~Class() = default;                                                                     \
    char const* Class::GetTypeString()                                                             \
    {                                                                                              \
        return Name;                                                                               \
    }                                                                                              \
    CNmeaSentence::E_NMEASentenceType Class::GetType() const                                       \
    {                                                                                              \
        return CNmeaSentence::Type;                                                                \
    }                                                                                              \
    void Class::GetTypeString(CString& type) const                                                 \
    {                                                                                              \
        type = GetTypeString();                                                                    \
    }                                                                                              \
    bool Class::IsValid(E_ValidParts parts) const                                                  \
    {                                                                                              \
        return (m_dwValid & parts) == parts;                                                       \
    }                                                                                              \
    void Class::SetValid(E_ValidParts parts)                                                       \
    {                                                                                              \
        m_dwValid |= parts;                                                                        \
    }

// A record's getter: hands out the field only when the sentence carried it.
#define SHARED_NMEA_RECORD_GETTER(Class, Getter, Type, Part, Member)                               \
    bool Class::Getter(Type& value) const                                                          \
    {                                                                                              \
        if (!IsValid(Part))                                                                        \
            return false;                                                                          \
        value = Member;                                                                            \
        return true;                                                                               \
    }
