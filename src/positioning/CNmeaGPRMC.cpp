#include "NmeaFields.h"

#include <shared/foundation/CTokenArray.h>
#include <shared/positioning/CNmeaGPRMC.h>

CNmeaGPRMC::CNmeaGPRMC()
    : m_dwValid(0), m_dtTimeStamp(static_cast<DATE>(0.0)), m_cStatusIndicator(0),
      m_dblLatitude(0.0), m_dblLongitude(0.0), m_dblSpeedInKnots(0.0), m_dblCourse(0.0),
      m_dblMagneticVariation(0.0), m_cModeIndicator(0)
{
}

SHARED_IMPLEMENT_NMEA_RECORD(CNmeaGPRMC, "GPRMC", eNMEA_GPRMC)

CNmeaSentence::E_NMEAParseResult CNmeaGPRMC::Decode(CTokenArray const& tokens, int count)
{
    std::string_view fields[kFieldsRead];
    for (int i = 0; i < count && i < kFieldsRead; ++i)
        fields[i] = std::string_view(tokens.GetAt(i).GetString(),
                                     static_cast<std::size_t>(tokens.GetAt(i).GetLength()));
    return DecodeFields(fields, count);
}

CNmeaSentence::E_NMEAParseResult CNmeaGPRMC::DecodeFields(std::string_view const* field, int count)
{
    m_dwValid = 0;
    if (count > 4 && !field[3].empty() && !field[4].empty())
    {
        m_dblLatitude = nmea_fields::ReadDegrees(field[3]);
        if (field[4][0] == 'S')
            m_dblLatitude = -m_dblLatitude;
        SetValid(eGPRMC_Latitude);
    }
    if (count > 6 && !field[5].empty() && !field[6].empty())
    {
        m_dblLongitude = nmea_fields::ReadDegrees(field[5]);
        if (field[6][0] == 'W')
            m_dblLongitude = -m_dblLongitude;
        SetValid(eGPRMC_Longitude);
    }
    if (count > 9 && !field[1].empty() && !field[9].empty() &&
        nmea_fields::ReadTimeStamp(field[1], field[9], m_dtTimeStamp))
        SetValid(eGPRMC_TimeStamp);
    if (count > 2 && !field[2].empty())
    {
        m_cStatusIndicator = field[2][0];
        SetValid(eGPRMC_StatusIndicator);
    }
    if (count > 12 && !field[12].empty())
    {
        m_cModeIndicator = field[12][0];
        SetValid(eGPRMC_ModeIndicator);
    }
    int consumed = 0;
    // Speed and course are read as far as they are numbers; a field that does not start with one
    // is malformed and stays invalid.
    if (count > 7 && !field[7].empty() &&
        nmea_fields::ReadLeadingNumber(field[7], m_dblSpeedInKnots, consumed))
        SetValid(eGPRMC_SpeedInKnots);
    if (count > 8 && !field[8].empty() &&
        nmea_fields::ReadLeadingNumber(field[8], m_dblCourse, consumed))
        SetValid(eGPRMC_Course);
    if (count >= 12 && !field[10].empty() && !field[11].empty() &&
        nmea_fields::ReadLeadingNumber(field[10], m_dblMagneticVariation, consumed))
    {
        // East is negative here, unlike latitude and longitude: the application corrects
        // bearings by adding this value, so the device convention is kept as it is.
        if (field[11][0] == 'E')
            m_dblMagneticVariation = -m_dblMagneticVariation;
        SetValid(eGPRMC_MagneticVariation);
    }
    return eNMEAParseOK;
}

SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetTimeStamp, COleDateTime, eGPRMC_TimeStamp, m_dtTimeStamp)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetStatusIndicator, char, eGPRMC_StatusIndicator,
                          m_cStatusIndicator)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetLatitude, double, eGPRMC_Latitude, m_dblLatitude)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetLongitude, double, eGPRMC_Longitude, m_dblLongitude)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetSpeedInKnots, double, eGPRMC_SpeedInKnots,
                          m_dblSpeedInKnots)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetCourse, double, eGPRMC_Course, m_dblCourse)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetMagneticVariation, double, eGPRMC_MagneticVariation,
                          m_dblMagneticVariation)
SHARED_NMEA_RECORD_GETTER(CNmeaGPRMC, GetModeIndicator, char, eGPRMC_ModeIndicator,
                          m_cModeIndicator)
