#include "MapSvg.h"

#include "Command.h"
#include "Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <shared/places/CUserPlaceCollection.h>
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>
#include <sstream>

namespace warden
{

namespace
{

struct GridPoint
{
    double e = 0.0;
    double n = 0.0;
    double kmh = 0.0;
};

// Knots to km/h by the international nautical mile.
constexpr double kKmhPerKnot = 1.852;

std::string Format(const char* format, auto... values)
{
    char text[256];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// A colour reference (red in the low byte) as CSS.
std::string Css(unsigned long colourRef)
{
    return Format("#%02lx%02lx%02lx", colourRef & 0xFF, (colourRef >> 8) & 0xFF,
                  (colourRef >> 16) & 0xFF);
}

// Blue for standing still through orange to red for the fastest speed of the drive.
std::string SpeedColour(double fraction)
{
    static const int stops[3][3] = {{44, 123, 182}, {253, 174, 97}, {215, 25, 28}};
    fraction = std::clamp(fraction, 0.0, 1.0) * 2;
    const int i = fraction >= 1.0 ? 1 : 0;
    const double t = fraction - i;
    int rgb[3];
    for (int c = 0; c < 3; ++c)
        rgb[c] = static_cast<int>(std::lround(stops[i][c] + (stops[i + 1][c] - stops[i][c]) * t));
    return Format("#%02x%02x%02x", rgb[0], rgb[1], rgb[2]);
}

// 1, 2 or 5 times a power of ten, at most limit.
double RoundLength(double limit)
{
    const double power = std::pow(10.0, std::floor(std::log10(limit)));
    for (double step : {5.0, 2.0, 1.0})
        if (step * power <= limit)
            return step * power;
    return power;
}

class Picture
{
public:
    Picture(double e0, double n0, double e1, double n1, int width)
        : m_e0(e0), m_n1(n1), m_width(e1 - e0), m_height(n1 - n0), m_mpp(m_width / width),
          m_widthPx(width), m_heightPx(static_cast<int>(std::lround(m_height / m_mpp)))
    {
    }

    double Px(double pixels) const { return pixels * m_mpp; }
    std::string X(double e) const { return Format("%.1f", e); }
    std::string Y(double n) const { return Format("%.1f", -n); }

    std::string Open() const
    {
        return Format("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" "
                      "viewBox=\"%.1f %.1f %.1f %.1f\" font-family=\"sans-serif\" "
                      "font-size=\"%.1f\">\n",
                      m_widthPx, m_heightPx, m_e0, -m_n1, m_width, m_height, Px(12));
    }

    std::string Text(double e, double n, const std::string& text, double sizePx = 12,
                     const char* extra = "") const
    {
        return "<text x=\"" + X(e) + "\" y=\"" + Y(n) + "\" font-size=\"" +
               Format("%.1f", Px(sizePx)) + "\"" + extra + ">" + XmlEscape(text) + "</text>\n";
    }

    double m_e0, m_n1, m_width, m_height, m_mpp;
    int m_widthPx, m_heightPx;
};

std::string GridLines(const Picture& p)
{
    std::ostringstream svg;
    const double e1 = p.m_e0 + p.m_width;
    const double n0 = p.m_n1 - p.m_height;
    // Kilometre lines only while they are more than a few pixels apart.
    for (double step : {1000.0, 10000.0})
    {
        if (step / p.m_mpp < 8)
            continue;
        const bool major = step == 10000.0;
        svg << "<path fill=\"none\" stroke=\"" << (major ? "#7a7a7a" : "#dddddd")
            << "\" stroke-width=\"" << p.Px(major ? 1.5 : 0.5) << "\" d=\"";
        for (double e = std::ceil(p.m_e0 / step) * step; e <= e1; e += step)
            svg << 'M' << p.X(e) << ' ' << p.Y(n0) << 'V' << p.Y(p.m_n1);
        for (double n = std::ceil(n0 / step) * step; n <= p.m_n1; n += step)
            svg << 'M' << p.X(p.m_e0) << ' ' << p.Y(n) << 'H' << p.X(e1);
        svg << "\"/>\n";
    }
    // Each 10 km square is named by its 100 km letters and the tens of kilometres within them,
    // written in the top-left corner of its visible part.
    for (double e = std::floor(p.m_e0 / 10000) * 10000; e < e1; e += 10000)
        for (double n = std::floor(n0 / 10000) * 10000; n < p.m_n1; n += 10000)
        {
            CString letters;
            unsigned long inE = 0;
            unsigned long inN = 0;
            if (e < 0 || n < 0 ||
                !CCoordTransform::EastingNorthing_To_BNG(static_cast<unsigned long>(e),
                                                         static_cast<unsigned long>(n), letters,
                                                         inE, inN))
                continue;
            const std::string name = Utf8(letters) + Format(" %lu%lu", inE / 10000, inN / 10000);
            svg << p.Text(std::max(e, p.m_e0) + p.Px(5), std::min(n + 10000, p.m_n1) - p.Px(18),
                          name, 16, " fill=\"#555555\" font-weight=\"bold\"");
        }
    return svg.str();
}

std::string PlaceLayer(const Picture& p, CUserPlaceCollection& places)
{
    std::ostringstream svg;
    places.GotoStart();
    while (CUserPlace* place = places.GetNext())
    {
        GridPoint g;
        if (!NGpsToOSGrid::ConvertGPSDegreestoNatGrid(place->GetLatitude(), place->GetLongitude(),
                                                      g.e, g.n))
            continue;
        if (place->GetUseAsAddress())
            svg << "<circle cx=\"" << p.X(g.e) << "\" cy=\"" << p.Y(g.n) << "\" r=\""
                << place->GetAddressRadius() << "\" fill=\"none\" stroke=\"#888888\" "
                << "stroke-dasharray=\"" << p.Px(4) << "\" stroke-width=\"" << p.Px(1) << "\"/>\n";
        if (place->GetUseAsGeofence())
            svg << "<circle cx=\"" << p.X(g.e) << "\" cy=\"" << p.Y(g.n) << "\" r=\""
                << place->GetGeofenceRadius() << "\" fill=\"" << Css(place->GetGeofenceAreaColour())
                << "\" fill-opacity=\"0.25\" stroke=\"" << Css(place->GetGeofenceBorderColour())
                << "\" stroke-width=\"" << p.Px(place->GetGeofenceBorderWidth()) << "\"/>\n";
        // The symbol font of the desktop map is not available here: the symbol becomes a
        // square in the symbol's colour with its character, if it has a printable one.
        const double half = p.Px(6);
        svg << "<rect x=\"" << p.X(g.e - half) << "\" y=\"" << p.Y(g.n + half) << "\" width=\""
            << 2 * half << "\" height=\"" << 2 * half << "\" fill=\""
            << Css(place->GetSymbolColour()) << "\" stroke=\"#ffffff\" stroke-width=\"" << p.Px(1)
            << "\"/>\n";
        const unsigned char symbol = place->GetSymbolChar();
        if (symbol > ' ' && symbol < 0x7F)
            svg << p.Text(g.e, g.n - p.Px(4), std::string(1, static_cast<char>(symbol)), 10,
                          " fill=\"#ffffff\" text-anchor=\"middle\"");
        svg << p.Text(g.e + p.Px(9), g.n - p.Px(4), Utf8(place->GetMapLabelText()), 12);
    }
    return svg.str();
}

std::string ScaleBar(const Picture& p, double maxKmh)
{
    std::ostringstream svg;
    const double length = RoundLength(p.m_width / 4);
    const double e = p.m_e0 + p.Px(20);
    const double n = p.m_n1 - p.m_height + p.Px(24);
    svg << "<rect x=\"" << p.X(e - p.Px(6)) << "\" y=\"" << p.Y(n + p.Px(44)) << "\" width=\""
        << length + p.Px(12) << "\" height=\"" << p.Px(56)
        << "\" fill=\"#ffffff\" fill-opacity=\"0.8\"/>\n"
        << "<path fill=\"none\" stroke=\"#000000\" stroke-width=\"" << p.Px(2) << "\" d=\"M"
        << p.X(e) << ' ' << p.Y(n + p.Px(4)) << 'V' << p.Y(n) << 'H' << p.X(e + length) << 'V'
        << p.Y(n + p.Px(4)) << "\"/>\n"
        << p.Text(e, n + p.Px(8),
                  length >= 1000 ? Format("%g km", length / 1000) : Format("%g m", length));
    // Speed legend: the colour ramp of the track with its two ends.
    const int steps = 20;
    for (int i = 0; i < steps; ++i)
        svg << "<rect x=\"" << p.X(e + length * i / steps) << "\" y=\"" << p.Y(n + p.Px(40))
            << "\" width=\"" << length / steps + p.Px(0.5) << "\" height=\"" << p.Px(8)
            << "\" fill=\"" << SpeedColour((i + 0.5) / steps) << "\"/>\n";
    svg << p.Text(e, n + p.Px(22), Format("speed 0 to %.0f km/h", maxKmh), 11);
    return svg.str();
}

} // namespace

std::string RenderMap(const std::vector<Track>& tracks, CUserPlaceCollection* places,
                      const MapOptions& options)
{
    std::vector<std::vector<GridPoint>> lines;
    double e0 = std::numeric_limits<double>::max(), n0 = e0, e1 = -e0, n1 = -e0;
    double maxKmh = 0.0;
    auto extend = [&](double e, double n, double margin)
    {
        e0 = std::min(e0, e - margin);
        n0 = std::min(n0, n - margin);
        e1 = std::max(e1, e + margin);
        n1 = std::max(n1, n + margin);
    };
    for (const Track& track : tracks)
    {
        std::vector<GridPoint>& line = lines.emplace_back();
        for (const TrackPoint& point : track.points)
        {
            GridPoint g;
            // Fixes off the grid (abroad, or a wild fix) are left out of the picture.
            if (!NGpsToOSGrid::ConvertGPSDegreestoNatGrid(point.latitude, point.longitude, g.e,
                                                          g.n))
                continue;
            g.kmh = point.speedInKnots.value_or(0.0) * kKmhPerKnot;
            maxKmh = std::max(maxKmh, g.kmh);
            extend(g.e, g.n, 0);
            line.push_back(g);
        }
    }
    if (e0 > e1)
        throw Failure("no fix of the log lies on the National Grid");
    if (places != nullptr)
    {
        places->GotoStart();
        while (CUserPlace* place = places->GetNext())
        {
            GridPoint g;
            if (NGpsToOSGrid::ConvertGPSDegreestoNatGrid(place->GetLatitude(),
                                                         place->GetLongitude(), g.e, g.n))
                extend(g.e, g.n,
                       static_cast<double>(
                           std::max(place->GetGeofenceRadius(), place->GetAddressRadius())));
        }
    }
    // A margin all round, at least a kilometre of view, and no sliver of a picture.
    const double size = std::max({e1 - e0, n1 - n0, 1000.0});
    const double margin = size * 0.08;
    const double width = std::max(e1 - e0, size * 0.75) + 2 * margin;
    const double height = std::max(n1 - n0, size * 0.75) + 2 * margin;
    const double ce = (e0 + e1) / 2;
    const double cn = (n0 + n1) / 2;
    const Picture p(ce - width / 2, cn - height / 2, ce + width / 2, cn + height / 2,
                    std::clamp(options.widthPixels, 200, 8000));

    std::ostringstream svg;
    svg << p.Open() << "<rect x=\"" << p.X(p.m_e0) << "\" y=\"" << p.Y(p.m_n1) << "\" width=\""
        << p.m_width << "\" height=\"" << p.m_height << "\" fill=\"#fbfaf5\"/>\n"
        << GridLines(p);
    if (places != nullptr)
        svg << PlaceLayer(p, *places);
    for (const std::vector<GridPoint>& line : lines)
        for (std::size_t i = 1; i < line.size(); ++i)
            svg << "<line x1=\"" << p.X(line[i - 1].e) << "\" y1=\"" << p.Y(line[i - 1].n)
                << "\" x2=\"" << p.X(line[i].e) << "\" y2=\"" << p.Y(line[i].n) << "\" stroke=\""
                << SpeedColour(maxKmh > 0 ? line[i].kmh / maxKmh : 0) << "\" stroke-width=\""
                << p.Px(4) << "\" stroke-linecap=\"round\"/>\n";
    for (const std::vector<GridPoint>& line : lines)
    {
        if (line.empty())
            continue;
        const GridPoint& start = line.front();
        const GridPoint& end = line.back();
        const double half = p.Px(8);
        svg << "<rect x=\"" << p.X(end.e - half) << "\" y=\"" << p.Y(end.n + half) << "\" width=\""
            << 2 * half << "\" height=\"" << 2 * half << "\" fill=\"" << kEndColour << "\"/>\n"
            << "<circle cx=\"" << p.X(start.e) << "\" cy=\"" << p.Y(start.n) << "\" r=\"" << p.Px(8)
            << "\" fill=\"" << kStartColour << "\"/>\n";
        CString reference;
        CCoordTransform::EastingNorthing_To_GridRef(
            static_cast<unsigned long>(start.e), static_cast<unsigned long>(start.n), 5, reference);
        // The label goes on the side of the picture with room for it.
        const bool left = start.e > ce;
        svg << p.Text(start.e + p.Px(left ? -11 : 11), start.n + p.Px(4),
                      "start " + Utf8(reference), 12,
                      left ? " font-weight=\"bold\" text-anchor=\"end\"" : " font-weight=\"bold\"");
    }
    svg << ScaleBar(p, maxKmh) << "</svg>\n";
    if (!options.html)
        return svg.str();
    std::string title;
    for (const Track& track : tracks)
        title += (title.empty() ? "" : ", ") + track.name;
    return "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + XmlEscape(title) +
           "</title><style>body{margin:0}svg{display:block}</style></head><body>\n" + svg.str() +
           "</body></html>\n";
}

} // namespace warden
