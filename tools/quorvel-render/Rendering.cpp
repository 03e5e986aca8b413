#include "Rendering.h"

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

RenderResult render(Scene *scene, const RenderOptions &options, OffscreenContext *context)
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

    ForwardPainter painter;
    painter.prepare(state);
    RenderResult result;
    for (int i = 0; i < options.frames; ++i) {
        QElapsedTimer timer;
        timer.start();
        state.update();
        painter.paint(state);
        glFinish();
        result.frameTimes.append(double(timer.nsecsElapsed()) / 1e6);
    }
    result.picture = context->grab();
    return result;
}

double median(QVector<double> values)
{
    std::sort(values.begin(), values.end());
    const int middle = values.size() / 2;
    return values.size() % 2 ? values.at(middle) : (values.at(middle - 1) + values.at(middle)) / 2.0;
}

} // namespace Quorvel
