#include "GlLane.h"

#include "Gles2.h"

#include <QApplication>

#include <cstdio>
#include <optional>

namespace Quorvel::Test
{

namespace
{

constexpr const char *laneVariable = "QUORVEL_GL_LANE";

std::optional<OffscreenContext::Api> laneApi()
{
    const QByteArray lane = qgetenv(laneVariable);
    if (lane == "es")
        return OffscreenContext::Api::Es2;
    if (lane == "desktop")
        return OffscreenContext::Api::Desktop;
    return std::nullopt;
}

/// GL errors come one per call; a context that is lost, or none at all, may give them for ever.
constexpr int mostErrors = 32;

QString errorName(GLenum code)
{
    switch (code) {
    case GL_INVALID_ENUM:
        return QStringLiteral("GL_INVALID_ENUM");
    case GL_INVALID_VALUE:
        return QStringLiteral("GL_INVALID_VALUE");
    case GL_INVALID_OPERATION:
        return QStringLiteral("GL_INVALID_OPERATION");
    case GL_INVALID_FRAMEBUFFER_OPERATION:
        return QStringLiteral("GL_INVALID_FRAMEBUFFER_OPERATION");
    case GL_OUT_OF_MEMORY:
        return QStringLiteral("GL_OUT_OF_MEMORY");
    default:
        return QStringLiteral("GL error 0x%1").arg(code, 0, 16);
    }
}

} // namespace

int GlLane::run(int argc, char **argv, const QSize &size, const Body &body)
{
    const std::optional<OffscreenContext::Api> api = laneApi();
    if (!api) {
        std::fprintf(stderr, "FAIL: set %s to \"es\" or \"desktop\" (it is \"%s\")\n", laneVariable,
                     qgetenv(laneVariable).constData());
        return 1;
    }
    qputenv("LIBGL_ALWAYS_SOFTWARE", "1");
    qputenv("GALLIUM_DRIVER", "llvmpipe");
    if (*api == OffscreenContext::Api::Es2)
        qputenv("MESA_GLES_VERSION_OVERRIDE", "2.0");

    OffscreenContext::prepareApplication();
    QApplication application(argc, argv);
    OffscreenContext context(size, *api);
    if (!context.isValid()) {
        std::fprintf(stderr, "FAIL: no GL context for lane %s: %s\n", qgetenv(laneVariable).constData(),
                     qPrintable(context.errorString()));
        return 1;
    }
    std::printf("GL lane %s: %s, %s\n", qgetenv(laneVariable).constData(),
                reinterpret_cast<const char *>(glGetString(GL_VERSION)),
                reinterpret_cast<const char *>(glGetString(GL_RENDERER)));
    std::fflush(stdout);
    return body(context);
}

QStringList glErrors()
{
    QStringList names;
    for (GLenum code = glGetError(); code != GL_NO_ERROR && names.size() < mostErrors; code = glGetError())
        names.append(errorName(code));
    return names;
}

} // namespace Quorvel::Test
