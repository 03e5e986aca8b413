#pragma once

#include "WireFrame.h"

namespace Quorvel
{

/// Cuts a stream of bytes from an untrusted peer into frames. Each byte is copied a bounded number of times,
/// and memory follows the bytes that came, not the length that a frame announces.
class FrameSplitter
{
public:
    enum class Fault { None, TooLong, Malformed };

    /// The longest frames that are taken, as the length in front of them counts.
    struct Limits
    {
        quint32 scene = 0;
        quint32 other = 0;
    };

    explicit FrameSplitter(const Limits &limits);

    /// Holds for frames that begin after this.
    void setLimits(const Limits &limits) { m_limits = limits; }

    /// Takes bytes up to the end of one frame. Returns how many it took, at least one, and sets `frame` when
    /// the frame is whole. After a fault it takes everything and gives nothing.
    int take(const char *bytes, int size, WireFrame *frame);

    Fault fault() const { return m_fault; }
    /// Whether a frame has begun and is not whole yet.
    bool isInsideFrame() const { return m_headSize > 0; }
    /// Size of the frame that has begun, 0 while it is not known.
    int frameSize() const { return m_total; }

private:
    static constexpr int HeadSize = WireFrame::LengthSize + 1;

    int takeHead(const char *bytes, int size);
    void checkLength();
    void checkKind();
    void makeRoom(int more);

    Limits m_limits;
    Fault m_fault = Fault::None;
    char m_head[HeadSize] = {};
    int m_headSize = 0;
    int m_total = 0;
    QByteArray m_bytes;
};

} // namespace Quorvel
