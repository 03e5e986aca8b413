#pragma once

#include "Model.h"

#include <QColor>
#include <QVector3D>

namespace Quorvel
{

/// A light source. Directional and spot lights shine along the -z axis of their node, or towards their
/// target.
class Light : public Model
{
public:
    static constexpr int AmbientLight = AmbientLightType;
    static constexpr int DirectionalLight = DirectionalLightType;
    static constexpr int PointLight = PointLightType;
    static constexpr int SpotLight = SpotLightType;

    explicit Light(int type = PointLight) : Model(type) {}

    /// Invalid until the file gives a colour.
    QColor color() const { return m_color; }
    void setColor(const QColor &color) { m_color = color; }

    /// Brightness factor of the file. Carried only: drawing uses the colour as it is.
    float multiplier() const { return m_multiplier; }
    void setMultiplier(float multiplier) { m_multiplier = multiplier; }

    /// Full opening angle of a spot light's outer cone, in degrees; 0 when the file gives none.
    float falloff() const { return m_falloff; }
    void setFalloff(float degrees) { m_falloff = degrees; }

    /// Full opening angle of the cone of full brightness, in degrees.
    float hotspotBeam() const { return m_hotspotBeam; }
    void setHotspotBeam(float degrees) { m_hotspotBeam = degrees; }

    /// Id of the node that the light aims at; empty when it shines along its own node's axis.
    QString target() const { return m_target; }
    void setTarget(const QString &nodeId) { m_target = nodeId; }

    /// Carried through the record; nothing sets or uses it.
    QVector3D lightVector() const { return m_lightVector; }
    void setLightVector(const QVector3D &vector) { m_lightVector = vector; }

    bool shadow() const { return m_shadow; }
    void setShadow(bool shadow) { m_shadow = shadow; }

    void write(QDataStream &stream) const override;
    void read(QDataStream &stream) override;

private:
    QColor m_color;
    float m_multiplier = 1.0f;
    float m_falloff = 0.0f;
    float m_hotspotBeam = 0.0f;
    QString m_target;
    QVector3D m_lightVector;
    bool m_shadow = false;
};

} // namespace Quorvel
