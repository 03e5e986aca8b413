#pragma once

#include "ReferenceRenderer.h"
#include "SceneSketch.h"

#include <functional>

namespace Quorvel
{
class ForwardPainter;
class OffscreenContext;
class PainterState;
} // namespace Quorvel

namespace Quorvel::Test
{

/// A small scene, seen from the origin along -z, together with its description for the reference.
///
/// What the members below add goes into both; a test that adds to the scene alone describes the result
/// itself.
struct FrameSketch
{
    static constexpr QSize size = QSize(160, 120);
    /// Full vertical angle in degrees.
    static constexpr float fieldOfView = 50.0f;

    FrameSketch();

    Light *addLight(int type, const QVector3D &color, const QMatrix4x4 &world = {});
    /// Its cone is full up to one angle and ends at the other, both full angles in degrees.
    Light *addSpot(const QVector3D &color, const QMatrix4x4 &world, float hotspot, float falloff);
    Node *addQuad(const Quad &quad, Material *material, const QVector3D &ambientLight = {});
    /// The wall, in a light grey that a point light in front of it shades.
    void addLitWall();
    /// To the scene only; the reference knows it as its surface().
    Material *addMaterial(const QVector3D &diffuse, const QVector3D &ambient = {});
    Material *addGlossyMaterial(const QVector3D &diffuse, const QVector3D &specular, float shininess);

    /// To the reference only.
    void expect(const Quad &quad, const Material *material, const QVector3D &ambientLight,
                bool isBlended = false);

    /// What is wrong with a picture; empty if it is as expected, but for 2 of 255.
    QString fault(const QImage &drawn) const;

    SceneSketch scene;
    Reference::Picture expected;
};

inline constexpr int width = FrameSketch::size.width();
inline constexpr int height = FrameSketch::size.height();
/// Faces the eye, 5 away.
inline const Quad wall = {{-3, -2, -5}, {6, 0, 0}, {0, 4, 0}};
/// The ambient light of a scene without any light.
inline const QVector3D unlit = {0.4f, 0.4f, 0.4f};

/// A material as the reference knows it, in a scene with this ambient light.
Reference::Surface surface(const Material &material, const QVector3D &ambientLight = {});

QString describe(const Reference::Comparison &comparison);

/// Draws one frame of a FrameSketch's size; `set` may change the state before. A null picture if there was a
/// GL error.
QImage drawFrame(OffscreenContext &context, ForwardPainter &painter, Scene &scene,
                 const std::function<void(PainterState &)> &set = {});
/// The same with a painter of its own.
QImage drawFrame(OffscreenContext &context, Scene &scene,
                 const std::function<void(PainterState &)> &set = {});

/// Drops the shared programs, so that no test meets uniforms that another has set.
void forgetPrograms();

} // namespace Quorvel::Test
