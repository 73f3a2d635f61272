#include <cmath>
#include <shared/positioning/CLocation.h>

double const CLocation::s_dblUnknown = 1111.1111;
double const CLocation::s_dblNA = 9999.9999;
double const CLocation::s_dblOutOfWorld = 5555.1111;
double const CLocation::s_dblMaxLat = 90.0;
double const CLocation::s_dblMaxLong = 180.0;

CLocation::CLocation()
    : m_dblLat(s_dblUnknown), m_dblLong(s_dblUnknown), m_eStatus(eLocationUnknown)
{
}

CLocation::CLocation(double const& lat, double const& lon)
    : m_dblLat(lat), m_dblLong(lon), m_eStatus(eLocationOK)
{
    Rectify();
}

CLocation::CLocation(CLocation const& other) = default;
CLocation& CLocation::operator=(CLocation const& other) = default;
CLocation::~CLocation() = default;

void CLocation::SetLatLong(double const& lat, double const& lon)
{
    m_dblLat = lat;
    m_dblLong = lon;
    m_eStatus = eLocationOK;
    Rectify();
}

double CLocation::Unknown()
{
    return s_dblUnknown;
}
double CLocation::NotApplicable()
{
    return s_dblNA;
}

bool CLocation::IsOKLat(double const& lat)
{
    return std::fabs(lat) <= s_dblMaxLat;
}
bool CLocation::IsOKLong(double const& lon)
{
    return std::fabs(lon) <= s_dblMaxLong;
}
bool CLocation::IsOKLocation(double const& lat, double const& lon)
{
    return IsOKLat(lat) && IsOKLong(lon);
}

void CLocation::Rectify()
{
    if (IsOKLocation(m_dblLat, m_dblLong))
        return;
    // Not applicable is tested first: a caller that marks either coordinate so means the whole
    // location does not apply.
    if (m_dblLat == s_dblNA || m_dblLong == s_dblNA)
    {
        m_dblLat = m_dblLong = s_dblNA;
        m_eStatus = eLocationNotApplicable;
    }
    else if (m_dblLat == s_dblUnknown || m_dblLong == s_dblUnknown)
    {
        m_dblLat = m_dblLong = s_dblUnknown;
        m_eStatus = eLocationUnknown;
    }
    else
    {
        m_dblLat = m_dblLong = s_dblOutOfWorld;
        m_eStatus = eLocationOutOfWorld;
    }
}

bool operator==(CLocation const& a, CLocation const& b)
{
    if (&a == &b)
        return true;
    if (a.GetStatus() != CLocation::eLocationOK)
        return a.GetStatus() == b.GetStatus();
    return b.GetStatus() == CLocation::eLocationOK && a.GetLat() == b.GetLat() &&
           a.GetLong() == b.GetLong();
}

bool operator!=(CLocation const& a, CLocation const& b)
{
    return !(a == b);
}
