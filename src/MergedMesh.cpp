#include "MergedMesh.h"

#include "Geometry.h"
#include "Trimesh.h"

#include <tsl/robin_map.h>

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

/// The vertices of one group by value. Numbers are those of the output arrays.
class VertexTable
{
public:
    explicit VertexTable(int expected) { m_newest.reserve(size_t(expected)); }

    /// The oldest vertex that equals `corner`, or -1. With the oldest taken, the same corner finds the same
    /// vertex again however many are inserted later.
    int find(const Corner &corner, qint32 key, const QVector<QVector3D> &positions,
             const QVector<QVector3D> &normals, const QVector<QVector2D> &texcoords) const
    {
        int found = -1;
        const CellRange x(corner.position.x());
        const CellRange y(corner.position.y());
        const CellRange z(corner.position.z());
        for (int probe = 0; probe < 8; ++probe) {
            if ((probe & 1 && x.neighbour == x.home) || (probe & 2 && y.neighbour == y.home) ||
                (probe & 4 && z.neighbour == z.home))
                continue;
            const auto newest =
                m_newest.find(cellHash(key, probe & 1 ? x.neighbour : x.home,
                                       probe & 2 ? y.neighbour : y.home, probe & 4 ? z.neighbour : z.home));
            int entry = newest == m_newest.end() ? -1 : newest->second;
            for (; entry >= 0; entry = m_entries[size_t(entry)].older) {
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
        const quint64 hash =
            cellHash(key, CellRange(corner.position.x()).home, CellRange(corner.position.y()).home,
                     CellRange(corner.position.z()).home);
        const auto inserted = m_newest.try_emplace(hash, -1).first;
        m_entries.push_back({key, vertex, inserted->second});
        inserted.value() = int(m_entries.size()) - 1;
    }

private:
    struct Entry
    {
        qint32 key;
        int vertex;
        int older;
    };

    struct Identity
    {
        size_t operator()(quint64 hash) const { return size_t(hash); }
    };

    std::vector<Entry> m_entries;
    tsl::robin_map<quint64, int, Identity> m_newest;
};

} // namespace

int MergedMesh::TripleMemory::find(int vertexIndex, int normalIndex, int texcoordIndex, int firstVertex) const
{
    if (vertexIndex < 0 || vertexIndex >= int(m_newest.size()))
        return -1;
    // A position with very many normals is left to the search by value, which does not slow down with them.
    constexpr int longestWalk = 16;
    int entry = m_newest[size_t(vertexIndex)];
    for (int step = 0; entry >= 0 && step < longestWalk; ++step) {
        const Entry &candidate = m_entries[size_t(entry)];
        if (candidate.vertex < firstVertex)
            break;
        if (candidate.normalIndex == normalIndex && candidate.texcoordIndex == texcoordIndex)
            return candidate.vertex;
        entry = candidate.older;
    }
    return -1;
}

void MergedMesh::TripleMemory::insert(int vertexIndex, int normalIndex, int texcoordIndex, int vertex)
{
    if (vertexIndex >= int(m_newest.size()))
        m_newest.resize(size_t(vertexIndex) + 1, -1);
    int &newest = m_newest[size_t(vertexIndex)];
    m_entries.push_back({normalIndex, texcoordIndex, vertex, newest});
    newest = int(m_entries.size()) - 1;
}

void MergedMesh::addGroup(const Trimesh &group)
{
    const QVector<int> &vertexIndices = group.indices();
    const QVector<int> &normalIndices = group.normalIndices();
    const QVector<int> &texcoordIndices = group.texcoordIndices();
    VertexTable table(qMin(vertexIndices.size(), m_geometry.vertices().size()));
    const int firstVertex = m_positions.size();

    for (int i = 0; i < vertexIndices.size(); ++i) {
        int vertex = m_triples.find(vertexIndices[i], normalIndices[i], texcoordIndices[i], firstVertex);
        if (vertex < 0) {
            const Corner corner = {m_geometry.vertices().at(vertexIndices[i]),
                                   m_geometry.normals().at(normalIndices[i]),
                                   m_geometry.texcoords().at(texcoordIndices[i])};
            const qint32 key = sumKey(corner);
            vertex = table.find(corner, key, m_positions, m_normals, m_texcoords);
            if (vertex < 0) {
                vertex = m_positions.size();
                m_positions.append(corner.position);
                m_normals.append(corner.normal);
                m_texcoords.append(corner.texcoord);
                table.insert(corner, key, vertex);
            }
            m_triples.insert(vertexIndices[i], normalIndices[i], texcoordIndices[i], vertex);
        }
        m_indices.append(vertex);
    }
}

} // namespace Quorvel
