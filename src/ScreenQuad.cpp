#include "ScreenQuad.h"

#include "ShaderProgram.h"

#include <QVector2D>

namespace Quorvel
{

ScreenQuad::ScreenQuad()
{
    m_corners.bind();
    m_corners.upload(QVector<QVector2D>{{-1, -1}, {1, -1}, {1, 1}, {-1, 1}});
    m_corners.release();
    m_indices.bind();
    m_indices.upload({0, 1, 2, 3});
    m_indices.release();
}

void ScreenQuad::draw() const
{
    constexpr auto position = GLuint(Attribute::Position);
    m_corners.bind();
    glVertexAttribPointer(position, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(position);
    m_indices.bind();
    glDrawElements(GL_TRIANGLE_FAN, m_indices.count(), GL_UNSIGNED_INT, nullptr);
    m_indices.release();
    glDisableVertexAttribArray(position);
    m_corners.release();
}

} // namespace Quorvel
