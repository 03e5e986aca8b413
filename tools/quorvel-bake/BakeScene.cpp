#include "BakeScene.h"

#include "BakeSettings.h"
#include "ColorCoding.h"
#include "Geometry.h"
#include "GlColor.h"
#include "Light.h"
#include "LightUniforms.h"
#include "Material.h"
#include "MaterialUniforms.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"
#include "VectorMath.h"

#include <QHash>

#include <algorithm>
#include <cmath>

namespace Quorvel
{

namespace
{

float cosOfHalf(float degrees)
{
    return std::cos(degrees * 0.5f * 0.0174532925f);
}

bool isFinite(const QVector3D &v)
{
    return std::isfinite(v.x()) && std::isfinite(v.y()) && std::isfinite(v.z());
}

QVector3D componentMax(const QVector3D &a, const QVector3D &b)
{
    return {std::max(a.x(), b.x()), std::max(a.y(), b.y()), std::max(a.z(), b.z())};
}

QVector3D componentMin(const QVector3D &a, const QVector3D &b)
{
    return {std::min(a.x(), b.x()), std::min(a.y(), b.y()), std::min(a.z(), b.z())};
}

/// The surfaces of the materials seen so far.
class SurfaceTable
{
public:
    SurfaceTable(const QVector3D &ambient, float glow, std::vector<BakeSurface> *surfaces)
        : m_ambient(ambient), m_glow(glow), m_surfaces(surfaces)
    {
    }

    int indexOf(const Material *material)
    {
        const auto known = m_indices.constFind(material);
        if (known != m_indices.cend())
            return *known;
        const MaterialUniforms uniforms = materialUniforms(material, QVector4D(1.0f, 1.0f, 1.0f, 1.0f));
        BakeSurface surface;
        surface.albedo = linearColor(uniforms.diffuse);
        surface.emission =
            componentMax(linearColor(uniforms.ambient) - surface.albedo, QVector3D()) * m_ambient * m_glow;
        surface.transparency = std::min(std::max(uniforms.transparency, 0.0f), 1.0f);
        const int index = int(m_surfaces->size());
        m_surfaces->push_back(surface);
        m_indices.insert(material, index);
        return index;
    }

private:
    QVector3D m_ambient;
    float m_glow;
    std::vector<BakeSurface> *m_surfaces;
    QHash<const Material *, int> m_indices;
};

void setFacing(BakeTriangle *triangle)
{
    const auto &positions = triangle->positions;
    QVector3D facing = unit(cross(positions[1] - positions[0], positions[2] - positions[0]));
    if (dot(facing, triangle->normals[0] + triangle->normals[1] + triangle->normals[2]) < 0.0f)
        facing = -facing;
    triangle->facing = facing;
    for (QVector3D &normal : triangle->normals) {
        if (normal.isNull())
            normal = facing;
    }
}

void addGroup(const Geometry &geometry, const Trimesh &group, const QMatrix4x4 &world, int surface,
              std::vector<BakeTriangle> *triangles)
{
    const QMatrix4x4 normalMatrix(world.normalMatrix());
    const QVector<int> &corners = group.indices();
    for (int first = 0; first + 2 < corners.size(); first += 3) {
        BakeTriangle triangle;
        triangle.surface = surface;
        bool finite = true;
        for (int k = 0; k < 3; ++k) {
            const auto corner = size_t(k);
            const int i = first + k;
            triangle.positions[corner] = world.map(geometry.vertices().at(corners.at(i)));
            triangle.normals[corner] =
                unit(normalMatrix.mapVector(geometry.normals().value(group.normalIndices().value(i, -1))));
            triangle.texcoords[corner] = geometry.texcoords().value(group.texcoordIndices().value(i, -1));
            finite = finite && isFinite(triangle.positions[corner]) && isFinite(triangle.normals[corner]) &&
                     isFinite(QVector3D(triangle.texcoords[corner]));
        }
        if (!finite)
            continue;
        setFacing(&triangle);
        triangles->push_back(triangle);
    }
}

bool addLight(const Scene &scene, const Node &node, BakeScene *result, QString *error)
{
    const Light &light = *node.lightModel();
    BakeLight baked;
    baked.color = linearColor(toVector(light.color())) * std::max(light.multiplier(), 0.0f);
    if (light.type() == Light::AmbientLight) {
        result->ambient += baked.color;
        return true;
    }
    if (!light.target().isEmpty() && !scene.findNode(light.target())) {
        *error = QStringLiteral("the light \"%1\" aims at \"%2\", but the scene has no node of that name")
                     .arg(light.id(), light.target());
        return false;
    }
    LightTargets targets;
    baked.position = node.worldTransform().map(QVector3D());
    baked.direction = lightDirection(scene, node, targets);
    if (light.type() == Light::DirectionalLight) {
        baked.kind = BakeLight::Kind::Directional;
    } else if (light.type() == Light::SpotLight) {
        baked.kind = BakeLight::Kind::Spot;
        baked.cosHotspot = cosOfHalf(light.hotspotBeam());
        baked.cosFalloff = cosOfHalf(spotFalloff(light));
    }
    result->lights.push_back(baked);
    return true;
}

bool addLights(const Scene &scene, BakeScene *result, QString *error)
{
    bool lit = false;
    for (const Node *node : scene.nodes()) {
        if (!node->lightModel())
            continue;
        lit = true;
        if (!addLight(scene, *node, result, error))
            return false;
    }
    if (!lit)
        result->ambient = linearColor(QVector4D(0.4f, 0.4f, 0.4f, 1.0f));
    return true;
}

void setBounds(BakeScene *scene)
{
    QVector3D low = scene->triangles.front().positions[0];
    QVector3D high = low;
    for (const BakeTriangle &triangle : scene->triangles) {
        for (const QVector3D &position : triangle.positions) {
            low = componentMin(low, position);
            high = componentMax(high, position);
        }
    }
    scene->centre = (low + high) * 0.5f;
    scene->radius = (high - low).length() * 0.5f;
}

} // namespace

bool buildBakeScene(const Scene &scene, const BakeSettings &settings, BakeScene *result, QString *error)
{
    if (!addLights(scene, result, error))
        return false;
    SurfaceTable surfaces(result->ambient, settings.glow, &result->surfaces);
    for (const Node *node : scene.nodes()) {
        const Geometry *geometry = node->geometryModel();
        if (!geometry)
            continue;
        const QVector<Material *> &materials = node->groupMaterials();
        for (int i = 0; i < geometry->trimeshes().size(); ++i)
            addGroup(*geometry, *geometry->trimeshes().at(i), node->worldTransform(),
                     surfaces.indexOf(materials.at(i)), &result->triangles);
    }
    if (result->triangles.empty()) {
        *error = QStringLiteral("the scene has no triangles to light");
        return false;
    }
    setBounds(result);
    return true;
}

} // namespace Quorvel
