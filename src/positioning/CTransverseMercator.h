#pragma once

// The one Transverse Mercator of the library: the series the Ordnance Survey publishes for the
// National Grid ("A guide to coordinate systems in Great Britain", annexe C), on any ellipsoid and
// true origin. NGpsToOSGrid and CCoordTransform both project through it, so a fix to the series
// reaches both.
//
// An instance is immutable once built, so one instance may serve any number of threads at once;
// the National Grid instances below are built once, on first use.
//
// Angles are radians, lengths metres.

namespace positioning_detail
{

class CTransverseMercator
{
public:
    // True origin and central-meridian scale of a grid.
    struct Origin
    {
        double N0;      // northing of true origin
        double E0;      // easting of true origin
        double phi0;    // latitude of true origin, radians
        double lambda0; // longitude of true origin, radians
        double F0;      // central meridian scale factor
    };

    // Semi-axes a and b; arcTolerance is how close (metres) the inverse iterates the meridian
    // arc to the northing before it evaluates the series.
    CTransverseMercator(double a, double b, Origin const& origin, double arcTolerance);

    // The National Grid's origin (OS guide, National Grid definition; exact by definition).
    static Origin const& NationalGridOrigin();

    void Forward(double phi, double lambda, double& E, double& N) const;
    void Reverse(double E, double N, double& phi, double& lambda) const;

    // Meridian arc from the true-origin latitude to phi, scaled by F0.
    double ArcOfMeridian(double phi) const;
    // Latitude whose meridian arc reaches northing N, to within the arc tolerance.
    double Footpoint(double N) const;
    // Radii of curvature in the prime vertical (nu) and meridian (rho), scaled by F0, and
    // eta squared = nu / rho - 1.
    void Radii(double phi, double& nu, double& rho, double& eta2) const;

    double A() const { return m_a; }
    double B() const { return m_b; }
    double AF0() const { return m_aF0; }
    double BF0() const { return m_bF0; }
    double N() const { return m_n; }
    double E2() const { return m_e2; }
    Origin const& GetOrigin() const { return m_origin; }

private:
    double m_a;
    double m_b;
    Origin m_origin;
    double m_arcTolerance;
    double m_aF0;
    double m_bF0;
    double m_n;
    double m_e2;
};

} // namespace positioning_detail
