#include "MainView.h"

#include "CameraMotion.h"
#include "Node.h"
#include "PainterState.h"
#include "Pipeline.h"
#include "Scene.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSettings>
#include <QStatusBar>
#include <QWheelEvent>

namespace Quorvel
{

namespace
{

const QString bannerText = QStringLiteral("Quorvel 3d-viewer - \u00a9 2026 Quorvel Project");

constexpr int engineStartDelay = 500; // milliseconds
constexpr int highQualityDelay = 500; // milliseconds
constexpr int animationInterval = 16; // milliseconds
constexpr int edgeBand = 64;          // pixels
constexpr double zoomPerPixel = 0.009;
constexpr double movePerPixel = 0.0015;
constexpr double degreesPerPixel = 0.4;

} // namespace

MainView::MainView(QWidget *parent) : QMainWindow(parent), m_firstScene(std::make_unique<Scene>())
{
    statusBar()->showMessage(QStringLiteral("Initializing engine..."));
    m_scene = m_firstScene.get();

    m_pipeline = new Pipeline;
    m_pipeline->setFormat(
        QGLFormat(QGL::DoubleBuffer | QGL::DepthBuffer | QGL::AlphaChannel | QGL::SampleBuffers));
    setCentralWidget(m_pipeline);

    QSettings settings(QCoreApplication::organizationName(), QCoreApplication::applicationName());
    settings.beginGroup(QStringLiteral("MainWindow"));
    // Quirk(window-size): the stored size never shows, main resizes the window right after construction;
    // every start is to show the same size, and the store keeps the key for whoever reads it.
    resize(settings.value(QStringLiteral("size"), QSize(640, 480)).toSize());

    m_highQualityTimer.setSingleShot(true);
    connect(&m_highQualityTimer, &QTimer::timeout, this, &MainView::highQualityPaint);
    connect(&m_animationTimer, &QTimer::timeout, this, &MainView::testAnimation);
    connect(&m_loaderThread, &ColladaLoaderThread::completed, this, &MainView::sceneLoadCompleted);
    connect(m_pipeline, &Pipeline::initialized, this, &MainView::initialized);
    QTimer::singleShot(engineStartDelay, this, &MainView::initPipeline);
}

MainView::~MainView()
{
    hide();
    m_loaderThread.wait();
    // A scene that was finished in the meantime is on its way and belongs to nobody yet.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

QString MainView::displayName(const QString &filename)
{
    const QString path = QFileInfo(filename).absoluteFilePath();
    // Quirk(display-name): the name keeps the slash before it, and loses every other mention of its
    // directory; titles and status texts are known in this form.
    return QString(path).remove(QFileInfo(path).absolutePath());
}

// Engine start

void MainView::initPipeline()
{
    // Quirk(shadows-flip): the flag is inverted rather than set;
    // this one call is what makes shadows start on.
    toggleCastShadows();
    if (!m_pipeline->isValid()) {
        const QString complaint =
            QStringLiteral("This display offers no OpenGL, so nothing can be drawn on it.");
        qWarning("%s", qPrintable(complaint));
        statusBar()->showMessage(complaint);
    }
    // Quirk(early-load): a scene that came in before the engine was up is dropped for an empty one, unseen;
    // the start always ends in the same view, and `--open` is the way to a file that waits for it.
    replaceScene(new Scene);
}

void MainView::initialized()
{
    m_pipeline->setPainterType(Pipeline::ForwardPainterType);
    m_pipeline->preparePainter();
    m_pipeline->update();
    showBanner();
}

// Scenes

void MainView::openScene(const QString &filename)
{
    if (m_animationTimer.isActive())
        toggleTestAnimation();
    if (m_loaderThread.isRunning())
        return;
    if (filename.isEmpty()) {
        showBanner();
        return;
    }
    if (!QFileInfo::exists(filename))
        return;
    setWindowTitle(QStringLiteral("Quorvel"));
    statusBar()->showMessage(QStringLiteral("Loading %1 ...").arg(displayName(filename)));
    m_loaderThread.load(filename);
}

void MainView::sceneLoadCompleted(Scene *scene)
{
    if (!isVisible()) {
        delete scene;
        return;
    }
    replaceScene(scene);
    m_pipeline->preparePainter();
    if (!isFullScreen())
        toggleFullscreen();
    setCentralWidget(m_pipeline);
    setWindowTitle(displayName(scene->name()) + QStringLiteral(" - Quorvel"));
    showBanner();
}

void MainView::replaceScene(Scene *scene)
{
    m_pipeline->doneCurrent();
    m_pipeline->deletePainter();
    m_scene = scene;
    m_pipeline->setScene(scene);
}

void MainView::showBanner()
{
    statusBar()->showMessage(bannerText);
}

void MainView::toggleFullscreen()
{
    if (isFullScreen())
        showNormal();
    else
        showFullScreen();
    showBanner();
}

void MainView::closeEvent(QCloseEvent *event)
{
    QSettings settings(QCoreApplication::organizationName(), QCoreApplication::applicationName());
    settings.beginGroup(QStringLiteral("MainWindow"));
    settings.setValue(QStringLiteral("size"), size());
    QMainWindow::closeEvent(event);
}

// Camera

Node *MainView::cameraNode() const
{
    return m_scene->activeCameraNode();
}

QVector3D MainView::sceneCentre() const
{
    return m_scene->rootNode()->boundingSphere().centre;
}

void MainView::placeCamera(Node *camera, const QMatrix4x4 &transform)
{
    camera->setLocalTransform(transform);
    m_pipeline->update();
}

void MainView::rollCamera(float angle)
{
    if (Node *const camera = cameraNode())
        placeCamera(camera, CameraMotion::roll(camera->localTransform(), angle));
}

void MainView::orbitHorizontal(float angle)
{
    if (Node *const camera = cameraNode())
        placeCamera(camera, CameraMotion::orbitHorizontal(camera->localTransform(), camera->worldTransform(),
                                                          sceneCentre(), angle));
}

void MainView::orbitVertical(float angle)
{
    if (Node *const camera = cameraNode())
        placeCamera(camera, CameraMotion::orbitVertical(camera->localTransform(), camera->worldTransform(),
                                                        sceneCentre(), angle));
}

void MainView::zoomCamera(float amount)
{
    if (Node *const camera = cameraNode())
        placeCamera(camera, CameraMotion::zoom(camera->localTransform(), camera->worldTransform(),
                                               sceneCentre(), amount));
}

void MainView::moveCamera(float right, float up)
{
    if (Node *const camera = cameraNode())
        placeCamera(camera, CameraMotion::move(camera->localTransform(), camera->worldTransform(),
                                               sceneCentre(), right, up));
}

void MainView::setCameraTransform(const QMatrix4x4 &transform)
{
    lowerQuality();
    if (Node *const camera = cameraNode())
        placeCamera(camera, transform);
    restoreQualityLater();
}

// Quality

void MainView::lowerQuality()
{
    m_highQualityTimer.stop();
    if (m_lowQualityInteraction)
        m_pipeline->state().setLowQuality(true);
}

void MainView::restoreQualityLater()
{
    m_highQualityTimer.start(highQualityDelay);
}

void MainView::highQualityPaint()
{
    // Quirk(stuck-low-quality): with the option switched off during a drag nothing restores the quality;
    // kept, the flag belongs to whoever set it, and the next step of the test animation clears it.
    if (m_lowQualityInteraction)
        m_pipeline->state().setLowQuality(false);
    m_pipeline->update();
}

// Test animation

void MainView::testAnimation()
{
    lowerQuality();
    orbitHorizontal(1.0f);
    if (!m_lowQualityInteraction)
        m_pipeline->state().setLowQuality(false);
}

void MainView::toggleTestAnimation()
{
    if (m_animationTimer.isActive()) {
        m_pipeline->state().setAnimating(false);
        m_animationTimer.stop();
        restoreQualityLater();
    } else {
        m_pipeline->state().setAnimating(true);
        m_animationTimer.start(animationInterval);
    }
}

// Rendering options

void MainView::toggleBackfaceCulling()
{
    PainterState &state = m_pipeline->state();
    state.setBackfaceCulling(!state.backfaceCulling());
    m_pipeline->update();
}

void MainView::toggleCastShadows()
{
    PainterState &state = m_pipeline->state();
    state.setCastShadows(!state.castShadows());
    m_pipeline->update();
}

void MainView::toggleAmbientOcclusion()
{
    PainterState &state = m_pipeline->state();
    state.setAmbientOcclusion(!state.ambientOcclusion());
    m_pipeline->update();
}

void MainView::toggleLowQuality()
{
    m_lowQualityInteraction = !m_lowQualityInteraction;
    m_pipeline->update();
}

void MainView::toggleOutlines()
{
    PainterState &state = m_pipeline->state();
    state.setOutlines(!state.outlines());
    m_pipeline->update();
}

// Input

void MainView::mousePressEvent(QMouseEvent *event)
{
    m_lastMousePos = event->pos();
    if (event->buttons() & Qt::LeftButton) {
        if (event->x() > width() - edgeBand) {
            m_mouseMode = MouseMode::Zoom;
            setCursor(Qt::SizeBDiagCursor);
        } else if (event->x() < edgeBand) {
            m_mouseMode = MouseMode::Roll;
            setCursor(Qt::SizeBDiagCursor);
        } else {
            setCursor(Qt::PointingHandCursor);
        }
    }
    lowerQuality();
}

void MainView::mouseDoubleClickEvent(QMouseEvent *)
{
    m_highQualityTimer.stop();
    m_mouseMode = MouseMode::Move;
    setCursor(Qt::SizeAllCursor);
}

void MainView::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF delta = event->pos() - m_lastMousePos;
    m_lastMousePos = event->pos();
    if (!(event->buttons() & Qt::LeftButton))
        return;
    switch (m_mouseMode) {
    case MouseMode::Move:
        moveCamera(-delta.x() * movePerPixel, delta.y() * movePerPixel);
        break;
    case MouseMode::Orbit:
        orbitHorizontal(-delta.x() * degreesPerPixel);
        orbitVertical(-delta.y() * degreesPerPixel);
        break;
    case MouseMode::Zoom:
        zoomCamera(delta.y() * zoomPerPixel);
        break;
    case MouseMode::Roll:
        rollCamera(-delta.y() * degreesPerPixel);
        break;
    }
}

void MainView::mouseReleaseEvent(QMouseEvent *)
{
    m_mouseMode = MouseMode::Orbit;
    setCursor(Qt::ArrowCursor);
    restoreQualityLater();
}

void MainView::wheelEvent(QWheelEvent *event)
{
    lowerQuality();
    zoomCamera(event->angleDelta().y() / -1000.0f);
    restoreQualityLater();
}

void MainView::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Q:
        QCoreApplication::quit();
        break;
    case Qt::Key_Z:
        m_mouseMode = MouseMode::Zoom;
        break;
    case Qt::Key_X:
        m_mouseMode = MouseMode::Move;
        break;
    default:
        QMainWindow::keyPressEvent(event);
    }
}

void MainView::keyReleaseEvent(QKeyEvent *event)
{
    // A held key repeats its release; the person has not let go of it yet.
    if (event->isAutoRepeat())
        return;
    switch (event->key()) {
    case Qt::Key_Z:
    case Qt::Key_X:
        m_mouseMode = MouseMode::Orbit;
        break;
    case Qt::Key_F:
        toggleFullscreen();
        break;
    case Qt::Key_Escape:
        if (isFullScreen())
            toggleFullscreen();
        break;
    default:
        QMainWindow::keyReleaseEvent(event);
    }
}

} // namespace Quorvel
