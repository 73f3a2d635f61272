#pragma once

#include <shared/phonebook/CAnyVCProperty.h>

// The "X-NIMBUS-ATTRIBUTES;LOCATOR" line: what a contact may do with the tracking device.
class SHARED_API CVCFLocatorAttributes : public CVCFTextProperty
{
public:
    CVCFLocatorAttributes() = default;
    explicit CVCFLocatorAttributes(const CString& value) : CVCFTextProperty(value) {}
    // Note the argument order: SOS comes before geofence here, unlike the stored fields.
    CVCFLocatorAttributes(bool allowVoice, bool allowSpot, bool allowTrack, bool sendSOS,
                          bool sendGeofence);

    CString GetName() const override;
    // Keys may stand in any order; unknown fields are ignored.
    bool Parse(const CString& value) override;

    bool GetAllowVoice() const { return m_boAllowVoice; }
    bool GetAllowSpot() const { return m_boAllowSpot; }
    bool GetAllowTrack() const { return m_boAllowTrack; }
    bool GetSendGeofence() const { return m_boSendGeofence; }
    bool GetSendSOS() const { return m_boSendSOS; }

private:
    bool m_boAllowVoice = false;
    bool m_boAllowSpot = false;
    bool m_boAllowTrack = false;
    bool m_boSendGeofence = false;
    bool m_boSendSOS = false;
};
