#include "MainView.h"

#include "AboutDialog.h"
#include "CameraPayload.h"
#include "ColladaLoader.h"
#include "JoinRequestDialog.h"
#include "JoinSessionDialog.h"
#include "LoadIndicator.h"
#include "Node.h"
#include "PainterDialog.h"
#include "PainterState.h"
#include "Pipeline.h"
#include "Scene.h"
#include "SceneCamera.h"
#include "SceneDrag.h"
#include "ScenePayload.h"
#include "StartScreen.h"
#include "StatusLine.h"
#include "ViewCommands.h"
#include "WindowSettings.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDataStream>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStatusBar>
#include <QUrl>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <utility>

namespace Quorvel
{

namespace
{

const QString bannerText = QStringLiteral("Quorvel 3d-viewer - \u00a9 2026 Quorvel Project");
const QString forwardPainterName = QStringLiteral("Forward pipeline");

constexpr int engineStartDelay = 500; // milliseconds
constexpr int highQualityDelay = 500; // milliseconds
constexpr int animationInterval = 16; // milliseconds
constexpr std::array<int, StartScreen::thumbnailCount> thumbnailKeys = {Qt::Key_A, Qt::Key_S, Qt::Key_D,
                                                                        Qt::Key_F, Qt::Key_G};

/// A pipe is read like a file; a folder is not.
bool isScene(const QString &filename)
{
    const QFileInfo file(filename);
    return file.exists() && !file.isDir();
}

} // namespace

void MainView::prepareApplication()
{
    // Beside the drawing surface, which has to have a native window, every widget would get one. The toolkit
    // moves such windows with what was last painted in them, which on a busy machine may be of another place.
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
}

MainView::MainView(QWidget *parent)
    : QMainWindow(parent)
    , m_sharedSession(this)
    , m_statusLine(new StatusLine(this))
    , m_joinQuestions(&m_sharedSession,
                      [this](const NetworkMessage &request) { return grantsJoinRequest(request); })
    , m_firstScene(std::make_unique<Scene>())
{
    m_statusLine->show(QStringLiteral("Initializing engine..."));
    m_scene = m_firstScene.get();

    // Its native window is there at once, and is made anew for the format: inside this window by then. A
    // window manager may answer late what was asked of the first one, and would place the surface where it
    // was asked to, over its neighbours.
    m_pipeline = new Pipeline;
    m_pipeline->setAttribute(Qt::WA_DontCreateNativeAncestors);
    setCentralWidget(m_pipeline);
    m_pipeline->setFormat(
        QGLFormat(QGL::DoubleBuffer | QGL::DepthBuffer | QGL::AlphaChannel | QGL::SampleBuffers));

    ViewCommands::addActions(this, m_lowQualityInteraction);
    ViewCommands::addStatusButtons(this);
    m_loadIndicator = new LoadIndicator(this);
    statusBar()->insertPermanentWidget(0, m_loadIndicator);
    setAcceptDrops(true);

    // Quirk(window-size): the stored size never shows, main resizes the window right after construction;
    // every start is to show the same size, and the store keeps the key for whoever reads it.
    resize(WindowSettings().size());

    connect(&m_sharedSession, &SharedSession::messageReceived, this, &MainView::messageReceived);
    // A scene is sent on the way to its picture, which ends with the banner.
    connect(&m_sharedSession, &SharedSession::sceneNotSent, m_statusLine, &StatusLine::show,
            Qt::QueuedConnection);
    m_highQualityTimer.setSingleShot(true);
    connect(&m_highQualityTimer, &QTimer::timeout, this, &MainView::highQualityPaint);
    connect(&m_animationTimer, &QTimer::timeout, this, &MainView::testAnimation);
    connect(&m_loaderThread, &ColladaLoaderThread::completed, this, &MainView::sceneLoadCompleted);
    // The pipeline announces itself while it paints; widgets that move meanwhile would be painted where they
    // were.
    connect(m_pipeline, &Pipeline::initialized, this, &MainView::initialized, Qt::QueuedConnection);
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
        m_statusLine->show(complaint);
    }
    // Quirk(early-load): a scene that came in before the engine was up is dropped for an empty one, unseen;
    // the engine always comes up in the same view, and the program opens its scene once more after that.
    replaceScene(new Scene);
    if (std::exchange(m_engineStart, EngineStart::Done) == EngineStart::AnnouncedEarly)
        initialized();
}

void MainView::initialized()
{
    // A scene that came in before initPipeline() has used up the pipeline's only announcement.
    if (m_engineStart == EngineStart::Waiting) {
        m_engineStart = EngineStart::AnnouncedEarly;
        return;
    }
    m_pipeline->setPainterType(Pipeline::ForwardPainterType);
    m_pipeline->preparePainter();
    m_pipeline->update();
    showStartScreen();
    showBanner();
    if (const auto callback = std::exchange(m_engineIsUp, nullptr))
        callback();
}

// Start screen and viewport

void MainView::showStartScreen()
{
    // Before the engine is up the start screen is on its way.
    if (m_startScreen || m_engineStart != EngineStart::Done)
        return;
    if (isFullScreen())
        toggleFullscreen();
    // Quirk(stale-title): the title goes on naming the scene that was left, until the next one is opened;
    // the start screen has no title of its own.
    auto *const logo = new Scene;
    const ColladaLoader loader(logo, QStringLiteral(":/models/logo.DAE"));
    replaceScene(logo);
    if (!m_animationTimer.isActive())
        toggleTestAnimation();
    // The surface moves over before the central widget is set, which would otherwise delete it.
    m_startScreen = new StartScreen(m_pipeline, this);
    connect(m_startScreen, &StartScreen::sceneChosen, this, qOverload<const QString &>(&MainView::openScene));
    setCentralWidget(m_startScreen);
    setFocus();
    endGesture();
}

void MainView::showViewport()
{
    if (!m_startScreen)
        return;
    // The start screen is deleted when control is back in the event loop; the surface has moved out by then.
    m_startScreen = nullptr;
    setCentralWidget(m_pipeline);
    setFocus();
    endGesture();
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
    if (!isScene(filename))
        return;
    setWindowTitle(QStringLiteral("Quorvel"));
    m_statusLine->show(QStringLiteral("Loading %1 ...").arg(displayName(filename)));
    m_loadIndicator->begin();
    m_loaderThread.load(filename);
}

void MainView::openScene()
{
    if (m_animationTimer.isActive())
        toggleTestAnimation();
    if (m_loaderThread.isRunning())
        return;
    const QString directory = WindowSettings().lastDirectory();
    const QString filename = QFileDialog::getOpenFileName(this, QStringLiteral("Open"), directory,
                                                          QStringLiteral("(*.dae *.xml *.DAE *.XML)"));
    m_keys.dialogEnded();
    if (isScene(filename))
        WindowSettings().setLastDirectory(QFileInfo(filename).absolutePath());
    openScene(filename);
}

bool MainView::isLoading() const
{
    return m_loadIndicator->isRunning();
}

void MainView::sceneLoadCompleted(Scene *scene)
{
    m_loadIndicator->end();
    if (!isVisible()) {
        delete scene;
        return;
    }
    replaceScene(scene);
    m_pipeline->preparePainter();
    sendScene();
    // Quirk(scene-turns): an animation that was started while the scene was loading turns the scene;
    // so does the logo's, when the start screen came up in the meantime.
    if (!isFullScreen())
        toggleFullscreen();
    showViewport();
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

// Window

void MainView::toggleFullscreen()
{
    if (isFullScreen()) {
        showNormal();
    } else {
        showViewport();
        showFullScreen();
    }
    showBanner();
}

void MainView::showBanner()
{
    m_statusLine->show(bannerText);
}

bool MainView::event(QEvent *event)
{
    // Comes before each press of a key, which does not come when it turns out to be a shortcut's.
    if (event->type() == QEvent::ShortcutOverride)
        m_keys.announce(static_cast<QKeyEvent *>(event)->key());
    // What ends the gesture will be let go of elsewhere.
    if (event->type() == QEvent::WindowBlocked || event->type() == QEvent::WindowDeactivate)
        endGesture();
    return QMainWindow::event(event);
}

void MainView::dragEnterEvent(QDragEnterEvent *event)
{
    if (!m_loaderThread.isRunning() && !SceneDrag::filename(event->mimeData()).isEmpty())
        SceneDrag::acceptCopy(event);
}

void MainView::dropEvent(QDropEvent *event)
{
    SceneDrag::acceptCopy(event);
    openScene(SceneDrag::filename(event->mimeData()));
}

void MainView::closeEvent(QCloseEvent *event)
{
    WindowSettings().setSize(size());
    QMainWindow::closeEvent(event);
}

// Dialogs

int MainView::run(QDialog *dialog)
{
    const int result = dialog->exec();
    m_keys.dialogEnded();
    return result;
}

void MainView::selectPipeline()
{
    PainterDialog dialog({forwardPainterName});
    if (run(&dialog) == QDialog::Accepted && !dialog.choice().isNull()) {
        if (dialog.choice() == forwardPainterName)
            m_pipeline->setPainterType(Pipeline::ForwardPainterType);
        else
            Q_ASSERT(false);
    }
    m_pipeline->doneCurrent();
    m_pipeline->update();
    showBanner();
}

void MainView::showAbout()
{
    AboutDialog dialog;
    if (run(&dialog) == QDialog::Accepted)
        QDesktopServices::openUrl(AboutDialog::productPage());
}

// Shared session

void MainView::joinSharedSession()
{
    JoinSessionDialog dialog(this);
    if (run(&dialog) == QDialog::Accepted) {
        dialog.store();
        m_joinQuestions.clear();
        m_sharedSession.join(dialog.server(), dialog.userName(), dialog.sessionNumber());
    }
    showBanner();
}

void MainView::sendCamera()
{
    const Node *const node = m_scene->activeCameraNode();
    if (node && m_sharedSession.isActive())
        m_sharedSession.sendCamera(node->localTransform());
}

void MainView::sendScene()
{
    if (m_sharedSession.isActive())
        m_sharedSession.sendScene(*m_scene);
}

void MainView::messageReceived(const NetworkMessage &message)
{
    if (message.kind == NetworkMessage::JoinRequest)
        m_joinQuestions.add(message);
    else if (message.kind == NetworkMessage::SceneRecord)
        receiveScene(message.data);
    else if (message.kind == NetworkMessage::CameraTransform)
        receiveCamera(message.data);
}

bool MainView::grantsJoinRequest(const NetworkMessage &request)
{
    JoinRequestDialog dialog(this, fromTextPayload(request.data));
    return run(&dialog) == QDialog::Accepted;
}

void MainView::receiveScene(const QByteArray &payload)
{
    m_statusLine->show(QStringLiteral("Loading model from shared session..."));
    QString fault;
    if (const std::optional<QByteArray> record = ScenePayload::decode(payload, &fault)) {
        // Quirk(scene-in-place): title and start screen stay, and an animation turns what has come;
        // the scene object is overwritten, so that whoever shows a scene shows the participants' one.
        m_pipeline->doneCurrent();
        m_pipeline->deletePainter();
        QDataStream stream(*record);
        m_scene->load(stream);
        m_pipeline->update();
    } else {
        qWarning("MainView: scene from the shared session refused: %s", qPrintable(fault));
    }
    showBanner();
}

void MainView::receiveCamera(const QByteArray &payload)
{
    if (const std::optional<QMatrix4x4> transform = CameraPayload::decode(payload))
        setCameraTransform(*transform);
    else
        qWarning("MainView: camera move from the shared session refused");
}

// Camera

SceneCamera MainView::camera() const
{
    return SceneCamera(m_scene);
}

void MainView::setCameraTransform(const QMatrix4x4 &transform)
{
    lowerQuality();
    camera().setTransform(transform);
    m_pipeline->update();
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
    camera().orbitHorizontal(1.0f);
    m_pipeline->update();
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

void MainView::toggle(bool (PainterState::*flag)() const, void (PainterState::*setFlag)(bool))
{
    PainterState &state = m_pipeline->state();
    (state.*setFlag)(!(state.*flag)());
    m_pipeline->update();
}

void MainView::toggleBackfaceCulling()
{
    toggle(&PainterState::backfaceCulling, &PainterState::setBackfaceCulling);
}

void MainView::toggleCastShadows()
{
    toggle(&PainterState::castShadows, &PainterState::setCastShadows);
}

void MainView::toggleAmbientOcclusion()
{
    toggle(&PainterState::ambientOcclusion, &PainterState::setAmbientOcclusion);
}

void MainView::toggleLowQuality()
{
    m_lowQualityInteraction = !m_lowQualityInteraction;
    m_pipeline->update();
}

void MainView::toggleOutlines()
{
    toggle(&PainterState::outlines, &PainterState::setOutlines);
}

// Input

void MainView::mousePressEvent(QMouseEvent *event)
{
    m_lastMousePos = event->pos();
    if (event->buttons() & Qt::LeftButton)
        setCursor(m_mouseMode.press(event->x(), width()));
    lowerQuality();
}

void MainView::mouseDoubleClickEvent(QMouseEvent *)
{
    m_highQualityTimer.stop();
    setCursor(m_mouseMode.doubleClick());
}

void MainView::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF delta = event->pos() - m_lastMousePos;
    m_lastMousePos = event->pos();
    if (!(event->buttons() & Qt::LeftButton))
        return;
    m_mouseMode.drag(delta, camera());
    m_pipeline->update();
    sendCamera();
}

void MainView::mouseReleaseEvent(QMouseEvent *)
{
    endGesture();
}

void MainView::endGesture()
{
    setCursor(m_mouseMode.release());
    restoreQualityLater();
}

void MainView::wheelEvent(QWheelEvent *event)
{
    lowerQuality();
    MouseMode::turnWheel(event->angleDelta().y(), camera());
    m_pipeline->update();
    sendCamera();
    restoreQualityLater();
}

void MainView::keyPressEvent(QKeyEvent *event)
{
    const bool isRepeat = m_keys.press(*event);
    if (m_mouseMode.pressKey(event->key()))
        return;
    const auto thumbnail = std::find(thumbnailKeys.begin(), thumbnailKeys.end(), event->key());
    if (thumbnail != thumbnailKeys.end()) {
        if (m_startScreen && !isRepeat)
            m_startScreen->press(int(thumbnail - thumbnailKeys.begin()));
        return;
    }
    switch (event->key()) {
    case Qt::Key_Q:
        QCoreApplication::quit();
        break;
    case Qt::Key_B:
        showStartScreen();
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
    const KeyHistory::Release release = m_keys.release(*event);
    if (release == KeyHistory::Release::Stray)
        return;
    if (m_mouseMode.releaseKey(event->key()))
        return;
    switch (event->key()) {
    case Qt::Key_F:
        if (release == KeyHistory::Release::Own)
            releaseFullscreenKey();
        break;
    case Qt::Key_Escape:
        if (isFullScreen())
            toggleFullscreen();
        break;
    default:
        QMainWindow::keyReleaseEvent(event);
    }
}

void MainView::releaseFullscreenKey()
{
    // Quirk(f-key-twice): on the start screen F clicks the fourth thumbnail and, let go, goes full screen;
    // kept, the sample ends there anyway, only the logo fills the screen first.
    const QString pressed = m_startScreen ? m_startScreen->pressedScene() : QString();
    toggleFullscreen();
    // The thumbnail is gone before it could click.
    if (!pressed.isEmpty())
        openScene(pressed);
}

} // namespace Quorvel
