#pragma once

#include <QString>

#include <string_view>

class QByteArray;

namespace Quorvel
{

/// Tells whether bytes are a scene record (docs/formats.md) that can be loaded, drawn and written again. One
/// walk over the bytes, before anything is reserved for what they announce.
///
/// A sound record ends with its last node; its counts fit the bytes that are left; its type codes are known;
/// every index of a geometry that a node shows, 0 for missing ones included, lies in its list; parents stand
/// before their children; at least one node holds a camera. Whatever Scene::save() writes of a scene that can
/// be drawn is that much.
///
/// Of a record from elsewhere more is asked: matrices are finite, a light that a node shows aims at a node
/// that there is, and the work stays below the limits here.
class SceneRecordCheck
{
public:
    /// What wrote the record: this program, for its own cache, or anybody.
    enum class Origin { Cache, Elsewhere };

    /// Limit of the triangle corners of one frame: those of each node's geometry, where every triangle group
    /// counts with the groups before it, and one for each group.
    static constexpr qint64 MaximumFrameCorners = qint64(1) << 27;

    /// Limit of the vertices that bounding spheres are computed from: for each node its geometry's vertices
    /// and one for itself, once for every level of the tree down to it, the root's included.
    static constexpr qint64 MaximumSphereVertices = qint64(1) << 28;

    /// For a record from elsewhere.
    explicit SceneRecordCheck(const QByteArray &record);
    SceneRecordCheck(std::string_view record, Origin origin);

    bool isSound() const { return m_fault.isEmpty(); }

    /// The first thing that is wrong, and where it stands; empty in a sound record.
    QString fault() const { return m_fault; }

private:
    QString m_fault;
};

} // namespace Quorvel
