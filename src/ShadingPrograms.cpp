#include "ShadingPrograms.h"

#include <QOpenGLContext>
#include <QtDebug>

#include <map>

namespace Quorvel
{

namespace
{

constexpr int lastLight = MaxLights - 1;

const ShaderSource &source(Shading shading)
{
    static const std::array<ShaderSource, 3> sources = {{
        {{"single-pass Phong", ":/shaders/phong-singlepass-n900.vsh", ":/shaders/phong-singlepass-n900.fsh"},
         {Uniform::ModelToScene,
          Uniform::ModelToView,
          Uniform::ModelToViewNormal,
          Uniform::ModelToClip,
          Uniform::MaterialAmbient,
          Uniform::MaterialDiffuse,
          Uniform::MaterialSpecular,
          Uniform::MaterialShininess,
          Uniform::MaterialTransparency,
          Uniform::LightCount,
          Uniform::ShadowMap0,
          Uniform::ShadowMap1,
          Uniform::ShadowMap2,
          Uniform::PcfRotationMap,
          element(Uniform::LightsPos, lastLight),
          element(Uniform::LightsColor, lastLight),
          element(Uniform::LightsDirection, lastLight),
          element(Uniform::LightsCosHotspot, lastLight),
          element(Uniform::LightsCosFalloff, lastLight),
          element(Uniform::LightsIsSpot, lastLight),
          element(Uniform::LightsShadowMap, lastLight),
          element(Uniform::LightsShadowMatrix, lastLight)}},
        {{"per-vertex Phong", ":/shaders/phong-per-vertex-n900.vsh", ":/shaders/phong-per-vertex-n900.fsh"},
         {Uniform::ModelToView, Uniform::ModelToViewNormal, Uniform::ModelToClip, Uniform::MaterialAmbient,
          Uniform::MaterialDiffuse, Uniform::MaterialSpecular, Uniform::MaterialShininess,
          Uniform::MaterialTransparency, Uniform::LightCount, element(Uniform::LightsPos, lastLight),
          element(Uniform::LightsColor, lastLight), element(Uniform::LightsDirection, lastLight),
          element(Uniform::LightsCosHotspot, lastLight), element(Uniform::LightsCosFalloff, lastLight),
          element(Uniform::LightsIsSpot, lastLight)}},
        {{"light mapping", ":/shaders/lightmapping.vsh", ":/shaders/lightmapping.fsh"},
         {Uniform::ModelToClip, Uniform::OcclusionMap}},
    }};
    return sources[size_t(shading)];
}

template <typename Uniform>
std::vector<Uniform> all()
{
    std::vector<Uniform> uniforms;
    uniforms.reserve(size_t(Uniform::Count));
    for (int i = 0; i < int(Uniform::Count); ++i)
        uniforms.push_back(Uniform(i));
    return uniforms;
}

template <typename Uniform>
ProgramOf<Uniform> &built(ProgramOf<Uniform> &program, const ShaderFiles &files)
{
    // One that has failed is not tried again at every frame.
    if (program.id() == 0)
        program.build({files, all<Uniform>()});
    return program;
}

/// Every scene is drawn with 32-bit indices, which OpenGL ES 2.0 has as an extension only.
void warnIfIndicesAreNarrow(const QOpenGLContext &context)
{
    if (context.isOpenGLES() && context.format().majorVersion() < 3 &&
        !context.hasExtension("GL_OES_element_index_uint"))
        qWarning("This OpenGL ES has no 32-bit indices (GL_OES_element_index_uint): no scene can be drawn "
                 "with it");
}

} // namespace

Shading chooseShading(bool lowQuality, bool hasLightMap, bool singlePassLinked)
{
    if (hasLightMap)
        return Shading::LightMapping;
    return lowQuality || !singlePassLinked ? Shading::PerVertexPhong : Shading::SinglePassPhong;
}

ShadingPrograms &ShadingPrograms::ofCurrentContext()
{
    // Not destroyed at exit: sets of contexts that live till then must not touch a GL that is shut down.
    static auto &sets = *new std::map<const QOpenGLContextGroup *, ShadingPrograms>;

    QOpenGLContextGroup *group = QOpenGLContext::currentContext()->shareGroup();
    const auto [set, isNew] = sets.try_emplace(group);
    if (isNew) {
        warnIfIndicesAreNarrow(*QOpenGLContext::currentContext());
        QObject::connect(group, &QObject::destroyed, [group] { sets.erase(group); });
    }
    return set->second;
}

void ShadingPrograms::buildLighting()
{
    if (program(Shading::SinglePassPhong).isLinked())
        return;
    for (const Shading shading : {Shading::SinglePassPhong, Shading::PerVertexPhong, Shading::LightMapping})
        program(shading).build(source(shading));
    built(m_shadowMap, {"shadow map", ":/shaders/shadowmap.vsh", ":/shaders/shadowmap.fsh"});
}

void ShadingPrograms::clearSpotFlags()
{
    for (ShaderProgram &program : m_lighting) {
        if (!program.isLinked())
            continue;
        program.bind();
        for (int i = 0; i < MaxLights; ++i)
            program.set(element(Uniform::LightsIsSpot, i), false);
        program.release();
    }
}

NormalDepthProgram &ShadingPrograms::normalDepth()
{
    return built(m_normalDepth, {"normal-depth", ":/shaders/normalDepth.vsh", ":/shaders/normalDepth.fsh"});
}

OutlineProgram &ShadingPrograms::outline()
{
    return built(m_outline,
                 {"outline", ":/shaders/outline/phong-outline.vsh", ":/shaders/outline/phong-outline.fsh"});
}

OcclusionProgram &ShadingPrograms::ambientOcclusion()
{
    return built(m_ambientOcclusion,
                 {"ambient occlusion", ":/shaders/ssao/ssao.vsh", ":/shaders/ssao/ssao.fsh"});
}

BlurProgram &ShadingPrograms::occlusionBlur()
{
    return built(m_occlusionBlur, {"occlusion blur", ":/shaders/ssao/blur.vsh", ":/shaders/ssao/blur.fsh"});
}

} // namespace Quorvel
