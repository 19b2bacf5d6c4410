#pragma once

#include <vector>

namespace solver {

// A structured finite-volume mesh of a cylinder around the emitter's axis:
// columns in r (0 at the axis) times rows in z (downward). Cells are rings;
// cell (ir, iz) has index iz * columns() + ir.
class AxisymmetricMesh
{
public:
    AxisymmetricMesh() = default;
    AxisymmetricMesh(std::vector<double> rFaces, std::vector<double> zFaces);

    // Faces from `start` outward (sign of `direction`) over at least `length`:
    // cells of size `finest` up to `core`, then growing by `growth` per cell
    // up to `largest`. The returned faces begin with `start`.
    static std::vector<double> gradedFaces(double start, double direction, double length,
                                           double finest, double core, double growth,
                                           double largest);
    // Continues a face list past its last face by at least `length`, cells
    // growing by `growth` from the last cell size up to `largest`.
    static void extendFaces(std::vector<double>& faces, double length, double growth,
                            double largest);

    int columns() const { return int(m_rf.size()) - 1; }
    int rows() const { return int(m_zf.size()) - 1; }
    int cells() const { return columns() * rows(); }
    int index(int ir, int iz) const { return iz * columns() + ir; }

    const std::vector<double>& rFaces() const { return m_rf; }
    const std::vector<double>& zFaces() const { return m_zf; }
    double rCentre(int ir) const { return m_rc[ir]; }
    double zCentre(int iz) const { return m_zc[iz]; }
    double dz(int iz) const { return m_zf[iz + 1] - m_zf[iz]; }
    // area of the horizontal face ring of column ir
    double ringArea(int ir) const { return m_ring[ir]; }
    double volume(int ir, int iz) const { return m_ring[ir] * dz(iz); }

private:
    std::vector<double> m_rf, m_zf, m_rc, m_zc, m_ring;
};

} // namespace solver
