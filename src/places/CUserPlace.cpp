#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <shared/archive/CArchive.h>
#include <shared/places/CUserPlace.h>
#include <shared/platform/HostHooks.h>
#include <shared/time/CClock.h>
#include <type_traits>

IMPLEMENT_SERIAL(CUserPlace, CObject, VERSIONABLE_SCHEMA | 6)

namespace
{
// Colour references of the geofence borders by type (red in the low byte).
constexpr DWORD kEnterBorder = 0x00DD00; // green
constexpr DWORD kLeaveBorder = 0x0000DD; // red
constexpr DWORD kBothBorder = 0xDD0000;  // blue
constexpr DWORD kUnknownBorder = 0xC0C0C0;
// How much a black symbol is lightened for its geofence area.
constexpr long kAreaLightening = 200;
// Fixed bytes of a place in a device upload, besides its map label.
constexpr int kUploadOverhead = 18;

// A run of fixed-size fields fetched from the archive in one call and taken apart here: a
// place has some thirty of them, and one archive call each was a good share of a load's time.
// Every field's wire size is its size in memory, little-endian as the hosts are.
class FieldRun
{
public:
    FieldRun(CArchive& ar, UINT size)
    {
        if (ar.Read(m_Bytes, size) != size)
            AfxThrowArchiveException(CArchiveException::endOfFile, ar.m_strFileName);
    }

    template <typename Field> FieldRun& operator>>(Field& field)
    {
        static_assert(std::is_trivially_copyable_v<Field> &&
                      std::endian::native == std::endian::little);
        std::memcpy(&field, m_Bytes + m_At, sizeof field);
        m_At += sizeof field;
        return *this;
    }

private:
    unsigned char m_Bytes[64];
    UINT m_At = 0;
};
} // namespace

namespace
{
thread_local const COleDateTime* t_pSharedInstant = nullptr;
}

CUserPlace::CSharedInstant::CSharedInstant()
    : m_Now(CClock::GetUTCCurrentDateTime()), m_pOuter(t_pSharedInstant)
{
    t_pSharedInstant = &m_Now;
}

CUserPlace::CSharedInstant::~CSharedInstant()
{
    t_pSharedInstant = m_pOuter;
}

CUserPlace::CUserPlace()
    : m_CompanyId("n/a"),
      m_DeletionTime(t_pSharedInstant != nullptr ? *t_pSharedInstant
                                                 : CClock::GetUTCCurrentDateTime())
{
}

CUserPlace::CUserPlace(const CUserPlace& other) = default;
CUserPlace& CUserPlace::operator=(const CUserPlace& other) = default;
CUserPlace::CUserPlace(CUserPlace&& other) noexcept = default;
CUserPlace& CUserPlace::operator=(CUserPlace&& other) noexcept = default;
CUserPlace::~CUserPlace() = default;

int CUserPlace::GetNumUploadBytes() const
{
    return m_MapLabelText.GetLength() + kUploadOverhead;
}

void CUserPlace::SetItemId(Cint64 id)
{
    m_UserPlaceId = id;
    m_UserPlaceIdText = id.GetFormattedString();
}

void CUserPlace::SetUserPlaceIdHigh(unsigned long high)
{
    m_UserPlaceId = Cint64(static_cast<unsigned int>(high), m_UserPlaceId.GetLowPart());
}

void CUserPlace::SetUserPlaceIdLow(unsigned long low)
{
    m_UserPlaceId = Cint64(m_UserPlaceId.GetHighPart(), static_cast<unsigned int>(low));
}

CString CUserPlace::GetGeofenceTypeString() const
{
    switch (m_GeofenceEnterLeave)
    {
    case E_GeofenceNone:
        return "None";
    case E_GeofenceEnter:
        return "Enter";
    case E_GeofenceLeave:
        return "Leave";
    case E_GeofenceBoth:
        return "Both";
    default:
        return CString();
    }
}

DWORD CUserPlace::GetGeofenceAreaColour() const
{
    return LightenColoref(GetSymbolColour(), kAreaLightening);
}

DWORD CUserPlace::GetGeofenceBorderColour() const
{
    switch (m_GeofenceEnterLeave)
    {
    case E_GeofenceNone:
        return GetGeofenceAreaColour();
    case E_GeofenceEnter:
        return kEnterBorder;
    case E_GeofenceLeave:
        return kLeaveBorder;
    case E_GeofenceBoth:
        return kBothBorder;
    default:
        return kUnknownBorder;
    }
}

int CUserPlace::GetGeofenceBorderWidth() const
{
    return m_GeofenceEnterLeave == E_GeofenceNone ? 1 : 3;
}

int CUserPlace::GetIconIndex() const
{
    if (m_GeofenceEnterLeave < E_GeofenceNone || m_GeofenceEnterLeave > E_GeofenceBoth)
        return 0;
    const int type = static_cast<int>(m_GeofenceEnterLeave);
    if (GetUseAsAddress() && GetUseAsGeofence())
        return 2 + type;
    if (GetUseAsAddress())
        return 1;
    if (GetUseAsGeofence())
        return 6 + type;
    return 0;
}

DWORD CUserPlace::LightenColoref(unsigned long colour, long amount) const
{
    const long red = static_cast<long>(colour & 0xFF);
    const long green = static_cast<long>((colour >> 8) & 0xFF);
    const long blue = static_cast<long>((colour >> 16) & 0xFF);
    // The factor is truncated before it multiplies, so it is 1 for black and 0 for any other
    // colour: only black symbols get a lighter (grey) area. Maps drawn by the application look
    // this way and users know them so; it stays.
    const long k = static_cast<long>(1.0 - static_cast<double>(red + green + blue) / 768.0);
    const auto lighten = [&](long channel)
    { return static_cast<DWORD>(std::clamp(channel + k * amount, 0L, 255L)); };
    return lighten(red) | (lighten(green) << 8) | (lighten(blue) << 16);
}

bool CUserPlace::IsGeofenceSMSSendRequired(COleDateTime utcTime) const
{
    const COleDateTime local = CClock::ConvertSmartlyFromUTCToLocal(utcTime);
    int day = local.GetDayOfWeek() - 1; // the framework counts 1 (Sunday) to 7
    const COleDateTime t = CClock::GetTimeOnly(local);
    // Only the times of day of the window count; windows read from old files carry a date.
    COleDateTime start = CClock::GetTimeOnly(m_GeofenceStartTime);
    COleDateTime end = CClock::GetTimeOnly(m_GeofenceEndTime);
    bool inverted = false;
    if (end < start)
    {
        // Across midnight: the small hours belong to the day the window opened.
        if (t < end)
            day = day == 0 ? 6 : day - 1;
        std::swap(start, end);
        inverted = true;
    }
    const BOOL days[7] = {m_GeofenceDoSunday,    m_GeofenceDoMonday,   m_GeofenceDoTuesday,
                          m_GeofenceDoWednesday, m_GeofenceDoThursday, m_GeofenceDoFriday,
                          m_GeofenceDoSaturday};
    if (day < 0 || day > 6 || days[day] == 0)
        return false;
    if (start.m_dt == end.m_dt && start.GetStatus() == end.GetStatus())
        return true;
    const bool inside = !(t < start) && t < end;
    return inverted ? !inside : inside;
}

void CUserPlace::CreateNewPlaceSymbol()
{
    shared::platform::SendToMainWindow(shared::platform::kCreatePlaceSymbolMessage,
                                       reinterpret_cast<std::uintptr_t>(this), 0);
}

void CUserPlace::DeletePlaceSymbol()
{
    shared::platform::SendToMainWindow(shared::platform::kDeletePlaceSymbolMessage,
                                       reinterpret_cast<std::uintptr_t>(this), 0);
}

void CUserPlace::ModifyPlaceSymbol()
{
    shared::platform::SendToMainWindow(shared::platform::kModifyPlaceSymbolMessage,
                                       reinterpret_cast<std::uintptr_t>(this), 0);
}

void CUserPlace::Serialize(CArchive& ar)
{
    if (ar.IsStoring())
    {
        ar << m_SymbolId << m_SymbolColour << m_Latitude << m_Longitude;
        ar << m_MapLabelText << m_ReportLabelText << m_SymbolChar;
        ar << m_AddressRadius << m_ShowingAddressRadius << m_GeofenceRadius << m_UseAsAddress
           << m_UseAsGeofence << m_GeofenceEnterLeave << m_ShowingGeofenceRadius;
        ar << static_cast<DWORD>(m_UserPlaceId.GetHighPart())
           << static_cast<DWORD>(m_UserPlaceId.GetLowPart());
        ar << m_GeofenceStartTime << m_GeofenceEndTime;
        ar << m_GeofenceDoSunday << m_GeofenceDoMonday << m_GeofenceDoTuesday
           << m_GeofenceDoWednesday << m_GeofenceDoThursday << m_GeofenceDoFriday
           << m_GeofenceDoSaturday << m_GeofenceSendSmsInsidePeriod
           << m_GeofenceSendSmsOutsidePeriod << m_GeofenceFirstActivation;
        ar << m_GeofenceThreshold;
        return;
    }

    // Each schema appended fields to the one before, so a record is read up to what its schema
    // had. A body read on its own, outside an object, has no schema (all ones) and is read whole.
    const UINT schema = ar.GetObjectSchema();
    FieldRun(ar, 24) >> m_SymbolId >> m_SymbolColour >> m_Latitude >> m_Longitude;
    ar >> m_MapLabelText >> m_ReportLabelText;
    FieldRun middle(ar, 9u + (schema >= 2 ? 12u : 0u) + (schema >= 3 ? 4u : 0u) +
                            (schema >= 4 ? 4u : 0u) + (schema >= 5 ? 8u : 0u));
    middle >> m_SymbolChar >> m_AddressRadius >> m_ShowingAddressRadius;
    if (schema >= 2)
        middle >> m_GeofenceRadius >> m_UseAsAddress >> m_UseAsGeofence;
    if (schema >= 3)
        middle >> m_GeofenceEnterLeave;
    if (schema >= 4)
        middle >> m_ShowingGeofenceRadius;
    if (schema >= 5)
    {
        DWORD high = 0;
        DWORD low = 0;
        middle >> high >> low;
        SetUserPlaceIdHigh(high);
        SetUserPlaceIdLow(low);
    }
    else
    {
        m_UserPlaceId = Cint64();
    }
    if (schema >= 6)
    {
        ar >> m_GeofenceStartTime >> m_GeofenceEndTime;
        FieldRun(ar, 44) >> m_GeofenceDoSunday >> m_GeofenceDoMonday >> m_GeofenceDoTuesday >>
            m_GeofenceDoWednesday >> m_GeofenceDoThursday >> m_GeofenceDoFriday >>
            m_GeofenceDoSaturday >> m_GeofenceSendSmsInsidePeriod >>
            m_GeofenceSendSmsOutsidePeriod >> m_GeofenceFirstActivation >> m_GeofenceThreshold;
    }
    else
    {
        // Places from before the daily window: watched all day, every day, without messages.
        m_GeofenceStartTime = COleDateTime(1999, 12, 31, 0, 0, 0);
        m_GeofenceEndTime = COleDateTime(1999, 12, 31, 0, 0, 0);
        m_GeofenceDoSunday = m_GeofenceDoMonday = m_GeofenceDoTuesday = m_GeofenceDoWednesday =
            m_GeofenceDoThursday = m_GeofenceDoFriday = m_GeofenceDoSaturday = 1;
        m_GeofenceSendSmsInsidePeriod = m_GeofenceSendSmsOutsidePeriod = 0;
        m_GeofenceFirstActivation = 0;
        m_GeofenceThreshold = 4;
    }
}
