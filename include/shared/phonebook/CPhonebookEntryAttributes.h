#pragma once

#include <shared/platform/Export.h>

// What a contact may do with a tracking device and which alerts it receives.
class SHARED_API CPhonebookEntryAttributes
{
public:
    // A new contact may call the device and nothing else.
    CPhonebookEntryAttributes() = default;
    CPhonebookEntryAttributes(const CPhonebookEntryAttributes&) = default;
    CPhonebookEntryAttributes& operator=(const CPhonebookEntryAttributes&) = default;
    virtual ~CPhonebookEntryAttributes();

    void SetAttributes(bool allowVoice, bool allowSpot, bool allowTrack, bool sendGeofence,
                       bool sendSOS, bool wardenWarnings);
    void GetAttributes(bool& allowVoice, bool& allowSpot, bool& allowTrack, bool& sendGeofence,
                       bool& sendSOS, bool& wardenWarnings) const;

    bool GetAllowVoice() const { return m_boAllowVoice; }
    void SetAllowVoice(bool value) { m_boAllowVoice = value; }
    bool GetAllowSpot() const { return m_boAllowSpot; }
    void SetAllowSpot(bool value) { m_boAllowSpot = value; }
    bool GetAllowTrack() const { return m_boAllowTrack; }
    void SetAllowTrack(bool value) { m_boAllowTrack = value; }
    bool GetSendGeofence() const { return m_boSendGeofence; }
    void SetSendGeofence(bool value) { m_boSendGeofence = value; }
    bool GetSendSOS() const { return m_boSendSOS; }
    void SetSendSOS(bool value) { m_boSendSOS = value; }
    bool GetWardenWarnings() const { return m_boWardenWarnings; }
    void SetWardenWarnings(bool value) { m_boWardenWarnings = value; }

    bool operator==(const CPhonebookEntryAttributes&) const = default;

private:
    bool m_boAllowVoice = true;
    bool m_boAllowSpot = false;
    bool m_boAllowTrack = false;
    bool m_boSendGeofence = false;
    bool m_boSendSOS = false;
    // Warnings are opt-in: a contact receives them only when the user asks for it.
    bool m_boWardenWarnings = false;
};
