#include "solver/GridCholesky.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace solver {

namespace {
// Boxes of at most this many cells are eliminated as one dense leaf: smaller
// leaves cost more in per-node overhead than they save in fill.
constexpr int kLeafCells = 16;
// Fronts of at most this many unknowns are factorised column by column
// (partialCholesky), which beats the call overhead of Eigen's blocked dense
// kernels on them.
constexpr int kSmallFront = 48;

// Eliminates the first o of the m x m front's unknowns in place (lower
// triangle, column-major): column by column, L(:,k) = F(:,k) / sqrt(F(k,k)),
// then every later column j loses L(j,k) L(:,k).
bool partialCholesky(double* f, int o, int m)
{
    for (int k = 0; k < o; ++k) {
        double* ck = f + long(k) * m;
        if (!(ck[k] > 0))
            return false;
        const double d = std::sqrt(ck[k]);
        ck[k] = d;
        const double inv = 1.0 / d;
        Eigen::Map<Eigen::VectorXd>(ck + k + 1, m - k - 1) *= inv;
        for (int j = k + 1; j < m; ++j)
            Eigen::Map<Eigen::VectorXd>(f + long(j) * m + j, m - j) -=
                ck[j] * Eigen::Map<const Eigen::VectorXd>(ck + j, m - j);
    }
    return true;
}
} // namespace

struct GridCholesky::Structure
{
    struct Node
    {
        int own = 0, rim = 0;      // cells eliminated here; rim cells of its box
        int ownStart = 0;          // elimination position of its first own cell
        int rimStart = 0;          // its rim cells in rimPositions
        long factor = 0;           // its columns of L in the factor (packed)
        int entryStart = 0, entryEnd = 0;   // its assembly entries
        int childStart = 0, childEnd = 0;   // its children in `children`
        int mapStart = 0;          // child rim -> front index maps, children in order
    };
    struct Entry
    {
        int value;      // index into the matrix's values
        int row, col;   // place in the front (row >= col)
    };
    int columns = 0, rows = 0;
    std::vector<Node> nodes;          // children before parents
    std::vector<int> position;        // elimination position of each cell
    std::vector<int> rimPositions;    // elimination positions of every node's rim
    std::vector<int> children;
    std::vector<int> childMaps;
    std::vector<Entry> entries;
    long factorDoubles = 0;    // size of L, packed
    long largestFront = 0;     // (own + rim)^2 of the largest front
    long stackDoubles = 0;     // most update matrices waiting for their parents
};

namespace {

// The dissection's topology: every node's own cells, rim cells and children.
struct Dissection
{
    int nr, nz;
    std::vector<std::vector<int>> own, rim, kids;   // per node, children first

    int build(int r0, int r1, int z0, int z1)
    {
        const int w = r1 - r0, h = z1 - z0;
        std::vector<int> mine, children;
        if (w * h <= kLeafCells) {
            for (int z = z0; z < z1; ++z)
                for (int r = r0; r < r1; ++r)
                    mine.push_back(z * nr + r);
        } else if (w >= h) {
            const int m = r0 + w / 2;
            children.push_back(build(r0, m, z0, z1));
            children.push_back(build(m + 1, r1, z0, z1));
            for (int z = z0; z < z1; ++z)
                mine.push_back(z * nr + m);
        } else {
            const int m = z0 + h / 2;
            children.push_back(build(r0, r1, z0, m));
            children.push_back(build(r0, r1, m + 1, z1));
            for (int r = r0; r < r1; ++r)
                mine.push_back(m * nr + r);
        }
        std::vector<int> edge;
        if (r0 > 0)
            for (int z = z0; z < z1; ++z)
                edge.push_back(z * nr + r0 - 1);
        if (r1 < nr)
            for (int z = z0; z < z1; ++z)
                edge.push_back(z * nr + r1);
        if (z0 > 0)
            for (int r = r0; r < r1; ++r)
                edge.push_back((z0 - 1) * nr + r);
        if (z1 < nz)
            for (int r = r0; r < r1; ++r)
                edge.push_back(z1 * nr + r);
        own.push_back(std::move(mine));
        rim.push_back(std::move(edge));
        kids.push_back(std::move(children));
        return int(own.size()) - 1;
    }
};

} // namespace

void GridCholesky::analyse(int columns, int rows, const Matrix& a)
{
    if (columns < 1 || rows < 1 || a.rows() != columns * rows || !a.isCompressed())
        throw std::invalid_argument("GridCholesky: the matrix does not match the grid");
    Dissection d{columns, rows, {}, {}, {}};
    d.build(0, columns, 0, rows);
    const int count = int(d.own.size());
    std::vector<int> local(size_t(columns) * rows, -1);   // front index within one node
    auto setLocal = [&](int k, bool on) {
        const std::vector<int>& own = d.own[size_t(k)];
        const std::vector<int>& rim = d.rim[size_t(k)];
        for (size_t i = 0; i < own.size(); ++i)
            local[size_t(own[i])] = on ? int(i) : -1;
        for (size_t i = 0; i < rim.size(); ++i)
            local[size_t(rim[i])] = on ? int(own.size() + i) : -1;
    };
    // Parents before children, order each child's rim as its parent's front
    // orders those cells, so that the extend-add maps increase: an update's
    // lower triangle lands in the parent's lower triangle.
    for (int k = count - 1; k >= 0; --k) {
        setLocal(k, true);
        for (int kid : d.kids[size_t(k)]) {
            std::vector<int>& r = d.rim[size_t(kid)];
            for (int c : r)
                if (local[size_t(c)] < 0)
                    throw std::logic_error("GridCholesky: a child's rim outside its parent's front");
            std::sort(r.begin(), r.end(),
                      [&](int x, int y) { return local[size_t(x)] < local[size_t(y)]; });
        }
        setLocal(k, false);
    }

    auto s = std::make_shared<Structure>();
    s->columns = columns;
    s->rows = rows;
    s->position.assign(size_t(columns) * rows, -1);
    int next = 0;
    for (int k = 0; k < count; ++k) {
        Structure::Node node;
        node.own = int(d.own[size_t(k)].size());
        node.rim = int(d.rim[size_t(k)].size());
        node.ownStart = next;
        for (int c : d.own[size_t(k)])
            s->position[size_t(c)] = next++;
        // column j of L keeps its rows j .. m-1
        const long m = node.own + node.rim;
        node.factor = s->factorDoubles;
        s->factorDoubles += long(node.own) * m - long(node.own) * (node.own - 1) / 2;
        s->largestFront = std::max(s->largestFront, m * m);
        setLocal(k, true);
        // A's entries in the own cells' columns whose rows are own or rim;
        // the others couple to cells of the children, whose fronts hold them
        node.entryStart = int(s->entries.size());
        for (int j = 0; j < node.own; ++j) {
            const int c = d.own[size_t(k)][size_t(j)];
            for (int p = a.outerIndexPtr()[c]; p < a.outerIndexPtr()[c + 1]; ++p) {
                const int row = local[size_t(a.innerIndexPtr()[p])];
                if (row < 0 || row < j)
                    continue;   // a child's cell, or the upper triangle of F11
                s->entries.push_back({p, row, j});
            }
        }
        node.entryEnd = int(s->entries.size());
        node.childStart = int(s->children.size());
        node.mapStart = int(s->childMaps.size());
        for (int kid : d.kids[size_t(k)]) {
            s->children.push_back(kid);
            for (int c : d.rim[size_t(kid)])
                s->childMaps.push_back(local[size_t(c)]);
        }
        node.childEnd = int(s->children.size());
        setLocal(k, false);
        s->nodes.push_back(node);
    }
    for (int k = 0; k < count; ++k) {
        s->nodes[size_t(k)].rimStart = int(s->rimPositions.size());
        for (int c : d.rim[size_t(k)])
            s->rimPositions.push_back(s->position[size_t(c)]);
    }
    // the update stack, children before parents: each node pops its
    // children's updates and pushes its own
    std::vector<long> stack;
    long used = 0;
    for (const Structure::Node& node : s->nodes) {
        for (int c = node.childStart; c < node.childEnd; ++c) {
            used -= stack.back();
            stack.pop_back();
        }
        stack.push_back(long(node.rim) * node.rim);
        used += stack.back();
        s->stackDoubles = std::max(s->stackDoubles, used);
    }
    m_structure = std::move(s);
}

int GridCholesky::size() const
{
    return m_structure ? m_structure->columns * m_structure->rows : 0;
}

bool GridCholesky::factorise(const Matrix& a)
{
    // Children before parents: a node's front is assembled in the work
    // space from A and from its children's update matrices, which wait on a
    // stack (a node's children are the last entries there); its columns of L
    // go to the packed factor and its own update onto the stack.
    const Structure& s = *m_structure;
    m_factor.resize(size_t(s.factorDoubles));
    m_front.resize(size_t(s.largestFront));
    m_stack.resize(size_t(s.stackDoubles));
    const double* val = a.valuePtr();
    double* f = m_front.data();
    double* top = m_stack.data();   // first free place on the stack
    for (const Structure::Node& node : s.nodes) {
        const int o = node.own, b = node.rim, m = o + b;
        Eigen::Map<Eigen::MatrixXd> front(f, m, m);
        for (int j = 0; j < m; ++j)
            std::fill(f + long(j) * m + j, f + long(j + 1) * m, 0.0);
        for (int e = node.entryStart; e < node.entryEnd; ++e) {
            const Structure::Entry& en = s.entries[size_t(e)];
            f[long(en.col) * m + en.row] += val[en.value];
        }
        // extend-add the children's updates (lower triangles, b x b each),
        // the last ones on the stack, then pop them
        const int* map = s.childMaps.data() + node.mapStart;
        double* updates = top;
        for (int c = node.childStart; c < node.childEnd; ++c)
            updates -= long(s.nodes[size_t(s.children[size_t(c)])].rim)
                       * s.nodes[size_t(s.children[size_t(c)])].rim;
        top = updates;
        for (int c = node.childStart; c < node.childEnd; ++c) {
            const int cb = s.nodes[size_t(s.children[size_t(c)])].rim;
            for (int j = 0; j < cb; ++j) {
                const int pj = map[j];
                const double* col = updates + long(j) * cb;
                double* target = f + long(pj) * m;
                for (int i = j; i < cb; ++i)
                    target[map[i]] += col[i];   // map increases: stays in the lower triangle
            }
            updates += long(cb) * cb;
            map += cb;
        }
        if (m <= kSmallFront) {
            if (!partialCholesky(f, o, m))
                return false;
        } else {
            Eigen::Ref<Eigen::MatrixXd> f11 = front.topLeftCorner(o, o);
            Eigen::LLT<Eigen::Ref<Eigen::MatrixXd>> llt(f11);
            if (llt.info() != Eigen::Success)
                return false;
            if (b > 0) {
                auto f21 = front.bottomLeftCorner(b, o);
                f11.triangularView<Eigen::Lower>().transpose().solveInPlace<Eigen::OnTheRight>(f21);
                front.bottomRightCorner(b, b).selfadjointView<Eigen::Lower>().rankUpdate(f21, -1.0);
            }
        }
        double* l = m_factor.data() + node.factor;
        for (int j = 0; j < o; ++j) {
            l = std::copy(f + long(j) * m + j, f + long(j + 1) * m, l);
        }
        if (b > 0) {
            for (int j = 0; j < b; ++j)
                std::copy(f + long(o + j) * m + o + j, f + long(o + j + 1) * m, top + long(j) * b + j);
            top += long(b) * b;
        }
    }
    return true;
}

void GridCholesky::solve(const Eigen::VectorXd& r, Eigen::VectorXd& z) const
{
    const Structure& s = *m_structure;
    const int n = s.columns * s.rows;
    m_work.resize(n);
    double* x = m_work.data();
    for (int i = 0; i < n; ++i)
        x[s.position[size_t(i)]] = r[i];
    const double* factor = m_factor.data();
    // A node's columns of L hold [L11; L21] one after the other, so
    // each step of a triangular solve runs down one contiguous column, with
    // the node's unknowns followed by its rim's values in v.
    double* v = m_rim.data();
    auto load = [&](const Structure::Node& node) {
        const int m = node.own + node.rim;
        if (m_rim.size() < m) {
            m_rim.resize(m);
            v = m_rim.data();
        }
        std::copy(x + node.ownStart, x + node.ownStart + node.own, v);
        const int* rim = s.rimPositions.data() + node.rimStart;
        for (int k = 0; k < node.rim; ++k)
            v[node.own + k] = x[rim[k]];
    };
    // L y = r, children before parents
    for (const Structure::Node& node : s.nodes) {
        load(node);
        const int o = node.own, m = o + node.rim;
        const double* l = factor + node.factor;   // column j: rows j .. m-1
        for (int j = 0; j < o; ++j) {
            const double yj = v[j] / l[0];
            v[j] = yj;
            const int len = m - j - 1;
            Eigen::Map<Eigen::VectorXd>(v + j + 1, len) -=
                yj * Eigen::Map<const Eigen::VectorXd>(l + 1, len);
            l += len + 1;
        }
        std::copy(v, v + o, x + node.ownStart);
        const int* rim = s.rimPositions.data() + node.rimStart;
        for (int k = 0; k < node.rim; ++k)
            x[rim[k]] = v[o + k];
    }
    // L^T z = y, parents before children
    for (auto it = s.nodes.rbegin(); it != s.nodes.rend(); ++it) {
        const Structure::Node& node = *it;
        load(node);
        const int o = node.own, m = o + node.rim;
        // the last column first: it starts where the node's L ends
        const double* l = factor + node.factor + (long(o) * m - long(o) * (o - 1) / 2);
        for (int j = o - 1; j >= 0; --j) {
            const int len = m - j - 1;
            l -= len + 1;
            // a dot product along the column (Eigen's, with several partial
            // sums: a plain loop waits on every addition)
            const double sum = Eigen::Map<const Eigen::VectorXd>(l + 1, len)
                                   .dot(Eigen::Map<const Eigen::VectorXd>(v + j + 1, len));
            v[j] = (v[j] - sum) / l[0];
        }
        std::copy(v, v + o, x + node.ownStart);
    }
    z.resize(n);
    for (int i = 0; i < n; ++i)
        z[i] = x[s.position[size_t(i)]];
}

} // namespace solver
