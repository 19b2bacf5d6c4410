#pragma once

#include "solver/GridCholesky.h"

#include <Eigen/Sparse>

#include <array>
#include <vector>

namespace solver {

// The Cholesky factorisations one time step keeps for its chord iterations. A
// step's first Picard iteration factorises its matrix; the later ones solve
// for the correction to their iterate with that factorisation instead of a
// new one (the residual uses their own matrix, so the converged state is the
// same to the tolerances). A surface emitter's matrix also depends on how
// many faces the ponded disc fully covers, and its search may need two of
// them in one iteration (the smallest disc and the flux regime without a
// disc), so factorisations are kept per disc size: two slots, replaced
// least recently used. Factorisations of an earlier step are never used.
class StepFactorisations
{
public:
    using Matrix = Eigen::SparseMatrix<double>;

    struct Slot
    {
        GridCholesky cholesky;
        int disc = 0;        // faces fully under the disc (-1: no disc)
        long step = -1;      // the step it was made in
        long used = 0;       // for replacing the least recently used slot
        bool analysed = false;          // dissection set up for the present mesh
        int responseCell = -1;          // cell of the cached unit response
        Eigen::VectorXd response;       // F^-1 e_cell
        std::vector<double> diagonal;   // the factorised matrix's diagonal (kept by the caller)
    };

    // A new mesh of columns x rows cells: forgets every factorisation; the
    // first slot used sets up the dissection, the other shares it.
    void reset(int columns, int rows);
    // Starts a new step (also the retry of a rejected one).
    void newStep() { ++m_step; }
    // This step's factorisation for the disc, or null.
    Slot* find(int disc);
    // Factorises `a` for the disc; null when it is not positive definite.
    Slot* factorise(const Matrix& a, int disc);
    // z = F^-1 r with the slot's factorisation, without temporaries.
    void solve(Slot& slot, const Eigen::VectorXd& r, Eigen::VectorXd& z);
    // F^-1 e_cell, computed once per factorisation and cell.
    const Eigen::VectorXd& unitResponse(Slot& slot, int cell);

    long factorisations() const { return m_factorisations; }
    long backSubstitutions() const { return m_backSubstitutions; }
    double factorSeconds() const { return m_factorSeconds; }

private:
    std::array<Slot, 2> m_slots;
    int m_columns = 0, m_rows = 0;
    long m_step = 0, m_clock = 0;
    long m_factorisations = 0, m_backSubstitutions = 0;
    double m_factorSeconds = 0;
};

} // namespace solver
