#include "MouseMode.h"

#include "SceneCamera.h"

#include <QPointF>

namespace Quorvel
{

namespace
{

constexpr int edgeBand = 64; // pixels
constexpr double zoomPerPixel = 0.009;
constexpr double movePerPixel = 0.0015;
constexpr double degreesPerPixel = 0.4;
constexpr float wheelAnglePerZoom = -1000.0f;

} // namespace

Qt::CursorShape MouseMode::press(int x, int width)
{
    if (x > width - edgeBand) {
        m_mode = Mode::Zoom;
        return Qt::SizeBDiagCursor;
    }
    if (x < edgeBand) {
        m_mode = Mode::Roll;
        return Qt::SizeBDiagCursor;
    }
    return Qt::PointingHandCursor;
}

Qt::CursorShape MouseMode::doubleClick()
{
    m_mode = Mode::Move;
    return Qt::SizeAllCursor;
}

Qt::CursorShape MouseMode::release()
{
    m_mode = Mode::Orbit;
    return Qt::ArrowCursor;
}

bool MouseMode::pressKey(int key)
{
    if (key == Qt::Key_Z)
        m_mode = Mode::Zoom;
    else if (key == Qt::Key_X)
        m_mode = Mode::Move;
    else
        return false;
    return true;
}

bool MouseMode::releaseKey(int key)
{
    if (key != Qt::Key_Z && key != Qt::Key_X)
        return false;
    m_mode = Mode::Orbit;
    return true;
}

void MouseMode::drag(const QPointF &delta, SceneCamera camera) const
{
    switch (m_mode) {
    case Mode::Move:
        camera.move(-delta.x() * movePerPixel, delta.y() * movePerPixel);
        break;
    case Mode::Orbit:
        camera.orbitHorizontal(-delta.x() * degreesPerPixel);
        camera.orbitVertical(-delta.y() * degreesPerPixel);
        break;
    case Mode::Zoom:
        camera.zoom(delta.y() * zoomPerPixel);
        break;
    case Mode::Roll:
        camera.roll(-delta.y() * degreesPerPixel);
        break;
    }
}

void MouseMode::turnWheel(int angle, SceneCamera camera)
{
    camera.zoom(angle / wheelAnglePerZoom);
}

} // namespace Quorvel
