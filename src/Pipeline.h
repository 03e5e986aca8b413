#pragma once

#include "AbstractPainter.h"
#include "PainterState.h"

#include <QElapsedTimer>
#include <QGLWidget>

#include <memory>

namespace Quorvel
{

class Scene;

/// The drawing surface: shows one scene with one painter.
///
/// Owns the scene and the painter. GUI thread. Whatever touches the painter makes the GL context current
/// itself, and preparePainter() leaves it current.
class Pipeline : public QGLWidget
{
    Q_OBJECT

public:
    /// What setPainterType() takes; any other number means no painter as well.
    enum PainterType { NoPainter = 0, ForwardPainterType = 1 };

    explicit Pipeline(QWidget *parent = nullptr);
    ~Pipeline() override;

    /// Takes ownership and deletes the scene shown before. The painter is made anew for it.
    void setScene(Scene *scene);
    /// Takes effect at the next paint or preparePainter().
    void setPainterType(int type);
    void deletePainter();
    /// Makes the painter that is due, builds its GPU data for the scene and clears the surface to black.
    void preparePainter();

    PainterState &state() { return m_state; }

signals:
    /// Once, from the first paint that finds a scene. That frame stays black. Whoever lets go of the GL
    /// context or rearranges widgets then must be connected queued: the paint goes on, with the context
    /// current.
    void initialized();

protected:
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;

private:
    void rebuildPainterIfDirty();
    bool isDrawable() const;
    void countFrame();

    int m_painterType = NoPainter;
    bool m_painterDirty = true;
    std::unique_ptr<Scene> m_scene;
    std::unique_ptr<AbstractPainter> m_painter;
    PainterState m_state;
    int m_frameCount = 0;
    QElapsedTimer m_frameTimer;
    bool m_initializedEmitted = false;
};

} // namespace Quorvel
