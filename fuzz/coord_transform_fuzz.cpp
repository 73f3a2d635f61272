// Arbitrary text as a grid reference, and arbitrary doubles as positions: every accepted
// reference lies on the grid and survives a trip through its letters, and no position, however
// wild, crashes a conversion or yields eastings/northings outside what the letters accept.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <shared/positioning/CCoordTransform.h>
#include <shared/positioning/NGpsToOSGrid.h>
#include <string>

namespace
{

void CheckReference(std::string const& text)
{
    unsigned long E = 0;
    unsigned long N = 0;
    if (!CCoordTransform::GridRef_To_EastingNorthing(CString(text.c_str()), E, N))
        return;
    if (E > 700000 || N > 1300000)
        std::abort();
    CString letters;
    unsigned long e = 0;
    unsigned long n = 0;
    if (CCoordTransform::EastingNorthing_To_BNG(E, N, letters, e, n))
    {
        unsigned long E2 = 0;
        unsigned long N2 = 0;
        if (!CCoordTransform::BNG_To_EastingNorthing(letters, e, n, E2, N2) || E2 != E || N2 != N)
            std::abort();
        CString ref;
        if (!CCoordTransform::EastingNorthing_To_GridRef(E, N, 5, ref) || ref.GetLength() > 16)
            std::abort();
    }
    else if (N < 700000)
        std::abort(); // only the northern squares lack letters
}

void CheckPosition(double lat, double lon)
{
    // Four figures are the only width that always reads back: the text keeps a field width of
    // four (five-figure values below 10000 and three-figure values print four wide), as the
    // application always wrote them.
    CString ref;
    if (CCoordTransform::LatLong_To_GridRef(lat, lon, 4, ref))
    {
        // Letters are given up to 1300 km east but read back only up to 700 km, so only
        // references on the grid must parse.
        unsigned long gridE = 0;
        unsigned long gridN = 0;
        if (!CCoordTransform::LatLong_To_EastingNorthing(lat, lon, gridE, gridN))
            std::abort();
        unsigned long E = 0;
        unsigned long N = 0;
        bool const parsed = CCoordTransform::GridRef_To_EastingNorthing(ref, E, N);
        if (gridE <= 700000 &&
            (!parsed || E > gridE + 10 || E + 10 < gridE || N > gridN + 10 || N + 10 < gridN))
            std::abort();
    }
    double E = 0;
    double N = 0;
    NGpsToOSGrid::ConvertGPSDegreestoNatGrid(lat, lon, E, N);
    NGpsToOSGrid::ConvertNatGridtoGPSDegrees(lat, lon, E, N);
    double h = 0;
    CCoordTransform::XYZ_To_LatLonHeight(&E, &N, &h, lat, lon, lat - lon,
                                         &CCoordTransform::s_datumSatellite);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    CheckReference(std::string(reinterpret_cast<char const*>(data), size));
    if (size >= 2 * sizeof(double))
    {
        double values[2];
        std::memcpy(values, data, sizeof values);
        CheckPosition(values[0], values[1]);
    }
    return 0;
}
