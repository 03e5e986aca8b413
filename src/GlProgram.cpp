#include "GlProgram.h"

#include <QGLShaderProgram>
#include <QtDebug>

namespace Quorvel
{

GlProgram::GlProgram() = default;
GlProgram::GlProgram(GlProgram &&other) noexcept = default;
GlProgram &GlProgram::operator=(GlProgram &&other) noexcept = default;
GlProgram::~GlProgram() = default;

void GlProgram::build(const ShaderFiles &files)
{
    m_program = std::make_unique<QGLShaderProgram>();
    m_program->addShaderFromSourceFile(QGLShader::Vertex, QLatin1String(files.vertexFile));
    m_program->addShaderFromSourceFile(QGLShader::Fragment, QLatin1String(files.fragmentFile));
    m_program->bindAttributeLocation("vertexPos", int(Attribute::Position));
    m_program->bindAttributeLocation("vertexNormal", int(Attribute::Normal));
    m_program->bindAttributeLocation("vertexTexcoord", int(Attribute::Texcoord));
    m_program->link();
    m_locations.clear();
}

void GlProgram::resolveLocations(const std::vector<QByteArray> &names)
{
    m_locations.clear();
    for (const QByteArray &name : names)
        m_locations.push_back(m_program->uniformLocation(name.constData()));
}

bool GlProgram::isLinked() const
{
    return m_program && m_program->isLinked();
}

unsigned int GlProgram::id() const
{
    return m_program ? m_program->programId() : 0;
}

void GlProgram::bind()
{
    m_program->bind();
}

void GlProgram::release()
{
    m_program->release();
}

void GlProgram::setValue(int uniform, bool value)
{
    m_program->setUniformValue(location(uniform), GLint(value));
}

void GlProgram::setValue(int uniform, int value)
{
    m_program->setUniformValue(location(uniform), GLint(value));
}

void GlProgram::setValue(int uniform, float value)
{
    m_program->setUniformValue(location(uniform), GLfloat(value));
}

void GlProgram::setValue(int uniform, const QVector3D &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void GlProgram::setValue(int uniform, const QVector4D &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void GlProgram::setValue(int uniform, const QMatrix3x3 &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void GlProgram::setValue(int uniform, const QMatrix4x4 &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void warnOfMissingUniform(const char *program, const QByteArray &uniform)
{
    qWarning("The %s program has no uniform \"%s\"", program, uniform.constData());
}

} // namespace Quorvel
