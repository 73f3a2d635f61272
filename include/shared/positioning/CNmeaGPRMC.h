#pragma once

#include <cstdint>
#include <shared/framework/COleDateTime.h>
#include <shared/platform/Export.h>
#include <shared/positioning/CNmeaSentence.h>
#include <string_view>

// The recommended-minimum fix $GPRMC,hhmmss,A,ddmm.mm,N,dddmm.mm,E,knots,course,ddmmyy,var,E,m.
class SHARED_API CNmeaGPRMC : public CNmeaSentence
{
public:
    enum E_ValidParts : std::uint32_t
    {
        eGPRMC_TimeStamp = 1,
        eGPRMC_StatusIndicator = 2,
        eGPRMC_Latitude = 4,
        eGPRMC_Longitude = 8,
        eGPRMC_SpeedInKnots = 16,
        eGPRMC_Course = 32,
        eGPRMC_MagneticVariation = 64,
        eGPRMC_ModeIndicator = 128
    };

    CNmeaGPRMC(CNmeaGPRMC const& other);
    CNmeaGPRMC& operator=(CNmeaGPRMC const& other);
    ~CNmeaGPRMC() override;

    static char const* GetTypeString();
    E_NMEASentenceType GetType() const override;
    void GetTypeString(CString& type) const override;

    // True when every bit of parts is set.
    bool IsValid(E_ValidParts parts) const;

    // Each getter returns false and leaves its argument untouched when the value is invalid.
    bool GetTimeStamp(COleDateTime& timestamp) const; // UTC
    bool GetStatusIndicator(char& status) const;      // as received: A valid, V warning
    bool GetLatitude(double& latitude) const;         // decimal degrees, south negative
    bool GetLongitude(double& longitude) const;       // decimal degrees, west negative
    bool GetSpeedInKnots(double& knots) const;
    bool GetCourse(double& course) const;               // degrees true, as received
    bool GetMagneticVariation(double& variation) const; // degrees, EAST negative
    bool GetModeIndicator(char& mode) const;            // as received

private:
    friend class CNmeaSentence; // only the factory makes records
    CNmeaGPRMC();

    E_NMEAParseResult Decode(CTokenArray const& tokens, int count) override;
    // Decode on the fields as views: the sentence factory splits a position report in place,
    // so decoding one copies no field. Only the first kFieldsRead fields are looked at.
    friend class CNmeaSentence;
    static constexpr int kFieldsRead = 13;
    E_NMEAParseResult DecodeFields(std::string_view const* field, int count);
    void SetValid(E_ValidParts parts);

    std::uint32_t m_dwValid;
    COleDateTime m_dtTimeStamp;
    char m_cStatusIndicator;
    double m_dblLatitude;
    double m_dblLongitude;
    double m_dblSpeedInKnots;
    double m_dblCourse;
    double m_dblMagneticVariation;
    char m_cModeIndicator;
};

constexpr CNmeaGPRMC::E_ValidParts operator|(CNmeaGPRMC::E_ValidParts a, CNmeaGPRMC::E_ValidParts b)
{
    return static_cast<CNmeaGPRMC::E_ValidParts>(static_cast<std::uint32_t>(a) |
                                                 static_cast<std::uint32_t>(b));
}
