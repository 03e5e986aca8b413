#pragma once

#include "FrameSketch.h"
#include "GlTest.h"

namespace Quorvel::Test
{

/// A test of frames that are described by a FrameSketch; its functions begin without shared programs.
class FrameTest : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

protected:
    /// What is wrong with a frame of a painter of its own; empty if it is as expected.
    QString fault(FrameSketch &sketch, const std::function<void(PainterState &)> &set = {})
    {
        return sketch.fault(drawFrame(m_context, sketch.scene.scene(), set));
    }

private slots:
    void init() { forgetPrograms(); }
};

} // namespace Quorvel::Test
