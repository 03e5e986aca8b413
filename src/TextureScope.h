#pragma once

#include "Gles2.h"

namespace Quorvel
{

/// Binds 2D textures to the first three texture units for a scope, and leaves none on them and unit 0 active.
class TextureScope
{
public:
    TextureScope() = default;
    ~TextureScope();
    TextureScope(const TextureScope &) = delete;
    TextureScope &operator=(const TextureScope &) = delete;

    /// The filter serves both ways. Repeating takes a texture whose sides are powers of two.
    void bind(int unit, GLuint texture, GLint filter, GLint wrap = GL_CLAMP_TO_EDGE) const;

private:
    static constexpr int unitCount = 3;
};

} // namespace Quorvel
