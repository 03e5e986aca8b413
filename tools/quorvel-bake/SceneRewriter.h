#pragma once

#include "ChartVector.h"
#include "SceneRewriterEdits.h"
#include "SceneRewriterOutline.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>

#include <vector>

namespace Quorvel
{

class Node;
class Scene;

/// Gives every node of a COLLADA document that shows a geometry texture coordinates of its own. A geometry
/// that several nodes show is doubled, so that each shows one that no other shows. Everything else stays as
/// it is, to the byte.
class SceneRewriter
{
public:
    /// `scene` is what the viewer loads from the text. It must outlive this object.
    SceneRewriter(const QByteArray &text, const Scene &scene);

    /// Why the text cannot be rewritten, as the end of a sentence about the file; empty when it can.
    QString error() const { return m_error; }

    /// The nodes that show a geometry, in document order.
    const std::vector<const Node *> &nodes() const { return m_nodes; }

    /// The new text. For each of nodes() one coordinate per corner, group after group, rounded to that many
    /// decimals.
    QByteArray rewritten(const std::vector<std::vector<Point2>> &coordinates, int decimals);

private:
    /// A node's place in nodes(), and the element by which it names its geometry.
    struct Instance
    {
        int node;
        int element;
    };

    bool findGeometries();
    bool findNodes();
    bool findNodes(const Node &node, const QVector<int> &elements);
    void findIds();
    void rewriteGeometry(int geometry, const std::vector<std::vector<Point2>> &coordinates, int decimals,
                         SceneRewriterEdits *edits);
    QByteArray doubled(const QByteArray &text, QByteArray *id);
    QByteArray freshSuffix(const QSet<QByteArray> &ids);

    SceneRewriterOutline m_outline;
    const Scene &m_scene;
    QString m_error;
    QSet<QByteArray> m_usedIds;
    /// Elements of the scene's geometries.
    QVector<int> m_geometries;
    std::vector<const Node *> m_nodes;
    /// For each geometry, in document order.
    QVector<QVector<Instance>> m_instances;
};

} // namespace Quorvel
