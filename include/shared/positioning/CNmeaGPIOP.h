#pragma once

#include <cstdint>
#include <shared/platform/Export.h>
#include <shared/positioning/CNmeaSentence.h>

// Digital inputs and outputs, two analogue inputs and the battery voltage:
// $GPIOP,inputs,outputs,analog1,analog2,battery with the digital states as eight binary digits,
// bit 7 first. Values stay in the device's units.
class SHARED_API CNmeaGPIOP : public CNmeaSentence
{
public:
    enum E_ValidParts : std::uint32_t
    {
        eGPIOP_ActiveInputs = 1,
        eGPIOP_ActiveOutputs = 2,
        eGPIOP_AnalogInput1 = 4,
        eGPIOP_AnalogInput2 = 8,
        eGPIOP_BatteryVoltage = 16
    };

    CNmeaGPIOP(CNmeaGPIOP const& other);
    CNmeaGPIOP& operator=(CNmeaGPIOP const& other);
    ~CNmeaGPIOP() override;

    static char const* GetTypeString();
    E_NMEASentenceType GetType() const override;
    void GetTypeString(CString& type) const override;

    bool IsValid(E_ValidParts parts) const;
    bool GetActiveInputs(unsigned char& inputs) const;
    bool GetActiveOutputs(unsigned char& outputs) const;
    bool GetAnalogInput1(double& value) const;
    bool GetAnalogInput2(double& value) const;
    bool GetBatteryVoltage(double& value) const;

private:
    friend class CNmeaSentence;
    CNmeaGPIOP();

    E_NMEAParseResult Decode(CTokenArray const& tokens, int count) override;
    void SetValid(E_ValidParts parts);

    std::uint32_t m_dwValid;
    unsigned char m_byActiveInputs;
    unsigned char m_byActiveOutputs;
    double m_dblAnalogInput1;
    double m_dblAnalogInput2;
    double m_dblBatteryVoltage;
};

constexpr CNmeaGPIOP::E_ValidParts operator|(CNmeaGPIOP::E_ValidParts a, CNmeaGPIOP::E_ValidParts b)
{
    return static_cast<CNmeaGPIOP::E_ValidParts>(static_cast<std::uint32_t>(a) |
                                                 static_cast<std::uint32_t>(b));
}
