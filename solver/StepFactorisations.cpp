#include "solver/StepFactorisations.h"

#include <chrono>

namespace solver {

void StepFactorisations::reset(int columns, int rows)
{
    m_columns = columns;
    m_rows = rows;
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
        const Slot& other = &s == &m_slots[0] ? m_slots[1] : m_slots[0];
        if (other.analysed)
            s.cholesky.shareStructure(other.cholesky);
        else
            s.cholesky.analyse(m_columns, m_rows, a);
        s.analysed = true;
    }
    const bool ok = s.cholesky.factorise(a);
    m_factorSeconds +=
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    ++m_factorisations;
    s.responseCell = -1;
    if (!ok) {
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
    slot.cholesky.solve(r, z);
    ++m_backSubstitutions;
}

const Eigen::VectorXd& StepFactorisations::unitResponse(Slot& slot, int cell)
{
    if (slot.responseCell != cell) {
        Eigen::VectorXd e = Eigen::VectorXd::Zero(slot.cholesky.size());
        e[cell] = 1.0;
        solve(slot, e, slot.response);
        slot.responseCell = cell;
    }
    return slot.response;
}

} // namespace solver
