#include "solver/CaseLimits.h"

#include <ctime>
#include <sstream>

namespace solver {

CaseLimits::CaseLimits(double maxCpuSeconds, long maxCells)
    : m_maxCpuSeconds(maxCpuSeconds), m_maxCells(maxCells), m_start(threadCpuSeconds())
{
}

double CaseLimits::threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + 1e-9 * double(ts.tv_nsec);
}

void CaseLimits::checkTime()
{
    if (stopped() || m_maxCpuSeconds <= 0 || threadCpuSeconds() - m_start <= m_maxCpuSeconds)
        return;
    std::ostringstream o;
    o << "the case used more than " << m_maxCpuSeconds << " s of CPU time";
    stop("time limit", o.str());
}

bool CaseLimits::allowsCells(long cells)
{
    // A stopped case takes no new mesh: it ends at the next check.
    if (stopped())
        return false;
    if (m_maxCells <= 0 || cells <= m_maxCells)
        return true;
    stop("memory limit", "the mesh would need " + std::to_string(cells) + " cells, more than the "
                             + std::to_string(m_maxCells) + " a case may use");
    return false;
}

void CaseLimits::stop(const std::string& reason, const std::string& message)
{
    if (stopped())
        return;
    m_reason = reason;
    m_message = message;
}

} // namespace solver
