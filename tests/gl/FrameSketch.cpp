#include "FrameSketch.h"

#include "ForwardPainter.h"
#include "GlLane.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"
#include "ShadingPrograms.h"

namespace Quorvel::Test
{

namespace
{

QColor rgb(const QVector3D &color)
{
    return QColor::fromRgbF(qreal(color.x()), qreal(color.y()), qreal(color.z()));
}

QVector3D vector(const QColor &color)
{
    return {float(color.redF()), float(color.greenF()), float(color.blueF())};
}

} // namespace

FrameSketch::FrameSketch()
{
    scene.camera({}, fieldOfView);
    expected.size = size;
    expected.fieldOfView = double(fieldOfView);
}

Light *FrameSketch::addLight(int type, const QVector3D &color, const QMatrix4x4 &world)
{
    Reference::Light light;
    light.kind = type == Light::DirectionalLight ? Reference::Light::Kind::Directional
                 : type == Light::SpotLight      ? Reference::Light::Kind::Spot
                                                 : Reference::Light::Kind::Point;
    light.color = color;
    light.position = world.column(3).toVector3D();
    light.direction = -world.column(2).toVector3D().normalized();
    expected.lights.push_back(light);
    return scene.light(type, rgb(color), world);
}

Light *FrameSketch::addSpot(const QVector3D &color, const QMatrix4x4 &world, float hotspot, float falloff)
{
    Light *light = addLight(Light::SpotLight, color, world);
    light->setHotspotBeam(hotspot);
    light->setFalloff(falloff);
    expected.lights.back().hotspot = double(hotspot);
    expected.lights.back().falloff = double(falloff);
    return light;
}

Node *FrameSketch::addQuad(const Quad &quad, Material *material, const QVector3D &ambientLight)
{
    expect(quad, material, ambientLight);
    return scene.quadNode(quad, material);
}

void FrameSketch::addLitWall()
{
    addLight(Light::PointLight, {1, 0.8f, 0.5f}, translation(1.5f, 0.5f, -3.5f));
    addQuad(wall, addMaterial({0.9f, 0.9f, 0.9f}));
}

Material *FrameSketch::addMaterial(const QVector3D &diffuse, const QVector3D &ambient)
{
    Material *material =
        scene.material(QStringLiteral("material-%1").arg(scene.incomplete().materials().size()));
    material->setDiffuse(rgb(diffuse));
    material->setAmbient(rgb(ambient));
    material->setShininess(1);
    return material;
}

Material *FrameSketch::addGlossyMaterial(const QVector3D &diffuse, const QVector3D &specular, float shininess)
{
    Material *material = addMaterial(diffuse);
    material->setSpecular(rgb(specular));
    material->setShininess(shininess);
    return material;
}

void FrameSketch::expect(const Quad &quad, const Material *material, const QVector3D &ambientLight,
                         bool isBlended)
{
    expected.items.push_back(
        {Reference::quad(quad.origin, quad.u, quad.v), surface(*material, ambientLight), isBlended});
}

QString FrameSketch::fault(const QImage &drawn) const
{
    const Reference::Comparison comparison = Reference::compare(expected, drawn, 2);
    const int pixels = size.width() * size.height();
    const bool isTelling = comparison.compared > pixels * 8 / 10 && comparison.onSurfaces > pixels / 20;
    return comparison.differing == 0 && isTelling ? QString() : describe(comparison);
}

Reference::Surface surface(const Material &material, const QVector3D &ambientLight)
{
    Reference::Surface surface;
    surface.ambient = vector(material.ambient()) * ambientLight;
    surface.diffuse = vector(material.diffuse());
    surface.specular = vector(material.specular()) * material.specularLevel();
    surface.shininess = double(material.shininess());
    surface.opacity = 1.0 - double(material.transparency());
    return surface;
}

QString describe(const Reference::Comparison &comparison)
{
    return QStringLiteral("%1 of %2 pixels differ (%3 on surfaces), by up to %4: %5")
        .arg(comparison.differing)
        .arg(comparison.compared)
        .arg(comparison.onSurfaces)
        .arg(comparison.largestDifference)
        .arg(comparison.example);
}

QImage drawFrame(OffscreenContext &context, ForwardPainter &painter, Scene &scene,
                 const std::function<void(PainterState &)> &set)
{
    PainterState state(&scene);
    state.setViewport(QRectF(QPointF(), QSizeF(FrameSketch::size)));
    state.setAspect(float(width) / float(height));
    if (set)
        set(state);
    state.update();
    painter.paint(state);
    const QStringList errors = glErrors();
    if (!errors.isEmpty()) {
        qWarning("The frame left GL errors: %s", qPrintable(errors.join(QLatin1String(", "))));
        return {};
    }
    return context.grab();
}

QImage drawFrame(OffscreenContext &context, Scene &scene, const std::function<void(PainterState &)> &set)
{
    ForwardPainter painter;
    return drawFrame(context, painter, scene, set);
}

void forgetPrograms()
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    for (const Shading shading : {Shading::SinglePassPhong, Shading::PerVertexPhong, Shading::LightMapping})
        programs.program(shading) = ShaderProgram();
}

} // namespace Quorvel::Test
