#pragma once

#include "scenario/Schedule.h"

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace scenario {

// A design scenario as a designer describes the field: the soil profile in
// layers, one emitter at its depth with its watering schedule, the soil's
// initial state and what is reported. Plain data in SI units but for the
// hours and litres of the schedule and the emitter; the scenario file's
// reader (trickle-build) fills it, the solver computes it.
class Scenario
{
public:
    // A van Genuchten-Mualem soil.
    struct Soil
    {
        std::string name;  // the catalogue's name, or empty for a soil given by its values
        double thetaR = 0; // m3/m3
        double thetaS = 0; // m3/m3
        double alpha = 0;  // 1/m
        double n = 0;      // -
        double ks = 0;     // m/s
        double l = 0.5;    // Mualem's pore-connectivity parameter
    };

    // A horizontal layer, from the one above it down; the last one reaches
    // down without end (thickness infinite).
    struct Layer
    {
        double thickness = std::numeric_limits<double>::infinity(); // m
        Soil soil;
    };

    struct Emitter
    {
        double flowLitresPerHour = 0; // while it runs
        double depth = 0;             // m below the surface; 0 on the surface
    };

    // Uniform suction with free drainage at the bottom, or hydrostatic
    // equilibrium above a water table held at its depth.
    struct Initial
    {
        enum class Kind { Suction, WaterTable };
        Kind kind = Kind::Suction;
        double metres = 6; // the suction (positive), or the water table's depth
    };

    struct Outputs
    {
        double everyHours = 1;
        // The front: a rise of the water content by this share of the way
        // from the initial water content to saturation, each layer its own.
        double threshold = 0.1;
        std::optional<double> rootZone; // m below the surface
    };

    std::string name;
    std::vector<Layer> layers;
    Initial initial;
    Emitter emitter;
    Schedule schedule;
    Outputs outputs;

    static constexpr int kMaxLayers = 5;
    // The deepest a computed domain reaches (m below the surface): a water
    // table or a root zone lies above it.
    static constexpr double kMaxDepth = 12;
    // The deepest emitter (m): drip lines lie in the upper half metre, rarely
    // deeper than one.
    static constexpr double kMaxEmitterDepth = 2;
    // The largest uniform initial suction (m): drier soil than this is air
    // dry, where the soil functions hold no longer.
    static constexpr double kMaxSuction = 50;

    // The depth of the top of layer i (m).
    double layerTop(std::size_t i) const;
    // The layer that holds depth z (m below the surface); a depth on an
    // interface belongs to the layer below it.
    std::size_t layerAt(double depth) const;

    // What keeps the scenario from being computed, apart from the soils' own
    // values (checked against the accepted soils by the reader): each message
    // starts with the field as a scenario file spells it, e.g.
    // "layers[1].thickness_m: ...". Empty when none.
    std::vector<std::string> problems() const;
};

} // namespace scenario
