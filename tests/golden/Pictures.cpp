#include "Pictures.h"

#include "ForwardPainter.h"
#include "OffscreenContext.h"
#include "PainterState.h"
#include "ShadingPrograms.h"

#include <QDir>

#include <algorithm>
#include <cstdlib>

namespace Quorvel::Test
{

namespace
{

const char *const updateVariable = "QUORVEL_UPDATE_GOLDEN";

/// A pixel differs if one of its channels does by more than this, of 255.
constexpr int channelTolerance = 5;
constexpr int pixelsPerDifferingOne = 1000;

QString baselinePath(const QString &name)
{
    return QStringLiteral(QUORVEL_SOURCE_DIR "/tests/golden/baselines/%1.png").arg(name);
}

/// Keeps what was drawn and how it differs, and says where.
QString explain(const QString &name, const QImage &actual, const Comparison &comparison)
{
    const QDir folder(QDir::tempPath() + QStringLiteral("/quorvel-golden-") +
                      qEnvironmentVariable("QUORVEL_GL_LANE"));
    const bool kept =
        folder.mkpath(QStringLiteral(".")) && actual.save(folder.filePath(name + ".actual.png")) &&
        (!comparison.sameSize || comparison.difference.save(folder.filePath(name + ".difference.png")));
    const QString what = comparison.sameSize
                             ? QStringLiteral("%1 pixels differ from the baseline, by up to %2")
                                   .arg(comparison.differing)
                                   .arg(comparison.largest)
                             : QStringLiteral("the baseline is missing, or a size is wrong");
    return QStringLiteral("%1: %2; %3 %4")
        .arg(name, what, kept ? QStringLiteral("see") : QStringLiteral("nothing could be written to"),
             folder.path());
}

/// Drops the shared programs: a directional light would be drawn with the spot flag of another picture's
/// light.
void forgetPrograms()
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    for (const Shading shading : {Shading::SinglePassPhong, Shading::PerVertexPhong, Shading::LightMapping})
        programs.program(shading) = ShaderProgram();
}

} // namespace

bool Comparison::isAccepted() const
{
    return sameSize && differing <= pictureSize.width() * pictureSize.height() / pixelsPerDifferingOne;
}

Comparison compare(const QImage &actual, const QImage &expected)
{
    Comparison result;
    result.sameSize = actual.size() == pictureSize && expected.size() == pictureSize;
    if (!result.sameSize)
        return result;
    result.difference = QImage(pictureSize, QImage::Format_RGB888);
    for (int y = 0; y < pictureSize.height(); ++y) {
        const uchar *a = actual.constScanLine(y);
        const uchar *b = expected.constScanLine(y);
        uchar *out = result.difference.scanLine(y);
        for (int x = 0; x < pictureSize.width(); ++x) {
            int largest = 0;
            for (int i = 3 * x; i < 3 * x + 3; ++i) {
                const int distance = std::abs(int(a[i]) - int(b[i]));
                out[i] = uchar(std::min(4 * distance, 255));
                largest = std::max(largest, distance);
            }
            result.differing += largest > channelTolerance ? 1 : 0;
            result.largest = std::max(result.largest, largest);
        }
    }
    return result;
}

QImage baseline(const QString &name)
{
    return QImage(baselinePath(name)).convertToFormat(QImage::Format_RGB888);
}

QString compareWithBaseline(const QString &name, const QImage &actual)
{
    if (qEnvironmentVariableIsSet(updateVariable)) {
        // Quality 0 is the smallest file; nothing is lost.
        return actual.save(baselinePath(name), "png", 0) ? QString()
                                                         : name + QStringLiteral(": cannot be written");
    }
    const Comparison comparison = compare(actual, baseline(name));
    return comparison.isAccepted() ? QString() : explain(name, actual, comparison);
}

void setLook(PainterState *state, const QString &look)
{
    state->setCastShadows(look == QLatin1String("shadows"));
    state->setAmbientOcclusion(look.startsWith(QLatin1String("occlusion")));
    state->setOutlines(look.endsWith(QLatin1String("outlines")));
    state->setLowQuality(look == QLatin1String("low-quality"));
}

QImage drawPicture(Scene *scene, const QString &look, OffscreenContext *context, const QColor &background)
{
    const QSize size = context->size();
    PainterState state(scene);
    state.setViewport(QRectF(QPointF(), QSizeF(size)));
    state.setAspect(float(size.width()) / float(size.height()));
    state.setBackgroundColor(background);
    setLook(&state, look);
    state.update();
    forgetPrograms();
    // The painter's noise textures come from rand(): this makes them the same in every picture.
    std::srand(1);
    ForwardPainter painter;
    painter.prepare(state);
    painter.paint(state);
    return context->grab();
}

} // namespace Quorvel::Test
