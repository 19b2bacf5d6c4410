#pragma once

#include "solver/AxisymmetricMesh.h"
#include "solver/KirchhoffTable.h"
#include "solver/SoilModel.h"
#include "solver/SolverSettings.h"
#include "solver/StepFactorisations.h"

#include <Eigen/Sparse>

#include <memory>
#include <vector>

namespace solver {

// Richards' equation in mixed form on an axisymmetric cell-centred finite-volume
// mesh (z downward), integrated implicitly in time with the modified Picard
// iteration: each iteration solves
//   V C^m (h^{m+1} - h^m)/dt + V (theta^m - theta^n)/dt = sum of face flows + sources
// with face conductivities from iterate m (integral means of K between the two
// cells' heads, blending into the arithmetic mean near saturation; see
// SolverSettings). The linear system is
// symmetric positive definite and is solved with a Cholesky factorisation by
// nested dissection of the grid (GridCholesky), set up once per mesh; after a
// step's first iteration the later ones solve chord corrections with the
// step's factorisation (StepFactorisations). Water is conserved to the Picard
// tolerance: storage change equals the inflow booked at every step.
//
// Boundaries are no-flux unless set otherwise. The top may instead carry a
// ponded source disc fed with a fixed flow: its radius is solved for in every
// linear solve so that exactly that flow enters through the disc (held at h = 0);
// when the soil takes the whole flow through the smallest disc without ponding,
// the flow is spread evenly over that disc instead.
class RichardsSolver
{
public:
    enum class Side { Top, Bottom, Outer };

    RichardsSolver(const SoilModel& soil, const AxisymmetricMesh& mesh,
                   const SolverSettings& settings);

    void setUniformHead(double h);
    void setHeads(const std::vector<double>& h);

    // Boundary conditions on one side: fixed heads, one per boundary face
    // (columns for Top/Bottom, rows for Outer), or fixed inflows in m3/s.
    void setFixedHeads(Side side, const std::vector<double>& heads);
    void setFixedInflows(Side side, const std::vector<double>& inflows);
    // Free drainage (unit gradient) out through the bottom: each bottom cell
    // loses K(h) times its ring area, for the deep end of a domain whose flow
    // has turned vertical (steady-state verification runs).
    void setFreeDrainageBottom();
    // Volumetric sources, m3/s per cell.
    void setSources(const std::vector<double>& sources);
    // Fixed drainage flux k (m/s) out through the bottom and, if `throughTop`,
    // in through the top: the unit-gradient flow of a uniform initial state,
    // kept when the mesh grows.
    void setDrainage(double k, bool throughTop);
    // Surface emitter on the top: `flow` m3/s through a ponded disc of at least
    // `minRadius`.
    void setPond(double flow, double minRadius);
    // Surface emitter on the top fed as an even flux: `flow` m3/s spread over
    // the disc of `radius` by area (a ring the disc's edge cuts gets its
    // share), no ponding; the rest of the top has no flux. The highest head a
    // top cell under the disc reaches is kept (fluxDiscPeakHead): above 0 the
    // soil would pond there.
    void setFluxDisc(double flow, double radius);
    double fluxDiscPeakHead() const { return m_fluxDiscPeak; }
    // Test-facing: the top faces within `radius` held at h = 0 (a ponded disc
    // of fixed size, whatever flow it then takes; the radius is rounded to the
    // nearest face). The flow through it is booked with the inflow, and is
    // lastPondInflow() m3/s in the last accepted step.
    void setFixedPond(double radius);
    double lastPondInflow() const { return m_lastPondInflow; }

    // One implicit step of length dt. Returns false (state unchanged) when the
    // iteration does not converge or the water content changes too much; the
    // suggested next step is then smaller.
    bool step(double dt);
    double suggestedStep() const { return m_nextStep; }
    int lastIterations() const { return m_lastIterations; }
    long acceptedSteps() const { return m_accepted; }
    long rejectedSteps() const { return m_rejected; }

    // What the run has cost so far, for profiles and benchmarks.
    struct Statistics
    {
        long iterations = 0;        // Picard iterations, rejected steps included
        long factorisations = 0;    // numerical Cholesky factorisations
        long backSubstitutions = 0; // solves with a factorisation
        long evaluations = 0;       // soil-function evaluations (cells)
        long failedSteps = 0;       // steps given up without convergence
        long limitedSteps = 0;      // steps rejected for too large a water-content change
        double factorSeconds = 0;   // time spent factorising
    };
    Statistics statistics() const;

    // Replaces the mesh by a larger one holding the old one, shifted down by
    // `rowsAddedAtTop` rows; new cells start at `fillHead`. Fixed-head and
    // fixed-inflow sides are not carried over (they are for fixed domains).
    void growMesh(const AxisymmetricMesh& mesh, int rowsAddedAtTop, double fillHead);
    // Moves the state to another mesh that covers at least the present domain,
    // conserving the water: each new cell gets the volume-weighted water
    // content of the old cells it overlaps (the initial state where it reaches
    // beyond them) and the head that gives that water content; saturated
    // cells keep the volume-weighted head. Sources move with the overlapped
    // volumes, a ponded disc keeps its radius (to the nearest face inside it).
    void remesh(const AxisymmetricMesh& mesh, double fillHead);
    // Until the first step after a remesh is accepted, the state before it
    // can be restored: the remeshed state of a pressurised zone (heads
    // averaged over new cells that straddle its edge) can leave the Picard
    // iteration cycling at the zone's edge at every step size, while the run
    // goes on from the old mesh without trouble. Returns false when there is
    // nothing to undo.
    bool undoRemesh();

    // Ways out of a state from which no step converges, for the simulation's
    // rescue (StepRescue); none of them is used otherwise.
    // Plain Picard iterations: a fresh factorisation in every iteration, no
    // extrapolated first iterate, up to rescueMaxIterations iterations.
    void setPlainIterations(bool on) { m_plain = on; }
    // The ponded disc's flow spread evenly over the disc as it stands, its
    // radius held (the switching between ponding and not at a disc's edge can
    // cycle at every step size).
    void setPondBridged(bool on) { m_bridged = on; }
    // The next step is dt, with no cap from earlier failures.
    void restartSteps(double dt);

    const AxisymmetricMesh& mesh() const { return m_mesh; }
    const std::vector<double>& heads() const { return m_h; }
    const std::vector<double>& thetas() const { return m_theta; }
    double time() const { return m_time; }
    double storage() const;                // total water in the domain, m3
    double cumulativeInflow() const { return m_inflow; } // m3 since the start, all boundaries
    double cumulativeDrainage() const { return m_drained; } // m3 gained by background drainage (<= 0)
    double pondRadius() const { return m_pondRadius; }
    bool pondCoversTop() const { return m_pondCoversTop; }

private:
    struct Face
    {
        int a, b;          // cells; for vertical faces a is above b
        double t;          // area / distance
        double gravity;    // area for vertical faces (flow a->b driven by gravity), else 0
        int paa, pbb, pab, pba; // positions in the matrix values
    };
    struct Boundary
    {
        enum Kind { NoFlow, Head, Inflow, FreeDrainage } kind = NoFlow;
        std::vector<double> values;
    };

    void buildPattern();
    // The soil functions of the iterations: tabulated (or the soil's own);
    // the Kirchhoff potential always from the table. States that are set
    // rather than computed (initial heads, remeshed cells, fixed boundary
    // heads) take the soil's own functions (exactSoil), so that their water
    // is exactly the soil's; the two differ by less than 1e-9 of theta.
    KirchhoffTable::Point evaluateSoil(double h) const;
    KirchhoffTable::Point exactSoil(double h) const;
    // the same, for a cell's head (most cells sit untouched at the initial head)
    KirchhoffTable::Point pointAt(double h) const;
    static double integralMean(double ha, double hb, double ka, double kb, double pa, double pb);
    // conductivity of a face between cells with heads ha, hb, conductivities
    // ka, kb and Kirchhoff potentials pa, pb
    double faceConductivity(double ha, double hb, double ka, double kb, double pa,
                            double pb) const;
    void evaluate(const std::vector<double>& h, std::vector<KirchhoffTable::Point>& pts) const;
    bool solveLinear(const std::vector<KirchhoffTable::Point>& pts, const std::vector<double>& hm,
                     double dt, std::vector<double>& hOut, double& inflowRate);
    bool solvePond(const Eigen::VectorXd& rhs0, const std::vector<double>& hm,
                   std::vector<double>& hOut, double& inflowRate);
    // Solves the present system m_a x = rhs, whose top cells carry the disc
    // of `disc` fully covered faces (-1: no pond): with a chord correction to
    // the iterate hm when this step has factorised a system of that disc,
    // else with a new factorisation. Returns the factorisation used (null
    // when the matrix is not positive definite).
    StepFactorisations::Slot* solveSystem(int disc, const Eigen::VectorXd& rhs,
                                          const std::vector<double>& hm, Eigen::VectorXd& x);
    // whether the present matrix is still close enough to the slot's for a
    // chord correction from the iterate hm
    bool chordFits(const StepFactorisations::Slot& slot, const std::vector<double>& hm) const;
    int boundaryCell(Side side, int i) const;
    // Adds `flow` spread over the top disc of `radius` by ring area to rhs;
    // returns the rate added.
    double spreadOverDisc(double flow, double radius, Eigen::VectorXd& rhs) const;
    // the head below saturation at which the soil's own curve holds `theta`
    double headOfWaterContent(double theta) const;

    const SoilModel& m_soil;
    AxisymmetricMesh m_mesh;
    SolverSettings m_set;

    std::vector<double> m_h, m_theta, m_sources;
    double m_sourceRate = 0;   // sum of m_sources, m3/s
    void sumSources();
    std::unique_ptr<KirchhoffTable> m_table;
    Boundary m_bc[3];
    double m_pondFlow = 0, m_pondMinRadius = 0;
    bool m_pond = false;
    bool m_pondFixed = false;         // setFixedPond: the disc's size is given, not its flow
    double m_lastPondInflow = 0, m_pondInflowNow = 0;
    double m_fluxDiscFlow = 0, m_fluxDiscRadius = 0, m_fluxDiscPeak = -1e300;
    double m_drainK = 0, m_drainRate = 0, m_drained = 0;
    bool m_drainTop = false;
    int m_pondK = 0;               // columns fully under the disc
    double m_pondRadius = 0;
    bool m_pondCoversTop = false;
    bool m_plain = false, m_bridged = false;

    std::vector<Face> m_faces;
    std::vector<int> m_diag;
    Eigen::SparseMatrix<double> m_a;
    std::vector<double> m_baseDiag;   // diagonal of A0 before the pond terms
    StepFactorisations m_factors;
    Eigen::VectorXd m_x, m_residual;
    std::vector<double> m_conductance;   // sum of the face conductances of each cell
    std::vector<double> m_volume;        // cell volumes
    // work space of step() and solveLinear(), kept to avoid reallocations
    std::vector<double> m_hm, m_hNext, m_hPrev, m_thetaPrev;
    std::vector<KirchhoffTable::Point> m_pts, m_ptsNext;
    Eigen::VectorXd m_rhs, m_pondRhs;

    // pond coefficients of the current iteration: flow into top cell j = g_j - a_j h_j
    std::vector<double> m_pa, m_pg;

    double m_time = 0, m_inflow = 0, m_nextStep = 1;
    double m_cachedHead = 1e300;
    KirchhoffTable::Point m_cachedPoint;
    bool m_extrapolate = true;
    double m_lastStep = 0;
    double m_stepCap = 1e300;
    std::vector<double> m_lastChange;
    // the state before the last remesh, until a step on the new mesh succeeds
    struct BeforeRemesh
    {
        AxisymmetricMesh mesh;
        std::vector<double> h, theta, sources, lastChange;
        int pondK;
        double pondRadius, nextStep, lastStep, stepCap;
    };
    std::unique_ptr<BeforeRemesh> m_beforeRemesh;
    int m_lastIterations = 0;
    long m_accepted = 0, m_rejected = 0;
    mutable Statistics m_stats;
};

} // namespace solver
