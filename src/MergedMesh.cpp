#include "MergedMesh.h"

#include "Geometry.h"
#include "Trimesh.h"

#include <array>
#include <cstring>
#include <limits>
#include <vector>

namespace Quorvel
{

namespace
{

struct Corner
{
    QVector3D position;
    QVector3D normal;
    QVector2D texcoord;
};

bool fuzzyEqual(const Corner &a, const Corner &b)
{
    return qFuzzyCompare(a.position.x(), b.position.x()) && qFuzzyCompare(a.position.y(), b.position.y()) &&
           qFuzzyCompare(a.position.z(), b.position.z()) && qFuzzyCompare(a.normal.x(), b.normal.x()) &&
           qFuzzyCompare(a.normal.y(), b.normal.y()) && qFuzzyCompare(a.normal.z(), b.normal.z()) &&
           qFuzzyCompare(a.texcoord.x(), b.texcoord.x()) && qFuzzyCompare(a.texcoord.y(), b.texcoord.y());
}

/// Ten thousand times the sum of the eight numbers, truncated. Corners under different keys are never merged,
/// however alike they are. A sum out of range, or not a number, gives the smallest key.
qint32 sumKey(const Corner &corner)
{
    const float sum = corner.position.x() + corner.position.y() + corner.position.z() + corner.normal.x() +
                      corner.normal.y() + corner.normal.z() + corner.texcoord.x() + corner.texcoord.y();
    const double scaled = double(sum) * 10000.0;
    if (!(scaled > -2147483649.0 && scaled < 2147483648.0))
        return std::numeric_limits<qint32>::min();
    return qint32(scaled);
}

/// The one or two cells that a coordinate and every number fuzzily equal to it lie in.
///
/// A flat grid puts whole diagonals under one sum key, so candidates are told apart by where they lie as
/// well. A cell is 2^16 neighbouring floats wide; numbers that are fuzzily equal lie less than 2^8 floats
/// apart.
struct CellRange
{
    explicit CellRange(float coordinate)
    {
        quint32 bits = 0;
        const float positiveZero = coordinate + 0.0f;
        std::memcpy(&bits, &positiveZero, sizeof bits);
        home = bits >> 16;
        constexpr quint32 margin = 1 << 8;
        const quint32 offset = bits & 0xffff;
        if (offset < margin && home > 0)
            neighbour = home - 1;
        else if (offset > 0xffff - margin)
            neighbour = home + 1;
        else
            neighbour = home;
    }

    quint32 home = 0;
    quint32 neighbour = 0;
};

quint64 cellHash(qint32 key, quint32 x, quint32 y, quint32 z)
{
    // The multipliers and the mixing step of SplitMix64.
    quint64 hash = (quint64(quint32(key)) << 32 | x) * 0x9e3779b97f4a7c15u;
    hash = (hash ^ (hash >> 30) ^ (quint64(y) << 32 | z)) * 0xbf58476d1ce4e5b9u;
    hash = (hash ^ (hash >> 27)) * 0x94d049bb133111ebu;
    return hash ^ (hash >> 31);
}

quint64 homeHash(const Corner &corner, qint32 key)
{
    return cellHash(key, CellRange(corner.position.x()).home, CellRange(corner.position.y()).home,
                    CellRange(corner.position.z()).home);
}

/// The vertices of one group by value. Numbers are those of the output arrays.
class VertexTable
{
public:
    explicit VertexTable(int expected) { makeBuckets(2 * size_t(expected)); }

    /// The oldest vertex that equals `corner`, or -1. With the oldest taken, the same corner finds the same
    /// vertex again however many are inserted later. Beyond the most candidates the search is given up: a
    /// mesh made to collide would take quadratic time, and a vertex of its own for each corner looks the
    /// same.
    int find(const Corner &corner, qint32 key, const QVector<QVector3D> &positions,
             const QVector<QVector3D> &normals, const QVector<QVector2D> &texcoords) const
    {
        int found = -1;
        int candidatesLeft = mostCandidates;
        const CellRange x(corner.position.x());
        const CellRange y(corner.position.y());
        const CellRange z(corner.position.z());
        for (int probe = 0; probe < 8; ++probe) {
            if ((probe & 1 && x.neighbour == x.home) || (probe & 2 && y.neighbour == y.home) ||
                (probe & 4 && z.neighbour == z.home))
                continue;
            const quint64 hash = cellHash(key, probe & 1 ? x.neighbour : x.home,
                                          probe & 2 ? y.neighbour : y.home, probe & 4 ? z.neighbour : z.home);
            int entry = m_newest[bucket(hash)];
            for (; entry >= 0 && candidatesLeft > 0; entry = m_entries[size_t(entry)].older) {
                --candidatesLeft;
                const Entry &candidate = m_entries[size_t(entry)];
                const int vertex = candidate.vertex;
                if (candidate.key == key && (found < 0 || vertex < found) &&
                    fuzzyEqual({positions[vertex], normals[vertex], texcoords[vertex]}, corner))
                    found = vertex;
            }
        }
        return found;
    }

    void insert(const Corner &corner, qint32 key, int vertex)
    {
        if (m_entries.size() == m_newest.size()) {
            makeBuckets(2 * m_newest.size());
            for (size_t i = 0; i < m_entries.size(); ++i)
                chain(int(i));
        }
        m_entries.push_back({homeHash(corner, key), key, vertex, -1});
        chain(int(m_entries.size()) - 1);
    }

    /// What a search will look at first.
    const void *start(const Corner &corner, qint32 key) const
    {
        return &m_newest[bucket(homeHash(corner, key))];
    }

private:
    static constexpr int mostCandidates = 1024;

    struct Entry
    {
        quint64 hash;
        qint32 key;
        int vertex;
        int older;
    };

    void makeBuckets(size_t atLeast)
    {
        size_t count = 16;
        while (count < atLeast)
            count *= 2;
        m_newest.assign(count, -1);
    }
    size_t bucket(quint64 hash) const { return size_t(hash) & (m_newest.size() - 1); }
    void chain(int entry)
    {
        int &newest = m_newest[bucket(m_entries[size_t(entry)].hash)];
        m_entries[size_t(entry)].older = newest;
        newest = entry;
    }

    std::vector<Entry> m_entries;
    /// Per bucket, of which there is a power of two, the entry put in last; -1 for none.
    std::vector<int> m_newest;
};

} // namespace

int MergedMesh::TripleMemory::number(const Triple &triple)
{
    // A position with very many normals is left to the search by value, which does not slow down with them.
    constexpr int longestWalk = 16;
    const auto position = size_t(triple.position);
    if (position >= m_newest.size())
        m_newest.resize(position + 1, -1);
    int &newest = m_newest[position];
    int entry = newest;
    for (int step = 0; entry >= m_firstOfGroup && step < longestWalk; ++step) {
        const Entry &candidate = m_entries[size_t(entry)];
        if (candidate.triple.normal == triple.normal && candidate.triple.texcoord == triple.texcoord)
            return entry;
        entry = candidate.older;
    }
    m_entries.push_back({triple, newest, -1});
    newest = int(m_entries.size()) - 1;
    return newest;
}

void MergedMesh::addGroup(const Trimesh &group)
{
    const int firstCorner = m_indices.size();
    m_indices.resize(firstCorner + group.indices().size());
    int *const indices = m_indices.data() + firstCorner;

    m_triples.startGroup(m_geometry.vertices().size());
    for (int i = 0; i < group.indices().size(); ++i) {
        const Triple triple = {group.indices()[i], group.normalIndices()[i], group.texcoordIndices()[i]};
        Q_ASSERT_X(triple.position >= 0 && triple.position < m_geometry.vertices().size(),
                   "MergedMesh::addGroup", "index out of range");
        indices[i] = m_triples.number(triple);
    }
    makeVertices();
    for (int i = 0; i < group.indices().size(); ++i)
        indices[i] = m_triples.vertex(indices[i]);
}

/// Gives every triple of the group its vertex. The table of vertices is too large for the processor's cache,
/// so the searches of a few triples are under way at a time.
void MergedMesh::makeVertices()
{
    struct Search
    {
        Corner corner;
        qint32 key;
    };
    std::array<Search, 16> searches;

    const int triples = m_triples.end() - m_triples.begin();
    VertexTable table(triples);
    if (m_positions.isEmpty())
        reserve(triples);
    for (int begin = m_triples.begin(); begin < m_triples.end(); begin += int(searches.size())) {
        const int count = qMin(int(searches.size()), m_triples.end() - begin);
        for (int i = 0; i < count; ++i) {
            const Triple &triple = m_triples.triple(begin + i);
            const Corner corner = {m_geometry.vertices().at(triple.position),
                                   m_geometry.normals().at(triple.normal),
                                   m_geometry.texcoords().at(triple.texcoord)};
            searches[size_t(i)] = {corner, sumKey(corner)};
            __builtin_prefetch(table.start(corner, searches[size_t(i)].key));
        }
        for (int i = 0; i < count; ++i) {
            const auto &[corner, key] = searches[size_t(i)];
            int vertex = table.find(corner, key, m_positions, m_normals, m_texcoords);
            if (vertex < 0) {
                vertex = m_positions.size();
                m_positions.append(corner.position);
                m_normals.append(corner.normal);
                m_texcoords.append(corner.texcoord);
                table.insert(corner, key, vertex);
            }
            m_triples.setVertex(begin + i, vertex);
        }
    }
}

void MergedMesh::reserve(int vertices)
{
    m_positions.reserve(vertices);
    m_normals.reserve(vertices);
    m_texcoords.reserve(vertices);
}

} // namespace Quorvel
