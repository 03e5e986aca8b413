#include "MaterialUniforms.h"

#include "GlColor.h"
#include "Material.h"

namespace Quorvel
{

MaterialUniforms materialUniforms(const Material *material, const QVector4D &ambientLight)
{
    static const Material unboundMaterial;
    const Material &surface = material ? *material : unboundMaterial;

    MaterialUniforms uniforms;
    uniforms.ambient = toVector(surface.ambient()) * ambientLight;
    uniforms.diffuse =
        surface.diffuse().isValid() ? toVector(surface.diffuse()) : QVector4D(0.8f, 0.8f, 0.8f, 1.0f);
    uniforms.specular = toVector(surface.specular()) * surface.specularLevel();
    uniforms.shininess = surface.shininess();
    uniforms.transparency = surface.transparency();
    return uniforms;
}

} // namespace Quorvel
