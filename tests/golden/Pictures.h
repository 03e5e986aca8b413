#pragma once

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

namespace Quorvel
{

class OffscreenContext;
class PainterState;
class Scene;

namespace Test
{

constexpr QSize pictureSize(320, 240);

struct Comparison
{
    bool sameSize = false;
    int differing = 0;
    int largest = 0;
    /// Per channel, four times as bright.
    QImage difference;

    bool isAccepted() const;
};

/// Both pictures in Format_RGB888.
Comparison compare(const QImage &actual, const QImage &expected);

/// The picture of this name in baselines/, in Format_RGB888.
QImage baseline(const QString &name);

/// Compares a picture with the baseline of that name; returns what is wrong, or nothing. What was drawn and
/// how it differs is kept in a folder that the text names. With QUORVEL_UPDATE_GOLDEN set the baseline is
/// written instead.
QString compareWithBaseline(const QString &name, const QImage &actual);

/// "none" (no effect), "shadows", "occlusion", "outlines", "occlusion-outlines" or "low-quality".
void setLook(PainterState *state, const QString &look);

/// Draws a scene with a new painter over the whole of `context` and reads the picture back. Needs `context`
/// current. The same scene and look give the same pixels whatever was drawn before.
QImage drawPicture(Scene *scene, const QString &look, OffscreenContext *context,
                   const QColor &background = Qt::black);

} // namespace Test
} // namespace Quorvel
