#pragma once

#include "Gles2.h"

class QMatrix4x4;

namespace Quorvel
{

class Scene;

/// In which sense a front face's corners run around it as the eye sees it.
enum class FrontFace : GLenum { Clockwise = GL_CW, CounterClockwise = GL_CCW };

/// Which side of a scene's triangles is the front one, decided for the scene as a whole.
///
/// Scene data is clockwise by convention. A scene whose triangles, each weighted with its world-space area,
/// for the most part face the way of their own normals only when seen as counter-clockwise is taken as that.
/// A scene that is divided, or that has nothing to decide by, is clockwise. Takes time linear in the number
/// of triangles drawn.
FrontFace sceneFrontFace(const Scene &scene);

/// Whether a world transform turns the corners' sense round.
bool isMirrored(const QMatrix4x4 &worldTransform);

/// How a node is drawn: as its scene, or the other way if its transform mirrors.
FrontFace nodeFrontFace(FrontFace ofScene, const QMatrix4x4 &worldTransform);

} // namespace Quorvel
