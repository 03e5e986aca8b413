#include "Rendering.h"

#include "BlankPicture.h"
#include "Camera.h"
#include "CameraMotion.h"
#include "ForwardPainter.h"
#include "Gles2.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"

#include <QElapsedTimer>

#include <algorithm>

namespace Quorvel
{

namespace
{

PainterState startState(Scene *scene, const RenderOptions &options)
{
    PainterState state(scene);
    state.setViewport(QRectF(QPointF(0.0, 0.0), QSizeF(options.size)));
    state.setAspect(float(options.size.width()) / float(options.size.height()));
    state.setBackfaceCulling(options.backfaceCulling);
    state.setLowQuality(options.lowQuality);
    state.setCastShadows(options.shadows);
    state.setAmbientOcclusion(options.ambientOcclusion);
    state.setOutlines(options.outlines);
    state.update();
    return state;
}

QVector<double> timeFrames(ForwardPainter *painter, PainterState state, int frames)
{
    QVector<double> times;
    for (int i = 0; i < frames; ++i) {
        QElapsedTimer timer;
        timer.start();
        state.update();
        painter->paint(state);
        glFinish();
        times.append(double(timer.nsecsElapsed()) / 1e6);
    }
    return times;
}

/// Room for the picture to be moved by whole pixels.
constexpr int Margin = 8;

/// Moves the picture in the buffer to `corner`, and what lies at `place` in each of its pixels to their
/// middles.
void moveView(PainterState *state, const QSize &picture, const QPoint &corner, const QPointF &place)
{
    const QSizeF buffer = state->viewport().size();
    const QPointF middle =
        QPointF(picture.width(), picture.height()) / 2.0 + corner + QPointF(0.5, 0.5) - place;
    QMatrix4x4 move;
    move.translate(float(2.0 * middle.x() / buffer.width() - 1.0),
                   float(2.0 * middle.y() / buffer.height() - 1.0));
    move.scale(float(picture.width() / buffer.width()), float(picture.height() / buffer.height()));
    state->setViewToClip(move * state->viewToClip());
}

/// The picture in what the buffer holds, whose top row comes first.
QImage cutOut(const QImage &buffer, const QSize &picture, const QPoint &corner)
{
    return buffer.copy(corner.x(), buffer.height() - corner.y() - picture.height(), picture.width(),
                       picture.height());
}

QImage drawSamples(ForwardPainter *painter, const PainterState &state, const RenderOptions &options,
                   OffscreenContext *context)
{
    const QSize room = context->size() - options.size;
    PictureMean mean;
    for (int i = 0; i < options.samples; ++i) {
        PainterState sample = state;
        sample.setViewport(QRectF(QPointF(0.0, 0.0), QSizeF(context->size())));
        const QPoint corner = sampleShift(i, room);
        moveView(&sample, options.size, corner, samplePlace(i, options.samples));
        painter->paint(sample);
        mean.add(cutOut(context->grab(), options.size, corner));
    }
    return mean.picture();
}

/// Whether a plain frame in front of an unlikely background shows anything else.
bool coversBackground(ForwardPainter *painter, PainterState state, OffscreenContext *context)
{
    const QColor background(3, 251, 77);
    state.setBackgroundColor(background);
    state.setOutlines(false);
    state.setAmbientOcclusion(false);
    painter->paint(state);
    const QImage picture = cutOut(context->grab(), state.viewport().size().toSize(), QPoint(0, 0));
    return !isOneColor(picture) || picture.pixel(0, 0) != background.rgb();
}

} // namespace

Node *findCamera(const Scene &scene, const QString &camera)
{
    QList<Node *> cameraNodes;
    std::copy_if(scene.nodes().cbegin(), scene.nodes().cend(), std::back_inserter(cameraNodes),
                 [](const Node *node) { return node->cameraModel() != nullptr; });
    for (Node *node : qAsConst(cameraNodes)) {
        if (node->id() == camera || node->cameraModel()->id() == camera)
            return node;
    }
    bool isNumber = false;
    const int index = camera.toInt(&isNumber);
    return isNumber ? cameraNodes.value(index, nullptr) : nullptr;
}

void orbit(Scene *scene, const QPointF &angles)
{
    Node *camera = scene->activeCameraNode();
    const QVector3D centre = scene->rootNode()->boundingSphere().centre;
    camera->setLocalTransform(CameraMotion::orbitHorizontal(
        camera->localTransform(), camera->worldTransform(), centre, float(angles.x())));
    camera->setLocalTransform(CameraMotion::orbitVertical(camera->localTransform(), camera->worldTransform(),
                                                          centre, float(angles.y())));
}

QPoint sampleShift(int i, const QSize &room)
{
    return {5 * i % (room.width() + 1), (2 * i + i / (room.width() + 1)) % (room.height() + 1)};
}

QPointF samplePlace(int i, int count)
{
    // The points of Larcher and Pillichshammer, moved into the middle of their cells.
    quint32 row = 0;
    quint32 bits = 1u << 31;
    for (quint32 rest = quint32(i); rest != 0; rest >>= 1, bits |= bits >> 1) {
        if (rest & 1)
            row ^= bits;
    }
    return {(i + 0.5) / count, row / 4294967296.0 + 0.5 / count};
}

void PictureMean::add(const QImage &picture)
{
    m_size = picture.size();
    const int rowValues = 3 * m_size.width();
    m_sums.resize(rowValues * m_size.height());
    for (int y = 0; y < m_size.height(); ++y) {
        const uchar *const row = picture.constScanLine(y);
        quint16 *const sums = m_sums.data() + ptrdiff_t(y) * rowValues;
        std::transform(sums, sums + rowValues, row, sums,
                       [](quint16 sum, uchar value) { return quint16(sum + value); });
    }
    ++m_count;
}

QImage PictureMean::picture() const
{
    QImage mean(m_size, QImage::Format_RGB888);
    const int rowValues = 3 * m_size.width();
    for (int y = 0; y < m_size.height(); ++y) {
        const quint16 *const sums = m_sums.constData() + ptrdiff_t(y) * rowValues;
        std::transform(sums, sums + rowValues, mean.scanLine(y),
                       [this](quint16 sum) { return uchar((sum + m_count / 2) / m_count); });
    }
    return mean;
}

QSize bufferSize(const RenderOptions &options)
{
    return options.samples > 1 ? options.size + QSize(Margin, Margin) : options.size;
}

RenderResult render(Scene *scene, const RenderOptions &options, OffscreenContext *context)
{
    PainterState state = startState(scene, options);
    ForwardPainter painter;
    painter.setLightMapUsed(options.lightMap);
    painter.prepare(state);
    RenderResult result;
    result.isLightMapped = painter.isLightMapped();
    if (options.timeFrames)
        result.frameTimes = timeFrames(&painter, state, options.frames);

    if (options.samples > 1) {
        result.picture = drawSamples(&painter, state, options, context);
    } else {
        painter.paint(state);
        result.picture = context->grab();
    }
    if (isOneColor(result.picture)) {
        BlankPicture blank;
        blank.isBlack = (result.picture.pixel(0, 0) & 0xffffff) == 0;
        blank.isLightMapped = result.isLightMapped;
        describeScene(state, &blank);
        blank.isCovered = coversBackground(&painter, state, context);
        state.setBackfaceCulling(false);
        blank.isCoveredByBacks = coversBackground(&painter, state, context);
        result.blankReason = reasonForOneColor(blank);
    }
    return result;
}

double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    const int middle = values.size() / 2;
    return values.size() % 2 ? values.at(middle) : (values.at(middle - 1) + values.at(middle)) / 2.0;
}

} // namespace Quorvel
