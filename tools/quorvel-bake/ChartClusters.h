#pragma once

#include "ChartVector.h"

#include <tsl/robin_map.h>

#include <queue>
#include <vector>

namespace Quorvel
{

class AtlasMesh;

/// Gathers a mesh's triangles into connected patches whose normals stay within a cone, by joining the two
/// neighbouring patches that fit each other best again and again.
///
/// How each patch came about is kept as a binary tree, so that one which turns out not to lie flat can be
/// taken apart where its parts fitted least. O(n log² n) in the number of triangles.
class ChartClusters
{
public:
    /// Patches thinner than `thinWidth` (world units) may be joined to others across hard edges, and bend
    /// further.
    ChartClusters(const AtlasMesh &mesh, double thinWidth);

    /// The patches, as nodes of the tree, in the order of their first triangles.
    std::vector<int> roots() const;
    /// The two parts of a patch; false for a single triangle.
    bool split(int tree, int *first, int *second) const;
    /// In ascending order.
    std::vector<int> triangles(int tree) const;

private:
    /// A cone that holds the normals of all triangles of a patch.
    struct Cone
    {
        Point3 axis;
        double halfAngle = 0.0;
    };
    struct Border
    {
        double length = 0.0;
        double hardLength = 0.0;
    };
    struct Patch
    {
        Cone normals;
        double area = 0.0;
        double perimeter = 0.0;
        /// Counts joins, so that an offer can tell that it is out of date.
        int version = 0;
        /// -1 once joined to another.
        int tree = -1;
        tsl::robin_map<int, Border> borders;

        /// That of a long strip; half that of a square.
        double width() const { return 2.0 * area / perimeter; }
    };
    /// To join two patches. Lowest cost first, then lowest numbers.
    struct Offer
    {
        double cost;
        int first;
        int second;
        int firstVersion;
        int secondVersion;

        bool operator>(const Offer &other) const;
    };
    struct Join
    {
        int first;
        int second;
    };

    static Cone joined(const Cone &a, const Cone &b);
    void makePatches();
    void joinPatches();
    void join(int a, int b);
    void offer(int a, int b);
    double cost(const Patch &a, const Patch &b, const Border &border) const;
    int triangleCount() const { return int(m_patches.size()); }

    const AtlasMesh &m_mesh;
    double m_thinWidth;
    /// One for each triangle at first. A joined patch lives on under the number of the one that had more
    /// borders.
    std::vector<Patch> m_patches;
    /// Tree nodes from triangleCount() on; those below are the triangles.
    std::vector<Join> m_joins;
    std::priority_queue<Offer, std::vector<Offer>, std::greater<>> m_offers;
};

} // namespace Quorvel
