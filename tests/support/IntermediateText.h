#pragma once

#include <QByteArray>

namespace Quorvel
{

/// Pieces of the intermediate documents that the receivers read.
namespace IntermediateText
{

inline QByteArray scene(const QByteArray &content)
{
    return "<scene>" + content + "</scene>";
}

inline QByteArray geometries(const QByteArray &content)
{
    return scene("<geometries>" + content + "</geometries>");
}

inline QByteArray geometry(const QByteArray &content, const QByteArray &id = "g")
{
    return "<geometry id='" + id + "'>" + content + "</geometry>";
}

/// Three positions, two normals and four texture coordinates.
inline QByteArray triangleLists()
{
    return "<vertices>0 0 0 1 0 0 0 1 0</vertices><normals>0 0 1 0 1 0</normals>"
           "<texcoords>0 0 0 1 0 0 0 1 0 5 5 5</texcoords>";
}

} // namespace IntermediateText

} // namespace Quorvel
