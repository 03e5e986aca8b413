#include "GeometryShape.h"

namespace Quorvel
{

GeometryShape::Name GeometryShape::nameOf(std::string_view name)
{
    if (name == "source")
        return Name::Source;
    if (name == "float_array")
        return Name::FloatArray;
    if (name == "input")
        return Name::Input;
    if (name == "triangles" || name == "polygons")
        return Name::Primitive;
    return Name::Other;
}

void GeometryShape::startTag(int depth, std::string_view name)
{
    if (depth == GeometryDepth)
        m_isInGeometry = name == "geometry";
    emptyTag(depth, name);
    const int level = depth - GeometryDepth;
    if (level > 0 && level <= DeepestLevel)
        m_names[size_t(level)] = nameOf(name);
}

void GeometryShape::emptyTag(int depth, std::string_view name)
{
    const int level = depth - GeometryDepth;
    if (!m_isInGeometry || level <= 0 || !m_isFlat)
        return;
    switch (nameOf(name)) {
    case Name::Source:
    case Name::Primitive:
        m_isFlat = level == 2;
        break;
    case Name::FloatArray:
        m_isFlat = level == 3 && at(2) == Name::Source;
        break;
    case Name::Input:
        m_isFlat = level == 3;
        break;
    case Name::Other:
        m_isFlat = level <= DeepestLevel;
        break;
    }
    if (level == 4 && at(2) == Name::Primitive)
        m_isFlat = false;
}

} // namespace Quorvel
