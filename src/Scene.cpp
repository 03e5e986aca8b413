#include "Scene.h"

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "RecordStream.h"

#include <QDataStream>
#include <QDebug>
#include <QMap>
#include <QPair>
#include <QVector>

#include <algorithm>
#include <memory>

namespace Quorvel
{

namespace
{

template <typename T>
QList<QString> sortedKeys(const QHash<QString, T> &hash)
{
    QList<QString> keys = hash.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

/// Writes the count and the objects, and notes each one's index for the nodes to refer to.
template <typename T>
void writeModels(QDataStream &stream, const QList<T *> &models, QHash<const Model *, qint32> *indices)
{
    stream << qint32(models.size());
    for (qint32 i = 0; i < models.size(); ++i) {
        indices->insert(models.at(i), i);
        models.at(i)->write(stream);
    }
}

template <typename T>
void readModels(QDataStream &stream, QList<T *> *models)
{
    qint32 count = 0;
    stream >> count;
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        auto model = std::make_unique<T>();
        model->read(stream);
        // What a stream that ended early leaves behind has no type to rely on.
        if (stream.status() == QDataStream::Ok)
            models->append(model.release());
    }
}

bool isLightType(int type)
{
    return type >= Model::AmbientLightType && type <= Model::SpotLightType;
}

void writeModelReference(QDataStream &stream, const Node &node, const QHash<const Model *, qint32> &indices)
{
    const Model *model = node.model();
    if (!model) {
        stream << qint32(Model::NoModel);
        return;
    }
    Q_ASSERT(indices.contains(model));
    stream << qint32(model->type()) << indices.value(model);
}

void writeBindings(QDataStream &stream, const Node &node, const QHash<const Material *, QString> &names)
{
    const QHash<QString, Material *> &bindings = node.materialBindings();
    stream << qint32(bindings.size());
    for (const QString &symbol : sortedKeys(bindings))
        stream << symbol << names.value(bindings.value(symbol));
}

Model *readModelReference(QDataStream &stream, const Scene &scene)
{
    qint32 kind = Model::NoModel;
    stream >> kind;
    if (kind != Model::GeometryType && kind != Model::CameraType && !isLightType(kind))
        return nullptr;
    qint32 index = 0;
    stream >> index;
    if (kind == Model::GeometryType)
        return scene.geometries().at(index);
    if (kind == Model::CameraType)
        return scene.cameras().at(index);
    return scene.lights().at(index);
}

void readBindings(QDataStream &stream, const QHash<QString, Material *> &materials, Node *node)
{
    qint32 count = 0;
    stream >> count;
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        QString symbol;
        QString material;
        stream >> symbol >> material;
        node->bindMaterial(symbol, materials.value(material, nullptr));
    }
}

void writeNodes(QDataStream &stream, const Node &root, const QHash<const Model *, qint32> &models,
                const QHash<const Material *, QString> &materials)
{
    // Quirk(breadth-first-record): of cameras or lights at different depths others come first after reading;
    // kept, since the record's order is what stored scenes are in.
    QList<Node *> nodes;
    root.collectDescendants(&nodes);
    QHash<const Node *, qint32> indices;
    indices.reserve(nodes.size());
    for (qint32 i = 0; i < nodes.size(); ++i)
        indices.insert(nodes.at(i), i);

    stream << qint32(nodes.size());
    for (const Node *node : qAsConst(nodes)) {
        stream << node->localTransform() << node->id() << indices.value(node->parent(), -1);
        writeModelReference(stream, *node, models);
        writeBindings(stream, *node, materials);
    }
}

void readNodes(QDataStream &stream, Scene *scene)
{
    qint32 count = 0;
    stream >> count;
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        Node *node = new Node;
        scene->nodes().append(node);
        QMatrix4x4 transform;
        QString id;
        qint32 parent = -1;
        stream >> transform >> id >> parent;
        node->setLocalTransform(transform);
        node->setId(id);
        if (parent > -1) {
            Q_ASSERT_X(parent != i, "Scene::load", "a node's parent stands before it");
            node->setParent(scene->nodes().at(parent));
        }
        node->setModel(readModelReference(stream, *scene));
        readBindings(stream, scene->materials(), node);
        node->updateWorldTransform();
    }
}

} // namespace

Scene::~Scene()
{
    clear();
}

void Scene::clear()
{
    m_name.clear();
    m_upAxis = QVector3D();
    m_activeCameraNode = nullptr;
    delete m_rootNode;
    m_rootNode = nullptr;
    qDeleteAll(m_nodes);
    m_nodes.clear();
    qDeleteAll(m_geometries);
    m_geometries.clear();
    qDeleteAll(m_lights);
    m_lights.clear();
    qDeleteAll(m_cameras);
    m_cameras.clear();
    qDeleteAll(m_materials);
    m_materials.clear();
}

void Scene::complete()
{
    m_rootNode = new Node;
    m_rootNode->setId(QStringLiteral("node-SceneRoot"));
    for (Node *node : qAsConst(m_nodes)) {
        if (!node->parent())
            node->setParent(m_rootNode);
    }
    const auto camera = std::find_if(m_nodes.cbegin(), m_nodes.cend(),
                                     [](const Node *node) { return node->cameraModel() != nullptr; });
    m_activeCameraNode = camera != m_nodes.cend() ? *camera : nullptr;
}

Node *Scene::findNode(const QString &id) const
{
    const auto found =
        std::find_if(m_nodes.cbegin(), m_nodes.cend(), [&id](const Node *node) { return node->id() == id; });
    return found != m_nodes.cend() ? *found : nullptr;
}

void Scene::save(QDataStream &stream) const
{
    Q_ASSERT(m_rootNode);
    RecordStream::pin(stream);
    stream << m_name << m_upAxis;

    QHash<const Model *, qint32> modelIndices;
    writeModels(stream, m_geometries, &modelIndices);
    writeModels(stream, m_lights, &modelIndices);
    writeModels(stream, m_cameras, &modelIndices);

    QHash<const Material *, QString> materialNames;
    stream << qint32(m_materials.size());
    for (const QString &key : sortedKeys(m_materials)) {
        const Material *material = m_materials.value(key);
        materialNames.insert(material, material->name());
        material->write(stream);
    }

    writeNodes(stream, *m_rootNode, modelIndices, materialNames);
}

void Scene::load(QDataStream &stream)
{
    clear();
    RecordStream::pin(stream);
    stream >> m_name >> m_upAxis;

    readModels(stream, &m_geometries);
    for (const Geometry *geometry : qAsConst(m_geometries))
        Q_ASSERT(geometry->type() == Model::GeometryType);
    readModels(stream, &m_lights);
    for (const Light *light : qAsConst(m_lights))
        Q_ASSERT(isLightType(light->type()));
    readModels(stream, &m_cameras);
    for (const Camera *camera : qAsConst(m_cameras))
        Q_ASSERT(camera->type() == Model::CameraType);

    qint32 materials = 0;
    stream >> materials;
    for (qint32 i = 0; i < materials && stream.status() == QDataStream::Ok; ++i) {
        auto material = std::make_unique<Material>();
        material->read(stream);
        const QString name = material->name();
        delete m_materials.take(name);
        m_materials.insert(name, material.release());
    }

    readNodes(stream, this);
    complete();
    Q_ASSERT(m_activeCameraNode);
}

void Scene::dump() const
{
    qDebug() << "Scene:";
    if (!m_rootNode)
        return;

    struct Level
    {
        const Node *node;
        int depth;
    };
    QVector<Level> stack = {{m_rootNode, 0}};
    while (!stack.isEmpty()) {
        const auto [node, depth] = stack.takeLast();
        QString line = QString(4 * depth, QLatin1Char(' ')) + node->id();
        if (node->model())
            line += QLatin1String(" instance ") + node->model()->id();
        if (!node->materialBindings().isEmpty()) {
            line += QLatin1String(" materials ");
            for (const QString &symbol : sortedKeys(node->materialBindings())) {
                const Material *material = node->materialBindings().value(symbol);
                line += symbol + QLatin1String("->") + (material ? material->name() : QString()) +
                        QLatin1Char(' ');
            }
        }
        if (node->geometryModel()) {
            const BoundingSphere sphere = node->boundingSphere();
            qDebug().noquote() << line << "Center" << sphere.centre << "Radius" << sphere.radius;
        } else {
            qDebug().noquote() << line;
        }
        for (const Node *child : node->children())
            stack.append({child, depth + 1});
    }
}

} // namespace Quorvel
