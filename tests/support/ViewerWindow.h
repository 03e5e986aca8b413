#pragma once

#include "MainView.h"
#include "Node.h"
#include "PainterState.h"
#include "Pipeline.h"
#include "Scene.h"
#include "StartScreen.h"
#include "VirtualScreen.h"

#include <QApplication>
#include <QMouseEvent>
#include <QStatusBar>
#include <QToolButton>
#include <QWheelEvent>
#include <QtTest>

namespace Quorvel
{

/// A window under test, with pointer, wheel and key events that arrive where a person's would: at the drawing
/// surface, or at the window for keys.
struct ViewerWindow
{
    ViewerWindow()
    {
        view.resize(640, 480);
        view.show();
    }

    /// Waits until the engine is up and has shown the start screen.
    bool start()
    {
        return QTest::qWaitFor([this] { return hasStarted(); }, 10000);
    }
    /// Waits for the engine, opens a file, and waits until it fills the screen and has the keys.
    bool open(const QString &filename)
    {
        if (!start())
            return false;
        view.openScene(filename);
        const QString title = MainView::displayName(filename) + QStringLiteral(" - Quorvel");
        // The logo leaves the quality low for half a second.
        return QTest::qWaitFor(
            [this, title] {
                return view.windowTitle() == title && view.isActiveWindow() &&
                       view.size() == QSize(1280, 800) && !state().lowQuality();
            },
            10000);
    }

    QString status() const { return view.statusBar()->currentMessage(); }
    bool isIdle() const { return status().startsWith(QStringLiteral("Quorvel 3d-viewer")); }
    bool hasStarted() const { return isIdle() && startScreen(); }
    StartScreen *startScreen() const { return qobject_cast<StartScreen *>(view.centralWidget()); }
    /// The start screen's thumbnails from left to right, or none.
    QList<QToolButton *> thumbnails() const
    {
        return startScreen() ? startScreen()->findChildren<QToolButton *>() : QList<QToolButton *>();
    }
    QString title() const { return view.windowTitle(); }
    PainterState &state() { return view.pipeline()->state(); }
    QMatrix4x4 camera() const { return view.scene()->activeCameraNode()->localTransform(); }
    Qt::CursorShape cursor() const { return view.cursor().shape(); }

    void mouse(QEvent::Type type, const QPoint &position, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        QMouseEvent event(type, position, view.pipeline()->mapToGlobal(position), button, buttons,
                          Qt::NoModifier);
        deliver(&event);
    }
    void press(const QPoint &position)
    {
        mouse(QEvent::MouseButtonPress, position, Qt::LeftButton, Qt::LeftButton);
    }
    void release(const QPoint &position) { mouse(QEvent::MouseButtonRelease, position, Qt::LeftButton, {}); }
    void doubleClick(const QPoint &position)
    {
        mouse(QEvent::MouseButtonDblClick, position, Qt::LeftButton, Qt::LeftButton);
    }
    void moveTo(const QPoint &position, Qt::MouseButtons buttons = Qt::LeftButton)
    {
        mouse(QEvent::MouseMove, position, Qt::NoButton, buttons);
    }
    void wheel(int delta)
    {
        const QPoint position(320, 240);
        QWheelEvent event(position, view.pipeline()->mapToGlobal(position), QPoint(), QPoint(0, delta), {},
                          {}, Qt::NoScrollPhase, false);
        deliver(&event);
    }

    MainView view;

private:
    /// As from the windowing system: only such wheel events go on from the surface to the window.
    void deliver(QEvent *event)
    {
        QSpontaneKeyEvent::setSpontaneous(event);
        qApp->notify(view.pipeline(), event);
    }
};

/// The main function of a test with a MainView: a virtual screen, an application as the program makes it, and
/// the test object.
template <typename Test>
int runOnVirtualScreen(int argc, char *argv[])
{
    QApplication::setQuitOnLastWindowClosed(false);
    MainView::prepareApplication();
    QCoreApplication::setOrganizationName(QStringLiteral("Quorvel Project"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    return runOnVirtualScreenAs<Test, QApplication>(argc, argv);
}

} // namespace Quorvel
