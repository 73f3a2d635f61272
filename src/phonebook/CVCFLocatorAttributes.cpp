#include "AttributeFlags.h"

#include <shared/phonebook/CVCFLocatorAttributes.h>

using namespace phonebook_detail;

CVCFLocatorAttributes::CVCFLocatorAttributes(bool allowVoice, bool allowSpot, bool allowTrack,
                                             bool sendSOS, bool sendGeofence)
    : m_boAllowVoice(allowVoice), m_boAllowSpot(allowSpot), m_boAllowTrack(allowTrack),
      m_boSendGeofence(sendGeofence), m_boSendSOS(sendSOS)
{
    m_sValue.Format("AllowVoice=%s;Spot=%s;Track=%s;SOS=%s;Geofence=%s",
                    static_cast<const char*>(FlagWord(allowVoice)),
                    static_cast<const char*>(FlagWord(allowSpot)),
                    static_cast<const char*>(FlagWord(allowTrack)),
                    static_cast<const char*>(FlagWord(sendSOS)),
                    static_cast<const char*>(FlagWord(sendGeofence)));
}

CString CVCFLocatorAttributes::GetName() const
{
    return "X-NIMBUS-ATTRIBUTES;LOCATOR";
}

bool CVCFLocatorAttributes::Parse(const CString& value)
{
    if (value.IsEmpty())
        return false;
    const CStringArray fields = SplitAttributeFields(value);
    for (INT_PTR i = 0; i < fields.GetSize(); ++i)
    {
        const CString& field = fields.GetAt(i);
        ApplyAttributeField(field, "AllowVoice", m_boAllowVoice);
        ApplyAttributeField(field, "Spot", m_boAllowSpot);
        ApplyAttributeField(field, "Track", m_boAllowTrack);
        ApplyAttributeField(field, "SOS", m_boSendSOS);
        ApplyAttributeField(field, "Geofence", m_boSendGeofence);
    }
    m_sValue = value;
    return !m_sValue.IsEmpty();
}
