#pragma once

#include <Qt>

class QPointF;

namespace Quorvel
{

class SceneCamera;

/// What a drag with the left button does to the camera, and what decides it: where the press is, a double
/// click, a held key. Positions and distances are pixels of the view; x grows to the right, y downwards.
///
/// What begins or ends a drag returns the cursor for the time after it. A held key has none of its own: the
/// next press says what shows.
class MouseMode
{
public:
    enum class Mode { Move, Orbit, Zoom, Roll };

    Mode mode() const { return m_mode; }

    /// The left button goes down at `x` in a view that is `width` wide: zooms from the band along the right
    /// edge, rolls from that along the left one, and keeps the mode between them.
    Qt::CursorShape press(int x, int width);
    Qt::CursorShape doubleClick();
    /// A button is let go of, or the gesture ends without that.
    Qt::CursorShape release();

    /// False for keys that have no mode.
    bool pressKey(int key);
    bool releaseKey(int key);

    /// Moves the camera as the pointer has moved.
    void drag(const QPointF &delta, SceneCamera camera) const;
    /// Moves the camera by the wheel, in any mode: eighths of a degree, 120 a notch, positive away from the
    /// person.
    static void turnWheel(int angle, SceneCamera camera);

private:
    Mode m_mode = Mode::Orbit;
};

} // namespace Quorvel
