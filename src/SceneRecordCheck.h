#pragma once

#include <QString>

class QByteArray;

namespace Quorvel
{

/// Tells whether bytes from elsewhere are a scene record (docs/formats.md) that can be loaded, drawn and
/// written again. One walk over the bytes, before anything is reserved for what they announce.
///
/// A sound record ends with its last node; its counts fit the bytes that are left; its type codes are known;
/// every index, 0 for missing ones included, lies in its list; parents stand before their children;
/// matrices are finite; at least one node holds a camera; a light that a node shows aims at a node that
/// there is; and the work that it asks for stays below the limits here. What Scene::save() writes of a scene
/// that can be drawn is sound within these limits.
class SceneRecordCheck
{
public:
    /// Limit of the triangle corners of one frame: those of each node's geometry, where every triangle group
    /// counts with the groups before it, and one for each group.
    static constexpr qint64 MaximumFrameCorners = qint64(1) << 27;

    /// Limit of the vertices that bounding spheres are computed from: for each node its geometry's vertices
    /// and one for itself, once for every level of the tree down to it, the root's included.
    static constexpr qint64 MaximumSphereVertices = qint64(1) << 28;

    explicit SceneRecordCheck(const QByteArray &record);

    bool isSound() const { return m_fault.isEmpty(); }

    /// The first thing that is wrong, and where it stands; empty in a sound record.
    QString fault() const { return m_fault; }

private:
    QString m_fault;
};

} // namespace Quorvel
