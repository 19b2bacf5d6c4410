#include "solver/AxisymmetricMesh.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace solver {

AxisymmetricMesh::AxisymmetricMesh(std::vector<double> rFaces, std::vector<double> zFaces)
    : m_rf(std::move(rFaces)), m_zf(std::move(zFaces))
{
    if (m_rf.size() < 2 || m_zf.size() < 2 || m_rf.front() != 0.0)
        throw std::invalid_argument("AxisymmetricMesh: bad face lists");
    for (size_t i = 0; i + 1 < m_rf.size(); ++i) {
        m_rc.push_back(0.5 * (m_rf[i] + m_rf[i + 1]));
        m_ring.push_back(M_PI * (m_rf[i + 1] * m_rf[i + 1] - m_rf[i] * m_rf[i]));
    }
    for (size_t i = 0; i + 1 < m_zf.size(); ++i)
        m_zc.push_back(0.5 * (m_zf[i] + m_zf[i + 1]));
}

std::vector<double> AxisymmetricMesh::gradedFaces(double start, double direction, double length,
                                                  double finest, double core, double growth,
                                                  double largest)
{
    const double sign = direction < 0 ? -1.0 : 1.0;
    std::vector<double> faces{start};
    // a uniform core, whole cells, at least `core` wide
    const int coreCells = core > 0 ? std::max(1, int(std::lround(core / finest))) : 0;
    const double coreSize = coreCells > 0 ? core / coreCells : finest;
    double covered = 0;
    for (int i = 0; i < coreCells; ++i) {
        covered = (i + 1) * coreSize;
        faces.push_back(start + sign * covered);
    }
    double size = coreSize;
    while (covered < length - 1e-12) {
        size = std::min(size * growth, std::max(largest, coreSize));
        covered += size;
        faces.push_back(start + sign * covered);
    }
    return faces;
}

void AxisymmetricMesh::extendFaces(std::vector<double>& faces, double length, double growth,
                                   double largest)
{
    const size_t n = faces.size();
    const double sign = faces[n - 1] >= faces[n - 2] ? 1.0 : -1.0;
    double size = std::fabs(faces[n - 1] - faces[n - 2]);
    double covered = 0;
    while (covered < length - 1e-12) {
        size = std::min(size * growth, std::max(largest, size));
        covered += size;
        faces.push_back(faces.back() + sign * size);
    }
}

} // namespace solver
