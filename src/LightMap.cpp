#include "LightMap.h"

#include "GlErrors.h"
#include "Gles2.h"

#include <QFileInfo>
#include <QGLFramebufferObject>
#include <QGLWidget>
#include <QImage>
#include <QtDebug>

namespace Quorvel
{

namespace
{

void setSampling(GLint filter)
{
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

} // namespace

LightMap::LightMap() = default;
LightMap::LightMap(LightMap &&other) noexcept = default;
LightMap &LightMap::operator=(LightMap &&other) noexcept = default;
LightMap::~LightMap() = default;

QString LightMap::fileName(const QString &scenePath)
{
    return scenePath + QStringLiteral(".png");
}

bool LightMap::load(const QString &fileName)
{
    if (fileName == m_refusedFile)
        return false;
    // A scene may come from the network: its name may be that of a pipe, which would never end.
    const QImage image =
        QGLWidget::convertToGLFormat(QFileInfo(fileName).isFile() ? QImage(fileName) : QImage());
    if (image.isNull()) {
        qWarning("The light map \"%s\" is not an image that can be read; the scene is lit by its lights",
                 qPrintable(fileName));
        m_refusedFile = fileName;
        return false;
    }
    drainGlErrors();
    m_texture = std::make_unique<QGLFramebufferObject>(image.size(), QGLFramebufferObject::NoAttachment,
                                                       GLenum(GL_TEXTURE_2D), GLenum(GL_RGBA));
    if (!m_texture->isValid()) {
        qWarning("The light map \"%s\" of %dx%d pixels is more than this GL can hold; the scene is lit by "
                 "its lights",
                 qPrintable(fileName), image.width(), image.height());
        m_refusedFile = fileName;
        m_texture.reset();
        return true;
    }
    glBindTexture(GL_TEXTURE_2D, m_texture->texture());
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, image.width(), image.height(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 image.constBits());
    setSampling(GL_NEAREST);
    glBindTexture(GL_TEXTURE_2D, 0);
    return true;
}

void LightMap::bind() const
{
    glBindTexture(GL_TEXTURE_2D, m_texture->texture());
    setSampling(GL_LINEAR);
}

} // namespace Quorvel
