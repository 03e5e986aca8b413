#pragma once

#include "AbstractPainter.h"
#include "FrontFace.h"

#include <memory>
#include <optional>
#include <unordered_map>

namespace Quorvel
{

class Geometry;
struct GpuGeometry;
class Scene;

/// Gives every geometry of a scene its GPU buffers. Draws nothing; painters that do derive from it.
///
/// A painter serves one scene: it is made anew, or released, when the scene is replaced. Buffers are built
/// when first met and kept until release(); a geometry that changes afterwards is drawn as it was.
class ShaderPainter : public AbstractPainter
{
public:
    ShaderPainter();
    ~ShaderPainter() override;

    void paint(PainterState &state) override;
    void prepare(PainterState &state) override;
    void release() override;

    /// The buffers of a geometry, built now if they are not there yet. The radius, that of the scene's
    /// bounds, is not used. A triangle group whose index lists differ in length, or point past the end of
    /// their arrays, is fatal.
    const GpuGeometry &geometryData(const Geometry *geometry, float radius);

protected:
    /// What the scene's triangles turned out to be when the first buffers were made.
    FrontFace frontFace() const { return m_frontFace.value_or(FrontFace::Clockwise); }

private:
    void buildMissing(const Scene &scene);

    std::unordered_map<const Geometry *, std::unique_ptr<GpuGeometry>> m_geometries;
    std::optional<FrontFace> m_frontFace;
};

} // namespace Quorvel
