#include "PassUniforms.h"

#include <array>

namespace Quorvel
{

namespace
{

template <typename Uniform>
using Names = std::array<const char *, size_t(Uniform::Count)>;

} // namespace

QByteArray uniformName(ShadowMapUniform uniform)
{
    static constexpr Names<ShadowMapUniform> names = {"modelToClip", "lightPosTransform", "cubeMap"};
    return names[size_t(uniform)];
}

QByteArray uniformName(NormalDepthUniform uniform)
{
    static constexpr Names<NormalDepthUniform> names = {"modelToView", "modelToViewNormal", "modelToClip",
                                                        "znear", "zrange"};
    return names[size_t(uniform)];
}

QByteArray uniformName(OutlineUniform uniform)
{
    static constexpr Names<OutlineUniform> names = {"normalDepthMap", "phongMap", "screenW", "screenH"};
    return names[size_t(uniform)];
}

QByteArray uniformName(OcclusionUniform uniform)
{
    static constexpr Names<OcclusionUniform> names = {"normalDepthMap", "randomNormalMap", "viewToClip",
                                                      "viewToClipInverse", "viewZ"};
    return names[size_t(uniform)];
}

QByteArray uniformName(BlurUniform uniform)
{
    static constexpr Names<BlurUniform> names = {"normalDepthMap", "ssaoMap", "directLightingMap",
                                                 "blurX",          "screenW", "screenH"};
    return names[size_t(uniform)];
}

} // namespace Quorvel
