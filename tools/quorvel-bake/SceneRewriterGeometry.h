#pragma once

#include "ChartVector.h"
#include "SceneRewriterEdits.h"
#include "SceneRewriterOutline.h"

#include <QSet>

#include <vector>

namespace Quorvel
{

class Geometry;

/// Writes a geometry element anew with other texture coordinates.
///
/// The indices are those of the loaded geometry, so that what the viewer made of the element is what it makes
/// of the new one, whatever the offsets of its inputs: position at offset 0, normal at 1, texture coordinate
/// at 2, any other input after them. A list of positions or normals that the element does not itself hold as
/// the viewer shows it is written out into it.
class SceneRewriterGeometry
{
public:
    /// `usedIds` are all ids of the document; new ones are added. All must outlive this object.
    SceneRewriterGeometry(const SceneRewriterOutline &outline, int element, const Geometry &geometry,
                          QSet<QByteArray> *usedIds);

    /// The elements that a loaded geometry's groups come from, in the groups' order.
    static QVector<int> primitives(const SceneRewriterOutline &outline, int element);

    /// Whether the viewer takes all that it shows of the element from the element itself.
    bool isSelfContained() const;

    /// The element's new text. One coordinate for each corner, group after group, rounded to that many
    /// decimals.
    QByteArray rewritten(const std::vector<Point2> &coordinates, int decimals);

private:
    enum class List { Positions, Normals, Texcoords };
    /// What the corners of all groups refer to by one of their indices.
    struct Column
    {
        /// Without the "#".
        QByteArray source;
        std::vector<int> indices;
        /// Numbers of a source of its own, three for each entry; empty when the element's own list serves.
        QByteArray numbers;
        int count = 0;
    };

    QVector<int> sources(List list) const;
    bool holds(List list) const;
    int listSize(List list) const;
    QByteArray freshId(const char *suffix);
    Column vectors(List list);
    Column texcoords(const std::vector<Point2> &coordinates, int decimals);
    QByteArray sourceText(const Column &column, const char *const *names) const;
    void insertSources();
    void removeOldSources();
    void rewritePrimitive(int primitive, size_t firstCorner, int corners);
    QByteArray inputsText(int primitive, const QVector<int> &others) const;
    QByteArray listsText(int primitive, const QVector<int> &others, size_t firstCorner, int corners,
                         int *listCount) const;
    QVector<int> otherInputs(int primitive) const;
    QVector<int> otherIndices(int primitive, const QVector<int> &others, int corners) const;
    QByteArray retagged(int input, const QByteArray &source, int offset) const;
    int firstInput(int primitive, const char *semantic) const;
    int firstPart() const;
    QByteArray indent(int element) const;
    void remove(int element);

    const SceneRewriterOutline &m_outline;
    int m_element;
    const Geometry &m_geometry;
    QSet<QByteArray> *m_usedIds;
    QVector<int> m_primitives;

    SceneRewriterEdits m_edits;
    Column m_positions;
    Column m_normals;
    Column m_texcoords;
    /// The vertices element made for positions written out.
    QByteArray m_newVertices;
};

} // namespace Quorvel
