#pragma once

#include <QHash>
#include <QMatrix4x4>
#include <QString>
#include <QVector3D>
#include <QVector4D>

#include <array>

namespace Quorvel
{

class Light;
class Node;
class PainterState;
class Scene;

/// Lights that one pass can apply: the length of the shaders' light arrays.
constexpr int MaxLights = 3;

/// Remembers which node each light aims at, so that drawing a frame searches no names. For one scene.
class LightTargets
{
public:
    /// The node that the light's target names. The target must not be empty; one that the scene lacks is
    /// fatal.
    const Node *find(const Scene &scene, const Light &light);

private:
    struct Target
    {
        QString id;
        const Node *node = nullptr;
    };

    QHash<const Light *, Target> m_targets;
};

/// Unit vector in world space along which the node's light shines: at its target, or along the node's -z
/// axis.
QVector3D lightDirection(const Scene &scene, const Node &lightNode, LightTargets &targets);

/// Full angle, in degrees, at which a spot light has faded out. A light without a falloff fades a little
/// outside its hotspot; a given falloff is used as given.
float spotFalloff(const Light &light);

/// What the shaders are told about one light. View space.
struct LightUniforms
{
    enum class Kind { Directional, Point, Spot };

    /// The node that holds the light.
    const Node *node = nullptr;
    Kind kind = Kind::Point;
    QVector4D color;
    /// Position with w = 1 or, for a directional light, the direction towards it with w = 0.
    QVector4D position;
    /// Along which a spot light shines.
    QVector3D direction;
    /// Cosines of a spot light's half angles.
    float cosHotspot = 0.0f;
    float cosFalloff = 0.0f;
};

/// The lights that a frame is drawn with.
struct FrameLights
{
    std::array<LightUniforms, MaxLights> lights;
    int count = 0;
};

/// The first lights of the scene's node list that are not ambient. The state must be updated.
FrameLights frameLights(const PainterState &state, LightTargets &targets);

} // namespace Quorvel
