#pragma once

#include "OffscreenContext.h"

#include <QSize>
#include <QStringList>
#include <QTest>

#include <functional>

namespace Quorvel::Test
{

/// Runs windowless GL tests in one lane per process: a true OpenGL ES 2.0 context or a desktop one.
///
/// The environment variable QUORVEL_GL_LANE names the lane: "es" or "desktop". Drawing is done in software,
/// so that pixels do not depend on the machine, and in the ES lane the driver is held to version 2.0: what
/// only a later version allows fails there. A missing lane or context fails the test; it never skips.
class GlLane
{
public:
    /// What to run once the application object exists and the context is current. Returns the exit status.
    using Body = std::function<int(OffscreenContext &context)>;

    /// Makes the application object and a context of this size, prints the lane with its GL_VERSION, runs the
    /// body and takes both down again. Call it once, first thing in main. Returns the body's exit status,
    /// or 1.
    static int run(int argc, char **argv, const QSize &size, const Body &body);

    /// As above for one test object, which is constructed from `OffscreenContext &` with the context current:
    /// `return GlLane::run<FrameTest>(argc, argv);`
    template <typename TestObject>
    static int run(int argc, char **argv, const QSize &size = QSize(320, 240))
    {
        return run(argc, argv, size, [argc, argv](OffscreenContext &context) {
            TestObject test(context);
            return QTest::qExec(&test, argc, argv);
        });
    }
};

/// Takes all pending GL errors and returns their names, oldest first; empty if there are none. Needs a
/// current context: `QCOMPARE(glErrors(), QStringList());`
QStringList glErrors();

} // namespace Quorvel::Test
