#pragma once

#include <QSize>

#include <memory>

class QGLFramebufferObject;

namespace Quorvel
{

/// The off-screen images of one frame, all of one size. The accessors need them to exist.
///
/// Owns them. Every member but the accessors needs the owning GL context (or one that shares with it)
/// current, the destructor included.
class RenderTargets
{
public:
    RenderTargets();
    RenderTargets(RenderTargets &&other) noexcept;
    RenderTargets &operator=(RenderTargets &&other) noexcept;
    RenderTargets(const RenderTargets &) = delete;
    RenderTargets &operator=(const RenderTargets &) = delete;
    ~RenderTargets();

    /// Makes them anew, with contents undefined, unless they exist and have this size in pixels.
    void resize(const QSize &size);
    bool exist() const { return bool(m_normalDepth); }
    /// Pixels; empty if they do not exist.
    QSize size() const { return m_size; }
    void clear();

    /// View-space normal as (n + 1) / 2, and 1 - (distance along the view axis - near) / far; all 0 where
    /// nothing was drawn. With depth buffer.
    QGLFramebufferObject &normalDepth() { return *m_normalDepth; }
    /// The lit scene. With depth buffer.
    QGLFramebufferObject &lighting() { return *m_lighting; }
    /// Ambient occlusion, blurred vertically: 1 is unoccluded.
    QGLFramebufferObject &blur() { return *m_blur; }
    /// Ambient occlusion, 1 is unoccluded; where outlines follow, later the lit scene times it.
    QGLFramebufferObject &occlusion() { return *m_occlusion; }

private:
    std::unique_ptr<QGLFramebufferObject> m_normalDepth;
    std::unique_ptr<QGLFramebufferObject> m_lighting;
    std::unique_ptr<QGLFramebufferObject> m_blur;
    std::unique_ptr<QGLFramebufferObject> m_occlusion;
    QSize m_size;
};

} // namespace Quorvel
