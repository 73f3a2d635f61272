#pragma once

#include <shared/framework/COleDateTime.h>
#include <shared/platform/Export.h>
#include <shared/positioning/CLocation.h>

// A location with the UTC time at which it was taken.
class SHARED_API CPosition
{
public:
    enum E_PositionStatus : int
    {
        ePositionOK = 0,   // location OK and time stamp valid
        ePositionNotOK = 1 // anything else
    };

    // Time stamp at the framework's epoch (day 0, valid), location unknown: so not OK.
    CPosition();
    CPosition(COleDateTime const& timestamp, CLocation const& location);
    CPosition(CPosition const& other);
    CPosition& operator=(CPosition const& other);

    double GetLat() const { return m_location.GetLat(); }
    double GetLong() const { return m_location.GetLong(); }
    COleDateTime GetTimestamp() const { return m_timestamp; }
    E_PositionStatus GetStatus() const;

private:
    COleDateTime m_timestamp;
    CLocation m_location;
};
