#pragma once

#include "Gles2.h"

#include <QVector>

namespace Quorvel
{

/// One GL buffer of 32-bit indices, written once and drawn many times as GL_UNSIGNED_INT. An ES 2.0 context
/// needs OES_element_index_uint to draw with it.
///
/// Every member but count(), the destructor included, needs the owning GL context (or one that shares with
/// it) current.
class IndexBuffer
{
public:
    IndexBuffer();
    IndexBuffer(IndexBuffer &&other) noexcept;
    IndexBuffer &operator=(IndexBuffer &&other) noexcept;
    IndexBuffer(const IndexBuffer &) = delete;
    IndexBuffer &operator=(const IndexBuffer &) = delete;
    virtual ~IndexBuffer();

    void bind() const;
    void release() const;

    /// Replaces the contents of the index buffer that is bound, which the caller has made this one.
    void upload(const QVector<int> &indices);

    /// Indices of the last upload.
    int count() const { return m_count; }

private:
    GLuint m_name = 0;
    int m_count = 0;
};

} // namespace Quorvel
