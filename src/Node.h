#pragma once

#include <QHash>
#include <QList>
#include <QMatrix4x4>
#include <QString>
#include <QVector3D>
#include <QVector>

namespace Quorvel
{

class Camera;
class Geometry;
class Light;
class Material;
class Model;

/// World space. A radius of 0 means a single point, or nothing at all.
struct BoundingSphere
{
    QVector3D centre;
    float radius = 0.0f;
};

/// One node of the scene graph. Owns nothing: the scene owns nodes, models and materials.
class Node
{
public:
    /// Attached to `parent` when one is given.
    explicit Node(Node *parent = nullptr);
    virtual ~Node() = default;
    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;

    QString id() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    Node *parent() const { return m_parent; }
    /// Moves this node to the end of another node's children. `parent` must not be null.
    void setParent(Node *parent);
    const QList<Node *> &children() const { return m_children; }

    /// Relative to the parent.
    const QMatrix4x4 &localTransform() const { return m_localTransform; }
    /// Updates the world transform of this node only; see updateWorldTransform().
    void setLocalTransform(const QMatrix4x4 &transform);
    /// Object to world space.
    const QMatrix4x4 &worldTransform() const { return m_worldTransform; }

    /// Sets world = parent's world * local, and forgets this node's cached bounds.
    ///
    /// Neither descendants' world transforms nor ancestors' bounds follow: whoever moves a node that has
    /// descendants updates them, parents first.
    void updateWorldTransform();

    Model *model() const { return m_model; }
    void setModel(Model *model);
    /// The model as its kind, or null when there is none or it is of another kind.
    Camera *cameraModel() const;
    Light *lightModel() const;
    Geometry *geometryModel() const;

    /// Material symbol inside the bound geometry to the material that it stands for here. A null material is
    /// a name that the scene does not hold.
    const QHash<QString, Material *> &materialBindings() const { return m_materialBindings; }
    void bindMaterial(const QString &symbol, Material *material);
    /// One entry per triangle group of the bound geometry, null where its symbol is not bound. Resolved on
    /// first use after a change of model or bindings, so that drawing looks up no names.
    const QVector<Material *> &groupMaterials() const;

    /// Around the geometry of this node and its descendants; cached while its radius is not 0. The centre is
    /// the mean of the vertices.
    BoundingSphere boundingSphere() const;

    /// Whether the ray from `origin` through `towards` (both world space) meets the bounding sphere ahead of
    /// the origin, or starts inside it.
    bool rayTest(const QVector3D &origin, const QVector3D &towards) const;

    /// Appends all descendants, breadth first, without the node itself.
    void collectDescendants(QList<Node *> *nodes) const;

private:
    BoundingSphere computeBoundingSphere() const;

    mutable BoundingSphere m_boundingSphere;
    QMatrix4x4 m_localTransform;
    QMatrix4x4 m_worldTransform;
    QString m_id;
    Node *m_parent = nullptr;
    QList<Node *> m_children;
    Model *m_model = nullptr;
    QHash<QString, Material *> m_materialBindings;
    mutable QVector<Material *> m_groupMaterials;
    mutable bool m_groupMaterialsResolved = false;
};

/// Distance along the ray to its first meeting with the sphere, negative when that lies behind the origin; -1
/// when the ray misses. `direction` has unit length.
float raySphereDistance(const QVector3D &origin, const QVector3D &direction, const BoundingSphere &sphere);

} // namespace Quorvel
