#pragma once

namespace solver {

// Hydraulic functions of a homogeneous, isotropic soil: water content,
// specific moisture capacity and conductivity as functions of the pressure
// head h (m, negative when unsaturated). Conductivity in m/s.
class SoilModel
{
public:
    struct Point
    {
        double theta = 0;     // water content (-)
        double capacity = 0;  // d theta / d h (1/m)
        double k = 0;         // conductivity (m/s)
    };

    virtual ~SoilModel() = default;

    virtual Point at(double h) const = 0;
    virtual double theta(double h) const { return at(h).theta; }
    virtual double conductivity(double h) const { return at(h).k; }

    virtual double thetaS() const = 0;
    virtual double thetaR() const = 0;
    virtual double ks() const = 0;
    // the head from which on the soil is saturated (K = Ks)
    virtual double saturationHead() const { return 0.0; }
};

} // namespace solver
