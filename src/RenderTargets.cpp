#include "RenderTargets.h"

#include "Gles2.h"

#include <QGLFramebufferObject>

namespace Quorvel
{

namespace
{

std::unique_ptr<QGLFramebufferObject> depthTarget(const QSize &size)
{
    return std::make_unique<QGLFramebufferObject>(size, QGLFramebufferObject::Depth, GLenum(GL_TEXTURE_2D),
                                                  GLenum(GL_RGBA));
}

std::unique_ptr<QGLFramebufferObject> colorTarget(const QSize &size)
{
    return std::make_unique<QGLFramebufferObject>(size, QGLFramebufferObject::NoAttachment);
}

} // namespace

RenderTargets::RenderTargets() = default;
RenderTargets::RenderTargets(RenderTargets &&other) noexcept = default;
RenderTargets &RenderTargets::operator=(RenderTargets &&other) noexcept = default;
RenderTargets::~RenderTargets() = default;

void RenderTargets::resize(const QSize &size)
{
    if (exist() && m_size == size)
        return;
    clear();
    m_normalDepth = depthTarget(size);
    m_lighting = depthTarget(size);
    m_blur = colorTarget(size);
    m_occlusion = colorTarget(size);
    m_size = size;
}

void RenderTargets::clear()
{
    m_normalDepth.reset();
    m_lighting.reset();
    m_blur.reset();
    m_occlusion.reset();
    m_size = QSize();
}

} // namespace Quorvel
