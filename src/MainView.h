#pragma once

#include "ColladaLoaderThread.h"
#include "JoinQuestions.h"
#include "KeyHistory.h"
#include "MouseMode.h"
#include "SharedSession.h"

#include <QMainWindow>
#include <QPoint>
#include <QTimer>

#include <functional>
#include <memory>

class QDialog;
class QMatrix4x4;

namespace Quorvel
{

class LoadIndicator;
class PainterState;
class Pipeline;
class Scene;
class SceneCamera;
class StartScreen;
class StatusLine;

/// The main window: shows one scene, opens files in the background, and turns pointer, wheel and keys into
/// camera moves.
///
/// Its central widget is either the start screen, with the drawing surface in its grid, or the surface
/// itself. The surface moves between the two places and lives as long as the view.
///
/// The engine comes up in two steps after construction: initPipeline() half a second after the event loop
/// starts, then initialized() at the first frame with a scene. Everything here runs on the GUI thread. Reads
/// and writes WindowSettings, so the application object's organisation and name must be set before.
class MainView : public QMainWindow
{
    Q_OBJECT

public:
    /// To be called before there is an application object, by every program that makes a view.
    static void prepareApplication();

    explicit MainView(QWidget *parent = nullptr);
    /// Waits for a load that is still running and deletes its scene.
    ~MainView() override;

    /// The drawing surface; lives as long as the view.
    Pipeline *pipeline() const { return m_pipeline; }
    /// The scene that input acts on. Owned by the pipeline, except the empty one before initPipeline().
    Scene *scene() const { return m_scene; }

    /// A file's name as title and status bar show it: its absolute path without its directory's.
    static QString displayName(const QString &filename);

    /// Whether a load has begun whose scene has not come in.
    bool isLoading() const;

    /// Calls back when the engine has come up and the start screen is there. For one caller, before that.
    void whenEngineIsUp(const std::function<void()> &callback) { m_engineIsUp = callback; }

    /// Places the camera: `transform` becomes the local transform of the active camera node. Counts as
    /// interaction.
    void setCameraTransform(const QMatrix4x4 &transform);

public slots:
    /// Loads a file in the background. Ignored while a load runs, and when there is no such file; an empty
    /// name only puts the banner back.
    void openScene(const QString &filename);
    void testAnimation();
    void highQualityPaint();
    /// Asks for the file.
    void openScene();
    void selectPipeline();
    void toggleBackfaceCulling();
    void toggleCastShadows();
    void toggleAmbientOcclusion();
    /// Whether interaction lowers the quality. The painter's own flag stays as it is.
    void toggleLowQuality();
    void toggleTestAnimation();
    void toggleFullscreen();
    void toggleOutlines();
    /// Asks which one, and starts to join it.
    void joinSharedSession();
    void showAbout();
    void initPipeline();
    /// Does what another participant of the shared session asks for.
    void messageReceived(const NetworkMessage &message);
    /// Takes `scene` over and shows it full screen; deletes it when the window has been closed in the
    /// meantime.
    void sceneLoadCompleted(Scene *scene);
    void initialized();
    /// Leaves full screen and shows the spinning logo under the thumbnails. Does nothing when they are shown.
    void showStartScreen();

protected:
    bool event(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    /// How far the engine has come up; the pipeline may announce itself before its time.
    enum class EngineStart { Waiting, AnnouncedEarly, Done };

    /// Hands `scene` over to the pipeline, which deletes the one before.
    void replaceScene(Scene *scene);
    /// Makes the drawing surface the central widget, and discards the start screen.
    void showViewport();
    void showBanner();
    /// Runs a dialog. The release of Escape that may have ended it is nobody's.
    int run(QDialog *dialog);
    void releaseFullscreenKey();
    /// Back to orbiting, and to full quality later.
    void endGesture();
    void lowerQuality();
    void restoreQualityLater();

    void toggle(bool (PainterState::*flag)() const, void (PainterState::*setFlag)(bool));
    SceneCamera camera() const;

    /// Each does nothing while the shared session is not active.
    void sendCamera();
    void sendScene();
    bool grantsJoinRequest(const NetworkMessage &request);
    void receiveScene(const QByteArray &payload);
    void receiveCamera(const QByteArray &payload);

    /// Null while the surface is the central widget.
    StartScreen *m_startScreen = nullptr;
    Pipeline *m_pipeline = nullptr;
    Scene *m_scene = nullptr;
    QPoint m_lastMousePos;
    SharedSession m_sharedSession;
    bool m_lowQualityInteraction = true;
    QTimer m_highQualityTimer;
    QTimer m_animationTimer;
    ColladaLoaderThread m_loaderThread;
    MouseMode m_mouseMode;
    EngineStart m_engineStart = EngineStart::Waiting;
    std::function<void()> m_engineIsUp;
    StatusLine *const m_statusLine;
    LoadIndicator *m_loadIndicator = nullptr;
    JoinQuestions m_joinQuestions;
    KeyHistory m_keys;
    /// What the view acts on until the pipeline gets a scene.
    const std::unique_ptr<Scene> m_firstScene;
};

} // namespace Quorvel
