#pragma once

#include "XmlReceiver.h"

#include <QList>
#include <QVector2D>
#include <QVector3D>
#include <QVector>

#include <memory>

namespace Quorvel
{

class Geometry;
class NumberLists;
class Trimesh;

/// Builds a Geometry from each `geometry` element: vertex lists, one group per `triangles` element, and the
/// analysis of each group's mesh.
///
/// Number 0 of each index group is the position, 1 the normal and 2 the texture coordinate; what follows in a
/// group is skipped. An index beyond its list is fatal.
class XmlGeometryReceiver : public XmlReceiver
{
public:
    /// `lists` holds what the marks in a shortened document stand for; null when it is whole.
    explicit XmlGeometryReceiver(QXmlQuery *query, QList<Geometry *> *geometries,
                                 const NumberLists *lists = nullptr);
    ~XmlGeometryReceiver() override;

    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void characters(const QStringRef &value) override;

private:
    void startGeometry(const QString &id);
    void finishGeometry();
    void startGroup();
    void finishGroup();
    void fillGroup(const QStringRef &text);
    void fillGroupFromTriples(const QStringRef &text);
    void fillGroupFromPairs(const QStringRef &text);
    void fillGroupFromSingles(const QStringRef &text);
    /// Calls `read` with the text as it stands in the file.
    template <typename Read>
    auto readList(const QStringRef &text, Read read) const;
    QVector<int> readIndices(const QStringRef &text, int keep) const;
    void explainIndex(const char *what, qint64 index, int count) const
    {
        if (index >= count)
            explainBadIndex(what, index, count);
    }
    void explainBadIndex(const char *what, qint64 index, int count) const;

    QList<Geometry *> *m_geometries;
    const NumberLists *m_lists;
    /// Null outside geometries, and inside one that has no id: everything in it is ignored.
    std::unique_ptr<Geometry> m_currentGeometry;
    std::unique_ptr<Trimesh> m_currentTrimesh;
    int m_stride = 0;
    // Quirk(stale-lists): a geometry whose list element is empty takes over its predecessor's list;
    // kept because files have always opened so, and stored scenes hold what came of it.
    QVector<QVector3D> m_positions;
    QVector<QVector3D> m_normals;
    QVector<QVector2D> m_texcoords;
};

} // namespace Quorvel
