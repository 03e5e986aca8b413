#pragma once

#include "RenderOptions.h"

#include <QImage>
#include <QVector>

namespace Quorvel
{

class Node;
class Scene;

/// The camera node that `camera` names (see RenderOptions::camera), or null. An id goes before a number.
Node *findCamera(const Scene &scene, const QString &camera);

/// Turns the active camera about the scene's centre, as dragging in the viewer does. Degrees.
void orbit(Scene *scene, const QPointF &angles);

struct RenderResult
{
    QImage picture;
    /// Milliseconds of each frame, until the GL had finished it.
    QVector<double> frameTimes;
};

/// Draws the scene as the viewer's painter does, options.frames times. Needs `context` current.
RenderResult render(Scene *scene, const RenderOptions &options, OffscreenContext *context);

/// The middle one; of an even number, the mean of the two in the middle. Not empty.
double median(QVector<double> values);

} // namespace Quorvel
