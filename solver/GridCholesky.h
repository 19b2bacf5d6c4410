#pragma once

#include <Eigen/Dense>
#include <Eigen/Sparse>

#include <memory>
#include <vector>

namespace solver {

// Cholesky factorisation A = L L^T of the symmetric positive definite
// five-point matrix of a structured grid of `columns` x `rows` cells (cell
// index = row * columns + column), by nested dissection and dense frontal
// matrices (the multifrontal method).
//
// The grid is cut recursively across its longer side by a line of cells (a
// separator) until the pieces hold at most kLeafCells cells; the pieces are
// eliminated before the separator that cuts them, children before parents.
// Eliminating a box couples only the cells on its rim (the separators of the
// boxes around it), so each node of this tree works on a dense front: its own
// cells (a separator, or a whole leaf box) and the rim of its box,
//   F = [F11 F12; F21 F22]  (own, rim),
// assembled from A's entries in the own cells' columns and the update
// matrices of its two children; then
//   F11 = L11 L11^T,  L21 = F21 L11^-T,  update = F22 - L21 L21^T,
// which goes to the parent. A solve runs down the tree with L11 and L21 and
// back up with their transposes.
//
// Why: the sparse LDL^T of Eigen (up-looking, one scalar row at a time with
// an AMD ordering) spends most of its time in scattered single-element
// updates; the same factorisation in dense blocks (Eigen's blocked dense
// kernels) takes about half the time on these meshes, and the solver
// factorises once per time step. The result agrees with the sparse LDL^T to
// rounding (tested). The structure depends on the grid only and is shared by
// every factorisation of the same mesh.
class GridCholesky
{
public:
    using Matrix = Eigen::SparseMatrix<double>;

    // Sets up the dissection for the grid and the pattern of `a` (compressed,
    // both triangles stored, at most the five-point couplings).
    void analyse(int columns, int rows, const Matrix& a);
    // Uses the structure of another factorisation of the same grid and pattern.
    void shareStructure(const GridCholesky& other) { m_structure = other.m_structure; }
    bool analysed() const { return m_structure != nullptr; }

    // Factorises the values of `a` (the analysed pattern); false when a pivot
    // is not positive (the matrix is not positive definite).
    bool factorise(const Matrix& a);
    // z = A^-1 r with the last factorisation.
    void solve(const Eigen::VectorXd& r, Eigen::VectorXd& z) const;

    int size() const;

private:
    struct Structure;
    std::shared_ptr<const Structure> m_structure;
    std::vector<double> m_factor;            // L, node by node, packed columns
    std::vector<double> m_front, m_stack;    // factorisation work space
    mutable Eigen::VectorXd m_work, m_rim;   // solve work space
};

} // namespace solver
