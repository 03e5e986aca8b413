#pragma once

#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QSize>
#include <QString>

#include <memory>

class QGLContext;

namespace Quorvel
{

/// A GL context with a default framebuffer of a fixed size and no window; needs no display.
///
/// The context and its pixel buffer come from EGL on the surfaceless platform; the toolkit adopts the
/// context, so that `QGLContext::currentContext()`, `QGLShaderProgram` and `QGLFramebufferObject` work as
/// they do in a `QGLWidget`. Framebuffer 0 is the pixel buffer: releasing a framebuffer object leads back to
/// it. It holds 8 bits per channel with alpha, at least 16 bits of depth (24 where there are any), and one
/// sample per pixel.
///
/// Owns the EGL context, the pixel buffer, the `QOpenGLContext` and its `QGLContext`. GPU objects made in the
/// context must be gone before it is destroyed. Lives on the GUI thread, after the application object is made
/// and before it is destroyed. Several may exist; one of them is current at a time.
class OffscreenContext
{
public:
    enum class Api {
        Es2,     ///< OpenGL ES, client version 2
        Desktop, ///< OpenGL, compatibility profile, 2.1 or later
    };

    /// Chooses the windowless platform for the application object; call it before that object is made.
    ///
    /// Overrides QT_QPA_PLATFORM, EGL_PLATFORM and the settings of the platform, whatever the user has set: a
    /// window or a display server must never be needed. Where EGL does not start, chooses a platform without
    /// GL instead (the GL one would abort the process), and every context made later is invalid and says why.
    static void prepareApplication();

    /// Leaves the new context current, with the viewport over the whole buffer. Check `isValid()`.
    OffscreenContext(const QSize &size, Api api);
    ~OffscreenContext();

    OffscreenContext(const OffscreenContext &) = delete;
    OffscreenContext &operator=(const OffscreenContext &) = delete;

    bool isValid() const { return m_errorString.isEmpty(); }
    /// Why the context is not valid, for a person; empty if it is.
    QString errorString() const { return m_errorString; }
    /// Not valid, but a smaller buffer would be.
    bool isSizeRefused() const { return m_sizeRefused; }

    /// Pixels of the default framebuffer.
    QSize size() const { return m_size; }
    bool isEs() const;

    /// Makes the context and its pixel buffer current. Use nothing else to this end:
    /// `QOpenGLContext::makeCurrent` would take the pixel buffer away. `QGLContext::makeCurrent` has no
    /// effect here, and does no harm.
    void makeCurrent();
    void doneCurrent();

    /// The toolkit's view of the context; null if not valid. Owned by this object.
    QGLContext *context() const { return m_glContext; }

    /// The default framebuffer's colours without alpha, top row first, as QImage::Format_RGB888. Makes the
    /// context current and leaves the framebuffer binding as it was. Null if not valid.
    QImage grab();

private:
    QString createNative(Api api);
    QString createPixelBuffer();
    QString adoptNative(Api api);
    QString bind();

    // The EGL handles are pointers; their own type names stay out of this header with the rest of EGL.
    void *m_display = nullptr;
    void *m_config = nullptr;
    void *m_nativeContext = nullptr;
    void *m_pixelBuffer = nullptr;
    QOffscreenSurface m_surface;
    std::unique_ptr<QOpenGLContext> m_openGlContext;
    QGLContext *m_glContext = nullptr;
    QSize m_size;
    QString m_errorString;
    bool m_sizeRefused = false;
};

} // namespace Quorvel
