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

/// Where in a pixel the i-th of `count` samples lies: one in each of `count` columns and rows, 0 to 1 to the
/// right and upwards. `count` is a power of two; a single sample lies in the middle.
QPointF samplePlace(int i, int count);

/// Where in a buffer with that much room around the picture the picture's lower left corner lies for the i-th
/// sample. The dither of soft shadows and of ambient occlusion is fixed to the buffer's pixels: so it is
/// another one in each sample, and evens out.
QPoint sampleShift(int i, const QSize &room);

/// The mean of pictures of one size, each channel rounded to the nearest whole number.
class PictureMean
{
public:
    /// At most 256 pictures, of Format_RGB888.
    void add(const QImage &picture);
    QImage picture() const;

private:
    QSize m_size;
    int m_count = 0;
    QVector<quint16> m_sums;
};

struct RenderResult
{
    QImage picture;
    bool isLightMapped = false;
    /// Milliseconds of each frame, until the GL had finished it; empty unless they were wanted.
    QVector<double> frameTimes;
    /// Why the picture is of one colour; empty when it is not.
    QString blankReason;
};

/// The best size for the context: where samples are wanted, a little more than the picture's. The picture's
/// does, too; then dither does not even out.
QSize bufferSize(const RenderOptions &options);

/// Draws the scene as the viewer's painter does. Needs `context` current, with a buffer of bufferSize() or of
/// the picture's size.
RenderResult render(Scene *scene, const RenderOptions &options, OffscreenContext *context);

/// The middle one; of an even number, the mean of the two in the middle. Not empty.
double median(QVector<double> values);

} // namespace Quorvel
