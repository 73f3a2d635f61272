#pragma once

#include <shared/platform/Export.h>

// A point on the earth in decimal degrees (north and east positive) that also records why a
// point is not a real one. Invalid coordinates are never kept: they are replaced by one of three
// marker values, the same in both coordinates, and the status says which.
class SHARED_API CLocation
{
public:
    enum E_LocationStatus : int
    {
        eLocationOK = 0,
        eLocationOutOfWorld = 1,
        eLocationUnknown = 2,
        eLocationNotApplicable = 3
    };

    // Marker values stored in both coordinates, and the bounds of real coordinates.
    static double const s_dblUnknown;    // 1111.1111: not known yet
    static double const s_dblNA;         // 9999.9999: not applicable
    static double const s_dblOutOfWorld; // 5555.1111: given, but impossible
    static double const s_dblMaxLat;     // 90.0
    static double const s_dblMaxLong;    // 180.0

    // Unknown (both coordinates 1111.1111).
    CLocation();
    // Pass Unknown() or NotApplicable() in either coordinate to make such a location.
    CLocation(double const& lat, double const& lon);
    CLocation(CLocation const& other);
    CLocation& operator=(CLocation const& other);
    virtual ~CLocation();

    void SetLatLong(double const& lat, double const& lon);

    double GetLat() const { return m_dblLat; }
    double GetLong() const { return m_dblLong; }
    E_LocationStatus GetStatus() const { return m_eStatus; }

    static double Unknown();
    static double NotApplicable();
    static bool IsOKLat(double const& lat);
    static bool IsOKLong(double const& lon);
    static bool IsOKLocation(double const& lat, double const& lon);

protected:
    // Replaces coordinates that are not a real position by the marker for the reason.
    void Rectify();

private:
    double m_dblLat;
    double m_dblLong;
    E_LocationStatus m_eStatus;
};

// Locations that are not OK compare by status alone; OK ones by exact coordinates (no tolerance).
SHARED_API bool operator==(CLocation const& a, CLocation const& b);
SHARED_API bool operator!=(CLocation const& a, CLocation const& b);
