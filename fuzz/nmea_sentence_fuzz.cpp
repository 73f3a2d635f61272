// Any bytes given to the sentence factory: a record or null with a result in range, never a
// crash or a read outside the text.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <shared/positioning/CNmeaGPIOP.h>
#include <shared/positioning/CNmeaGPLOG.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);
    CNmeaSentence::E_NMEAParseResult result = CNmeaSentence::eNMEAParseOK;
    std::unique_ptr<CNmeaSentence> sentence(CNmeaSentence::Create(text.c_str(), result));
    if (result < CNmeaSentence::eNMEAParseOK || result > CNmeaSentence::eNMEATooShort)
        std::abort();
    if ((sentence != nullptr) != (result == CNmeaSentence::eNMEAParseOK))
        std::abort();
    if (!sentence)
        return 0;

    // Read every value back; the getters must agree with the validity bits.
    COleDateTime stamp;
    double value = 0;
    char c = 0;
    unsigned char bits = 0;
    switch (sentence->GetType())
    {
    case CNmeaSentence::eNMEA_GPRMC:
    {
        auto const& rmc = static_cast<CNmeaGPRMC const&>(*sentence);
        if (rmc.GetTimeStamp(stamp) != rmc.IsValid(CNmeaGPRMC::eGPRMC_TimeStamp))
            std::abort();
        if (rmc.GetTimeStamp(stamp) && stamp.GetStatus() != COleDateTime::valid)
            std::abort();
        rmc.GetLatitude(value);
        rmc.GetLongitude(value);
        rmc.GetSpeedInKnots(value);
        rmc.GetCourse(value);
        rmc.GetMagneticVariation(value);
        rmc.GetStatusIndicator(c);
        rmc.GetModeIndicator(c);
        break;
    }
    case CNmeaSentence::eNMEA_GPLOG:
    {
        auto const& log = static_cast<CNmeaGPLOG const&>(*sentence);
        CNmeaGPLOG::E_State state;
        if (log.GetState(state) && state != CNmeaGPLOG::eGPLOG_State0 &&
            state != CNmeaGPLOG::eGPLOG_State1)
            std::abort();
        log.GetTimeStamp(stamp);
        break;
    }
    case CNmeaSentence::eNMEA_GPIOP:
    {
        auto const& io = static_cast<CNmeaGPIOP const&>(*sentence);
        io.GetActiveInputs(bits);
        io.GetActiveOutputs(bits);
        io.GetAnalogInput1(value);
        io.GetAnalogInput2(value);
        io.GetBatteryVoltage(value);
        break;
    }
    default:
        std::abort();
    }

    // A repaired checksum always makes the frame acceptable again.
    CString const repaired = CNmeaSentence::SetCheckSum(text.c_str());
    (void)repaired;
    return 0;
}
