#include "PostReference.h"

#include "Gles2.h"

#include <QGLFramebufferObject>
#include <QMatrix4x4>

#include <algorithm>
#include <cmath>

namespace Quorvel::Test::PostReference
{

namespace
{

using Triple = std::array<double, 3>;

double dot(const Triple &a, const Triple &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Triple scaled(const Triple &a, double factor)
{
    return {a[0] * factor, a[1] * factor, a[2] * factor};
}

Triple decoded(const Image::Texel &texel)
{
    return {texel[0] / 127.5 - 1.0, texel[1] / 127.5 - 1.0, texel[2] / 127.5 - 1.0};
}

/// Whether the last bits of a coordinate decide which texel it falls into.
bool isBetweenTexels(double inTexels)
{
    return std::abs(inTexels - std::round(inTexels)) < 0.01;
}

/// The texel that a nearest look-up takes, if that is beyond doubt.
std::optional<int> nearest(double coordinate, int size)
{
    const double inTexels = coordinate * size;
    const bool isInside = inTexels > 0.5 && inTexels < size - 0.5;
    if (isInside && isBetweenTexels(inTexels))
        return std::nullopt;
    return std::clamp(int(std::floor(inTexels)), 0, size - 1);
}

std::optional<Triple> seedAt(const Image &randomNormals, double u, double v)
{
    const double x = (u - std::floor(u)) * randomNormals.size.width();
    const double y = (v - std::floor(v)) * randomNormals.size.height();
    if (isBetweenTexels(x) || isBetweenTexels(y))
        return std::nullopt;
    const Triple seed = decoded(randomNormals.at(int(x), int(y)));
    return scaled(seed, 1.0 / std::sqrt(dot(seed, seed)));
}

double smoothstep(double low, double high, double x)
{
    const double t = std::clamp((x - low) / (high - low), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

const Triple sampleVectors[] = {
    {0.53812504, 0.18565957, -0.43192},     {0.13790712, 0.24864247, 0.44301823},
    {0.33715037, 0.56794053, -0.005789503}, {-0.6999805, -0.04511441, -0.0019965635},
    {0.06896307, -0.15983082, -0.85477847}, {0.056099437, 0.006954967, -0.1843352},
    {-0.014653638, 0.14027752, 0.0762037},  {0.010019933, -0.1924225, -0.034443386},
    {-0.35775623, -0.5301969, -0.43581226}, {-0.3169221, 0.106360726, 0.015860917}};

/// The sample's offset in view space, if it is beyond doubt on which side of the surface it lies.
std::optional<Triple> sampleOffset(const Triple &sample, const Triple &seed, const Triple &normal,
                                   double viewZ)
{
    Triple r = sample;
    const double along = 2 * dot(seed, sample);
    for (size_t i = 0; i < 3; ++i)
        r[i] -= along * seed[i];
    r = scaled(r, 0.02 / viewZ);
    const double side = dot(r, normal);
    if (std::abs(side) < 1e-4 * std::abs(0.02 / viewZ))
        return std::nullopt;
    return side > 0 ? r : scaled(r, -1);
}

} // namespace

Image::Image(const QSize &size, const Texel &texel)
    : size(size), texels(size_t(size.width()) * size_t(size.height()), texel)
{
}

const Image::Texel &Image::at(int x, int y) const
{
    const int column = std::clamp(x, 0, size.width() - 1);
    const int row = std::clamp(y, 0, size.height() - 1);
    return texels[size_t(row) * size_t(size.width()) + size_t(column)];
}

Image::Texel &Image::texel(int x, int y)
{
    return texels[size_t(y) * size_t(size.width()) + size_t(x)];
}

double Image::value(int x, int y, int channel) const
{
    return at(x, y)[size_t(channel)] / 255.0;
}

Image::Texel surfaceTexel(const QVector3D &normal, double depth)
{
    const auto byte = [](double value) { return uint8_t(std::lround(value * 255)); };
    const QVector3D n = normal.normalized();
    return {byte((double(n.x()) + 1) / 2), byte((double(n.y()) + 1) / 2), byte((double(n.z()) + 1) / 2),
            byte(depth)};
}

Image read(QGLFramebufferObject &target)
{
    const bool wasBound = target.isBound();
    if (!wasBound)
        target.bind();
    const Image image = readScreen(target.size());
    if (!wasBound)
        target.release();
    return image;
}

Image readScreen(const QSize &size)
{
    Image image(size);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, size.width(), size.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.texels.data());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    return image;
}

void fill(const QGLFramebufferObject &target, const Image &image)
{
    glBindTexture(GL_TEXTURE_2D, target.texture());
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, image.size.width(), image.size.height(), GL_RGBA,
                    GL_UNSIGNED_BYTE, image.texels.data());
    glBindTexture(GL_TEXTURE_2D, 0);
}

std::optional<double> occlusion(const Image &normalDepth, const Image &randomNormals,
                                const OcclusionView &view, int x, int y)
{
    const int width = normalDepth.size.width();
    const int height = normalDepth.size.height();
    const double u = (x + 0.5) / width;
    const double v = (y + 0.5) / height;
    const std::optional<Triple> seed = seedAt(randomNormals, u * 18, v * 18);
    if (!seed)
        return std::nullopt;
    const double depth = normalDepth.depth(x, y);
    if (depth <= 0)
        return 1.0;
    const Triple normal = decoded(normalDepth.at(x, y));

    double sum = 0;
    for (const Triple &sample : sampleVectors) {
        const std::optional<Triple> r = sampleOffset(sample, *seed, normal, view.viewZ);
        if (!r)
            return std::nullopt;
        // Without a division by w the pixel's view position has z = -1, whatever its depth; so its clip w
        // after the offset is 1 - r.z, and x and y move by r times the projection's scales.
        const double w = 1 - (*r)[2];
        const double clipX = 2 * u - 1 + double(view.viewToClip(0, 0)) * (*r)[0];
        const double clipY = 2 * v - 1 + double(view.viewToClip(1, 1)) * (*r)[1];
        const std::optional<int> occluderX = nearest((clipX / w + 1) / 2, width);
        const std::optional<int> occluderY = nearest((clipY / w + 1) / 2, height);
        if (!occluderX || !occluderY)
            return std::nullopt;
        const double occluderDepth = normalDepth.depth(*occluderX, *occluderY);
        const double nearer = occluderDepth - depth;
        if (occluderDepth <= 0 || nearer < 0.000004)
            continue;
        const double bend = 1 - dot(decoded(normalDepth.at(*occluderX, *occluderY)), normal);
        sum += bend * (1 - smoothstep(0.000004, 0.04, nearer));
    }
    return std::clamp(1 - sum / 10 * 1.2, 0.0, 1.0);
}

double blurred(const Image &normalDepth, const Image &image, Axis axis, int x, int y)
{
    const double weights[] = {123.748909, 173.183716, 207.191574, 231.017868,
                              246.391037, 254.007202, 254.128189};
    const Triple centerNormal = decoded(normalDepth.at(x, y));
    double sum = image.value(x, y, 0) * weights[6];
    double divider = weights[6];
    for (int i = -6; i <= 6; ++i) {
        const int tapX = axis == Axis::Horizontal ? x + i : x;
        const int tapY = axis == Axis::Vertical ? y + i : y;
        const bool bends = dot(decoded(normalDepth.at(tapX, tapY)), centerNormal) < 0.3;
        const bool jumps = std::abs(normalDepth.depth(tapX, tapY) - normalDepth.depth(x, y)) > 0.02;
        if (bends || jumps)
            continue;
        sum += image.value(tapX, tapY, 0) * weights[6 - std::abs(i)];
        divider += weights[6 - std::abs(i)];
    }
    return sum / divider;
}

std::optional<double> outlining(const Image &normalDepth, int x, int y)
{
    double sum = 0;
    for (int i = -1; i <= 1; ++i) {
        for (int j = -1; j <= 1; ++j) {
            const double cosine = dot(decoded(normalDepth.at(x + i, y + j)), decoded(normalDepth.at(x, y)));
            if (std::abs(cosine - 0.75) < 1e-5)
                return std::nullopt;
            const double there = normalDepth.depth(x + i, y + j);
            const double here = normalDepth.depth(x, y);
            const bool isEdge = cosine < 0.75 || std::abs(there - here) > 0.02;
            if ((i == 0 && j == 0) || (there <= 0 && here <= 0) || !isEdge)
                continue;
            sum += i == 0 || j == 0 ? 1.0 / 4 : 1.0 / 8;
        }
    }
    return sum;
}

} // namespace Quorvel::Test::PostReference
