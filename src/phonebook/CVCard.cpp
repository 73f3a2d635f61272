#include <shared/foundation/CStringManipulator.h>
#include <shared/phonebook/CVCard.h>

const CString CVCard::s_sBeginDelimiter("BEGIN:VCARD");
const CString CVCard::s_sEndDelimiter("END:VCARD");
const CString CVCard::s_sLineEndTextMode("\n");
const CString CVCard::s_sLineEndBinaryMode("\r\n");

CVCard::CVCard(const CString& uid, const CString& nick, const CString& formattedName,
               const CString& voiceNumber, const CPhonebookEntryAttributes& attributes)
    : m_Uid(uid), m_FormattedName(formattedName), m_NickName(nick), m_TelephoneNumber(voiceNumber),
      m_Version(CString("2.1")),
      m_LocatorAttributes(attributes.GetAllowVoice(), attributes.GetAllowSpot(),
                          attributes.GetAllowTrack(), attributes.GetSendSOS(),
                          attributes.GetSendGeofence()),
      m_WardenAttributes(attributes.GetWardenWarnings())
{
}

CVCard::~CVCard() = default;

CPhonebookEntryAttributes CVCard::GetAttributes() const
{
    CPhonebookEntryAttributes attributes;
    attributes.SetAttributes(
        m_LocatorAttributes.GetAllowVoice(), m_LocatorAttributes.GetAllowSpot(),
        m_LocatorAttributes.GetAllowTrack(), m_LocatorAttributes.GetSendGeofence(),
        m_LocatorAttributes.GetSendSOS(), m_WardenAttributes.GetWardenWarnings());
    return attributes;
}

void CVCard::Normalize(CString& text)
{
    text.Trim();
    text.MakeUpper();
}

CString CVCard::GetDataStream() const
{
    // The devices expect exactly this order of lines.
    const CAnyVCProperty* const lines[] = {
        &m_Version, &m_FormattedName,     &m_NickName,        &m_TelephoneNumber,
        &m_Uid,     &m_LocatorAttributes, &m_WardenAttributes};
    CString stream = s_sBeginDelimiter + s_sLineEndTextMode;
    for (const CAnyVCProperty* property : lines)
        stream += property->GetTextLine() + s_sLineEndTextMode;
    stream += s_sEndDelimiter + s_sLineEndTextMode;
    return stream;
}

bool CVCard::WriteToTextFile(CStdioFile& file) const
{
    file.WriteString(GetDataStream());
    return true;
}

bool CVCard::ReadFromTextFile(CStdioFile& file)
{
    // Names are matched in this order; the first match takes the line.
    CAnyVCProperty* const properties[] = {&m_Uid,
                                          &m_Version,
                                          &m_NickName,
                                          &m_FormattedName,
                                          &m_TelephoneNumber,
                                          &m_LocatorAttributes,
                                          &m_WardenAttributes};
    bool inCard = false;
    CString line;
    while (file.ReadString(line))
    {
        // The delimiters compare exactly, without trimming or case folding, while property
        // names are normalised: devices write the delimiters verbatim, phones vary the names.
        if (!inCard)
        {
            inCard = line == s_sBeginDelimiter;
            continue;
        }
        if (line == s_sEndDelimiter)
            return true;

        CString name;
        CString value;
        CStringManipulator::SplitOnDelimiter(line, CAnyVCProperty::s_sColonDelimiter, name, value,
                                             CStringManipulator::eDropDelimiter);
        Normalize(name);
        for (CAnyVCProperty* property : properties)
        {
            if (property->GetName() == name)
            {
                property->Parse(value);
                break;
            }
        }
    }
    return false;
}
