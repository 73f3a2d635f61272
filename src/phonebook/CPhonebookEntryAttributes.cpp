#include <shared/phonebook/CPhonebookEntryAttributes.h>

CPhonebookEntryAttributes::~CPhonebookEntryAttributes() = default;

void CPhonebookEntryAttributes::SetAttributes(bool allowVoice, bool allowSpot, bool allowTrack,
                                              bool sendGeofence, bool sendSOS, bool wardenWarnings)
{
    m_boAllowVoice = allowVoice;
    m_boAllowSpot = allowSpot;
    m_boAllowTrack = allowTrack;
    m_boSendGeofence = sendGeofence;
    m_boSendSOS = sendSOS;
    m_boWardenWarnings = wardenWarnings;
}

void CPhonebookEntryAttributes::GetAttributes(bool& allowVoice, bool& allowSpot, bool& allowTrack,
                                              bool& sendGeofence, bool& sendSOS,
                                              bool& wardenWarnings) const
{
    allowVoice = m_boAllowVoice;
    allowSpot = m_boAllowSpot;
    allowTrack = m_boAllowTrack;
    sendGeofence = m_boSendGeofence;
    sendSOS = m_boSendSOS;
    wardenWarnings = m_boWardenWarnings;
}
