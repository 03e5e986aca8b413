#include "IndexBuffer.h"

#include <utility>

namespace Quorvel
{

IndexBuffer::IndexBuffer()
{
    glGenBuffers(1, &m_name);
}

IndexBuffer::IndexBuffer(IndexBuffer &&other) noexcept
    : m_name(std::exchange(other.m_name, 0)), m_count(std::exchange(other.m_count, 0))
{
}

IndexBuffer &IndexBuffer::operator=(IndexBuffer &&other) noexcept
{
    std::swap(m_name, other.m_name);
    std::swap(m_count, other.m_count);
    return *this;
}

IndexBuffer::~IndexBuffer()
{
    if (m_name)
        glDeleteBuffers(1, &m_name);
}

void IndexBuffer::bind() const
{
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_name);
}

void IndexBuffer::release() const
{
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

void IndexBuffer::upload(const QVector<int> &indices)
{
    static_assert(sizeof(int) == sizeof(GLuint));
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(sizeof(int)) * indices.size(), indices.constData(),
                 GL_STATIC_DRAW);
    m_count = indices.size();
}

} // namespace Quorvel
