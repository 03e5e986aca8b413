#include "ShadingPrograms.h"

#include <QOpenGLContext>

#include <map>

namespace Quorvel
{

namespace
{

constexpr int lastLight = MaxLights - 1;

const ShaderSource &source(Shading shading)
{
    static const std::array<ShaderSource, 3> sources = {{
        {"single-pass Phong",
         ":/shaders/phong-singlepass-n900.vsh",
         ":/shaders/phong-singlepass-n900.fsh",
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
        {"per-vertex Phong",
         ":/shaders/phong-per-vertex-n900.vsh",
         ":/shaders/phong-per-vertex-n900.fsh",
         {Uniform::ModelToView, Uniform::ModelToViewNormal, Uniform::ModelToClip, Uniform::MaterialAmbient,
          Uniform::MaterialDiffuse, Uniform::MaterialSpecular, Uniform::MaterialShininess,
          Uniform::MaterialTransparency, Uniform::LightCount, element(Uniform::LightsPos, lastLight),
          element(Uniform::LightsColor, lastLight), element(Uniform::LightsDirection, lastLight),
          element(Uniform::LightsCosHotspot, lastLight), element(Uniform::LightsCosFalloff, lastLight),
          element(Uniform::LightsIsSpot, lastLight)}},
        {"light mapping",
         ":/shaders/lightmapping.vsh",
         ":/shaders/lightmapping.fsh",
         {Uniform::ModelToClip, Uniform::OcclusionMap}},
    }};
    return sources[size_t(shading)];
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
    if (isNew)
        QObject::connect(group, &QObject::destroyed, [group] { sets.erase(group); });
    return set->second;
}

void ShadingPrograms::buildLighting()
{
    if (program(Shading::SinglePassPhong).isLinked())
        return;
    for (const Shading shading : {Shading::SinglePassPhong, Shading::PerVertexPhong, Shading::LightMapping})
        program(shading).build(source(shading));
}

} // namespace Quorvel
