#pragma once

#include <memory>

class QGLFramebufferObject;

namespace Quorvel
{

/// Two noise textures of 256 x 256 texels with 8 bits per channel, drawn from the C library's rand(). They
/// repeat, and are sampled without filtering.
///
/// Owns them. Every member, the destructor included, needs the owning GL context (or one that shares with it)
/// current. Construction uses texture unit 0 and leaves nothing bound there.
class RandomTextures
{
public:
    RandomTextures();
    RandomTextures(const RandomTextures &) = delete;
    RandomTextures &operator=(const RandomTextures &) = delete;
    ~RandomTextures();

    /// Every byte any value.
    const QGLFramebufferObject &normals() const { return *m_normals; }
    /// Cosine and sine of an angle between 0 and 9.9 radians in red and green, each as (value + 1) / 2.
    const QGLFramebufferObject &rotations() const { return *m_rotations; }

private:
    std::unique_ptr<QGLFramebufferObject> m_normals;
    std::unique_ptr<QGLFramebufferObject> m_rotations;
};

} // namespace Quorvel
