#pragma once

#include <QVector4D>

namespace Quorvel
{

class Material;

/// What the shaders are told about the surface of one triangle group.
struct MaterialUniforms
{
    /// Multiplied with the frame's ambient light.
    QVector4D ambient;
    QVector4D diffuse;
    /// Multiplied with the material's specular level.
    QVector4D specular;
    /// Phong exponent.
    float shininess = 0.0f;
    /// 0 opaque to 1 invisible.
    float transparency = 0.0f;
};

/// A null `material` is drawn as one on which nothing has been set. A diffuse slot without a colour, which is
/// where a file puts a texture, is light grey; any other slot without one is opaque black.
MaterialUniforms materialUniforms(const Material *material, const QVector4D &ambientLight);

} // namespace Quorvel
