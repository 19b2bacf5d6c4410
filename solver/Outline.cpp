#include "solver/Outline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

namespace solver {

namespace {

// The field on the grid of nodes the curves are traced through: the cell
// centres, with a mirrored column at -r of the first one and a row on the
// top face holding the values of the top row.
class NodeGrid
{
public:
    NodeGrid(const AxisymmetricMesh& m, const std::vector<double>& theta) : m_mesh(m), m_theta(theta) {}

    int columns() const { return m_mesh.columns() + 1; }
    int rows() const { return m_mesh.rows() + 1; }
    double r(int i) const { return i == 0 ? -m_mesh.rCentre(0) : m_mesh.rCentre(i - 1); }
    double z(int j) const { return j == 0 ? m_mesh.zFaces().front() : m_mesh.zCentre(j - 1); }
    double value(int i, int j) const
    {
        const int ir = i == 0 ? 0 : i - 1, iz = j == 0 ? 0 : j - 1;
        return m_theta[std::size_t(m_mesh.index(ir, iz))];
    }

private:
    const AxisymmetricMesh& m_mesh;
    const std::vector<double>& m_theta;
};

struct Segment
{
    long a, b; // the edges it joins
};

class Tracer
{
public:
    Tracer(const NodeGrid& g, double threshold) : m_g(g), m_t(threshold) {}

    std::vector<Outline::Curve> run()
    {
        for (int j = 0; j + 1 < m_g.rows(); ++j)
            for (int i = 0; i + 1 < m_g.columns(); ++i)
                cell(i, j);
        return chain();
    }

private:
    // Edge ids: the edge from node (i, j) to (i + 1, j) is 2 (j n + i), the
    // one from (i, j) to (i, j + 1) is 2 (j n + i) + 1.
    long horizontal(int i, int j) const { return 2L * (long(j) * m_g.columns() + i); }
    long vertical(int i, int j) const { return horizontal(i, j) + 1; }
    bool inside(int i, int j) const { return m_g.value(i, j) >= m_t; }

    bool crossed(long edge) const
    {
        const auto [i, j, i2, j2] = ends(edge);
        return inside(i, j) != inside(i2, j2);
    }

    std::array<int, 4> ends(long edge) const
    {
        const long node = edge / 2;
        const int i = int(node % m_g.columns()), j = int(node / m_g.columns());
        return edge % 2 == 0 ? std::array<int, 4>{i, j, i + 1, j} : std::array<int, 4>{i, j, i, j + 1};
    }

    Outline::Point crossing(long edge) const
    {
        const auto [i, j, i2, j2] = ends(edge);
        const double a = m_g.value(i, j), b = m_g.value(i2, j2);
        const double s = (m_t - a) / (b - a);
        return {m_g.r(i) + s * (m_g.r(i2) - m_g.r(i)), m_g.z(j) + s * (m_g.z(j2) - m_g.z(j))};
    }

    void cell(int i, int j)
    {
        // the edges around the cell, in turn: top, right, bottom, left
        const long e[4] = {horizontal(i, j), vertical(i + 1, j), horizontal(i, j + 1), vertical(i, j)};
        std::vector<int> hit;
        for (int k = 0; k < 4; ++k)
            if (crossed(e[k]))
                hit.push_back(k);
        if (hit.size() == 2) {
            add(e[hit[0]], e[hit[1]]);
            return;
        }
        if (hit.size() != 4)
            return;
        // A saddle: the two inside corners lie on a diagonal. Whether they
        // are joined through the cell is decided by the mean of the corners.
        const double mean = 0.25 * (m_g.value(i, j) + m_g.value(i + 1, j) + m_g.value(i + 1, j + 1) + m_g.value(i, j + 1));
        const bool mainDiagonalInside = inside(i, j); // corners (i, j) and (i + 1, j + 1)
        const bool joined = mean >= m_t;
        // cut off the corners not joined: top-right corner by edges 0 and 1,
        // bottom-left by 2 and 3, top-left by 3 and 0, bottom-right by 1 and 2
        if (mainDiagonalInside == joined) {
            add(e[0], e[1]);
            add(e[2], e[3]);
        } else {
            add(e[3], e[0]);
            add(e[1], e[2]);
        }
    }

    void add(long a, long b)
    {
        m_segments.push_back({a, b});
        m_at[a].push_back(m_segments.size() - 1);
        m_at[b].push_back(m_segments.size() - 1);
    }

    // The segment at `edge` other than `from`, or -1.
    long next(long edge, std::size_t from) const
    {
        const auto it = m_at.find(edge);
        for (std::size_t s : it->second)
            if (s != from && !m_used[s])
                return long(s);
        return -1;
    }

    std::vector<Outline::Curve> chain()
    {
        m_used.assign(m_segments.size(), false);
        std::vector<Outline::Curve> out;
        // open curves first, from an end (an edge with one segment), then the
        // closed ones
        for (int pass = 0; pass < 2; ++pass)
            for (std::size_t s = 0; s < m_segments.size(); ++s) {
                if (m_used[s])
                    continue;
                long start = m_segments[s].a;
                if (pass == 0) {
                    if (m_at[m_segments[s].a].size() == 1)
                        start = m_segments[s].a;
                    else if (m_at[m_segments[s].b].size() == 1)
                        start = m_segments[s].b;
                    else
                        continue;
                }
                out.push_back(walk(s, start));
            }
        return out;
    }

    Outline::Curve walk(std::size_t s, long edge)
    {
        Outline::Curve c{crossing(edge)};
        for (long seg = long(s); seg >= 0;) {
            m_used[std::size_t(seg)] = true;
            const Segment& g = m_segments[std::size_t(seg)];
            edge = g.a == edge ? g.b : g.a;
            c.push_back(crossing(edge));
            seg = next(edge, std::size_t(seg));
        }
        return c;
    }

    const NodeGrid& m_g;
    double m_t;
    std::vector<Segment> m_segments;
    std::map<long, std::vector<std::size_t>> m_at;
    std::vector<bool> m_used;
};

// The part of a curve at r >= 0: the mirrored half cut away, a point put on
// the axis where the curve crosses it.
std::vector<Outline::Curve> rightHalf(const Outline::Curve& c)
{
    std::vector<Outline::Curve> out;
    Outline::Curve part;
    for (std::size_t k = 0; k < c.size(); ++k) {
        const Outline::Point& p = c[k];
        if (k > 0 && (p.r < 0) != (c[k - 1].r < 0)) {
            const Outline::Point& q = c[k - 1];
            const double s = q.r / (q.r - p.r);
            const Outline::Point onAxis{0.0, q.z + s * (p.z - q.z)};
            if (p.r < 0) {
                part.push_back(onAxis);
                out.push_back(part);
                part.clear();
            } else {
                part.push_back(onAxis);
            }
        }
        if (p.r >= 0)
            part.push_back(p);
    }
    if (part.size() > 1)
        out.push_back(part);
    // A closed curve cut into its start and its end: join them.
    const bool closed = c.size() > 2 && c.front().r == c.back().r && c.front().z == c.back().z;
    if (closed && out.size() > 1 && c.front().r >= 0) {
        Outline::Curve joined = out.back();
        joined.insert(joined.end(), out.front().begin() + 1, out.front().end());
        out.pop_back();
        out.front() = joined;
    }
    return out;
}

} // namespace

std::vector<Outline::Curve> Outline::trace(const AxisymmetricMesh& mesh, const std::vector<double>& theta, double threshold)
{
    const NodeGrid grid(mesh, theta);
    std::vector<Curve> out;
    for (const Curve& c : Tracer(grid, threshold).run())
        for (Curve& half : rightHalf(c))
            if (half.size() > 1)
                out.push_back(std::move(half));
    std::stable_sort(out.begin(), out.end(), [](const Curve& a, const Curve& b) { return length(a) > length(b); });
    return out;
}

double Outline::length(const Curve& c)
{
    double sum = 0;
    for (std::size_t k = 1; k < c.size(); ++k)
        sum += std::hypot(c[k].r - c[k - 1].r, c[k].z - c[k - 1].z);
    return sum;
}

} // namespace solver
