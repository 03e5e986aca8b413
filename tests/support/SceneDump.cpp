#include "SceneDump.h"

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <charconv>

namespace Quorvel
{

namespace
{

QString number(float value)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    return QString::fromLatin1(text, int(end - text));
}

QString quoted(const QString &text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString entry(const QVector2D &v)
{
    return QStringLiteral("%1 %2").arg(number(v.x()), number(v.y()));
}

QString entry(const QVector3D &v)
{
    return QStringLiteral("%1 %2 %3").arg(number(v.x()), number(v.y()), number(v.z()));
}

QString entry(int value)
{
    return QString::number(value);
}

QString color(const QColor &color)
{
    if (!color.isValid())
        return QStringLiteral("none");
    return QStringLiteral("%1 %2 %3 %4")
        .arg(number(float(color.redF())), number(float(color.greenF())), number(float(color.blueF())),
             number(float(color.alphaF())));
}

/// Zeros lose their sign: which one a product holds depends on how the toolkit came to know its factors.
QString matrix(const QMatrix4x4 &m)
{
    QStringList rows;
    for (int row = 0; row < 4; ++row) {
        QStringList numbers;
        for (int column = 0; column < 4; ++column)
            numbers += number(m(row, column) + 0.0f);
        rows += numbers.join(QLatin1Char(' '));
    }
    return rows.join(QStringLiteral(" | "));
}

class Dump
{
public:
    QString text() const { return m_text; }

    void line(int indent, const QString &text)
    {
        m_text += QString(indent * 4, QLatin1Char(' ')) + text + QLatin1Char('\n');
    }

    template <typename T>
    void list(int indent, const char *title, const QVector<T> &values)
    {
        QStringList entries;
        for (const T &value : values)
            entries += entry(value);
        const QString head = QStringLiteral("%1 (%2):").arg(QLatin1String(title)).arg(values.size());
        line(indent, entries.isEmpty() ? head : head + QLatin1Char(' ') + entries.join(QStringLiteral(", ")));
    }

    void geometry(const Geometry &geometry);
    void light(const Light &light);
    void camera(const Camera &camera);
    void material(const Material &material);
    void node(const Node &node, int depth);

private:
    QString m_text;
};

void Dump::geometry(const Geometry &geometry)
{
    line(0, QStringLiteral("geometry %1").arg(quoted(geometry.id())));
    line(1, QStringLiteral("two-manifold: %1")
                .arg(geometry.isTwoManifold() ? QLatin1String("true") : QLatin1String("false")));
    list(1, "vertices", geometry.vertices());
    list(1, "normals", geometry.normals());
    list(1, "texcoords", geometry.texcoords());
    list(1, "extra vectors", geometry.extraVectors());
    for (const Trimesh *trimesh : geometry.trimeshes()) {
        line(1, QStringLiteral("group %1").arg(quoted(trimesh->materialName())));
        list(2, "vertex indices", trimesh->indices());
        list(2, "normal indices", trimesh->normalIndices());
        list(2, "texcoord indices", trimesh->texcoordIndices());
        list(2, "adjacency", trimesh->adjacency());
        list(2, "invalid faces", trimesh->invalidFaces());
    }
}

void Dump::light(const Light &light)
{
    line(0, QStringLiteral("light %1").arg(quoted(light.id())));
    line(1, QStringLiteral("type: %1").arg(light.type()));
    line(1, QStringLiteral("color: %1").arg(color(light.color())));
    line(1, QStringLiteral("multiplier: %1").arg(number(light.multiplier())));
    line(1, QStringLiteral("falloff: %1").arg(number(light.falloff())));
    line(1, QStringLiteral("hotspot beam: %1").arg(number(light.hotspotBeam())));
    line(1, QStringLiteral("target: %1").arg(quoted(light.target())));
    line(1, QStringLiteral("vector: %1").arg(entry(light.lightVector())));
    line(1,
         QStringLiteral("shadow: %1").arg(light.shadow() ? QLatin1String("true") : QLatin1String("false")));
}

void Dump::camera(const Camera &camera)
{
    line(0, QStringLiteral("camera %1").arg(quoted(camera.id())));
    line(1, QStringLiteral("field of view: %1").arg(number(camera.fieldOfView())));
    line(1, QStringLiteral("near plane: %1").arg(number(camera.nearPlane())));
    line(1, QStringLiteral("far plane: %1").arg(number(camera.farPlane())));
    line(1, QStringLiteral("target: %1").arg(quoted(camera.target())));
}

void Dump::material(const Material &material)
{
    line(0, QStringLiteral("material %1").arg(quoted(material.name())));
    line(1, QStringLiteral("ambient: %1").arg(color(material.ambient())));
    line(1, QStringLiteral("diffuse: %1").arg(color(material.diffuse())));
    line(1, QStringLiteral("specular: %1").arg(color(material.specular())));
    line(1, QStringLiteral("reflective: %1").arg(color(material.reflective())));
    line(1, QStringLiteral("transparent: %1").arg(color(material.transparent())));
    line(1, QStringLiteral("shininess: %1").arg(number(material.shininess())));
    line(1, QStringLiteral("transparency: %1").arg(number(material.transparency())));
    line(1, QStringLiteral("specular level: %1").arg(number(material.specularLevel())));
}

void Dump::node(const Node &node, int depth)
{
    line(depth, QStringLiteral("node %1").arg(quoted(node.id())));
    line(depth + 1, QStringLiteral("local: %1").arg(matrix(node.localTransform())));
    line(depth + 1, QStringLiteral("world: %1").arg(matrix(node.worldTransform())));
    if (const Model *model = node.model())
        line(depth + 1, QStringLiteral("model: %1 of type %2").arg(quoted(model->id())).arg(model->type()));
    QStringList symbols = node.materialBindings().keys();
    std::sort(symbols.begin(), symbols.end());
    for (const QString &symbol : symbols) {
        const Material *material = node.materialBindings().value(symbol);
        line(depth + 1,
             QStringLiteral("binding: %1 -> %2")
                 .arg(quoted(symbol), material ? quoted(material->name()) : QStringLiteral("none")));
    }
    for (const Node *child : node.children())
        Dump::node(*child, depth + 1);
}

} // namespace

QString dumpScene(const Scene &scene)
{
    Dump dump;
    dump.line(0, QStringLiteral("scene %1").arg(quoted(QFileInfo(scene.name()).fileName())));
    dump.line(0, QStringLiteral("up axis: %1").arg(entry(scene.upAxis())));
    for (const Geometry *geometry : scene.geometries())
        dump.geometry(*geometry);
    for (const Light *light : scene.lights())
        dump.light(*light);
    for (const Camera *camera : scene.cameras())
        dump.camera(*camera);
    QStringList names = scene.materials().keys();
    std::sort(names.begin(), names.end());
    for (const QString &name : names)
        dump.material(*scene.materials().value(name));
    dump.line(0, QStringLiteral("nodes: %1").arg(scene.nodes().size()));
    if (scene.rootNode())
        dump.node(*scene.rootNode(), 0);
    if (scene.activeCameraNode())
        dump.line(0, QStringLiteral("active camera node: %1").arg(quoted(scene.activeCameraNode()->id())));
    return dump.text();
}

} // namespace Quorvel
