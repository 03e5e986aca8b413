#pragma once

#include <QVector3D>
#include <QVector4D>

namespace Quorvel
{

/// Brightness of linear light that an eye sees (Rec. 709 weights).
inline float luminance(const QVector3D &light)
{
    return 0.2126f * light.x() + 0.7152f * light.y() + 0.0722f * light.z();
}

/// sRGB as IEC 61966-2-1 defines it; `code` is 0 to 1.
float linearFromCode(float code);
/// The reverse; light is clamped to 0..1.
float codeFromLinear(float light);

/// Red, green and blue of a display colour as linear light. Negative components count as 0.
QVector3D linearColor(const QVector4D &color);

/// Leaves light up to 0.8 as it is and bends what is brighter towards 1, which no light reaches:
/// 1 - 0.2 exp(-(light - 0.8) / 0.2). Continuous in value and slope.
float rollOff(float light);

} // namespace Quorvel
