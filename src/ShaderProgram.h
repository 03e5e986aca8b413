#pragma once

#include "LightUniforms.h"

#include <QByteArray>

#include <array>
#include <memory>
#include <vector>

class QGLShaderProgram;

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

/// Slots of the vertex attributes, the same in every program.
enum class Attribute { Position, Normal, Texcoord };

/// What a program is made of. `required` are the uniforms that its code cannot do without; others are
/// declared by contract and may be optimised away.
struct ShaderSource
{
    const char *name;
    const char *vertexFile;
    const char *fragmentFile;
    std::vector<Uniform> required;
};

/// A program with its uniforms' locations, each looked up once after linking.
///
/// Every member, the destructor included, needs the owning GL context (or one that shares with it) current;
/// the destructor may also run after that context is gone. Values are set on the program that is bound; a
/// uniform that the program lacks is ignored.
class ShaderProgram
{
public:
    ShaderProgram();
    ShaderProgram(ShaderProgram &&other) noexcept;
    ShaderProgram &operator=(ShaderProgram &&other) noexcept;
    ShaderProgram(const ShaderProgram &) = delete;
    ShaderProgram &operator=(const ShaderProgram &) = delete;
    ~ShaderProgram();

    /// Compiles and links. A failure leaves the program unlinked, with the toolkit's warnings; a linked
    /// program that lacks a required uniform is warned about.
    void build(const ShaderSource &source);
    bool isLinked() const;
    /// The GL name, 0 before build().
    unsigned int id() const;

    void bind();
    void release();

    void set(Uniform uniform, bool value);
    void set(Uniform uniform, int value);
    void set(Uniform uniform, float value);
    void set(Uniform uniform, const QVector3D &value);
    void set(Uniform uniform, const QVector4D &value);
    void set(Uniform uniform, const QMatrix3x3 &value);
    void set(Uniform uniform, const QMatrix4x4 &value);

private:
    void resolveLocations(const ShaderSource &source);
    int location(Uniform uniform) const { return m_locations[size_t(uniform)]; }

    std::unique_ptr<QGLShaderProgram> m_program;
    std::array<int, size_t(Uniform::Count)> m_locations;
};

} // namespace Quorvel
