#include "OffscreenContext.h"

#include "Gles2.h"

#include <QGLContext>
#include <QGuiApplication>
#include <QVariant>
#include <QVector>

// Keeps the window system's macros out of this file. The toolkit's header needs EGL's before it.
#define EGL_NO_X11
#include <EGL/egl.h>
#include <QtPlatformHeaders/QEGLNativeContext>

#include <array>
#include <cstddef>
#include <vector>

namespace Quorvel
{

namespace
{

const char *const glPlatform = "eglfs";
const char *const platformWithoutGl = "offscreen";

struct Setting
{
    const char *name;
    const char *value;
};

/// What makes the platform work without a screen, a frame buffer device, a console or input devices. The
/// screen's size is that of the platform's imaginary screen, not of any context.
constexpr std::array<Setting, 11> platformSettings{{
    {"QT_QPA_EGLFS_INTEGRATION", "none"},
    {"QT_QPA_EGLFS_FB", "/dev/null"},
    {"QT_QPA_EGLFS_WIDTH", "640"},
    {"QT_QPA_EGLFS_HEIGHT", "480"},
    {"QT_QPA_EGLFS_PHYSICAL_WIDTH", "169"},
    {"QT_QPA_EGLFS_PHYSICAL_HEIGHT", "127"},
    {"QT_QPA_EGLFS_DEPTH", "32"},
    {"QT_QPA_EGLFS_HIDECURSOR", "1"},
    {"QT_QPA_EGLFS_DISABLE_INPUT", "1"},
    // Without these two the platform switches the console's keyboard off and swallows Ctrl-C.
    {"QT_QPA_ENABLE_TERMINAL_KEYBOARD", "1"},
    {"QT_QPA_NO_SIGNAL_HANDLER", "1"},
}};

QString eglErrorName()
{
    const EGLint code = eglGetError();
    switch (code) {
    case EGL_SUCCESS:
        return QStringLiteral("no reason given");
    case EGL_NOT_INITIALIZED:
        return QStringLiteral("EGL_NOT_INITIALIZED");
    case EGL_BAD_ACCESS:
        return QStringLiteral("EGL_BAD_ACCESS");
    case EGL_BAD_ALLOC:
        return QStringLiteral("EGL_BAD_ALLOC");
    case EGL_BAD_ATTRIBUTE:
        return QStringLiteral("EGL_BAD_ATTRIBUTE");
    case EGL_BAD_CONFIG:
        return QStringLiteral("EGL_BAD_CONFIG");
    case EGL_BAD_MATCH:
        return QStringLiteral("EGL_BAD_MATCH");
    case EGL_BAD_PARAMETER:
        return QStringLiteral("EGL_BAD_PARAMETER");
    default:
        return QStringLiteral("EGL error 0x%1").arg(code, 0, 16);
    }
}

/// Starts EGL on the display that the platform uses too. Returns the reason if that fails; empty otherwise.
QString startEgl(EGLDisplay &display)
{
    display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (display == EGL_NO_DISPLAY)
        return QStringLiteral("EGL has no driver for drawing without a display (is libegl-mesa0 installed?)");
    if (!eglInitialize(display, nullptr, nullptr)) {
        return QStringLiteral("EGL does not start (%1): no graphics driver could be loaded"
                              " (is libgl1-mesa-dri installed?)")
            .arg(eglErrorName());
    }
    return QString();
}

EGLint configValue(EGLDisplay display, EGLConfig config, EGLint attribute)
{
    EGLint value = 0;
    eglGetConfigAttrib(display, config, attribute, &value);
    return value;
}

/// The first configuration of exactly 8 bits per channel: the list begins with the deepest colours.
EGLConfig chooseConfig(EGLDisplay display, EGLint renderableType, EGLint depthBits)
{
    // clang-format off
    const EGLint attributes[] = {
        EGL_SURFACE_TYPE, EGL_PBUFFER_BIT,
        EGL_RENDERABLE_TYPE, renderableType,
        EGL_RED_SIZE, 8,
        EGL_GREEN_SIZE, 8,
        EGL_BLUE_SIZE, 8,
        EGL_ALPHA_SIZE, 8,
        EGL_DEPTH_SIZE, depthBits,
        EGL_SAMPLE_BUFFERS, 0,
        EGL_NONE,
    };
    // clang-format on
    EGLint count = 0;
    if (!eglChooseConfig(display, attributes, nullptr, 0, &count) || count == 0)
        return nullptr;
    QVector<EGLConfig> configs(count);
    if (!eglChooseConfig(display, attributes, configs.data(), configs.size(), &count))
        return nullptr;
    for (int i = 0; i < count; ++i) {
        if (configValue(display, configs[i], EGL_RED_SIZE) == 8 &&
            configValue(display, configs[i], EGL_SAMPLES) == 0)
            return configs[i];
    }
    return nullptr;
}

} // namespace

void OffscreenContext::prepareApplication()
{
    qputenv("EGL_PLATFORM", "surfaceless");
    for (const Setting &setting : platformSettings)
        qputenv(setting.name, setting.value);

    EGLDisplay display = EGL_NO_DISPLAY;
    const bool started = startEgl(display).isEmpty();
    if (started)
        eglTerminate(display);
    // The second of the two is the toolkit's choice where the first one's plug-in is missing.
    const QByteArray both = QByteArray(glPlatform) + ';' + platformWithoutGl;
    qputenv("QT_QPA_PLATFORM", started ? both : QByteArray(platformWithoutGl));
}

OffscreenContext::OffscreenContext(const QSize &size, Api api) : m_size(size)
{
    m_errorString = createNative(api);
    if (isValid())
        m_errorString = createPixelBuffer();
    if (isValid())
        m_errorString = adoptNative(api);
    if (isValid())
        m_errorString = bind();
    if (isValid()) {
        glViewport(0, 0, m_size.width(), m_size.height());
        glScissor(0, 0, m_size.width(), m_size.height());
    }
}

OffscreenContext::~OffscreenContext()
{
    if (m_openGlContext) {
        // Only while the context is current does the toolkit free what it keeps in it.
        if (isValid())
            makeCurrent();
        // Deletes the QGLContext too, and ends being current.
        m_openGlContext.reset();
    }
    m_surface.destroy();
    if (m_pixelBuffer)
        eglDestroySurface(m_display, m_pixelBuffer);
    if (m_nativeContext)
        eglDestroyContext(m_display, m_nativeContext);
}

QString OffscreenContext::createNative(Api api)
{
    if (m_size.isEmpty())
        return QStringLiteral("a picture of %1x%2 pixels is empty").arg(m_size.width()).arg(m_size.height());
    QString reason = startEgl(m_display);
    if (!reason.isEmpty())
        return reason;
    if (QGuiApplication::platformName() != QLatin1String(glPlatform)) {
        return QStringLiteral("the toolkit runs on its \"%1\" platform and not on \"%2\""
                              " (is the plug-in libq%2.so missing?)")
            .arg(QGuiApplication::platformName(), QLatin1String(glPlatform));
    }

    const bool es = api == Api::Es2;
    const EGLint renderableType = es ? EGL_OPENGL_ES2_BIT : EGL_OPENGL_BIT;
    m_config = chooseConfig(m_display, renderableType, 24);
    if (!m_config)
        m_config = chooseConfig(m_display, renderableType, 16);
    if (!m_config)
        return QStringLiteral(
            "EGL offers no pixel buffer with colours, alpha and depth for this kind of context");

    if (!eglBindAPI(es ? EGL_OPENGL_ES_API : EGL_OPENGL_API))
        return QStringLiteral("EGL does not know this kind of context (%1)").arg(eglErrorName());
    // A desktop context without attributes is the highest version in the compatibility profile.
    const EGLint esAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    m_nativeContext = eglCreateContext(m_display, m_config, EGL_NO_CONTEXT, es ? esAttributes : nullptr);
    if (!m_nativeContext)
        return QStringLiteral("EGL made no context (%1)").arg(eglErrorName());
    return QString();
}

QString OffscreenContext::createPixelBuffer()
{
    const QSize largest(configValue(m_display, m_config, EGL_MAX_PBUFFER_WIDTH),
                        configValue(m_display, m_config, EGL_MAX_PBUFFER_HEIGHT));
    if (m_size.width() > largest.width() || m_size.height() > largest.height()) {
        m_sizeRefused = true;
        return QStringLiteral("%1x%2 pixels are more than the %3x%4 that the graphics driver allows")
            .arg(m_size.width())
            .arg(m_size.height())
            .arg(largest.width())
            .arg(largest.height());
    }
    const EGLint bufferAttributes[] = {EGL_WIDTH, m_size.width(), EGL_HEIGHT, m_size.height(), EGL_NONE};
    m_pixelBuffer = eglCreatePbufferSurface(m_display, m_config, bufferAttributes);
    if (!m_pixelBuffer) {
        return QStringLiteral("EGL made no pixel buffer of %1x%2 (%3)")
            .arg(m_size.width())
            .arg(m_size.height())
            .arg(eglErrorName());
    }
    return QString();
}

QString OffscreenContext::adoptNative(Api api)
{
    QSurfaceFormat format;
    format.setRenderableType(api == Api::Es2 ? QSurfaceFormat::OpenGLES : QSurfaceFormat::OpenGL);
    format.setRedBufferSize(8);
    format.setGreenBufferSize(8);
    format.setBlueBufferSize(8);
    format.setAlphaBufferSize(8);
    format.setDepthBufferSize(configValue(m_display, m_config, EGL_DEPTH_SIZE));
    format.setSwapBehavior(QSurfaceFormat::SingleBuffer);

    m_surface.setFormat(format);
    m_surface.create();
    m_openGlContext = std::make_unique<QOpenGLContext>();
    m_openGlContext->setFormat(format);
    m_openGlContext->setNativeHandle(QVariant::fromValue(QEGLNativeContext(m_nativeContext, m_display)));
    if (!m_openGlContext->create())
        return QStringLiteral("the toolkit does not accept the context that EGL made");
    return QString();
}

QString OffscreenContext::bind()
{
    if (QOpenGLContext::currentContext() == m_openGlContext.get() &&
        eglGetCurrentSurface(EGL_DRAW) == m_pixelBuffer)
        return QString();
    // The toolkit's own surface has no buffer. First its bookkeeping, then the buffer under the same context.
    if (!m_openGlContext->makeCurrent(&m_surface))
        return QStringLiteral("the toolkit could not make the context current");
    if (!eglMakeCurrent(m_display, m_pixelBuffer, m_pixelBuffer, m_nativeContext))
        return QStringLiteral("the context does not accept its pixel buffer (%1)").arg(eglErrorName());
    m_glContext = QGLContext::fromOpenGLContext(m_openGlContext.get());
    return QString();
}

bool OffscreenContext::isEs() const
{
    return m_openGlContext && m_openGlContext->isOpenGLES();
}

void OffscreenContext::makeCurrent()
{
    if (!isValid())
        return;
    const QString reason = bind();
    if (!reason.isEmpty())
        qFatal("%s", qPrintable(reason));
}

void OffscreenContext::doneCurrent()
{
    if (isValid())
        m_openGlContext->doneCurrent();
}

QImage OffscreenContext::grab()
{
    if (!isValid())
        return QImage();
    makeCurrent();
    GLint bound = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);

    const int width = m_size.width();
    const int height = m_size.height();
    const std::size_t rowBytes = 4 * static_cast<std::size_t>(width);
    std::vector<uchar> pixels(rowBytes * static_cast<std::size_t>(height));
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    glBindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(bound));

    QImage image(m_size, QImage::Format_RGB888);
    for (int y = 0; y < height; ++y) {
        const uchar *from = pixels.data() + rowBytes * static_cast<std::size_t>(height - 1 - y);
        uchar *to = image.scanLine(y);
        for (int x = 0; x < width; ++x, from += 4, to += 3) {
            to[0] = from[0];
            to[1] = from[1];
            to[2] = from[2];
        }
    }
    return image;
}

} // namespace Quorvel
