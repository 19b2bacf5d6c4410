#pragma once

#include <string>
#include <vector>

namespace scenario {

// When the emitter runs: a list of pulses, each `onHours` of watering followed
// by `offHours` of rest, from time 0, within `totalHours` of simulated time.
// A plain watering is one pulse (watering_h on, the rest of total_h off); the
// water keeps moving after the last pulse until totalHours. Times in hours.
class Schedule
{
public:
    struct Pulse
    {
        double onHours = 0;
        double offHours = 0;
    };

    Schedule() = default;
    Schedule(std::vector<Pulse> pulses, double totalHours);
    // Watering for `wateringHours`, then redistribution until `totalHours`.
    static Schedule wateringThenRest(double wateringHours, double totalHours);

    const std::vector<Pulse> &pulses() const { return m_pulses; }
    double totalHours() const { return m_totalHours; }

    // Whether the emitter runs at time t (hours): a pulse's watering covers
    // [start, start + onHours).
    bool watersAt(double hours) const;
    // Hours of watering up to time t, the sum over the pulses started by then.
    double wateredHoursUntil(double hours) const;
    // The times at which the emitter starts or stops, in order, without 0 and
    // without times at or after totalHours: the solver's steps end on them.
    std::vector<double> switchTimes() const;
    // The hours the pulses need, their on and off times together.
    double pulsesHours() const;

    // What keeps this schedule from being computed, each naming its field as a
    // scenario file spells it (e.g. "schedule.pulses[2][0]"); empty when none.
    std::vector<std::string> problems() const;

    // The longest time a scenario may cover (a week).
    static constexpr double kMaxTotalHours = 168;

private:
    std::vector<Pulse> m_pulses;
    double m_totalHours = 0;
};

} // namespace scenario
