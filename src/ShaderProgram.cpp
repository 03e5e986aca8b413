#include "ShaderProgram.h"

#include <array>

namespace Quorvel
{

namespace
{

constexpr std::array<const char *, size_t(Uniform::LightsPos)> singleNames = {
    "modelToScene",      "modelToView",        "modelToViewNormal",
    "modelToClip",       "material_ambient",   "material_diffuse",
    "material_specular", "material_shininess", "material_transparency",
    "lightCount",        "shadowMap0",         "shadowMap1",
    "shadowMap2",        "cubeShadowMap0",     "cubeShadowMap1",
    "cubeShadowMap2",    "occlusionMap",       "pcfRotationMap",
    "occlusion",
};

constexpr std::array<const char *, 10> arrayNames = {
    "lights_pos",    "lights_color",     "lights_direction",     "lights_cosHotspot",   "lights_cosFalloff",
    "lights_isSpot", "lights_shadowMap", "lights_cubeShadowMap", "lights_shadowMatrix", "lights_scenePos",
};

static_assert(singleNames.size() + MaxLights * arrayNames.size() == size_t(Uniform::Count));

} // namespace

QByteArray uniformName(Uniform uniform)
{
    const size_t index = size_t(uniform);
    if (index < singleNames.size())
        return singleNames[index];
    const size_t inArrays = index - singleNames.size();
    return QByteArray(arrayNames[inArrays / MaxLights]) + '[' +
           QByteArray::number(int(inArrays % MaxLights)) + ']';
}

} // namespace Quorvel
