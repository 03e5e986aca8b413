#pragma once

#include <QList>
#include <QMatrix4x4>
#include <QVector3D>
#include <QVector>

#include <array>

namespace Quorvel
{

class Node;

/// A geometry node inside the frustum.
struct VisibleItem
{
    VisibleItem() = default;
    /// `node` must hold a geometry.
    VisibleItem(Node *node, float depth, float transparency);

    Node *node = nullptr;
    /// View-space z of the bounding sphere's centre: negative in front of the eye.
    float depth = 0.0f;
    /// The largest among the materials bound to the geometry's groups; 0 when there are none.
    float transparency = 0.0f;
};

/// a*x + b*y + c*z + d = 0 in world space, (a, b, c) of unit length and pointing inwards.
struct ClipPlane
{
    float a = 0.0f;
    float b = 0.0f;
    float c = 0.0f;
    float d = 0.0f;
};

/// The view volume of one frame and what lies in it.
class Frustum
{
public:
    enum Plane { Right, Left, Bottom, Top, Far, Near, PlaneCount };

    Frustum() = default;
    Frustum(const Frustum &) = default;
    Frustum &operator=(const Frustum &) = default;
    virtual ~Frustum() = default;

    /// Extracts the planes of projection * view and collects the visible ones of `nodes`, in their order.
    void update(const QMatrix4x4 &view, const QMatrix4x4 &projection, const QList<Node *> &nodes);

    /// Whether any part of a world-space sphere may be seen; a sphere that just touches a plane from outside
    /// may not.
    bool sphereTest(const QVector3D &centre, float radius) const;

    const std::array<ClipPlane, PlaneCount> &planes() const { return m_planes; }
    const QVector<VisibleItem> &visibleItems() const { return m_visibleItems; }

private:
    void extractPlanes(const QMatrix4x4 &viewProjection);

    std::array<ClipPlane, PlaneCount> m_planes;
    QVector<VisibleItem> m_visibleItems;
};

} // namespace Quorvel

Q_DECLARE_TYPEINFO(Quorvel::VisibleItem, Q_MOVABLE_TYPE);
