#include "VertexBuffer.h"

#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

#include <utility>

namespace Quorvel
{

namespace
{

/// The toolkit's vectors are bare components in the order x, y, z, w, so an array of them is packed already.
template <typename Vector, int Components>
void uploadPacked(const QVector<Vector> &vectors)
{
    static_assert(sizeof(Vector) == Components * sizeof(GLfloat));
    glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(sizeof(Vector)) * vectors.size(), vectors.constData(),
                 GL_STATIC_DRAW);
}

} // namespace

VertexBuffer::VertexBuffer()
{
    glGenBuffers(1, &m_name);
}

VertexBuffer::VertexBuffer(VertexBuffer &&other) noexcept : m_name(std::exchange(other.m_name, 0)) {}

VertexBuffer &VertexBuffer::operator=(VertexBuffer &&other) noexcept
{
    std::swap(m_name, other.m_name);
    return *this;
}

VertexBuffer::~VertexBuffer()
{
    if (m_name)
        glDeleteBuffers(1, &m_name);
}

void VertexBuffer::bind() const
{
    glBindBuffer(GL_ARRAY_BUFFER, m_name);
}

void VertexBuffer::release() const
{
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

void VertexBuffer::upload(const QVector<QVector4D> &vectors)
{
    uploadPacked<QVector4D, 4>(vectors);
}

void VertexBuffer::upload(const QVector<QVector3D> &vectors)
{
    uploadPacked<QVector3D, 3>(vectors);
}

void VertexBuffer::upload(const QVector<QVector2D> &vectors)
{
    uploadPacked<QVector2D, 2>(vectors);
}

} // namespace Quorvel
