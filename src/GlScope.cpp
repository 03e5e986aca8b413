#include "GlScope.h"

#include <QMatrix4x4>
#include <QOpenGLContext>

namespace Quorvel
{

CapabilityScope::CapabilityScope(GLenum capability) : m_capability(capability)
{
    glEnable(m_capability);
}

CapabilityScope::~CapabilityScope()
{
    glDisable(m_capability);
}

TexturingScope::TexturingScope(bool on) : m_on(on && !QOpenGLContext::currentContext()->isOpenGLES())
{
    if (!m_on)
        return;
    glEnable(GL_TEXTURE_2D);
    glEnable(GL_TEXTURE_CUBE_MAP);
}

TexturingScope::~TexturingScope()
{
    if (!m_on)
        return;
    glDisable(GL_TEXTURE_CUBE_MAP);
    glDisable(GL_TEXTURE_2D);
}

TransparencyScope::TransparencyScope()
{
    glDepthMask(GL_FALSE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

TransparencyScope::~TransparencyScope()
{
    glDisable(GL_BLEND);
    glDepthMask(GL_TRUE);
}

CullingScope::CullingScope(bool on, FrontFace ofScene) : m_on(on), m_ofScene(ofScene), m_current(ofScene)
{
    if (!m_on)
        return;
    glEnable(GL_CULL_FACE);
    glFrontFace(GLenum(m_current));
}

CullingScope::~CullingScope()
{
    glDisable(GL_CULL_FACE);
}

void CullingScope::enterNode(const QMatrix4x4 &worldTransform)
{
    if (!m_on)
        return;
    const FrontFace wanted = nodeFrontFace(m_ofScene, worldTransform);
    if (wanted == m_current)
        return;
    m_current = wanted;
    glFrontFace(GLenum(m_current));
}

DebugGroup::EntryPoints::EntryPoints()
{
    const QOpenGLContext *context = QOpenGLContext::currentContext();
    if (!context->hasExtension(QByteArrayLiteral("GL_KHR_debug")))
        return;
    const bool es = context->isOpenGLES();
    m_push = reinterpret_cast<decltype(m_push)>(
        context->getProcAddress(es ? "glPushDebugGroupKHR" : "glPushDebugGroup"));
    m_pop = reinterpret_cast<decltype(m_pop)>(
        context->getProcAddress(es ? "glPopDebugGroupKHR" : "glPopDebugGroup"));
}

DebugGroup::DebugGroup(const EntryPoints &entryPoints, const char *name) : m_entryPoints(entryPoints)
{
    constexpr GLenum sourceApplication = 0x824A;
    if (m_entryPoints.m_push && m_entryPoints.m_pop)
        m_entryPoints.m_push(sourceApplication, 0, -1, name);
}

DebugGroup::~DebugGroup()
{
    if (m_entryPoints.m_push && m_entryPoints.m_pop)
        m_entryPoints.m_pop();
}

} // namespace Quorvel
