#pragma once

#include "Gles2.h"

namespace Quorvel
{

/// A cube-map texture with a framebuffer that draws into one of its faces at a time, with 16 bits of depth.
///
/// Owns both. Every member, the destructor included, needs the owning GL context (or one that shares with it)
/// current. GL errors are logged and ignored.
class CubeMap
{
public:
    /// Faces have `size` x `size` texels. The format and type are those of a colour-renderable texture, given
    /// to GL together with the pixel format GL_RGBA, which is the one internal format that ES takes with it.
    /// A pair that gives no complete framebuffer is warned about, and draws nothing. Leaves the default
    /// framebuffer bound.
    CubeMap(int size, GLenum internalFormat, GLenum type);
    virtual ~CubeMap();
    CubeMap(const CubeMap &) = delete;
    CubeMap &operator=(const CubeMap &) = delete;

    /// Edge of a face in texels.
    int size() const { return m_size; }
    /// GL name of the cube-map texture.
    GLuint texture() const { return m_texture; }

    /// Binds the framebuffer to draw into one face, 0 to 5 in GL's order: +x, -x, +y, -y, +z, -z. Leaves the
    /// texture bound to the active unit.
    void selectFace(int face);
    /// Binds the default framebuffer again, and no cube map to the active unit.
    void release();

private:
    void allocateFaces(GLenum internalFormat, GLenum type);
    void createDepthBuffer();

    int m_size;
    GLuint m_texture = 0;
    GLuint m_depthBuffer = 0;
    GLuint m_framebuffer = 0;
};

} // namespace Quorvel
