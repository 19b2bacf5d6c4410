#include "scenario/Schedule.h"

#include "scenario/NumberText.h"

#include <algorithm>
#include <cmath>

namespace scenario {

Schedule::Schedule(std::vector<Pulse> pulses, double totalHours) : m_pulses(std::move(pulses)), m_totalHours(totalHours)
{
}

Schedule Schedule::wateringThenRest(double wateringHours, double totalHours)
{
    return Schedule({{wateringHours, totalHours - wateringHours}}, totalHours);
}

bool Schedule::watersAt(double hours) const
{
    double start = 0;
    for (const Pulse &p : m_pulses) {
        if (hours >= start && hours < start + p.onHours)
            return true;
        start += p.onHours + p.offHours;
    }
    return false;
}

double Schedule::wateredHoursUntil(double hours) const
{
    double start = 0, watered = 0;
    for (const Pulse &p : m_pulses) {
        if (hours <= start)
            break;
        watered += std::min(p.onHours, hours - start);
        start += p.onHours + p.offHours;
    }
    return watered;
}

std::vector<double> Schedule::switchTimes() const
{
    std::vector<double> out;
    double t = 0;
    const auto add = [&](double time) {
        if (time > 0 && time < m_totalHours && (out.empty() || time > out.back()))
            out.push_back(time);
    };
    for (const Pulse &p : m_pulses) {
        add(t);
        add(t + p.onHours);
        t += p.onHours + p.offHours;
    }
    return out;
}

double Schedule::pulsesHours() const
{
    double sum = 0;
    for (const Pulse &p : m_pulses)
        sum += p.onHours + p.offHours;
    return sum;
}

std::vector<std::string> Schedule::problems() const
{
    std::vector<std::string> out;
    if (!(m_totalHours > 0 && m_totalHours <= kMaxTotalHours))
        out.push_back("schedule.total_h: " + numberText(m_totalHours) + " h lies outside 0 (not included) to " + numberText(kMaxTotalHours)
                      + " h");
    if (m_pulses.empty())
        out.push_back("schedule.pulses: no pulse: the emitter never runs");
    for (std::size_t i = 0; i < m_pulses.size(); ++i) {
        const std::string at = "schedule.pulses[" + std::to_string(i) + "]";
        if (!(m_pulses[i].onHours > 0) || !std::isfinite(m_pulses[i].onHours))
            out.push_back(at + "[0]: the watering of a pulse must last more than 0 h, not " + numberText(m_pulses[i].onHours));
        if (!(m_pulses[i].offHours >= 0) || !std::isfinite(m_pulses[i].offHours))
            out.push_back(at + "[1]: the rest after a pulse must be 0 h or more, not " + numberText(m_pulses[i].offHours));
    }
    // Redistribution after the last pulse is the rest of the total; the
    // pulses themselves must fit into it, rounding of the hours aside.
    if (out.empty() && pulsesHours() > m_totalHours * (1 + 1e-12))
        out.push_back("schedule.pulses: the pulses take " + numberText(pulsesHours()) + " h, more than schedule.total_h ("
                      + numberText(m_totalHours) + " h)");
    return out;
}

} // namespace scenario
