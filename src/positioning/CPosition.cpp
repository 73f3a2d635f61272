#include <shared/positioning/CPosition.h>

CPosition::CPosition() : m_timestamp(static_cast<DATE>(0.0)) {}

CPosition::CPosition(COleDateTime const& timestamp, CLocation const& location)
    : m_timestamp(timestamp), m_location(location)
{
}

CPosition::CPosition(CPosition const& other) = default;
CPosition& CPosition::operator=(CPosition const& other) = default;

CPosition::E_PositionStatus CPosition::GetStatus() const
{
    return m_location.GetStatus() == CLocation::eLocationOK &&
                   m_timestamp.GetStatus() == COleDateTime::valid
               ? ePositionOK
               : ePositionNotOK;
}
