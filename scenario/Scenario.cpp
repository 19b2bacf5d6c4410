#include "scenario/Scenario.h"

#include "scenario/NumberText.h"

#include <cmath>

namespace scenario {

namespace {

bool positive(double v)
{
    return std::isfinite(v) && v > 0;
}

} // namespace

double Scenario::layerTop(std::size_t i) const
{
    double top = 0;
    for (std::size_t k = 0; k < i && k < layers.size(); ++k)
        top += layers[k].thickness;
    return top;
}

std::size_t Scenario::layerAt(double depth) const
{
    double bottom = 0;
    for (std::size_t k = 0; k + 1 < layers.size(); ++k) {
        bottom += layers[k].thickness;
        if (depth < bottom)
            return k;
    }
    return layers.empty() ? 0 : layers.size() - 1;
}

std::vector<std::string> Scenario::problems() const
{
    std::vector<std::string> out;
    if (layers.empty())
        out.push_back("layers: no layer: give at least the soil that reaches down");
    if (layers.size() > std::size_t(kMaxLayers))
        out.push_back("layers: " + std::to_string(layers.size()) + " layers; at most " + std::to_string(kMaxLayers) + " are allowed");
    for (std::size_t i = 0; i + 1 < layers.size(); ++i)
        if (!positive(layers[i].thickness))
            out.push_back("layers[" + std::to_string(i) + "].thickness_m: a layer above the last must be thicker than 0 m, not "
                          + numberText(layers[i].thickness));
    if (!layers.empty() && std::isfinite(layers.back().thickness))
        out.push_back("layers[" + std::to_string(layers.size() - 1)
                      + "].thickness_m: the last layer reaches down without end and has no thickness");
    if (!positive(emitter.flowLitresPerHour))
        out.push_back("emitter.flow_l_per_h: the flow must be more than 0 L/h, not " + numberText(emitter.flowLitresPerHour));
    if (!(std::isfinite(emitter.depth) && emitter.depth >= 0 && emitter.depth <= kMaxEmitterDepth))
        out.push_back("emitter.depth_m: the depth must lie from 0 (on the surface) to " + numberText(kMaxEmitterDepth) + " m, not "
                      + numberText(emitter.depth));
    const bool table = initial.kind == Initial::Kind::WaterTable;
    const double most = table ? kMaxDepth : kMaxSuction;
    if (!positive(initial.metres) || initial.metres > most)
        out.push_back(std::string(table ? "initial.water_table_m" : "initial.suction_m") + ": must be more than 0 m and at most "
                      + numberText(most) + " m, not " + numberText(initial.metres));
    else if (table && emitter.depth >= initial.metres)
        out.push_back("emitter.depth_m: the emitter (" + numberText(emitter.depth) + " m) must lie above the water table ("
                      + numberText(initial.metres) + " m)");
    for (const std::string &p : schedule.problems())
        out.push_back(p);
    if (!positive(outputs.everyHours))
        out.push_back("outputs.every_h: must be more than 0 h, not " + numberText(outputs.everyHours));
    if (!(outputs.threshold > 0 && outputs.threshold < 1))
        out.push_back("outputs.threshold: must lie between 0 and 1 (not included), not " + numberText(outputs.threshold));
    if (outputs.rootZone && !(positive(*outputs.rootZone) && *outputs.rootZone <= kMaxDepth))
        out.push_back("outputs.root_zone_m: must be more than 0 m and at most " + numberText(kMaxDepth) + " m, not "
                      + numberText(*outputs.rootZone));
    return out;
}

} // namespace scenario
