#include <cstdio>
#include <shared/positioning/NGpsToOSGrid.h>

// Routines for trying the conversions by hand at a console; they drive only the public
// functions, so what they print is what an application would get.

namespace NGpsToOSGrid
{

namespace
{

void Prompt(std::FILE* out, char const* text)
{
    std::fputs(text, out);
    std::fflush(out);
}

bool ReadNumber(std::FILE* in, std::FILE* out, char const* prompt, double& value)
{
    Prompt(out, prompt);
    return std::fscanf(in, "%lf", &value) == 1;
}

// Reads "degrees minutes seconds" and returns radians.
bool ReadAngle(std::FILE* in, std::FILE* out, char const* prompt, char const* complaint,
               double& radians)
{
    Prompt(out, prompt);
    double h = 0.0;
    double m = 0.0;
    double s = 0.0;
    if (std::fscanf(in, "%lg %lg %lg", &h, &m, &s) != 3)
    {
        std::fputs(complaint, out);
        return false;
    }
    hmstorad(h, m, s, &radians);
    return true;
}

bool ReadLatLong(std::FILE* in, std::FILE* out, double& lat, double& lon)
{
    return ReadAngle(in, out, "Latitude (K)?  (h m s) ", "Latitude needs three fields\n", lat) &&
           ReadAngle(in, out, "Longitude (L)? (h m s) ", "Longitude needs three fields\n", lon);
}

bool ReadEastNorth(std::FILE* in, std::FILE* out, char const* eastPrompt, char const* northPrompt,
                   double& E, double& N)
{
    if (!ReadNumber(in, out, eastPrompt, E))
    {
        std::fputs("Eastings needs a number\n", out);
        return false;
    }
    if (!ReadNumber(in, out, northPrompt, N))
    {
        std::fputs("Northings needs a number\n", out);
        return false;
    }
    return true;
}

// The hand-check routines work on whichever ellipsoid the user set up last, and on the
// National Grid's own (Airy) when none is.
void EnsureEllipsoid()
{
    if (GetCurrentEllipsoid().name[0] == '\0')
        Setup_Airy();
}

} // namespace

void DoENtoLK(std::FILE* in, std::FILE* out)
{
    double E = 0.0;
    double N = 0.0;
    if (!ReadEastNorth(in, out, "Eastings (E)?  ", "Northings (N)? ", E, N))
        return;
    EnsureEllipsoid();
    std::fprintf(out, "Ellipsoid = %s\n", GetCurrentEllipsoid().name);
    std::fprintf(out, "Eastings (E)    %lf\n", E);
    std::fprintf(out, "Northings (N)   %lf\n", N);
    double lat = 0.0;
    double lon = 0.0;
    ProjectGridtoLK(E, N, &lat, &lon);
    double h = 0.0;
    double m = 0.0;
    double s = 0.0;
    radtohms(lat, &h, &m, &s);
    std::fprintf(out, "Latitude (K)        %lg %lg %lg\n", h, m, s);
    radtohms(lon, &h, &m, &s);
    std::fprintf(out, "Longitude (L)       %lg %lg %lg\n", h, m, s);
    std::fputs("Converting back...\n", out);
    double E2 = 0.0;
    double N2 = 0.0;
    ProjectLKtoGrid(lat, lon, &E2, &N2);
    std::fprintf(out, "Eastings (E)    %lf\n", E2);
    std::fprintf(out, "Northings (N)   %lf\n", N2);
}

void DoLKtoEN(std::FILE* in, std::FILE* out)
{
    double lat = 0.0;
    double lon = 0.0;
    if (!ReadLatLong(in, out, lat, lon))
        return;
    EnsureEllipsoid();
    std::fprintf(out, "Latitude (K)\t%lf\n", radtodeg(lat));
    std::fprintf(out, "Longitude (L)\t%lf\n", radtodeg(lon));
    double E = 0.0;
    double N = 0.0;
    ProjectLKtoGrid(lat, lon, &E, &N);
    std::fprintf(out, "Eastings (E)\t%lf\n", E);
    std::fprintf(out, "Northings (N)\t%lf\n", N);
    std::fputs("Converting back...\n", out);
    double lat2 = 0.0;
    double lon2 = 0.0;
    ProjectGridtoLK(E, N, &lat2, &lon2);
    std::fprintf(out, "Latitude (K)\t%lf\n", radtodeg(lat2));
    std::fprintf(out, "Longitude (L)\t%lf\n", radtodeg(lon2));
}

void DoShift(std::FILE* in, std::FILE* out)
{
    double x = 0.0;
    double y = 0.0;
    if (!ReadEastNorth(in, out, "Eastings (x)?  ", "Northings (y)? ", x, y))
        return;
    double E = 0.0;
    double N = 0.0;
    if (!ShiftGRS80toUKNG(x, y, &E, &N))
    {
        std::fputs("Outside the datum shift table\n", out);
        return;
    }
    std::fprintf(out, "Eastings (E)    %lf\n", E);
    std::fprintf(out, "Northings (N)   %lf\n", N);
}

void DoShiftFromGPSLatLong(std::FILE* in, std::FILE* out)
{
    double lat = 0.0;
    double lon = 0.0;
    if (!ReadLatLong(in, out, lat, lon))
        return;
    Setup_GRS80();
    double x = 0.0;
    double y = 0.0;
    ProjectLKtoGrid(lat, lon, &x, &y);
    std::fprintf(out, "GRS80 Eastings (x)   %lf\n", x);
    std::fprintf(out, "GRS80 Northings (y)  %lf\n", y);
    double E = 0.0;
    double N = 0.0;
    if (!ShiftGRS80toUKNG(x, y, &E, &N))
    {
        std::fputs("Outside the datum shift table\n", out);
        return;
    }
    std::fprintf(out, "UKNG Eastings (E)    %lf\n", E);
    std::fprintf(out, "UKNG Northings (N)   %lf\n", N);
}

void DoENtoLK()
{
    DoENtoLK(stdin, stdout);
}
void DoLKtoEN()
{
    DoLKtoEN(stdin, stdout);
}
void DoShift()
{
    DoShift(stdin, stdout);
}
void DoShiftFromGPSLatLong()
{
    DoShiftFromGPSLatLong(stdin, stdout);
}

} // namespace NGpsToOSGrid
