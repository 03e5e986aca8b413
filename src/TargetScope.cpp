#include "TargetScope.h"

#include "Gles2.h"

#include <QGLFramebufferObject>
#include <QRectF>

namespace Quorvel
{

TargetScope::TargetScope(QGLFramebufferObject &target) : m_target(target)
{
    m_target.bind();
    glViewport(0, 0, m_target.width(), m_target.height());
}

TargetScope::~TargetScope()
{
    m_target.release();
}

void setScreenViewport(const QRectF &viewport)
{
    glViewport(GLint(viewport.x()), GLint(viewport.y()), GLsizei(viewport.width()),
               GLsizei(viewport.height()));
}

} // namespace Quorvel
