#pragma once

// The Ordnance Survey OSTN15 test points (Scilly to Shetland) from the public test data folder:
// ETRS89 latitude/longitude, the definitive OSGB36 National Grid easting/northing, and the
// OSTN15 shifts Se, Sn that separate the two.

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace grid_test
{

struct OsPoint
{
    std::string id;
    double lat = 0, lon = 0;    // ETRS89, degrees
    double east = 0, north = 0; // OSGB36 National Grid, metres
    double se = 0, sn = 0;      // OSTN15 shift, metres
};

// The numbers of a comma-separated line after its point id (which is returned).
inline std::string Numbers(std::string line, std::vector<double>& values)
{
    std::replace(line.begin(), line.end(), ',', ' ');
    std::istringstream in(line);
    std::string id;
    in >> id;
    values.clear();
    for (double v = 0; in >> v;)
        values.push_back(v);
    return id;
}

// Empty when the data folder is absent.
inline std::vector<OsPoint> LoadOsPoints()
{
    std::string const dir = std::string(SHARED_TESTDATA_DIR) + "/osgb/OSTN15_OSGM15_Test";
    std::ifstream input(dir + "Input_ETRStoOSGB.txt");
    std::ifstream output(dir + "Output_ETRStoOSGB.txt");
    std::vector<OsPoint> points;
    std::string in, out; // the first lines are headers
    std::getline(input, in);
    std::getline(output, out);
    std::vector<double> a, b;
    while (std::getline(input, in) && std::getline(output, out))
    {
        std::string const id = Numbers(in, a);
        if (Numbers(out, b) == id && a.size() >= 2 && b.size() >= 5)
            points.push_back({id, a[0], a[1], b[0], b[1], b[b.size() - 3], b[b.size() - 2]});
    }
    return points;
}

} // namespace grid_test
