#include "CubeMap.h"

#include "GlErrors.h"

#include <QGLFramebufferObject>
#include <QtDebug>

namespace Quorvel
{

namespace
{

GLenum faceTarget(int face)
{
    return GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face);
}

void clampToNearest()
{
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    logGlError(__FILE__, __LINE__);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    logGlError(__FILE__, __LINE__);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    logGlError(__FILE__, __LINE__);
    glTexParameteri(GL_TEXTURE_CUBE_MAP, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    logGlError(__FILE__, __LINE__);
}

} // namespace

CubeMap::CubeMap(int size, GLenum internalFormat, GLenum type) : m_size(size)
{
    drainGlErrors();
    glGenFramebuffers(1, &m_framebuffer);
    logGlError(__FILE__, __LINE__);
    glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    logGlError(__FILE__, __LINE__);
    glGenTextures(1, &m_texture);
    logGlError(__FILE__, __LINE__);
    glBindTexture(GL_TEXTURE_CUBE_MAP, m_texture);
    logGlError(__FILE__, __LINE__);
    clampToNearest();
    allocateFaces(internalFormat, type);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(0), m_texture, 0);
    logGlError(__FILE__, __LINE__);
    createDepthBuffer();
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE)
        qDebug("Warning: cubemap generation failed");
    release();
}

CubeMap::~CubeMap()
{
    glDeleteFramebuffers(1, &m_framebuffer);
    glDeleteRenderbuffers(1, &m_depthBuffer);
    glDeleteTextures(1, &m_texture);
}

void CubeMap::allocateFaces(GLenum internalFormat, GLenum type)
{
    for (int face = 0; face < 6; ++face) {
        glTexImage2D(faceTarget(face), 0, GLint(internalFormat), m_size, m_size, 0, GL_RGBA, type, nullptr);
        logGlError(__FILE__, __LINE__);
    }
}

void CubeMap::createDepthBuffer()
{
    glGenRenderbuffers(1, &m_depthBuffer);
    logGlError(__FILE__, __LINE__);
    glBindRenderbuffer(GL_RENDERBUFFER, m_depthBuffer);
    logGlError(__FILE__, __LINE__);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, m_size, m_size);
    logGlError(__FILE__, __LINE__);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, m_depthBuffer);
    logGlError(__FILE__, __LINE__);
}

void CubeMap::selectFace(int face)
{
    drainGlErrors();
    Q_ASSERT(face >= 0 && face < 6);
    glBindTexture(GL_TEXTURE_CUBE_MAP, m_texture);
    logGlError(__FILE__, __LINE__);
    clampToNearest();
    glBindFramebuffer(GL_FRAMEBUFFER, m_framebuffer);
    logGlError(__FILE__, __LINE__);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, m_depthBuffer);
    logGlError(__FILE__, __LINE__);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, faceTarget(face), m_texture, 0);
    logGlError(__FILE__, __LINE__);
}

void CubeMap::release()
{
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    QGLFramebufferObject::bindDefault();
}

} // namespace Quorvel
