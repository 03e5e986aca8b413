#pragma once

#include "ColladaLoaderThread.h"

#include <QMainWindow>
#include <QPoint>
#include <QTimer>

#include <memory>

class QMatrix4x4;
class QVector3D;

namespace Quorvel
{

class Node;
class Pipeline;
class Scene;

/// The main window: shows one scene in its central widget, opens files in the background, and turns pointer,
/// wheel and keys into camera moves.
///
/// The engine comes up in two steps after construction: initPipeline() half a second after the event loop
/// starts, then initialized() at the first frame with a scene. Everything here runs on the GUI thread. Reads
/// and writes the "size" key of group "MainWindow" in the settings of the application object's organisation
/// and name, so those must be set before.
class MainView : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainView(QWidget *parent = nullptr);
    /// Waits for a load that is still running and deletes its scene.
    ~MainView() override;

    /// The drawing surface; lives as long as the view.
    Pipeline *pipeline() const { return m_pipeline; }
    /// The scene that input acts on. Owned by the pipeline, except the empty one before initPipeline().
    Scene *scene() const { return m_scene; }

    /// A file's name as title and status bar show it: its absolute path without its directory's.
    static QString displayName(const QString &filename);

    /// Places the camera: `transform` becomes the local transform of the active camera node. Counts as
    /// interaction.
    void setCameraTransform(const QMatrix4x4 &transform);

public slots:
    /// Loads a file in the background. Ignored while a load runs, and when there is no such file; an empty
    /// name only puts the banner back.
    void openScene(const QString &filename);
    void testAnimation();
    void highQualityPaint();
    void toggleBackfaceCulling();
    void toggleCastShadows();
    void toggleAmbientOcclusion();
    /// Whether interaction lowers the quality. The painter's own flag stays as it is.
    void toggleLowQuality();
    void toggleTestAnimation();
    void toggleFullscreen();
    void toggleOutlines();
    void initPipeline();
    /// Takes `scene` over and shows it full screen; deletes it when the window has been closed in the
    /// meantime.
    void sceneLoadCompleted(Scene *scene);
    void initialized();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    /// What a drag with the left button does.
    enum class MouseMode { Move, Orbit, Zoom, Roll };

    /// Hands `scene` over to the pipeline, which deletes the one before.
    void replaceScene(Scene *scene);
    void showBanner();
    void lowerQuality();
    void restoreQualityLater();

    // Each does nothing without an active camera node; angles are degrees, distances are multiples of the
    // distance to the scene's centre.
    void rollCamera(float angle);
    void orbitHorizontal(float angle);
    void orbitVertical(float angle);
    void zoomCamera(float amount);
    void moveCamera(float right, float up);

    Node *cameraNode() const;
    QVector3D sceneCentre() const;
    void placeCamera(Node *camera, const QMatrix4x4 &transform);

    Pipeline *m_pipeline = nullptr;
    Scene *m_scene = nullptr;
    QPoint m_lastMousePos;
    bool m_lowQualityInteraction = true;
    QTimer m_highQualityTimer;
    QTimer m_animationTimer;
    ColladaLoaderThread m_loaderThread;
    MouseMode m_mouseMode = MouseMode::Orbit;
    /// What the view acts on until the pipeline gets a scene.
    const std::unique_ptr<Scene> m_firstScene;
};

} // namespace Quorvel
