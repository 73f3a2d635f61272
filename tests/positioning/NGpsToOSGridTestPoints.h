#pragma once

// The Ordnance Survey OSTN15 test points (Scilly to Shetland) from the public test data folder:
// ETRS89 latitude/longitude, the definitive OSGB36 National Grid easting/northing, and the
// OSTN15 shifts Se, Sn that separate the two.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace grid_test
{

struct OsPoint
{
    std::string id;
    double lat = 0; // ETRS89, degrees
    double lon = 0;
    double east = 0; // OSGB36 National Grid, metres
    double north = 0;
    double se = 0; // OSTN15 shift, metres
    double sn = 0;
};

inline std::string OsgbDir()
{
    return std::string(SHARED_TESTDATA_DIR) + "/osgb/";
}

inline std::vector<std::string> Fields(std::string line)
{
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    std::vector<std::string> fields;
    std::stringstream in(line);
    std::string field;
    while (std::getline(in, field, ','))
        fields.push_back(field);
    return fields;
}

// Empty when the data folder is absent.
inline std::vector<OsPoint> LoadOsPoints()
{
    std::ifstream input(OsgbDir() + "OSTN15_OSGM15_TestInput_ETRStoOSGB.txt");
    std::ifstream output(OsgbDir() + "OSTN15_OSGM15_TestOutput_ETRStoOSGB.txt");
    std::vector<OsPoint> points;
    std::string in;
    std::string out;
    if (!std::getline(input, in) || !std::getline(output, out))
        return points; // no files, or no header
    while (std::getline(input, in) && std::getline(output, out))
    {
        auto const a = Fields(in);
        auto const b = Fields(out);
        if (a.size() < 3 || b.size() < 4 || a[0] != b[0])
            continue;
        OsPoint p;
        p.id = a[0];
        p.lat = std::stod(a[1]);
        p.lon = std::stod(a[2]);
        p.east = std::stod(b[1]);
        p.north = std::stod(b[2]);
        p.se = std::stod(b[b.size() - 3]);
        p.sn = std::stod(b[b.size() - 2]);
        points.push_back(p);
    }
    return points;
}

} // namespace grid_test
