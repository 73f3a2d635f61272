#include "NmeaFields.h"

#include <shared/foundation/CTokenArray.h>
#include <shared/positioning/CNmeaGPLOG.h>

CNmeaGPLOG::CNmeaGPLOG()
    : m_dwValid(0), m_dtTimeStamp(static_cast<DATE>(0.0)), m_eState(eGPLOG_State0)
{
}

SHARED_IMPLEMENT_NMEA_RECORD(CNmeaGPLOG, "GPLOG", eNMEA_GPLOG)

CNmeaSentence::E_NMEAParseResult CNmeaGPLOG::Decode(CTokenArray const& tokens, int count)
{
    m_dwValid = 0;
    unsigned long state = 0;
    if (count > 1 && !tokens.GetAt(1).IsEmpty() &&
        nmea_fields::ReadWholeUnsigned(tokens.GetAt(1), state) && state <= 1)
    {
        // The device sends 0 for what the application calls state 1 and the other way round.
        m_eState = state == 0 ? eGPLOG_State1 : eGPLOG_State0;
        SetValid(eGPLOG_State);
    }
    if (count >= 4 && !tokens.GetAt(2).IsEmpty() && !tokens.GetAt(3).IsEmpty() &&
        nmea_fields::ReadTimeStamp(tokens.GetAt(2).GetString(), tokens.GetAt(3).GetString(),
                                   m_dtTimeStamp))
        SetValid(eGPLOG_TimeStamp);
    return eNMEAParseOK;
}

SHARED_NMEA_RECORD_GETTER(CNmeaGPLOG, GetTimeStamp, COleDateTime, eGPLOG_TimeStamp, m_dtTimeStamp)
SHARED_NMEA_RECORD_GETTER(CNmeaGPLOG, GetState, E_State, eGPLOG_State, m_eState)
