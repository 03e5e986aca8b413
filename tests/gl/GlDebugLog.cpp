#include "GlDebugLog.h"

#include <QOpenGLContext>

namespace Quorvel::Test
{

namespace
{

// KHR_debug's; the ES 2.0 header does not have them.
constexpr GLenum debugOutput = 0x92E0;
constexpr GLenum debugOutputSynchronous = 0x8242;
constexpr GLenum typeError = 0x824C;
constexpr GLenum typeUndefinedBehavior = 0x824E;
constexpr GLenum typePushGroup = 0x8269;
constexpr GLenum typePopGroup = 0x826A;

} // namespace

GlDebugLog::GlDebugLog()
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    if (!context->hasExtension(QByteArrayLiteral("GL_KHR_debug")))
        return;
    m_setCallback = reinterpret_cast<decltype(m_setCallback)>(context->getProcAddress(
        context->isOpenGLES() ? "glDebugMessageCallbackKHR" : "glDebugMessageCallback"));
    if (!m_setCallback)
        return;
    m_setCallback(&GlDebugLog::receive, this);
    glEnable(debugOutput);
    glEnable(debugOutputSynchronous);
}

GlDebugLog::~GlDebugLog()
{
    if (!m_setCallback)
        return;
    glDisable(debugOutputSynchronous);
    glDisable(debugOutput);
    m_setCallback(nullptr, nullptr);
}

void GlDebugLog::receive(GLenum, GLenum type, GLuint, GLenum, GLsizei length, const char *message,
                         const void *log)
{
    auto *self = static_cast<GlDebugLog *>(const_cast<void *>(log));
    const QString text = QString::fromLatin1(message, length);
    if (type == typePushGroup) {
        self->m_groups.append(text);
        self->m_open.append(text);
    } else if (type == typePopGroup) {
        self->m_open.removeLast();
    } else if (type == typeError || type == typeUndefinedBehavior) {
        self->m_faults.append(self->m_open.join(QLatin1Char('/')) + QLatin1String(": ") + text);
    }
}

} // namespace Quorvel::Test
