#pragma once

#include <QSize>
#include <QVector3D>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

class QGLFramebufferObject;
class QMatrix4x4;

/// A second opinion on the effects that are drawn over the finished picture: their formulas, worked out pixel
/// by pixel in double precision from images that were read back. It shares no code with the viewer.
namespace Quorvel::Test::PostReference
{

/// Four bytes per texel, the bottom row first, as GL keeps them.
struct Image
{
    using Texel = std::array<uint8_t, 4>;

    explicit Image(const QSize &size, const Texel &texel = {});

    /// A place outside is moved to the nearest edge.
    const Texel &at(int x, int y) const;
    Texel &texel(int x, int y);
    /// 0 to 1.
    double value(int x, int y, int channel) const;
    /// 1 near to 0 far, 0 where nothing was drawn.
    double depth(int x, int y) const { return value(x, y, 3); }

    QSize size;
    std::vector<Texel> texels;
};

/// A normal and a depth as the normal-depth image holds them.
Image::Texel surfaceTexel(const QVector3D &normal, double depth);

/// With the current context; the framebuffer binding stays as it is.
Image read(QGLFramebufferObject &target);
/// Of framebuffer 0, which must be bound.
Image readScreen(const QSize &size);
void fill(const QGLFramebufferObject &target, const Image &image);

struct OcclusionView
{
    /// A perspective projection.
    const QMatrix4x4 &viewToClip;
    double viewZ;
};

/// How much light reaches a pixel, 0 to 1. Nothing where the answer hangs on the last bits of a number: a
/// look-up close to the border of two texels, or a sample that lies in the plane of its surface.
std::optional<double> occlusion(const Image &normalDepth, const Image &randomNormals,
                                const OcclusionView &view, int x, int y);

enum class Axis { Vertical, Horizontal };

/// The red channel of `image`, blurred along the axis within surfaces.
double blurred(const Image &normalDepth, const Image &image, Axis axis, int x, int y);

/// What is taken from a pixel's colour. Nothing where a dot product is as good as at its tolerance.
std::optional<double> outlining(const Image &normalDepth, int x, int y);

} // namespace Quorvel::Test::PostReference
