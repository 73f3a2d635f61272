#include <charconv>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <shared/foundation/CTokenArray.h>
#include <shared/positioning/CNmeaGPIOP.h>
#include <shared/positioning/CNmeaGPLOG.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <string>
#include <vector>

namespace
{
using Result = CNmeaSentence::E_NMEAParseResult;

// "$" + body + "*hh" with the checksum worked out here, independently of the library.
std::string Framed(std::string const& body, bool lowerCase = false)
{
    unsigned char sum = 0;
    for (char c : body)
        sum ^= static_cast<unsigned char>(c);
    char digits[3];
    std::snprintf(digits, sizeof digits, lowerCase ? "%02x" : "%02X", sum);
    return "$" + body + "*" + digits;
}

struct Decoded
{
    std::unique_ptr<CNmeaSentence> sentence;
    Result result;
};

Decoded Decode(std::string const& text)
{
    Result result = static_cast<Result>(-1);
    std::unique_ptr<CNmeaSentence> sentence(CNmeaSentence::Create(text.c_str(), result));
    EXPECT_EQ(sentence != nullptr, result == CNmeaSentence::eNMEAParseOK) << text;
    return {std::move(sentence), result};
}

template <typename T> T const& As(Decoded const& d)
{
    auto const* typed = dynamic_cast<T const*>(d.sentence.get());
    EXPECT_NE(typed, nullptr);
    return *typed;
}

// Exposes the protected helpers that the decoders are built from.
class Probe : public CNmeaSentence
{
public:
    using CNmeaSentence::EvaluateDegrees;
    using CNmeaSentence::EvaluateDigits;
    using CNmeaSentence::Tokenize;
};
} // namespace

TEST(NmeaSentence, FrameFaultsHaveTheirOwnResults)
{
    using N = CNmeaSentence;
    std::pair<std::string, Result> const cases[] = {
        {"", N::eNMEATooShort},
        {"   $A*  ", N::eNMEATooShort},
        {"ABCD", N::eNMEANoStartChar},
        {"$ABCD", N::eNMEANoChecksumField},
        {"$AB*0", N::eNMEANoChecksumField},
        {"$AB*ZZ", N::eNMEABadChecksum},
        {"$AB* 3", N::eNMEABadChecksum},
        {"$AB*+3", N::eNMEABadChecksum},
        {"$AB*04", N::eNMEABadChecksum}, // A^B = 03
        {"$*00", N::eNMEATooShort},      // a frame around nothing has no field at all
        {"$AB*03", N::eNMEAUnknownSentence},
        {Framed("GPGGA,120000,5130.0,N,00007.5,W,1,08,1.0,59.3,M,48.2,M,,"),
         N::eNMEAUnknownSentence},
        {Framed("gprmc,,V,,,,,,,,,,N"), N::eNMEAUnknownSentence}, // compared exactly
        {Framed(" GPLOG,1"), N::eNMEAParseOK},                    // but trimmed
        {Framed(" GPRMC ,,V"), N::eNMEAParseOK},
        {"  \t" + Framed("GPLOG,1,120000,010106") + "\r\n", N::eNMEAParseOK},
        {Framed("GPLOG,0,120000,010106", true), N::eNMEAParseOK}, // lower-case checksum
    };
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(Decode(text).result, expected) << text;

    Result result = CNmeaSentence::eNMEAParseOK;
    EXPECT_EQ(CNmeaSentence::Create(nullptr, result), nullptr);
    EXPECT_EQ(result, CNmeaSentence::eNMEATooShort);
}

TEST(NmeaSentence, ChecksumRulesSkipOneDollarAndStopAtTheFirstStar)
{
    EXPECT_EQ(CNmeaSentence::CheckSum(""), 0);
    EXPECT_EQ(CNmeaSentence::CheckSum(nullptr), 0);
    EXPECT_EQ(CNmeaSentence::CheckSum("$AB"), 0x03);
    EXPECT_EQ(CNmeaSentence::CheckSum("AB"), 0x03);
    EXPECT_EQ(CNmeaSentence::CheckSum("$$AB"), '$' ^ 0x03);
    EXPECT_EQ(CNmeaSentence::CheckSum("AB*CD"), 0x03);

    std::string const right = Framed("GPLOG,1");
    EXPECT_EQ(std::string(CNmeaSentence::SetCheckSum("$GPLOG,1*00").GetString()), right);
    EXPECT_EQ(std::string(CNmeaSentence::SetCheckSum("$GPLOG,1").GetString()), right);
    EXPECT_EQ(std::string(CNmeaSentence::SetCheckSum("GPLOG,1").GetString()),
              right.substr(1)); // no "$" is added
    EXPECT_EQ(std::string(CNmeaSentence::SetCheckSum("").GetString()), "*00");

    // Everything SetCheckSum writes is accepted by the decoder.
    Decoded d = Decode(CNmeaSentence::SetCheckSum("$GPIOP,00000001,00000000,1,2,3").GetString());
    EXPECT_EQ(d.result, CNmeaSentence::eNMEAParseOK);
}

TEST(NmeaSentence, RmcDecodesEveryField)
{
    Decoded d =
        Decode(Framed("GPRMC,123519.25,A,5130.5000,S,00007.5000,W,022.4,084.4,230394,003.1,E,A"));
    ASSERT_EQ(d.result, CNmeaSentence::eNMEAParseOK);
    auto const& rmc = As<CNmeaGPRMC>(d);
    EXPECT_TRUE(rmc.IsValid(static_cast<CNmeaGPRMC::E_ValidParts>(255)));

    COleDateTime stamp;
    ASSERT_TRUE(rmc.GetTimeStamp(stamp));
    EXPECT_EQ(stamp, COleDateTime(2094, 3, 23, 12, 35, 19)); // always 2000 + yy
    char status = 0, mode = 0;
    ASSERT_TRUE(rmc.GetStatusIndicator(status) && rmc.GetModeIndicator(mode));
    EXPECT_EQ(status, 'A');
    EXPECT_EQ(mode, 'A');
    double lat = 0, lon = 0, knots = 0, course = 0, variation = 0;
    ASSERT_TRUE(rmc.GetLatitude(lat) && rmc.GetLongitude(lon) && rmc.GetSpeedInKnots(knots) &&
                rmc.GetCourse(course) && rmc.GetMagneticVariation(variation));
    EXPECT_NEAR(lat, -51.508333333333333, 1e-12);
    EXPECT_NEAR(lon, -0.125, 1e-12);
    EXPECT_DOUBLE_EQ(knots, 22.4);
    EXPECT_DOUBLE_EQ(course, 84.4);
    EXPECT_DOUBLE_EQ(variation, -3.1); // east is negative
}

TEST(NmeaSentence, RmcWithoutFixHasOnlyStatusAndMode)
{
    Decoded d = Decode(Framed("GPRMC,,V,,,,,,,,,,N"));
    ASSERT_EQ(d.result, CNmeaSentence::eNMEAParseOK);
    auto const& rmc = As<CNmeaGPRMC>(d);
    EXPECT_TRUE(rmc.IsValid(CNmeaGPRMC::eGPRMC_StatusIndicator | CNmeaGPRMC::eGPRMC_ModeIndicator));
    for (auto bit : {CNmeaGPRMC::eGPRMC_TimeStamp, CNmeaGPRMC::eGPRMC_Latitude,
                     CNmeaGPRMC::eGPRMC_Longitude, CNmeaGPRMC::eGPRMC_SpeedInKnots,
                     CNmeaGPRMC::eGPRMC_Course, CNmeaGPRMC::eGPRMC_MagneticVariation})
        EXPECT_FALSE(rmc.IsValid(bit)) << bit;
    // Getters of invalid values leave their arguments alone.
    double v = 42.0;
    EXPECT_FALSE(rmc.GetLatitude(v));
    EXPECT_FALSE(rmc.GetMagneticVariation(v));
    COleDateTime stamp(2001, 2, 3, 4, 5, 6);
    EXPECT_FALSE(rmc.GetTimeStamp(stamp));
    EXPECT_EQ(v, 42.0);
    EXPECT_EQ(stamp, COleDateTime(2001, 2, 3, 4, 5, 6));
}

TEST(NmeaSentence, RmcFieldRulesAndShortSentences)
{
    // Old receivers stop after the variation; fewer fields simply leave later values invalid.
    Decoded d = Decode(Framed("GPRMC,235959,A,5130,N,00000.0,E,0,360,311299,,"));
    ASSERT_EQ(d.result, CNmeaSentence::eNMEAParseOK);
    auto const& rmc = As<CNmeaGPRMC>(d);
    double v = 0;
    ASSERT_TRUE(rmc.GetLatitude(v));
    EXPECT_DOUBLE_EQ(v, 51.5); // no decimal point
    ASSERT_TRUE(rmc.GetLongitude(v));
    EXPECT_DOUBLE_EQ(v, 0.0);
    COleDateTime stamp;
    ASSERT_TRUE(rmc.GetTimeStamp(stamp));
    EXPECT_EQ(stamp, COleDateTime(2099, 12, 31, 23, 59, 59));
    EXPECT_FALSE(rmc.IsValid(CNmeaGPRMC::eGPRMC_MagneticVariation));
    EXPECT_FALSE(rmc.IsValid(CNmeaGPRMC::eGPRMC_ModeIndicator));

    // Impossible dates and times, short time fields and a missing date leave the time invalid.
    for (char const* body :
         {"GPRMC,120000,A,,,,,,,011306,,", "GPRMC,246000,A,,,,,,,010106,,",
          "GPRMC,120000,A,,,,,,,300206,,", "GPRMC,1200,A,,,,,,,010106,,", "GPRMC,120000,A,,,,,,,,,",
          "GPRMC,12a000,A,,,,,,,010106,,", "GPRMC,120000,A,,,,,,010106"})
    {
        Decoded bad = Decode(Framed(body));
        ASSERT_EQ(bad.result, CNmeaSentence::eNMEAParseOK) << body;
        EXPECT_FALSE(As<CNmeaGPRMC>(bad).IsValid(CNmeaGPRMC::eGPRMC_TimeStamp)) << body;
    }

    // A hemisphere is needed for each coordinate; speed and course need a number.
    Decoded partial = Decode(Framed("GPRMC,120000,A,5130.0,,00007.5,W,fast,12.5deg,010106,,"));
    ASSERT_EQ(partial.result, CNmeaSentence::eNMEAParseOK);
    auto const& p = As<CNmeaGPRMC>(partial);
    EXPECT_FALSE(p.IsValid(CNmeaGPRMC::eGPRMC_Latitude));
    EXPECT_TRUE(p.IsValid(CNmeaGPRMC::eGPRMC_Longitude));
    EXPECT_FALSE(p.IsValid(CNmeaGPRMC::eGPRMC_SpeedInKnots));
    ASSERT_TRUE(p.GetCourse(v));
    EXPECT_DOUBLE_EQ(v, 12.5); // trailing text ignored

    // Fields past the mode (newer receivers add some) and blanks around fields change nothing.
    Decoded longer = Decode(Framed("GPRMC, 235959 ,A,5130,N,00000.0,E,0,360,311299,,,A,V,x,y"));
    ASSERT_EQ(longer.result, CNmeaSentence::eNMEAParseOK);
    ASSERT_TRUE(As<CNmeaGPRMC>(longer).GetTimeStamp(stamp));
    EXPECT_EQ(stamp, COleDateTime(2099, 12, 31, 23, 59, 59));
    char mode = 0;
    ASSERT_TRUE(As<CNmeaGPRMC>(longer).GetModeIndicator(mode));
    EXPECT_EQ(mode, 'A');

    // Just the type word is a sentence with nothing valid.
    Decoded bare = Decode(Framed("GPRMC"));
    ASSERT_EQ(bare.result, CNmeaSentence::eNMEAParseOK);
    EXPECT_FALSE(As<CNmeaGPRMC>(bare).IsValid(CNmeaGPRMC::eGPRMC_StatusIndicator));
}

TEST(NmeaSentence, LogStateIsInvertedAndMustBeZeroOrOne)
{
    auto state = [](char const* field)
    {
        Decoded d = Decode(Framed(std::string("GPLOG,") + field + ",120000,010106"));
        EXPECT_EQ(d.result, CNmeaSentence::eNMEAParseOK);
        CNmeaGPLOG::E_State s = static_cast<CNmeaGPLOG::E_State>(7);
        As<CNmeaGPLOG>(d).GetState(s);
        return static_cast<int>(s);
    };
    EXPECT_EQ(state("0"), CNmeaGPLOG::eGPLOG_State1);
    EXPECT_EQ(state("1"), CNmeaGPLOG::eGPLOG_State0);
    EXPECT_EQ(state("2"), 7);
    EXPECT_EQ(state("1x"), 7);
    EXPECT_EQ(state("-1"), 7);
    EXPECT_EQ(state(""), 7);
    EXPECT_EQ(state("99999999999999999999999"), 7);

    Decoded noTime = Decode(Framed("GPLOG,1,120000"));
    ASSERT_EQ(noTime.result, CNmeaSentence::eNMEAParseOK);
    EXPECT_FALSE(As<CNmeaGPLOG>(noTime).IsValid(CNmeaGPLOG::eGPLOG_TimeStamp));
    EXPECT_TRUE(As<CNmeaGPLOG>(noTime).IsValid(CNmeaGPLOG::eGPLOG_State));
    COleDateTime stamp;
    ASSERT_TRUE(As<CNmeaGPLOG>(Decode(Framed("GPLOG,1,120000,010106"))).GetTimeStamp(stamp));
    EXPECT_EQ(stamp, COleDateTime(2006, 1, 1, 12, 0, 0));
}

TEST(NmeaSentence, InputsOutputsAndAnalogueValues)
{
    Decoded d = Decode(Framed("GPIOP,00000101,10000000,1.25,-3,12.6"));
    ASSERT_EQ(d.result, CNmeaSentence::eNMEAParseOK);
    auto const& io = As<CNmeaGPIOP>(d);
    EXPECT_EQ(io.GetType(), CNmeaSentence::eNMEA_GPIOP);
    unsigned char in = 0, out = 0;
    double a1 = 0, a2 = 0, battery = 0;
    ASSERT_TRUE(io.GetActiveInputs(in) && io.GetActiveOutputs(out) && io.GetAnalogInput1(a1) &&
                io.GetAnalogInput2(a2) && io.GetBatteryVoltage(battery));
    EXPECT_EQ(in, 5);
    EXPECT_EQ(out, 0x80);
    EXPECT_DOUBLE_EQ(a1, 1.25);
    EXPECT_DOUBLE_EQ(a2, -3.0);
    EXPECT_DOUBLE_EQ(battery, 12.6);

    Decoded bad = Decode(Framed("GPIOP,0000101,000000001,1.2V,,12.6 "));
    ASSERT_EQ(bad.result, CNmeaSentence::eNMEAParseOK);
    auto const& b = As<CNmeaGPIOP>(bad);
    EXPECT_FALSE(b.IsValid(CNmeaGPIOP::eGPIOP_ActiveInputs));  // 7 digits
    EXPECT_FALSE(b.IsValid(CNmeaGPIOP::eGPIOP_ActiveOutputs)); // 9 digits
    EXPECT_FALSE(b.IsValid(CNmeaGPIOP::eGPIOP_AnalogInput1));  // not a whole number
    EXPECT_FALSE(b.IsValid(CNmeaGPIOP::eGPIOP_AnalogInput2));  // empty
    EXPECT_TRUE(b.IsValid(CNmeaGPIOP::eGPIOP_BatteryVoltage)); // trimmed

    Decoded notBinary = Decode(Framed("GPIOP,00000201,0000000x,1,2"));
    ASSERT_EQ(notBinary.result, CNmeaSentence::eNMEAParseOK);
    EXPECT_FALSE(As<CNmeaGPIOP>(notBinary).IsValid(CNmeaGPIOP::eGPIOP_ActiveInputs));
    EXPECT_FALSE(As<CNmeaGPIOP>(notBinary).IsValid(CNmeaGPIOP::eGPIOP_ActiveOutputs));
    EXPECT_FALSE(As<CNmeaGPIOP>(notBinary).IsValid(CNmeaGPIOP::eGPIOP_BatteryVoltage));
    EXPECT_TRUE(As<CNmeaGPIOP>(notBinary).IsValid(CNmeaGPIOP::eGPIOP_AnalogInput2));
}

TEST(NmeaSentence, NumberHelpers)
{
    EXPECT_EQ(Probe::EvaluateDigits("1234", 0), 0);
    EXPECT_EQ(Probe::EvaluateDigits("1234", 3), 123);
    EXPECT_EQ(Probe::EvaluateDigits("1:", 2), 20); // no digit check: ':' counts as 10
    EXPECT_DOUBLE_EQ(Probe::EvaluateDegrees("5130.5000"), 51.508333333333333);
    EXPECT_DOUBLE_EQ(Probe::EvaluateDegrees("00007.5"), 0.125);
    EXPECT_DOUBLE_EQ(Probe::EvaluateDegrees("5130"), 51.5);
    EXPECT_DOUBLE_EQ(Probe::EvaluateDegrees("30"), 0.5);
    // Fewer than two characters before the point: minutes only, nothing read before the text.
    EXPECT_DOUBLE_EQ(Probe::EvaluateDegrees("6.0"), 0.1);
    EXPECT_DOUBLE_EQ(Probe::EvaluateDegrees(""), 0.0);

    CTokenArray tokens;
    EXPECT_EQ(Probe::Tokenize(Framed("GPLOG,,1,").c_str(), tokens), CNmeaSentence::eNMEAParseOK);
    ASSERT_EQ(tokens.GetSize(), 4);
    EXPECT_STREQ(tokens[1], "");
    EXPECT_STREQ(tokens[2], "1");
    EXPECT_STREQ(tokens[3], "");
}

// Speeds are read as from_chars reads them, bit for bit, whatever the digits: the plain decimals
// devices send take a shorter road than exponents and long digit runs do.
TEST(NmeaSentence, NumbersReadExactlyAsTheStandardConversion)
{
    std::mt19937 random(7);
    std::vector<std::string> numbers = {"5.",
                                        ".5",
                                        "-0",
                                        "-.25",
                                        "1e3",
                                        "2.5E-2",
                                        "12.5.3",
                                        "00000000000000000000012.5",
                                        "9007199254740993",
                                        "9007199254740992.5",
                                        "0.1234567890123456789012"};
    for (int i = 0; i < 3000; ++i)
    {
        std::string text = random() % 4 == 0 ? "-" : "";
        for (auto n = random() % 18; n > 0; --n)
            text += static_cast<char>('0' + random() % 10);
        text += '.';
        for (auto n = random() % 24; n > 0; --n)
            text += static_cast<char>('0' + random() % 10);
        numbers.push_back(text);
    }
    for (const std::string& number : numbers)
    {
        double expected = 0.0;
        const bool parses =
            std::from_chars(number.data(), number.data() + number.size(), expected).ec ==
            std::errc();
        const Decoded d = Decode(Framed("GPRMC,101510,A,5212.3,N,00007.5,E," + number + ",,,,,A"));
        double knots = 0.0;
        ASSERT_EQ(As<CNmeaGPRMC>(d).GetSpeedInKnots(knots), parses) << number;
        if (parses)
        {
            EXPECT_EQ(std::memcmp(&knots, &expected, sizeof knots), 0) << number << ": " << knots;
        }
    }
}
