#include "NmeaPrinter.h"

#include "Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <shared/positioning/CNmeaGPIOP.h>
#include <shared/positioning/CNmeaGPLOG.h>
#include <shared/positioning/CNmeaGPRMC.h>
#include <shared/positioning/NWardenMetrics.h>
#include <type_traits>
#include <vector>

namespace warden
{
namespace
{
using Result = CNmeaSentence::E_NMEAParseResult;

// Objects keep their keys in the order written, which reads better than sorted keys.
using Json = nlohmann::ordered_json;

char const* const kTypeWords[4] = {"GPLOG", "GPIOP", "", "GPRMC"};
constexpr std::size_t kSummaryOrder[] = {CNmeaSentence::eNMEA_GPRMC, CNmeaSentence::eNMEA_GPLOG,
                                         CNmeaSentence::eNMEA_GPIOP};

bool IsBlank(std::string_view line)
{
    for (char c : line)
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '\v' && c != '\f')
            return false;
    return true;
}

std::string Printf(char const* format, auto... args)
{
    char buffer[128];
    int const n = std::snprintf(buffer, sizeof buffer, format, args...);
    return n < 0 ? std::string()
                 : std::string(buffer, std::min(static_cast<std::size_t>(n), sizeof buffer - 1));
}

std::string IsoTime(COleDateTime const& t, char separator)
{
    return Printf("%04d-%02d-%02d%c%02d:%02d:%02d", t.GetYear(), t.GetMonth(), t.GetDay(),
                  separator, t.GetHour(), t.GetMinute(), t.GetSecond());
}

std::string Binary(unsigned char bits)
{
    std::string text;
    for (int bit = 7; bit >= 0; --bit)
        text += (bits >> bit) & 1 ? '1' : '0';
    return text;
}

// Rejected text is shown for diagnosis; control and non-ASCII bytes would upset a terminal.
std::string Printable(std::string_view line, std::size_t limit)
{
    while (!line.empty() && IsBlank(line.substr(line.size() - 1)))
        line.remove_suffix(1);
    std::string text;
    for (char c : line.substr(0, limit))
    {
        auto const u = static_cast<unsigned char>(c);
        text += u >= 0x20 && u < 0x7F ? c : '.';
    }
    if (line.size() > limit)
        text += "...";
    return text;
}

double Rounded(double value, double scale)
{
    return std::round(value * scale) / scale;
}

// One decoded sentence as the values the table and JSON show.
struct Row
{
    std::string type;
    std::optional<COleDateTime> time;
    std::optional<char> status;
    std::optional<double> lat, lon, knots, course, variation;
    std::optional<char> mode;
    std::optional<int> state;
    std::optional<unsigned char> inputs, outputs;
    std::optional<double> analog1, analog2, battery;
    // Why the decoded values cannot be a real fix; empty when they can.
    std::vector<std::string> problems;
    std::string talkerType; // the type as sent, when another talker's RMC was decoded as GPRMC
};

// The fields of a sentence between the '$' and the '*'.
std::vector<std::string_view> Fields(std::string_view line)
{
    line = line.substr(0, line.find('*'));
    std::vector<std::string_view> fields;
    while (true)
    {
        auto const comma = line.find(',');
        fields.push_back(line.substr(0, comma));
        if (comma == std::string_view::npos)
            return fields;
        line.remove_prefix(comma + 1);
    }
}

// The library decodes what the fields say, as described; a reader of the output must still
// learn that a latitude of 95 degrees or a hemisphere 'X' cannot come from a working receiver.
void CheckRmc(std::string_view line, Row& row)
{
    auto const fields = Fields(line);
    auto letter = [&](std::size_t i, char const* allowed, char const* what)
    {
        if (i < fields.size() && !fields[i].empty() &&
            (fields[i].size() != 1 ||
             std::string_view(allowed).find(fields[i][0]) == std::string_view::npos))
            row.problems.push_back(std::string(what) + " '" + std::string(fields[i]) + "'");
    };
    if (row.lat && std::fabs(*row.lat) > 90)
        row.problems.push_back("latitude beyond 90");
    if (row.lon && std::fabs(*row.lon) > 180)
        row.problems.push_back("longitude beyond 180");
    if (row.knots && *row.knots < 0)
        row.problems.push_back("negative speed");
    letter(4, "NS", "latitude hemisphere");
    letter(6, "EW", "longitude hemisphere");
    letter(11, "EW", "variation direction");
}

template <typename T, typename Getter> std::optional<T> Get(Getter getter)
{
    T value{};
    if (getter(value))
        return value;
    return std::nullopt;
}

Row Describe(CNmeaSentence const& sentence)
{
    Row row;
    CString type;
    sentence.GetTypeString(type);
    row.type = type.GetString();
    switch (sentence.GetType())
    {
    case CNmeaSentence::eNMEA_GPRMC:
    {
        auto const& s = static_cast<CNmeaGPRMC const&>(sentence);
        row.time = Get<COleDateTime>([&](auto& v) { return s.GetTimeStamp(v); });
        row.status = Get<char>([&](auto& v) { return s.GetStatusIndicator(v); });
        row.lat = Get<double>([&](auto& v) { return s.GetLatitude(v); });
        row.lon = Get<double>([&](auto& v) { return s.GetLongitude(v); });
        row.knots = Get<double>([&](auto& v) { return s.GetSpeedInKnots(v); });
        row.course = Get<double>([&](auto& v) { return s.GetCourse(v); });
        row.variation = Get<double>([&](auto& v) { return s.GetMagneticVariation(v); });
        row.mode = Get<char>([&](auto& v) { return s.GetModeIndicator(v); });
        break;
    }
    case CNmeaSentence::eNMEA_GPLOG:
    {
        auto const& s = static_cast<CNmeaGPLOG const&>(sentence);
        row.time = Get<COleDateTime>([&](auto& v) { return s.GetTimeStamp(v); });
        CNmeaGPLOG::E_State state;
        if (s.GetState(state))
            row.state = static_cast<int>(state);
        break;
    }
    case CNmeaSentence::eNMEA_GPIOP:
    {
        auto const& s = static_cast<CNmeaGPIOP const&>(sentence);
        row.inputs = Get<unsigned char>([&](auto& v) { return s.GetActiveInputs(v); });
        row.outputs = Get<unsigned char>([&](auto& v) { return s.GetActiveOutputs(v); });
        row.analog1 = Get<double>([&](auto& v) { return s.GetAnalogInput1(v); });
        row.analog2 = Get<double>([&](auto& v) { return s.GetAnalogInput2(v); });
        row.battery = Get<double>([&](auto& v) { return s.GetBatteryVoltage(v); });
        break;
    }
    }
    return row;
}

double Kph(double knots)
{
    return NWardenMetrics::MetresPerSecondToKph(NWardenMetrics::KnotsToMetresPerSecond(knots));
}

// Column widths of the table.
constexpr std::size_t kLine = 5, kType = 5, kTime = 19, kStatus = 3, kLat = 14, kLon = 14,
                      kSpeed = 6, kCourse = 10;

std::string TableRow(long line, Row const& row)
{
    std::string text = PadLeft(std::to_string(line), kLine) + "  " +
                       PadRight(row.talkerType.empty() ? row.type : row.talkerType, kType);
    text += "  " + PadRight(row.time ? IsoTime(*row.time, ' ') : "", kTime);
    text += "  " + PadRight(row.status ? std::string(1, *row.status) : "", kStatus);
    text += PadRight(row.lat ? Utf8(NWardenMetrics::LatitudeToString(*row.lat)) : "", kLat);
    text += "  " + PadRight(row.lon ? Utf8(NWardenMetrics::LongitudeToString(*row.lon)) : "", kLon);
    text += "  " + PadLeft(row.knots ? Printf("%.1f", Kph(*row.knots)) : "", kSpeed);
    text += "  " + PadLeft(row.knots ? Printf("%.1f", *row.knots) : "", kSpeed);
    text +=
        "  " + PadRight(row.course
                            ? Printf("%5.1f\xC2\xB0 %s", *row.course,
                                     NWardenMetrics::GetCardinalFromCourse(*row.course).GetString())
                            : "",
                        kCourse);

    std::string detail;
    auto add = [&detail](std::string const& part)
    {
        if (!detail.empty())
            detail += "  ";
        detail += part;
    };
    if (row.variation)
        add(Printf("var %.1f", *row.variation));
    if (row.mode)
        add(std::string("mode ") + *row.mode);
    if (row.state)
        add("state " + std::to_string(*row.state));
    if (row.type == CNmeaGPIOP::GetTypeString())
    {
        add("in " + (row.inputs ? Binary(*row.inputs) : std::string(8, '-')));
        add("out " + (row.outputs ? Binary(*row.outputs) : std::string(8, '-')));
        add("an1 " + (row.analog1 ? Printf("%g", *row.analog1) : std::string("-")));
        add("an2 " + (row.analog2 ? Printf("%g", *row.analog2) : std::string("-")));
        add("batt " + (row.battery ? Printf("%g", *row.battery) : std::string("-")));
    }
    if (!row.problems.empty())
    {
        std::string words = "NOT VALID:";
        for (auto const& problem : row.problems)
            words += (words.back() == ':' ? " " : ", ") + problem;
        add(words);
    }
    text += "  " + detail;
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

// Writes one compact JSON object straight into a reused buffer, byte for byte what
// nlohmann::json::dump() makes of the same object: a live port or a long log prints hundreds of
// thousands of rows, and building a json object per row was most of the time spent.
class JsonLine
{
public:
    explicit JsonLine(std::string& buffer) : m_text(buffer) { m_text += '{'; }
    void End() { m_text += "}\n"; }

    JsonLine& Key(std::string_view key)
    {
        if (m_text.back() != '{')
            m_text += ',';
        m_text += '"';
        m_text += key;
        m_text += "\":";
        return *this;
    }
    void Null() { m_text += "null"; }
    void Bool(bool value) { m_text += value ? "true" : "false"; }
    void Int(long value)
    {
        char digits[24];
        auto const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        m_text.append(digits, end);
    }
    void Number(double value)
    {
        if (!std::isfinite(value))
            return Null();
        // nlohmann's own shortest form, so the bytes match what dump() wrote before.
        char digits[64];
        auto const end = nlohmann::detail::to_chars(digits, digits + sizeof digits, value);
        m_text.append(digits, end);
    }
    void String(std::string_view text)
    {
        m_text += '"';
        for (char c : text)
        {
            auto const u = static_cast<unsigned char>(c);
            switch (c)
            {
            case '"':
                m_text += "\\\"";
                break;
            case '\\':
                m_text += "\\\\";
                break;
            case '\b':
                m_text += "\\b";
                break;
            case '\f':
                m_text += "\\f";
                break;
            case '\n':
                m_text += "\\n";
                break;
            case '\r':
                m_text += "\\r";
                break;
            case '\t':
                m_text += "\\t";
                break;
            default:
                if (u < 0x20)
                {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", u);
                    m_text += escaped;
                }
                else
                    m_text += c;
            }
        }
        m_text += '"';
    }
    template <typename T> void Optional(std::optional<T> const& value)
    {
        if (!value)
            Null();
        else if constexpr (std::is_floating_point_v<T>)
            Number(*value);
        else
            Int(*value);
    }

private:
    std::string& m_text;
};

void JsonRow(long line, Row const& row, std::string& buffer)
{
    JsonLine j(buffer);
    j.Key("line").Int(line);
    j.Key("type").String(row.talkerType.empty() ? row.type : row.talkerType);
    j.Key("valid").Bool(row.problems.empty());
    if (!row.problems.empty())
    {
        j.Key("problems");
        buffer += '[';
        for (auto const& problem : row.problems)
        {
            if (buffer.back() != '[')
                buffer += ',';
            j.String(problem);
        }
        buffer += ']';
    }
    auto letter = [&](std::optional<char> const& value)
    {
        if (value)
            j.String(std::string_view(&*value, 1));
        else
            j.Null();
    };
    auto text = [&](bool present, auto make)
    {
        if (present)
            j.String(make());
        else
            j.Null();
    };
    if (row.type == CNmeaGPRMC::GetTypeString() || row.type == CNmeaGPLOG::GetTypeString())
        j.Key("time"), text(row.time.has_value(), [&] { return IsoTime(*row.time, 'T') + "Z"; });
    if (row.type == CNmeaGPRMC::GetTypeString())
    {
        j.Key("status"), letter(row.status);
        j.Key("lat").Optional(row.lat);
        j.Key("lon").Optional(row.lon);
        j.Key("lat_text"), text(row.lat.has_value(),
                                [&] { return Utf8(NWardenMetrics::LatitudeToString(*row.lat)); });
        j.Key("lon_text"), text(row.lon.has_value(),
                                [&] { return Utf8(NWardenMetrics::LongitudeToString(*row.lon)); });
        j.Key("speed_knots").Optional(row.knots);
        j.Key("speed_kmh")
            .Optional(row.knots ? std::optional(Rounded(Kph(*row.knots), 100)) : std::nullopt);
        j.Key("course").Optional(row.course);
        j.Key("compass"),
            text(row.course.has_value(),
                 [&] {
                     return std::string(
                         NWardenMetrics::GetCardinalFromCourse(*row.course).GetString());
                 });
        j.Key("magnetic_variation").Optional(row.variation);
        j.Key("mode"), letter(row.mode);
    }
    else if (row.type == CNmeaGPLOG::GetTypeString())
    {
        j.Key("state").Optional(row.state);
    }
    else
    {
        j.Key("inputs"), text(row.inputs.has_value(), [&] { return Binary(*row.inputs); });
        j.Key("outputs"), text(row.outputs.has_value(), [&] { return Binary(*row.outputs); });
        j.Key("analog1").Optional(row.analog1);
        j.Key("analog2").Optional(row.analog2);
        j.Key("battery").Optional(row.battery);
    }
    j.End();
}
} // namespace

char const* ParseResultWords(CNmeaSentence::E_NMEAParseResult result)
{
    switch (result)
    {
    case CNmeaSentence::eNMEAParseOK:
        return "decoded";
    case CNmeaSentence::eNMEAUnknownSentence:
        return "unknown sentence";
    case CNmeaSentence::eNMEANoStartChar:
        return "no start character";
    case CNmeaSentence::eNMEANoChecksumField:
        return "no checksum field";
    case CNmeaSentence::eNMEABadChecksum:
        return "bad checksum";
    case CNmeaSentence::eNMEATooShort:
        return "too short";
    }
    return "unknown result";
}

long NmeaCounts::Decoded() const
{
    long total = 0;
    for (long n : sentencesByType)
        total += n;
    return total;
}

long NmeaCounts::Rejected() const
{
    long total = 0;
    for (long n : rejectionsByResult)
        total += n;
    return total;
}

void NmeaPrinter::PrintHeader(std::ostream& out) const
{
    if (m_format != Format::Table)
        return;
    std::string text = PadLeft("line", kLine) + "  " + PadRight("type", kType) + "  " +
                       PadRight("utc time", kTime) + "  " + PadRight("st", kStatus) +
                       PadRight("latitude", kLat) + "  " + PadRight("longitude", kLon) + "  " +
                       PadLeft("km/h", kSpeed) + "  " + PadLeft("knots", kSpeed) + "  " +
                       PadRight("course", kCourse) + "  details";
    out << text << '\n';
}

CNmeaSentence::E_NMEAParseResult NmeaPrinter::PrintLine(std::string_view line, std::ostream& out)
{
    long const number = ++m_counts.lines;
    // Recorded logs (gpsd's among them) carry '#' comment lines about the receiver: not data.
    if (IsBlank(line) || line.front() == '#')
        return CNmeaSentence::eNMEAParseOK;

    // The decoder reads a C string; a zero byte inside the line ends it there, as on the device.
    std::string text(line);
    Result result = CNmeaSentence::eNMEAParseOK;
    std::unique_ptr<CNmeaSentence> sentence(CNmeaSentence::Create(text.c_str(), result));
    // An unknown sentence has passed the frame and checksum checks: it is a sentence of
    // another type, not damage.
    std::string const talkerType = result == CNmeaSentence::eNMEAUnknownSentence
                                       ? std::string(Fields(line.substr(line.find('$') + 1))[0])
                                       : std::string();
    if (!sentence && m_anyTalker && talkerType.size() == 5 && talkerType.ends_with("RMC"))
    {
        auto const at = text.find(talkerType);
        text.replace(at, 2, "GP");
        text = CNmeaSentence::SetCheckSum(text.c_str()).GetString();
        sentence.reset(CNmeaSentence::Create(text.c_str(), result));
    }
    if (!sentence && result == CNmeaSentence::eNMEAUnknownSentence)
    {
        ++m_counts.other;
        if (m_format == Format::Json)
        {
            m_buffer.clear();
            JsonLine j(m_buffer);
            j.Key("line").Int(number);
            j.Key("type").String(talkerType);
            j.Key("other").Bool(true);
            j.End();
            out << m_buffer;
        }
        else
            out << PadLeft(std::to_string(number), kLine) << "  " << PadRight(talkerType, kType)
                << "  (not decoded: another type of sentence)\n";
        return result;
    }
    if (!sentence)
    {
        ++m_counts.rejectionsByResult.at(static_cast<std::size_t>(result));
        if (m_format == Format::Json)
        {
            m_buffer.clear();
            JsonLine j(m_buffer);
            j.Key("line").Int(number);
            j.Key("rejected").String(ParseResultWords(result));
            j.Key("result").Int(static_cast<int>(result));
            j.Key("text").String(Printable(line, 120));
            j.End();
            out << m_buffer;
        }
        else
        {
            out << PadLeft(std::to_string(number), kLine) << "  " << PadRight("--", kType)
                << "  rejected, " << ParseResultWords(result) << ": " << Printable(line, 60)
                << '\n';
        }
        return result;
    }

    ++m_counts.sentencesByType.at(static_cast<std::size_t>(sentence->GetType()));
    Row row = Describe(*sentence);
    if (sentence->GetType() == CNmeaSentence::eNMEA_GPRMC)
    {
        CheckRmc(line, row);
        if (!talkerType.empty())
            row.talkerType = talkerType;
    }
    if (!row.problems.empty())
        ++m_counts.flagged;
    if (m_format == Format::Json)
    {
        m_buffer.clear();
        JsonRow(number, row, m_buffer);
        out << m_buffer;
    }
    else
        out << TableRow(number, row) << '\n';
    return result;
}

void NmeaPrinter::PrintSummary(std::ostream& out) const
{
    if (m_format == Format::Json)
    {
        Json decoded = Json::object();
        for (auto type : kSummaryOrder)
            decoded[kTypeWords[type]] = m_counts.sentencesByType[type];
        Json rejected = Json::object();
        for (std::size_t r = 1; r < m_counts.rejectionsByResult.size(); ++r)
            if (m_counts.rejectionsByResult[r] != 0)
            {
                std::string key = ParseResultWords(static_cast<Result>(r));
                std::replace(key.begin(), key.end(), ' ', '_');
                rejected[key] = m_counts.rejectionsByResult[r];
            }
        Json j;
        j["summary"] = {{"lines", m_counts.lines},
                        {"decoded", decoded},
                        {"decoded_total", m_counts.Decoded()},
                        {"rejected", rejected},
                        {"rejected_total", m_counts.Rejected()},
                        {"other", m_counts.other},
                        {"not_valid", m_counts.flagged}};
        out << j.dump() << '\n';
        return;
    }
    out << "\n"
        << m_counts.lines << " lines: " << m_counts.Decoded() << " sentences decoded, "
        << m_counts.Rejected() << " rejected, " << m_counts.other << " of other types, "
        << m_counts.flagged << " decoded but not valid\n";
    for (auto type : kSummaryOrder)
        out << "  " << PadRight(kTypeWords[type], 30)
            << PadLeft(std::to_string(m_counts.sentencesByType[type]), 6) << '\n';
    for (std::size_t r = 1; r < m_counts.rejectionsByResult.size(); ++r)
        if (m_counts.rejectionsByResult[r] != 0)
            out << "  "
                << PadRight(std::string("rejected, ") + ParseResultWords(static_cast<Result>(r)),
                            30)
                << PadLeft(std::to_string(m_counts.rejectionsByResult[r]), 6) << '\n';
}

} // namespace warden
