#pragma once

#include "GlProgram.h"
#include "LightUniforms.h"

namespace Quorvel
{

/// Every uniform that a program of the lighting family can have. An array is named by its first element.
enum class Uniform {
    ModelToScene,
    ModelToView,
    ModelToViewNormal,
    ModelToClip,
    MaterialAmbient,
    MaterialDiffuse,
    MaterialSpecular,
    MaterialShininess,
    MaterialTransparency,
    LightCount,
    ShadowMap0,
    ShadowMap1,
    ShadowMap2,
    CubeShadowMap0,
    CubeShadowMap1,
    CubeShadowMap2,
    OcclusionMap,
    PcfRotationMap,
    Occlusion,
    LightsPos,
    LightsColor = LightsPos + MaxLights,
    LightsDirection = LightsColor + MaxLights,
    LightsCosHotspot = LightsDirection + MaxLights,
    LightsCosFalloff = LightsCosHotspot + MaxLights,
    LightsIsSpot = LightsCosFalloff + MaxLights,
    LightsShadowMap = LightsIsSpot + MaxLights,
    LightsCubeShadowMap = LightsShadowMap + MaxLights,
    LightsShadowMatrix = LightsCubeShadowMap + MaxLights,
    LightsScenePos = LightsShadowMatrix + MaxLights,
    Count = LightsScenePos + MaxLights
};

/// The element of a light array that belongs to one light.
constexpr Uniform element(Uniform array, int light)
{
    return Uniform(int(array) + light);
}

/// As the shaders spell it: "lights_pos[2]".
QByteArray uniformName(Uniform uniform);

using ShaderProgram = ProgramOf<Uniform>;
using ShaderSource = ProgramSource<Uniform>;

} // namespace Quorvel
