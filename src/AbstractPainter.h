#pragma once

namespace Quorvel
{

class PainterState;

/// Turns a PainterState into pixels of the current framebuffer. GUI thread. Every operation, construction and
/// destruction included, needs the same GL context current.
class AbstractPainter
{
public:
    AbstractPainter() = default;
    AbstractPainter(const AbstractPainter &) = delete;
    AbstractPainter &operator=(const AbstractPainter &) = delete;
    virtual ~AbstractPainter() = default;

    /// Draws one frame. Changes a copy of the state only.
    virtual void paint(PainterState &state) = 0;
    /// Builds the GPU data of the state's scene, so that the first frame need not.
    virtual void prepare(PainterState &state) = 0;
    /// Frees all GPU data; the next paint() or prepare() builds it again.
    virtual void release() = 0;
};

} // namespace Quorvel
