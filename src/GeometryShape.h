#pragma once

#include <array>
#include <string_view>

namespace Quorvel
{

/// Whether all geometries of a document are flat, as programs write them: sources and primitives below a
/// child of the geometry, arrays, inputs and index lists right below those, nothing deep. The query can find
/// that out by itself (local:isFlat in its program, which this has to agree with), at the cost of a tenth of
/// a conversion.
///
/// Learns of the tags inside a geometry library one after the other, in document order. Names are local
/// names.
class GeometryShape
{
public:
    /// `depth` is the number of elements around the tag's, the document element included.
    void startTag(int depth, std::string_view name);
    void emptyTag(int depth, std::string_view name);

    bool isFlat() const { return m_isFlat; }

private:
    enum class Name { Source, FloatArray, Input, Primitive, Other };

    static Name nameOf(std::string_view name);
    /// The element at a level around the one that is met; a child of the geometry is at level 1.
    Name at(int level) const { return m_names.at(size_t(level)); }

    /// A geometry is a child of a library, which is a child of the document element.
    static constexpr int GeometryDepth = 2;
    static constexpr int DeepestLevel = 5;

    bool m_isInGeometry = false;
    bool m_isFlat = true;
    std::array<Name, DeepestLevel + 1> m_names = {};
};

} // namespace Quorvel
