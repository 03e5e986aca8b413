#include "PostSketch.h"

#include "Material.h"
#include "Node.h"
#include "ShaderPainter.h"
#include "TargetScope.h"
#include "TextureScope.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace Quorvel::Test
{

namespace
{

const Image::Texel screenTexel = {51, 102, 153, 255};

/// Draws nothing; its buffers are what the pass draws.
class GeometrySource : public ShaderPainter
{
public:
    using ShaderPainter::frontFace;
};

} // namespace

PostSketch::PostSketch()
    : programs(ShadingPrograms::ofCurrentContext())
    , normalDepthPass(programs, debug)
    , occlusionPass(programs, quad, debug)
    , outlinePass(programs, quad, debug)
    , randomNormals(256, 256, QGLFramebufferObject::NoAttachment, GLenum(GL_TEXTURE_2D), GLenum(GL_RGBA))
    , randomBytes(QSize(256, 256))
{
    targets.resize(size);
    std::mt19937 random(7);
    for (Image::Texel &texel : randomBytes.texels) {
        for (uint8_t &byte : texel)
            byte = uint8_t(random() % 256);
    }
    fill(randomNormals, randomBytes);
    clearScreen();
}

PainterState PostSketch::state(Scene &scene)
{
    PainterState state(&scene);
    state.setViewport(QRectF(corner, size));
    state.setAspect(float(size.width()) / float(size.height()));
    state.update();
    return state;
}

void PostSketch::drawNormalDepth(const PainterState &state)
{
    GeometrySource source;
    PainterState prepared(state);
    source.prepare(prepared);
    normalDepthPass.draw(state, targets, source, source.frontFace());
}

void PostSketch::drawOcclusion(const PainterState &state, bool intoTexture)
{
    occlusionPass.draw(state, targets, randomNormals, intoTexture);
}

Image PostSketch::normalDepth(Scene &scene)
{
    drawNormalDepth(state(scene));
    return read(targets.normalDepth());
}

Image PostSketch::blur(const Image &normalDepth, const Image &image, PostReference::Axis axis)
{
    fill(targets.normalDepth(), normalDepth);
    fill(targets.occlusion(), image);
    fill(targets.lighting(), Image(size, white));
    const TargetScope target(targets.blur());
    {
        const TextureScope textures;
        textures.bind(0, targets.normalDepth().texture(), GL_NEAREST);
        textures.bind(1, targets.occlusion().texture(), GL_LINEAR);
        textures.bind(2, targets.lighting().texture(), GL_LINEAR);
        BlurProgram &program = programs.occlusionBlur();
        program.bind();
        program.set(BlurUniform::NormalDepthMap, 0);
        program.set(BlurUniform::SsaoMap, 1);
        program.set(BlurUniform::DirectLightingMap, 2);
        program.set(BlurUniform::BlurX, axis == PostReference::Axis::Horizontal);
        program.set(BlurUniform::ScreenW, float(size.width()));
        program.set(BlurUniform::ScreenH, float(size.height()));
        quad.draw();
        program.release();
    }
    return read(targets.blur());
}

Image PostSketch::outline(const Image &normalDepth, const Image::Texel &color)
{
    fill(targets.normalDepth(), normalDepth);
    fill(targets.lighting(), Image(size, color));
    PainterState state(nullptr);
    state.setViewport(QRectF(corner, size));
    outlinePass.draw(state, targets, targets.lighting());
    return picture();
}

Image PostSketch::picture() const
{
    const Image screen = PostReference::readScreen(screenSize);
    Image part(size);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            part.texel(x, y) = screen.at(x + corner.x(), y + corner.y());
    }
    return part;
}

void PostSketch::clearScreen()
{
    glClearColor(GLclampf(screenTexel[0]) / 255, GLclampf(screenTexel[1]) / 255,
                 GLclampf(screenTexel[2]) / 255, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

bool PostSketch::isScreenUntouchedOutside()
{
    const Image screen = PostReference::readScreen(screenSize);
    const QRect inside(corner, size);
    for (int y = 0; y < screenSize.height(); ++y) {
        for (int x = 0; x < screenSize.width(); ++x) {
            if (!inside.contains(x, y) && screen.at(x, y) != screenTexel)
                return false;
        }
    }
    return true;
}

Node *addQuad(SceneSketch &sketch, const Quad &quad, float transparency, Winding winding)
{
    Material *material =
        sketch.material(QStringLiteral("material-%1").arg(sketch.incomplete().materials().size()));
    material->setTransparency(transparency);
    return sketch.quadNode(quad, material, {}, winding);
}

void addCorner(SceneSketch &sketch, const QVector3D &origin)
{
    sketch.camera(translation(origin.x(), origin.y(), origin.z() + 9), 50);
    addQuad(sketch, {origin + QVector3D(-4, -3, 4), {4, 0, -4}, {0, 6, 0}});
    addQuad(sketch, {origin + QVector3D(0, -3, 0), {4, 0, 4}, {0, 6, 0}});
}

CornerSketch::CornerSketch() : state(nullptr)
{
    addCorner(scene);
    state = PostSketch::state(scene.scene());
    drawNormalDepth(state);
}

Image randomSurfaces()
{
    const QVector3D normals[] = {{0, 0, 1}, {0.5f, 0, 1}, {0, -0.7f, 1}, {1, 0.2f, 0.3f}, {-1, 1, 1}};
    const double depths[] = {0.5, 0.505, 0.515, 0.53, 0.6};
    std::mt19937 random(11);
    Image image(PostSketch::size);
    for (Image::Texel &texel : image.texels)
        texel = random() % 6 ? surfaceTexel(normals[random() % 5], depths[random() % 5]) : Image::Texel{};
    return image;
}

Image randomImage(unsigned int seed)
{
    std::mt19937 random(seed);
    Image image(PostSketch::size);
    for (Image::Texel &texel : image.texels) {
        for (uint8_t &byte : texel)
            byte = uint8_t(random() % 256);
    }
    return image;
}

Image halves(const Image::Texel &left, const Image::Texel &right)
{
    Image image(PostSketch::size, left);
    for (int y = 0; y < height; ++y) {
        for (int x = width / 2; x < width; ++x)
            image.texel(x, y) = right;
    }
    return image;
}

double smallest(const Image &image)
{
    double value = 1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            value = std::min(value, image.value(x, y, 0));
    }
    return value;
}

bool isNear(double value, double expected, double tolerance)
{
    return std::abs(value - expected) <= tolerance;
}

QByteArray place(int x, int y, double value, double expected)
{
    return QStringLiteral("(%1, %2): %3 instead of %4").arg(x).arg(y).arg(value).arg(expected).toUtf8();
}

} // namespace Quorvel::Test
