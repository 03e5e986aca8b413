#pragma once

#include "GlProgram.h"

namespace Quorvel
{

/// The uniforms of the programs beside the lighting ones, one family for each. Every name is required.

enum class ShadowMapUniform { ModelToClip, LightPosTransform, CubeMap, Count };

enum class NormalDepthUniform { ModelToView, ModelToViewNormal, ModelToClip, ZNear, ZRange, Count };

enum class OutlineUniform { NormalDepthMap, PhongMap, ScreenW, ScreenH, Count };

enum class OcclusionUniform { NormalDepthMap, RandomNormalMap, ViewToClip, ViewToClipInverse, ViewZ, Count };

enum class BlurUniform { NormalDepthMap, SsaoMap, DirectLightingMap, BlurX, ScreenW, ScreenH, Count };

/// As the shaders spell them.
QByteArray uniformName(ShadowMapUniform uniform);
QByteArray uniformName(NormalDepthUniform uniform);
QByteArray uniformName(OutlineUniform uniform);
QByteArray uniformName(OcclusionUniform uniform);
QByteArray uniformName(BlurUniform uniform);

using ShadowMapProgram = ProgramOf<ShadowMapUniform>;
using NormalDepthProgram = ProgramOf<NormalDepthUniform>;
using OutlineProgram = ProgramOf<OutlineUniform>;
using OcclusionProgram = ProgramOf<OcclusionUniform>;
using BlurProgram = ProgramOf<BlurUniform>;

} // namespace Quorvel
