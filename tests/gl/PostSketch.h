#pragma once

#include "AmbientOcclusionPass.h"
#include "GlScope.h"
#include "NormalDepthPass.h"
#include "OutlinePass.h"
#include "PainterState.h"
#include "PostReference.h"
#include "RenderTargets.h"
#include "SceneSketch.h"
#include "ScreenQuad.h"
#include "ShadingPrograms.h"

#include <QGLFramebufferObject>

namespace Quorvel::Test
{

/// The passes over the finished picture with everything that they are made from. The targets exist.
///
/// The picture goes to a part of the screen, so that a pass that misses it shows.
struct PostSketch
{
    /// Odd, so that no pixel of the picture falls between two texels of the random texture.
    static constexpr QSize size = QSize(211, 97);
    static constexpr QSize screenSize = QSize(240, 120);
    static constexpr QPoint corner = QPoint(13, 9);

    PostSketch();

    /// Camera, clip planes and visible items of the scene, as a frame begins.
    static PainterState state(Scene &scene);
    void drawNormalDepth(const PainterState &state);
    /// Darkens the lit scene by what the normal-depth target holds, on the screen or into a texture.
    void drawOcclusion(const PainterState &state, bool intoTexture = false);
    /// Fills the normal-depth target from the scene.
    PostReference::Image normalDepth(Scene &scene);

    /// Runs the blur alone over an image of one channel, with white for the lit scene.
    PostReference::Image blur(const PostReference::Image &normalDepth, const PostReference::Image &image,
                              PostReference::Axis axis);
    /// Outlines over a picture of one colour, as they come to the screen.
    PostReference::Image outline(const PostReference::Image &normalDepth,
                                 const PostReference::Image::Texel &color);
    /// That part of the screen that shows the picture; the rest must be as clearScreen() left it.
    PostReference::Image picture() const;
    static void clearScreen();
    static bool isScreenUntouchedOutside();

    ShadingPrograms &programs;
    DebugGroup::EntryPoints debug;
    ScreenQuad quad;
    RenderTargets targets;
    NormalDepthPass normalDepthPass;
    AmbientOcclusionPass occlusionPass;
    OutlinePass outlinePass;
    QGLFramebufferObject randomNormals;
    PostReference::Image randomBytes;
};

using PostReference::Image;
using PostReference::read;
using PostReference::surfaceTexel;

inline constexpr int width = PostSketch::size.width();
inline constexpr int height = PostSketch::size.height();
inline constexpr int middleX = width / 2;
inline constexpr int middleY = height / 2;

inline constexpr Image::Texel white = {255, 255, 255, 255};

/// One quad of one material.
Node *addQuad(SceneSketch &sketch, const Quad &quad, float transparency = 0,
              Winding winding = Winding::Clockwise);
/// Two walls that meet at a right angle in a vertical edge in the middle of the picture, 9 away from the eye.
void addCorner(SceneSketch &sketch, const QVector3D &origin = {0, 0, -8});

/// The passes over a corner, whose normals and depths are drawn.
struct CornerSketch : PostSketch
{
    CornerSketch();

    SceneSketch scene;
    PainterState state;
};

/// A normal-depth image in which neighbouring pixels lie on one surface as often as not.
Image randomSurfaces();
Image randomImage(unsigned int seed);
/// One texel on the left half of the picture, one on the right, which has the middle column.
Image halves(const Image::Texel &left, const Image::Texel &right);
/// Of the red channel.
double smallest(const Image &image);

bool isNear(double value, double expected, double tolerance);
/// A differing pixel, for people.
QByteArray place(int x, int y, double value, double expected);

} // namespace Quorvel::Test
