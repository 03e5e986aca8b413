#pragma once

#include "Gles2.h"

#include <QVector>

class QVector2D;
class QVector3D;
class QVector4D;

namespace Quorvel
{

/// One GL buffer of vertex attributes, packed floats written once and drawn many times.
///
/// Every member, the destructor included, needs the owning GL context (or one that shares with it) current.
class VertexBuffer
{
public:
    VertexBuffer();
    VertexBuffer(VertexBuffer &&other) noexcept;
    VertexBuffer &operator=(VertexBuffer &&other) noexcept;
    VertexBuffer(const VertexBuffer &) = delete;
    VertexBuffer &operator=(const VertexBuffer &) = delete;
    virtual ~VertexBuffer();

    void bind() const;
    void release() const;

    /// Replaces the contents of the vertex buffer that is bound, which the caller has made this one.
    void upload(const QVector<QVector4D> &vectors);
    void upload(const QVector<QVector3D> &vectors);
    void upload(const QVector<QVector2D> &vectors);

private:
    GLuint m_name = 0;
};

} // namespace Quorvel
