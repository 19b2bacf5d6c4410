#include "builder/StepFactorisations.h"

#include <chrono>

namespace builder {

void StepFactorisations::reset()
{
    for (Slot& s : m_slots) {
        s.analysed = false;
        s.step = -1;
        s.responseCell = -1;
    }
}

StepFactorisations::Slot* StepFactorisations::find(int disc)
{
    for (Slot& s : m_slots)
        if (s.step == m_step && s.disc == disc) {
            s.used = ++m_clock;
            return &s;
        }
    return nullptr;
}

StepFactorisations::Slot* StepFactorisations::factorise(const Matrix& a, int disc)
{
    Slot& s = m_slots[0].used <= m_slots[1].used ? m_slots[0] : m_slots[1];
    const auto started = std::chrono::steady_clock::now();
    if (!s.analysed) {
        s.ldlt.analyzePattern(a);
        s.analysed = true;
    }
    s.ldlt.factorize(a);
    m_factorSeconds +=
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    ++m_factorisations;
    s.responseCell = -1;
    if (s.ldlt.info() != Eigen::Success) {
        s.step = -1;
        return nullptr;
    }
    s.disc = disc;
    s.step = m_step;
    s.used = ++m_clock;
    return &s;
}

void StepFactorisations::solve(Slot& slot, const Eigen::VectorXd& r, Eigen::VectorXd& z)
{
    // z = P^T L^-T D^-1 L^-1 P r
    const auto& ldlt = slot.ldlt;
    m_t.noalias() = ldlt.permutationP() * r;
    ldlt.matrixL().solveInPlace(m_t);
    m_t.array() /= ldlt.vectorD().array();
    ldlt.matrixU().solveInPlace(m_t);
    z.noalias() = ldlt.permutationPinv() * m_t;
    ++m_backSubstitutions;
}

const Eigen::VectorXd& StepFactorisations::unitResponse(Slot& slot, int cell)
{
    if (slot.responseCell != cell) {
        Eigen::VectorXd e = Eigen::VectorXd::Zero(slot.ldlt.rows());
        e[cell] = 1.0;
        solve(slot, e, slot.response);
        slot.responseCell = cell;
    }
    return slot.response;
}

} // namespace builder
