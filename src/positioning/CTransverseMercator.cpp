#include "CTransverseMercator.h"

#include <cmath>
#include <numbers>

namespace positioning_detail
{
namespace
{
// An inverse far outside any grid (or on a degenerate ellipsoid) cannot meet its arc tolerance
// once doubles are coarser than it; the iteration contracts by a factor below 0.01 per step, so
// 64 steps is far beyond anything a real northing needs.
constexpr int kMaxFootpointIterations = 64;
} // namespace

CTransverseMercator::CTransverseMercator(double a, double b, Origin const& origin,
                                         double arcTolerance)
    : m_a(a), m_b(b), m_origin(origin), m_arcTolerance(arcTolerance), m_aF0(a * origin.F0),
      m_bF0(b * origin.F0)
{
    // A zero record (no ellipsoid set up) keeps n and e2 at zero rather than 0 / 0.
    double const sum = m_aF0 + m_bF0;
    m_n = sum != 0.0 ? (m_aF0 - m_bF0) / sum : 0.0;
    m_e2 = m_aF0 != 0.0 ? (m_aF0 * m_aF0 - m_bF0 * m_bF0) / (m_aF0 * m_aF0) : 0.0;
}

CTransverseMercator::Origin const& CTransverseMercator::NationalGridOrigin()
{
    static constexpr double kDegree = std::numbers::pi / 180.0;
    static constexpr Origin kOrigin{
        -100000.0,      // N0: 100 km south of the true origin
        400000.0,       // E0: 400 km west of it
        49.0 * kDegree, // 49 deg N
        -2.0 * kDegree, // 2 deg W
        0.9996012717,   // F0
    };
    return kOrigin;
}

double CTransverseMercator::ArcOfMeridian(double phi) const
{
    double const n = m_n;
    double const n2 = n * n;
    double const n3 = n2 * n;
    double const dPhi = phi - m_origin.phi0;
    double const sPhi = phi + m_origin.phi0;
    return m_bF0 * ((1.0 + n + 1.25 * n2 + 1.25 * n3) * dPhi -
                    (3.0 * n + 3.0 * n2 + 2.625 * n3) * std::sin(dPhi) * std::cos(sPhi) +
                    (1.875 * n2 + 1.875 * n3) * std::sin(2.0 * dPhi) * std::cos(2.0 * sPhi) -
                    (35.0 / 24.0) * n3 * std::sin(3.0 * dPhi) * std::cos(3.0 * sPhi));
}

double CTransverseMercator::Footpoint(double N) const
{
    double const N0 = m_origin.N0;
    double phi = (N - N0) / m_aF0 + m_origin.phi0;
    double residual = N - N0 - ArcOfMeridian(phi);
    for (int k = 0; std::fabs(residual) >= m_arcTolerance && k < kMaxFootpointIterations; ++k)
    {
        phi += residual / m_aF0;
        residual = N - N0 - ArcOfMeridian(phi);
    }
    return phi;
}

void CTransverseMercator::Radii(double phi, double& nu, double& rho, double& eta2) const
{
    double const s = std::sin(phi);
    double const w = 1.0 - m_e2 * s * s;
    nu = m_aF0 / std::sqrt(w);
    rho = (1.0 - m_e2) * nu / w;
    eta2 = nu / rho - 1.0;
}

void CTransverseMercator::Forward(double phi, double lambda, double& E, double& N) const
{
    double nu = 0.0;
    double rho = 0.0;
    double eta2 = 0.0;
    Radii(phi, nu, rho, eta2);
    double const M = ArcOfMeridian(phi);

    double const s = std::sin(phi);
    double const c = std::cos(phi);
    double const c3 = c * c * c;
    double const c5 = c3 * c * c;
    double const t = std::tan(phi);
    double const t2 = t * t;
    double const t4 = t2 * t2;

    // Published series; coefficients 1/2, 1/24, 1/720, 1/6, 1/120.
    double const I = M + m_origin.N0;
    double const II = nu / 2.0 * s * c;
    double const III = nu / 24.0 * s * c3 * (5.0 - t2 + 9.0 * eta2);
    double const IIIA = nu / 720.0 * s * c5 * (61.0 - 58.0 * t2 + t4);
    double const IV = nu * c;
    double const V = nu / 6.0 * c3 * (nu / rho - t2);
    double const VI = nu / 120.0 * c5 * (5.0 - 18.0 * t2 + t4 + 14.0 * eta2 - 58.0 * t2 * eta2);

    double const dL = lambda - m_origin.lambda0;
    double const dL2 = dL * dL;
    N = I + II * dL2 + III * dL2 * dL2 + IIIA * dL2 * dL2 * dL2;
    E = m_origin.E0 + IV * dL + V * dL2 * dL + VI * dL2 * dL2 * dL;
}

void CTransverseMercator::Reverse(double E, double N, double& phi, double& lambda) const
{
    double const phi1 = Footpoint(N);
    double nu = 0.0;
    double rho = 0.0;
    double eta2 = 0.0;
    Radii(phi1, nu, rho, eta2);

    double const t = std::tan(phi1);
    double const t2 = t * t;
    double const t4 = t2 * t2;
    double const t6 = t4 * t2;
    double const sec = 1.0 / std::cos(phi1);
    double const nu3 = nu * nu * nu;
    double const nu5 = nu3 * nu * nu;
    double const nu7 = nu5 * nu * nu;

    // Published series; coefficients 1/24, 1/720, 1/6, 1/120, 1/5040. XIIA uses 662 as the OS
    // publishes it (a copy with 622 circulates; the term is below 0.1 mm inside the grid).
    double const VII = t / (2.0 * rho * nu);
    double const VIII = t / (24.0 * rho * nu3) * (5.0 + 3.0 * t2 + eta2 - 9.0 * t2 * eta2);
    double const IX = t / (720.0 * rho * nu5) * (61.0 + 90.0 * t2 + 45.0 * t4);
    double const X = sec / nu;
    double const XI = sec / (6.0 * nu3) * (nu / rho + 2.0 * t2);
    double const XII = sec / (120.0 * nu5) * (5.0 + 28.0 * t2 + 24.0 * t4);
    double const XIIA = sec / (5040.0 * nu7) * (61.0 + 662.0 * t2 + 1320.0 * t4 + 720.0 * t6);

    double const dE = E - m_origin.E0;
    double const dE2 = dE * dE;
    double const dE3 = dE2 * dE;
    phi = phi1 - VII * dE2 + VIII * dE2 * dE2 - IX * dE3 * dE3;
    lambda = m_origin.lambda0 + X * dE - XI * dE3 + XII * dE3 * dE2 - XIIA * dE3 * dE3 * dE;
}

} // namespace positioning_detail
