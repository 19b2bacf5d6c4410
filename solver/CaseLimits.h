#pragma once

#include <string>

namespace solver {

// The bounds within which one case must finish: CPU time of the thread that
// runs it and cells of its mesh (its memory grows with them, about 2 kB a
// cell). A case that would cross one stops with a fixed phrase as its reason
// ("time limit", "memory limit"), so that a soil the solver cannot cope with
// ends in an error naming the case instead of running for hours or taking
// the machine's memory. The solver's own failure to converge is stopped here
// too ("no convergence"). CPU time rather than wall time: other work on the
// machine must not make a case fail.
class CaseLimits
{
public:
    CaseLimits(double maxCpuSeconds, long maxCells);

    // Stops when the thread has used more CPU time than allowed.
    void checkTime();
    // Whether a mesh of `cells` cells is allowed; stops when it is not.
    bool allowsCells(long cells);
    void stop(const std::string& reason, const std::string& message);

    bool stopped() const { return !m_reason.empty(); }
    const std::string& reason() const { return m_reason; }
    const std::string& message() const { return m_message; }

    // CPU time used by the calling thread so far, seconds.
    static double threadCpuSeconds();

private:
    double m_maxCpuSeconds;
    long m_maxCells;
    double m_start;
    std::string m_reason, m_message;
};

} // namespace solver
