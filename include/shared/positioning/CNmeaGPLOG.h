#pragma once

#include <cstdint>
#include <shared/framework/COleDateTime.h>
#include <shared/platform/Export.h>
#include <shared/positioning/CNmeaSentence.h>

// The device's logging state with a time stamp: $GPLOG,state,hhmmss,ddmmyy.
class SHARED_API CNmeaGPLOG : public CNmeaSentence
{
public:
    enum E_ValidParts : std::uint32_t
    {
        eGPLOG_TimeStamp = 1,
        eGPLOG_State = 2
    };

    // The field value is inverted on the way in: 0 in the sentence is eGPLOG_State1 and 1 is
    // eGPLOG_State0. The application's stored states rely on this mapping.
    enum E_State : int
    {
        eGPLOG_State0 = 0,
        eGPLOG_State1 = 1
    };

    CNmeaGPLOG(CNmeaGPLOG const& other);
    CNmeaGPLOG& operator=(CNmeaGPLOG const& other);
    ~CNmeaGPLOG() override;

    static char const* GetTypeString();
    E_NMEASentenceType GetType() const override;
    void GetTypeString(CString& type) const override;

    bool IsValid(E_ValidParts parts) const;
    bool GetTimeStamp(COleDateTime& timestamp) const; // UTC
    bool GetState(E_State& state) const;

private:
    friend class CNmeaSentence;
    CNmeaGPLOG();

    E_NMEAParseResult Decode(CTokenArray const& tokens, int count) override;
    void SetValid(E_ValidParts parts);

    std::uint32_t m_dwValid;
    COleDateTime m_dtTimeStamp;
    E_State m_eState;
};

constexpr CNmeaGPLOG::E_ValidParts operator|(CNmeaGPLOG::E_ValidParts a, CNmeaGPLOG::E_ValidParts b)
{
    return static_cast<CNmeaGPLOG::E_ValidParts>(static_cast<std::uint32_t>(a) |
                                                 static_cast<std::uint32_t>(b));
}
