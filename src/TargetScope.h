#pragma once

class QGLFramebufferObject;
class QRectF;

namespace Quorvel
{

/// Draws into a framebuffer object for a scope, with the viewport over the whole of it. The default
/// framebuffer is bound afterwards; the viewport stays as it is.
class TargetScope
{
public:
    /// Needs the owning GL context current for the whole scope.
    explicit TargetScope(QGLFramebufferObject &target);
    ~TargetScope();
    TargetScope(const TargetScope &) = delete;
    TargetScope &operator=(const TargetScope &) = delete;

private:
    QGLFramebufferObject &m_target;
};

/// The rectangle in pixels, each number truncated, is where the picture goes in the window's framebuffer.
void setScreenViewport(const QRectF &viewport);

} // namespace Quorvel
