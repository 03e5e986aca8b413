#pragma once

#include "IndexBuffer.h"
#include "VertexBuffer.h"

namespace Quorvel
{

/// Four corners, two floats each, from (-1, -1) to (1, 1): the whole viewport for a program that takes them
/// as clip-space positions.
///
/// Owns its buffers. Every member, the destructor included, needs the owning GL context (or one that shares
/// with it) current.
class ScreenQuad
{
public:
    ScreenQuad();

    /// With the program that is bound. Leaves no buffer bound and no attribute enabled.
    void draw() const;

private:
    VertexBuffer m_corners;
    IndexBuffer m_indices;
};

} // namespace Quorvel
