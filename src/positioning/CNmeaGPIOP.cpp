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

bool CNmeaGPIOP::GetActiveInputs(unsigned char& inputs) const
{
    if (!IsValid(eGPIOP_ActiveInputs))
        return false;
    inputs = m_byActiveInputs;
    return true;
}

bool CNmeaGPIOP::GetActiveOutputs(unsigned char& outputs) const
{
    if (!IsValid(eGPIOP_ActiveOutputs))
        return false;
    outputs = m_byActiveOutputs;
    return true;
}

bool CNmeaGPIOP::GetAnalogInput1(double& value) const
{
    if (!IsValid(eGPIOP_AnalogInput1))
        return false;
    value = m_dblAnalogInput1;
    return true;
}

bool CNmeaGPIOP::GetAnalogInput2(double& value) const
{
    if (!IsValid(eGPIOP_AnalogInput2))
        return false;
    value = m_dblAnalogInput2;
    return true;
}

bool CNmeaGPIOP::GetBatteryVoltage(double& value) const
{
    if (!IsValid(eGPIOP_BatteryVoltage))
        return false;
    value = m_dblBatteryVoltage;
    return true;
}
