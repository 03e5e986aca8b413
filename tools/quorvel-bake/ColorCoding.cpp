#include "ColorCoding.h"

#include <algorithm>
#include <cmath>

namespace Quorvel
{

float linearFromCode(float code)
{
    return code <= 0.04045f ? code / 12.92f : std::pow((code + 0.055f) / 1.055f, 2.4f);
}

float codeFromLinear(float light)
{
    const float clamped = std::min(std::max(light, 0.0f), 1.0f);
    return clamped <= 0.0031308f ? 12.92f * clamped : 1.055f * std::pow(clamped, 1.0f / 2.4f) - 0.055f;
}

QVector3D linearColor(const QVector4D &color)
{
    return {linearFromCode(std::max(color.x(), 0.0f)), linearFromCode(std::max(color.y(), 0.0f)),
            linearFromCode(std::max(color.z(), 0.0f))};
}

float rollOff(float light)
{
    constexpr float shoulder = 0.8f;
    constexpr float room = 1.0f - shoulder;
    return light <= shoulder ? light : 1.0f - room * std::exp((shoulder - light) / room);
}

} // namespace Quorvel
