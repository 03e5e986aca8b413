#include "Pipeline.h"

#include "ForwardPainter.h"
#include "Gles2.h"
#include "Scene.h"

#include <QtDebug>

namespace Quorvel
{

namespace
{

void clearToBlack()
{
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

} // namespace

Pipeline::Pipeline(QWidget *parent) : QGLWidget(parent), m_state(nullptr)
{
    setAttribute(Qt::WA_PaintOnScreen);
    setAttribute(Qt::WA_NoSystemBackground);
    m_frameTimer.start();
}

Pipeline::~Pipeline()
{
    deletePainter();
}

void Pipeline::setScene(Scene *scene)
{
    if (scene != m_scene.get()) {
        m_painterDirty = true;
        m_state.setScene(scene);
        m_scene.reset(scene);
    }
    update();
}

void Pipeline::setPainterType(int type)
{
    if (type == m_painterType)
        return;
    m_painterType = type;
    m_painterDirty = true;
    update();
}

void Pipeline::deletePainter()
{
    if (m_painter) {
        makeCurrent();
        m_painter.reset();
    }
    m_painterDirty = true;
}

void Pipeline::rebuildPainterIfDirty()
{
    if (!m_painterDirty)
        return;
    deletePainter();
    if (m_painterType == ForwardPainterType)
        m_painter = std::make_unique<ForwardPainter>();
    m_painterDirty = false;
}

bool Pipeline::isDrawable() const
{
    return m_scene && m_painter && m_scene->activeCameraNode();
}

void Pipeline::preparePainter()
{
    makeCurrent();
    rebuildPainterIfDirty();
    if (isDrawable()) {
        m_state.update();
        m_painter->prepare(m_state);
    }
    clearToBlack();
}

void Pipeline::initializeGL()
{
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    m_state.setBackfaceCulling(true);
}

void Pipeline::resizeGL(int w, int h)
{
    const int height = h == 0 ? 1 : h;
    m_state.setViewport(QRectF(0.0, 0.0, w, height));
    m_state.setAspect(float(w) / float(height));
}

void Pipeline::paintGL()
{
    rebuildPainterIfDirty();
    // Quirk(first-frame-black): the first paint that finds a scene shows black and only announces itself;
    // the window answers by choosing the painter, so there is nothing to draw with before.
    if (!m_initializedEmitted && m_scene) {
        clearToBlack();
        m_initializedEmitted = true;
        emit initialized();
    } else if (isDrawable()) {
        m_state.update();
        m_painter->paint(m_state);
    } else {
        clearToBlack();
    }
    countFrame();
}

void Pipeline::countFrame()
{
    if (!m_state.animating())
        return;
    constexpr qint64 reportEvery = 5000;
    const qint64 elapsed = m_frameTimer.elapsed();
    if (elapsed > reportEvery) {
        qDebug().noquote() << QString::number(m_frameCount / (double(elapsed) / 1000.0), 'f', 2);
        m_frameTimer.restart();
        m_frameCount = 0;
    }
    ++m_frameCount;
}

} // namespace Quorvel
