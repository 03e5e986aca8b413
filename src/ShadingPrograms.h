#pragma once

#include "PassUniforms.h"
#include "ShaderProgram.h"

#include <array>

namespace Quorvel
{

/// What one lighting pass draws with.
enum class Shading { SinglePassPhong, PerVertexPhong, LightMapping };

/// Per-vertex lighting serves fast frames, and stands in for a single-pass program that did not link; a light
/// map goes before either.
Shading chooseShading(bool lowQuality, bool hasLightMap, bool singlePassLinked);

/// The shader programs, made once and shared by all painters of a process.
///
/// Programs belong to GL contexts, so there is one set for each group of contexts that share with each other.
/// A set goes with the last context of its group. GUI thread.
class ShadingPrograms
{
public:
    /// The set of the current context, empty when first asked for. Stays where it is as long as the context
    /// lives.
    static ShadingPrograms &ofCurrentContext();

    ShadingPrograms() = default;
    ShadingPrograms(const ShadingPrograms &) = delete;
    ShadingPrograms &operator=(const ShadingPrograms &) = delete;

    /// Builds the lighting programs and the shadow-map one unless the single-pass one is there already.
    void buildLighting();

    /// Makes no light slot of the lighting programs a spot's: as they were when they were built.
    void clearSpotFlags();

    ShaderProgram &program(Shading shading) { return m_lighting[size_t(shading)]; }
    ShadowMapProgram &shadowMap() { return m_shadowMap; }

    /// The programs of the post passes, each built when it is first asked for.
    NormalDepthProgram &normalDepth();
    OutlineProgram &outline();
    OcclusionProgram &ambientOcclusion();
    BlurProgram &occlusionBlur();

private:
    std::array<ShaderProgram, 3> m_lighting;
    ShadowMapProgram m_shadowMap;
    NormalDepthProgram m_normalDepth;
    OutlineProgram m_outline;
    OcclusionProgram m_ambientOcclusion;
    BlurProgram m_occlusionBlur;
};

} // namespace Quorvel
