#include "Geometry.h"

#include "MeshAnalysis.h"
#include "RecordStream.h"
#include "Trimesh.h"

#include <QDataStream>

#include <algorithm>
#include <memory>

namespace Quorvel
{

namespace
{

using IndexList = const QVector<int> &(Trimesh::*)() const;

QVector<int> joined(const QList<Trimesh *> &trimeshes, IndexList list)
{
    if (trimeshes.size() == 1)
        return (trimeshes.first()->*list)();
    int size = 0;
    for (const Trimesh *trimesh : trimeshes)
        size += (trimesh->*list)().size();
    QVector<int> result;
    result.reserve(size);
    for (const Trimesh *trimesh : trimeshes)
        result += (trimesh->*list)();
    return result;
}

/// Sets the groups' lists. Returns how many entries the list is too short by; negative where it is too long.
int deal(const QVector<int> &list, const QList<Trimesh *> &trimeshes,
         void (Trimesh::*setList)(const QVector<int> &))
{
    int begin = 0;
    for (Trimesh *trimesh : trimeshes) {
        const int count = trimesh->indices().size();
        QVector<int> share = list.mid(begin, count);
        if (share.size() != count)
            share.resize(count);
        (trimesh->*setList)(share);
        begin += count;
    }
    return begin - list.size();
}

void writeTrimesh(QDataStream &stream, const Trimesh &trimesh)
{
    stream << trimesh.materialName();
    RecordStream::writeList(stream, trimesh.indices());
    RecordStream::writeList(stream, trimesh.adjacency());
    RecordStream::writeList(stream, trimesh.invalidFaces());
}

std::unique_ptr<Trimesh> readTrimesh(QDataStream &stream)
{
    auto trimesh = std::make_unique<Trimesh>();
    QString symbol;
    QVector<int> list;
    stream >> symbol;
    trimesh->setMaterialName(symbol);
    RecordStream::readList(stream, &list);
    trimesh->setIndices(list);
    RecordStream::readList(stream, &list);
    trimesh->setAdjacency(list);
    RecordStream::readList(stream, &list);
    trimesh->setInvalidFaces(list);
    return trimesh;
}

} // namespace

Geometry::~Geometry()
{
    qDeleteAll(m_trimeshes);
}

QVector<int> Geometry::firstIntegers() const
{
    return m_firstDealing.undone(joined(m_trimeshes, &Trimesh::normalIndices));
}

void Geometry::setFirstIntegers(const QVector<int> &normalIndices)
{
    m_firstDealing = Dealing(normalIndices, deal(normalIndices, m_trimeshes, &Trimesh::setNormalIndices));
}

QVector<int> Geometry::secondIntegers() const
{
    return m_secondDealing.undone(joined(m_trimeshes, &Trimesh::texcoordIndices));
}

void Geometry::setSecondIntegers(const QVector<int> &texcoordIndices)
{
    m_secondDealing =
        Dealing(texcoordIndices, deal(texcoordIndices, m_trimeshes, &Trimesh::setTexcoordIndices));
}

Geometry::Dealing::Dealing(const QVector<int> &list, int missing)
    : m_missing(std::max(missing, 0)), m_rest(list.mid(list.size() + std::min(missing, 0)))
{
}

QVector<int> Geometry::Dealing::undone(QVector<int> dealt) const
{
    if (m_missing > 0)
        dealt.resize(std::max(dealt.size() - m_missing, 0));
    if (!m_rest.isEmpty())
        dealt += m_rest;
    return dealt;
}

QVector<int> Geometry::triangleIndices() const
{
    return joined(m_trimeshes, &Trimesh::indices);
}

QVector<int> Geometry::neighbourIndices() const
{
    return joined(m_trimeshes, &Trimesh::adjacency);
}

void Geometry::analyze(const QVector<int> &indices, QVector<int> *adjacency, QVector<int> *invalidFaces)
{
    const MeshAnalysis analysis(m_vertices, indices);
    *adjacency = analysis.adjacency();
    *invalidFaces = analysis.invalidFaces();
    // Quirk(last-analysis-flag): the flag of a geometry with several groups is that of the last one;
    // kept, the flag is the result of the last analysis, and nothing in the viewer draws by it.
    m_twoManifold = analysis.isTwoManifold();
}

void Geometry::write(QDataStream &stream) const
{
    Model::write(stream);
    RecordStream::writeList(stream, m_vertices);
    RecordStream::writeList(stream, m_normals);
    RecordStream::writeList(stream, m_texcoords);
    stream << m_twoManifold;
    RecordStream::writeList(stream, m_extraVectors);
    RecordStream::writeList(stream, firstIntegers());
    RecordStream::writeList(stream, secondIntegers());
    stream << qint32(m_trimeshes.size());
    for (const Trimesh *trimesh : m_trimeshes)
        writeTrimesh(stream, *trimesh);
}

void Geometry::read(QDataStream &stream)
{
    Model::read(stream);
    RecordStream::readList(stream, &m_vertices);
    RecordStream::readList(stream, &m_normals);
    RecordStream::readList(stream, &m_texcoords);
    stream >> m_twoManifold;
    RecordStream::readList(stream, &m_extraVectors);
    QVector<int> firstIntegers;
    QVector<int> secondIntegers;
    RecordStream::readList(stream, &firstIntegers);
    RecordStream::readList(stream, &secondIntegers);
    qint32 groups = 0;
    stream >> groups;
    for (qint32 i = 0; i < groups && stream.status() == QDataStream::Ok; ++i)
        m_trimeshes.append(readTrimesh(stream).release());
    setFirstIntegers(firstIntegers);
    setSecondIntegers(secondIntegers);
}

} // namespace Quorvel
