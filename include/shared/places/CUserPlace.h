#pragma once

#include <shared/foundation/Cint64.h>
#include <shared/framework/CObject.h>
#include <shared/framework/COleDateTime.h>
#include <shared/framework/CString.h>
#include <shared/framework/WinTypes.h>
#include <shared/places/IWardenCollectionItem.h>
#include <shared/platform/Export.h>

// A place the user marked on the map: a point with a symbol and two labels, usable as an
// address (positions near it are reported by its name) and as a geofence (a circle watched for
// entering and/or leaving, on chosen weekdays within a daily time window).
//
// Persisted at schema 6; schemas 1 to 5 are read, the fields they lack taking the values
// described at Serialize. The identifier text, company, region ids and the creation and
// deletion times are not persisted.
class SHARED_API CUserPlace : public CObject, public IWardenCollectionItem
{
    DECLARE_SERIAL(CUserPlace)

public:
    // Geofence types, the values of GeofenceEnterLeave.
    enum EGeofenceType
    {
        E_GeofenceNone = 0,
        E_GeofenceEnter = 1,
        E_GeofenceLeave = 2,
        E_GeofenceBoth = 3
    };

    // Note: the deletion time, not the creation time, is set to UTC now here. Callers have long
    // read it as "time the object was made" and the creation time is left at day 0, so it stays.
    CUserPlace();

    // While one of these lives on a thread, places constructed there take its instant (UTC now
    // when it was made) as their deletion time instead of reading the clock each: a collection
    // load makes every place of the file in one go.
    class SHARED_API CSharedInstant
    {
    public:
        CSharedInstant();
        ~CSharedInstant();
        CSharedInstant(const CSharedInstant&) = delete;
        CSharedInstant& operator=(const CSharedInstant&) = delete;

    private:
        COleDateTime m_Now;
        const COleDateTime* m_pOuter;
    };
    CUserPlace(const CUserPlace& other);
    CUserPlace& operator=(const CUserPlace& other);
    CUserPlace(CUserPlace&& other) noexcept;
    CUserPlace& operator=(CUserPlace&& other) noexcept;
    ~CUserPlace() override;

    // Item interface.
    Cint64 GetItemId() override { return m_UserPlaceId; }
    CString GetItemName() override { return m_MapLabelText; }
    // The map label plus 18 bytes of fixed fields.
    int GetNumUploadBytes() const override;

    // Sets the identifier and its text form together.
    void SetItemId(Cint64 id);
    // Sets only the text form; the identifier itself is unchanged.
    void SetUserPlaceId(CString text) { m_UserPlaceIdText = text; }
    // The text of the identifier itself (not the stored text form).
    CString GetUserPlaceId() const { return m_UserPlaceId.GetFormattedString(); }
    CString GetUserPlaceIdText() const { return m_UserPlaceIdText; }
    void SetUserPlaceIdText(CString text) { m_UserPlaceIdText = text; }
    unsigned long GetUserPlaceIdHigh() const { return m_UserPlaceId.GetHighPart(); }
    unsigned long GetUserPlaceIdLow() const { return m_UserPlaceId.GetLowPart(); }
    void SetUserPlaceIdHigh(unsigned long high);
    void SetUserPlaceIdLow(unsigned long low);

    CString GetCompanyId() const { return m_CompanyId; }
    void SetCompanyId(CString id) { m_CompanyId = id; }
    long GetSymbolId() const { return m_SymbolId; }
    void SetSymbolId(long id) { m_SymbolId = static_cast<LONG>(id); }
    long GetAddressRegionId() const { return m_AddressRegionId; }
    void SetAddressRegionId(long id) { m_AddressRegionId = static_cast<LONG>(id); }
    long GetGeofenceRegionId() const { return m_GeofenceRegionId; }
    void SetGeofenceRegionId(long id) { m_GeofenceRegionId = static_cast<LONG>(id); }
    // A colour reference: red in the low byte, then green, then blue.
    DWORD GetSymbolColour() const { return m_SymbolColour; }
    void SetSymbolColour(DWORD colour) { m_SymbolColour = colour; }
    double GetLatitude() const { return m_Latitude; }
    void SetLatitude(double latitude) { m_Latitude = latitude; }
    double GetLongitude() const { return m_Longitude; }
    void SetLongitude(double longitude) { m_Longitude = longitude; }
    CString GetMapLabelText() const { return m_MapLabelText; }
    void SetMapLabelText(CString text) { m_MapLabelText = text; }
    CString GetReportLabelText() const { return m_ReportLabelText; }
    void SetReportLabelText(CString text) { m_ReportLabelText = text; }
    long GetAddressRadius() const { return m_AddressRadius; }
    void SetAddressRadius(long radius) { m_AddressRadius = static_cast<LONG>(radius); }
    long GetGeofenceRadius() const { return m_GeofenceRadius; }
    void SetGeofenceRadius(long radius) { m_GeofenceRadius = static_cast<LONG>(radius); }
    long GetGeofenceEnterLeave() const { return m_GeofenceEnterLeave; }
    void SetGeofenceEnterLeave(long type) { m_GeofenceEnterLeave = static_cast<LONG>(type); }
    long GetGeofenceThreshold() const { return m_GeofenceThreshold; }
    void SetGeofenceThreshold(long threshold)
    {
        m_GeofenceThreshold = static_cast<LONG>(threshold);
    }
    unsigned char GetSymbolChar() const { return m_SymbolChar; }
    void SetSymbolChar(unsigned char symbol) { m_SymbolChar = symbol; }

    bool GetShowingAddressRadius() const { return m_ShowingAddressRadius != 0; }
    void SetShowingAddressRadius(bool on) { m_ShowingAddressRadius = on; }
    bool GetShowingGeofenceRadius() const { return m_ShowingGeofenceRadius != 0; }
    void SetShowingGeofenceRadius(bool on) { m_ShowingGeofenceRadius = on; }
    bool GetUseAsAddress() const { return m_UseAsAddress != 0; }
    void SetUseAsAddress(int on) { m_UseAsAddress = on; }
    bool GetUseAsGeofence() const { return m_UseAsGeofence != 0; }
    void SetUseAsGeofence(int on) { m_UseAsGeofence = on; }
    bool GetGeofenceDoSunday() const { return m_GeofenceDoSunday != 0; }
    void SetGeofenceDoSunday(bool on) { m_GeofenceDoSunday = on; }
    bool GetGeofenceDoMonday() const { return m_GeofenceDoMonday != 0; }
    void SetGeofenceDoMonday(bool on) { m_GeofenceDoMonday = on; }
    bool GetGeofenceDoTuesday() const { return m_GeofenceDoTuesday != 0; }
    void SetGeofenceDoTuesday(bool on) { m_GeofenceDoTuesday = on; }
    bool GetGeofenceDoWednesday() const { return m_GeofenceDoWednesday != 0; }
    void SetGeofenceDoWednesday(bool on) { m_GeofenceDoWednesday = on; }
    bool GetGeofenceDoThursday() const { return m_GeofenceDoThursday != 0; }
    void SetGeofenceDoThursday(bool on) { m_GeofenceDoThursday = on; }
    bool GetGeofenceDoFriday() const { return m_GeofenceDoFriday != 0; }
    void SetGeofenceDoFriday(bool on) { m_GeofenceDoFriday = on; }
    bool GetGeofenceDoSaturday() const { return m_GeofenceDoSaturday != 0; }
    void SetGeofenceDoSaturday(bool on) { m_GeofenceDoSaturday = on; }
    bool GetGeofenceSendSmsInsidePeriod() const { return m_GeofenceSendSmsInsidePeriod != 0; }
    void SetGeofenceSendSmsInsidePeriod(bool on) { m_GeofenceSendSmsInsidePeriod = on; }
    bool GetGeofenceSendSmsOutsidePeriod() const { return m_GeofenceSendSmsOutsidePeriod != 0; }
    void SetGeofenceSendSmsOutsidePeriod(bool on) { m_GeofenceSendSmsOutsidePeriod = on; }
    bool GetGeofenceFirstActivation() const { return m_GeofenceFirstActivation != 0; }
    void SetGeofenceFirstActivation(bool on) { m_GeofenceFirstActivation = on; }

    COleDateTime GetGeofenceStartTime() const { return m_GeofenceStartTime; }
    void SetGeofenceStartTime(COleDateTime time) { m_GeofenceStartTime = time; }
    COleDateTime GetGeofenceEndTime() const { return m_GeofenceEndTime; }
    void SetGeofenceEndTime(COleDateTime time) { m_GeofenceEndTime = time; }
    COleDateTime GetCreationTime() const { return m_CreationTime; }
    void SetCreationTime(COleDateTime time) { m_CreationTime = time; }
    COleDateTime GetDeletionTime() const { return m_DeletionTime; }
    void SetDeletionTime(COleDateTime time) { m_DeletionTime = time; }

    // "None", "Enter", "Leave", "Both"; empty for any other type value.
    CString GetGeofenceTypeString() const;
    DWORD GetGeofenceAreaColour() const;
    DWORD GetGeofenceBorderColour() const;
    int GetGeofenceBorderWidth() const;
    // The image of the place in lists: 1 address only, 2-5 address and geofence, 6-9 geofence
    // only (by type 0-3), 0 otherwise.
    int GetIconIndex() const;
    // Lightens black by amount on every channel and returns every other colour unchanged; see
    // the definition for why.
    DWORD LightenColoref(unsigned long colour, long amount) const;
    // Whether utcTime falls, in local time, inside the daily geofence window on an enabled
    // weekday. A window that ends before it starts runs across midnight and belongs to the day
    // it started on.
    bool IsGeofenceSMSSendRequired(COleDateTime utcTime) const;

    // Ask the application's main window to draw, remove or redraw this place's symbol; nothing
    // happens when the application has installed no main window.
    void CreateNewPlaceSymbol();
    void DeletePlaceSymbol();
    void ModifyPlaceSymbol();

    void Serialize(CArchive& ar) override;

private:
    Cint64 m_UserPlaceId;
    CString m_UserPlaceIdText;
    CString m_CompanyId;
    LONG m_SymbolId = 0;
    LONG m_AddressRegionId = 0;
    LONG m_GeofenceRegionId = 0;
    DWORD m_SymbolColour = 0;
    double m_Latitude = 0.0;
    double m_Longitude = 0.0;
    CString m_MapLabelText;
    CString m_ReportLabelText;
    LONG m_AddressRadius = 100;
    LONG m_GeofenceRadius = 100;
    LONG m_GeofenceEnterLeave = E_GeofenceNone;
    LONG m_GeofenceThreshold = 4;
    BYTE m_SymbolChar = 0;
    BOOL m_ShowingAddressRadius = 0;
    BOOL m_ShowingGeofenceRadius = 0;
    BOOL m_UseAsAddress = 1;
    BOOL m_UseAsGeofence = 0;
    BOOL m_GeofenceDoSunday = 1;
    BOOL m_GeofenceDoMonday = 1;
    BOOL m_GeofenceDoTuesday = 1;
    BOOL m_GeofenceDoWednesday = 1;
    BOOL m_GeofenceDoThursday = 1;
    BOOL m_GeofenceDoFriday = 1;
    BOOL m_GeofenceDoSaturday = 1;
    BOOL m_GeofenceSendSmsInsidePeriod = 1;
    BOOL m_GeofenceSendSmsOutsidePeriod = 1;
    BOOL m_GeofenceFirstActivation = 0;
    COleDateTime m_GeofenceStartTime;
    COleDateTime m_GeofenceEndTime;
    COleDateTime m_CreationTime;
    COleDateTime m_DeletionTime;
};
