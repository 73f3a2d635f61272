#include "NmeaFields.h"

#include <shared/foundation/CTokenArray.h>
#include <shared/positioning/CNmeaGPIOP.h>

CNmeaGPIOP::CNmeaGPIOP()
    : m_dwValid(0), m_byActiveInputs(0), m_byActiveOutputs(0), m_dblAnalogInput1(0.0),
      m_dblAnalogInput2(0.0), m_dblBatteryVoltage(0.0)
{
}

SHARED_IMPLEMENT_NMEA_RECORD(CNmeaGPIOP, "GPIOP", eNMEA_GPIOP)

CNmeaSentence::E_NMEAParseResult CNmeaGPIOP::Decode(CTokenArray const& tokens, int count)
{
    m_dwValid = 0;
    if (count > 1 && nmea_fields::ReadBinaryByte(tokens.GetAt(1), m_byActiveInputs))
        SetValid(eGPIOP_ActiveInputs);
    if (count > 2 && nmea_fields::ReadBinaryByte(tokens.GetAt(2), m_byActiveOutputs))
        SetValid(eGPIOP_ActiveOutputs);
    if (count > 3 && nmea_fields::ReadWholeNumber(tokens.GetAt(3), m_dblAnalogInput1))
        SetValid(eGPIOP_AnalogInput1);
    if (count > 4 && nmea_fields::ReadWholeNumber(tokens.GetAt(4), m_dblAnalogInput2))
        SetValid(eGPIOP_AnalogInput2);
    if (count >= 6 && nmea_fields::ReadWholeNumber(tokens.GetAt(5), m_dblBatteryVoltage))
        SetValid(eGPIOP_BatteryVoltage);
    return eNMEAParseOK;
}

SHARED_NMEA_RECORD_GETTER(CNmeaGPIOP, GetActiveInputs, unsigned char, eGPIOP_ActiveInputs,
                          m_byActiveInputs)
SHARED_NMEA_RECORD_GETTER(CNmeaGPIOP, GetActiveOutputs, unsigned char, eGPIOP_ActiveOutputs,
                          m_byActiveOutputs)
SHARED_NMEA_RECORD_GETTER(CNmeaGPIOP, GetAnalogInput1, double, eGPIOP_AnalogInput1,
                          m_dblAnalogInput1)
SHARED_NMEA_RECORD_GETTER(CNmeaGPIOP, GetAnalogInput2, double, eGPIOP_AnalogInput2,
                          m_dblAnalogInput2)
SHARED_NMEA_RECORD_GETTER(CNmeaGPIOP, GetBatteryVoltage, double, eGPIOP_BatteryVoltage,
                          m_dblBatteryVoltage)
