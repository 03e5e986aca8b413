#include "SceneSketch.h"

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "Trimesh.h"

namespace Quorvel::Test
{

SceneSketch::SceneSketch() : m_scene(std::make_unique<Scene>()) {}
SceneSketch::~SceneSketch() = default;

Node *SceneSketch::node(const QString &id, const QMatrix4x4 &local, Node *parent)
{
    auto *node = new Node(parent);
    node->setId(id);
    node->setLocalTransform(local);
    m_scene->nodes().append(node);
    return node;
}

Node *SceneSketch::camera(const QMatrix4x4 &local, float fieldOfView, Node *parent)
{
    auto *camera = new Camera;
    camera->setFieldOfView(fieldOfView);
    m_scene->cameras().append(camera);
    Node *holder = node(QStringLiteral("camera"), local, parent);
    holder->setModel(camera);
    return holder;
}

Light *SceneSketch::light(int type, const QColor &color, const QMatrix4x4 &local, Node *parent)
{
    auto *light = new Light(type);
    light->setColor(color);
    m_scene->lights().append(light);
    node(QStringLiteral("light-%1").arg(m_scene->lights().size()), local, parent)->setModel(light);
    return light;
}

Material *SceneSketch::material(const QString &name)
{
    auto *material = new Material;
    material->setName(name);
    material->setAmbient(Qt::black);
    material->setDiffuse(Qt::black);
    material->setSpecular(Qt::black);
    m_scene->materials().insert(name, material);
    return material;
}

Geometry *SceneSketch::geometry()
{
    auto *geometry = new Geometry;
    m_scene->geometries().append(geometry);
    geometry->setId(QStringLiteral("geometry-%1").arg(m_scene->geometries().size()));
    return geometry;
}

Trimesh *SceneSketch::addQuad(Geometry *geometry, const QString &symbol, const Quad &quad, Winding winding,
                              const QVector<QVector3D> &normals)
{
    const int first = geometry->vertices().size();
    geometry->appendVertices(
        {quad.origin, quad.origin + quad.u, quad.origin + quad.u + quad.v, quad.origin + quad.v});
    geometry->appendNormals(normals.isEmpty() ? QVector<QVector3D>(4, quad.normal()) : normals);
    geometry->appendTexcoords({{0, 0}, {1, 0}, {1, 1}, {0, 1}});

    QVector<int> corners = {0, 1, 2, 0, 2, 3};
    if (winding == Winding::Clockwise)
        corners = {0, 2, 1, 0, 3, 2};
    auto *group = new Trimesh;
    group->setMaterialName(symbol);
    for (const int corner : qAsConst(corners)) {
        group->appendIndex(first + corner);
        group->appendNormalIndex(first + corner);
        group->appendTexcoordIndex(first + corner);
    }
    geometry->addTrimesh(group);
    return group;
}

Node *SceneSketch::quadNode(const Quad &quad, Material *material, const QMatrix4x4 &local, Winding winding)
{
    Geometry *mesh = geometry();
    addQuad(mesh, QStringLiteral("surface"), quad, winding);
    Node *holder = node(QStringLiteral("quad-%1").arg(m_scene->geometries().size()), local);
    holder->setModel(mesh);
    holder->bindMaterial(QStringLiteral("surface"), material);
    return holder;
}

Node *SceneSketch::groupsNode(const QVector<QPair<Quad, Material *>> &groups)
{
    Geometry *shape = geometry();
    Node *shown = node(QStringLiteral("groups"), {});
    shown->setModel(shape);
    for (const auto &[quad, material] : groups) {
        const QString symbol = QString::number(shape->trimeshes().size());
        addQuad(shape, symbol, quad);
        shown->bindMaterial(symbol, material);
    }
    return shown;
}

Scene &SceneSketch::scene()
{
    if (!m_complete) {
        if (m_scene->cameras().isEmpty())
            camera();
        m_scene->complete();
        m_complete = true;
    }
    return *m_scene;
}

QMatrix4x4 translation(float x, float y, float z)
{
    QMatrix4x4 matrix;
    matrix.translate(x, y, z);
    return matrix;
}

QMatrix4x4 rotation(float degrees, float x, float y, float z)
{
    QMatrix4x4 matrix;
    matrix.rotate(degrees, x, y, z);
    return matrix;
}

} // namespace Quorvel::Test
