#include "RandomTextures.h"

#include "Gles2.h"

#include <QGLFramebufferObject>
#include <QSize>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace Quorvel
{

namespace
{

constexpr int side = 256;
constexpr size_t texels = size_t(side) * side;

using Bytes = std::vector<unsigned char>;

Bytes randomBytes()
{
    Bytes bytes(texels * 4);
    for (unsigned char &byte : bytes)
        byte = static_cast<unsigned char>(std::rand() % 256);
    return bytes;
}

Bytes randomRotations()
{
    Bytes bytes(texels * 4, 0);
    for (size_t i = 0; i < texels; ++i) {
        const double angle = (std::rand() % 100) / 10.0;
        bytes[i * 4] = static_cast<unsigned char>((std::cos(angle) + 1.0) / 2.0 * 255.0);
        bytes[i * 4 + 1] = static_cast<unsigned char>((std::sin(angle) + 1.0) / 2.0 * 255.0);
    }
    return bytes;
}

std::unique_ptr<QGLFramebufferObject> texture(const Bytes &rgba)
{
    auto texture = std::make_unique<QGLFramebufferObject>(
        QSize(side, side), QGLFramebufferObject::NoAttachment, GLenum(GL_TEXTURE_2D), GLenum(GL_RGBA));
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture->texture());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, side, side, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

} // namespace

RandomTextures::RandomTextures() : m_normals(texture(randomBytes())), m_rotations(texture(randomRotations()))
{
}

RandomTextures::~RandomTextures() = default;

} // namespace Quorvel
