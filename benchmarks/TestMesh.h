#pragma once

#include <memory>

namespace Quorvel
{

class Geometry;
class Scene;

/// A wavy patch of about `triangles` triangles in one group: shared positions, one normal and one texture
/// coordinate per position. Material symbol "surface".
std::unique_ptr<Geometry> makePatch(int triangles);

/// `patches` such patches side by side, one node each, with a camera that sees them all and one point light.
std::unique_ptr<Scene> makePatchScene(int patches, int trianglesPerPatch);

} // namespace Quorvel
