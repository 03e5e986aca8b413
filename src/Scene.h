#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QVector3D>

class QDataStream;

namespace Quorvel
{

class Camera;
class Geometry;
class Light;
class Material;
class Node;

/// Everything that a loaded file consists of. Owns its geometries, lights, cameras, materials, nodes and
/// root.
///
/// Built on one thread by the loader or by load(), then handed over whole.
///
/// Record (docs/formats.md gives every field): name, up axis, geometries, lights, cameras, materials, nodes;
/// references between objects are indices into the lists before them.
class Scene
{
public:
    Scene() = default;
    virtual ~Scene();
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    /// Deletes everything that the scene holds.
    void clear();

    /// The path that the scene was loaded from.
    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    /// The axis that the file calls up, or (0, 0, 0). Recorded only: nothing is rotated by it.
    QVector3D upAxis() const { return m_upAxis; }
    void setUpAxis(const QVector3D &axis) { m_upAxis = axis; }

    /// The scene's tables. Whoever appends an object hands it over.
    QList<Geometry *> &geometries() { return m_geometries; }
    const QList<Geometry *> &geometries() const { return m_geometries; }
    QList<Light *> &lights() { return m_lights; }
    const QList<Light *> &lights() const { return m_lights; }
    QList<Camera *> &cameras() { return m_cameras; }
    const QList<Camera *> &cameras() const { return m_cameras; }
    /// By material name.
    QHash<QString, Material *> &materials() { return m_materials; }
    const QHash<QString, Material *> &materials() const { return m_materials; }
    /// Every node but the root.
    QList<Node *> &nodes() { return m_nodes; }
    const QList<Node *> &nodes() const { return m_nodes; }

    /// The invisible node above all others, id "node-SceneRoot"; null until the scene is complete.
    Node *rootNode() const { return m_rootNode; }
    /// The node whose camera the scene is seen through.
    Node *activeCameraNode() const { return m_activeCameraNode; }
    void setActiveCameraNode(Node *node) { m_activeCameraNode = node; }

    /// Makes the root, hangs parentless nodes below it and picks the first node with a camera as the active
    /// one, which stays null when there is none.
    void complete();

    /// First node of that id in the nodes list, or null.
    Node *findNode(const QString &id) const;

    /// Writes the record. The scene must be complete.
    void save(QDataStream &stream) const;
    /// Replaces the scene's contents by those of a record and completes it. A record without a camera node,
    /// or with an index or a type code out of range, is fatal.
    void load(QDataStream &stream);

    /// Prints the node tree to the debug stream.
    void dump() const;

private:
    friend class ColladaLoader;

    QString m_name;
    QVector3D m_upAxis;
    QList<Geometry *> m_geometries;
    QList<Light *> m_lights;
    QList<Camera *> m_cameras;
    QHash<QString, Material *> m_materials;
    QList<Node *> m_nodes;
    Node *m_rootNode = nullptr;
    Node *m_activeCameraNode = nullptr;
};

} // namespace Quorvel
