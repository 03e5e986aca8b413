#include "Camera.h"
#include "ColladaLoader.h"
#include "ForwardPainter.h"
#include "Geometry.h"
#include "GlLane.h"
#include "Light.h"
#include "MessageCapture.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"
#include "ShadingPrograms.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <cstdlib>
#include <functional>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Spoils a loaded scene.
using Change = std::function<void(Scene &)>;
Q_DECLARE_METATYPE(Change)

/// Three scenes in six looks against the pictures in baselines/, the same ones for both lanes.
///
/// With QUORVEL_UPDATE_GOLDEN set, which scripts/golden does, the pictures are written instead of compared:
/// look at what changed before keeping it.
class TestGolden : public QObject
{
    Q_OBJECT

public:
    explicit TestGolden(OffscreenContext &context) : m_context(context) {}

private slots:
    void initTestCase() { QVERIFY(m_cache.isValid()); }
    void cleanup() { QCOMPARE(glErrors(), QStringList()); }
    void pictures_data();
    void pictures();
    void flagsShow_data();
    void flagsShow();
    void wrongPicturesAreRefused_data();
    void wrongPicturesAreRefused();

private:
    QImage draw(const QString &scene, const QString &look, const Change &change = {});

    OffscreenContext &m_context;
    /// Of this test alone, so that no scene that somebody else converted is drawn.
    QTemporaryDir m_cache;
};

namespace
{

const char *const updateVariable = "QUORVEL_UPDATE_GOLDEN";
constexpr QSize pictureSize(320, 240);

/// A pixel differs if one of its channels does by more than this, of 255.
constexpr int channelTolerance = 5;
constexpr int pixelsPerDifferingOne = 1000;

const QStringList &scenes()
{
    static const QStringList names = {QStringLiteral("shapes"), QStringLiteral("corner"),
                                      QStringLiteral("atrium")};
    return names;
}

const QStringList &looks()
{
    static const QStringList names = {QStringLiteral("none"),
                                      QStringLiteral("shadows"),
                                      QStringLiteral("occlusion"),
                                      QStringLiteral("outlines"),
                                      QStringLiteral("occlusion-outlines"),
                                      QStringLiteral("low-quality")};
    return names;
}

QString scenePath(const QString &scene)
{
    if (scene == QLatin1String("atrium"))
        return QStringLiteral(QUORVEL_SOURCE_DIR "/samples/atrium/atrium.dae");
    return QStringLiteral(QUORVEL_SOURCE_DIR "/tests/golden/scenes/%1.dae").arg(scene);
}

QString baselinePath(const QString &scene, const QString &look)
{
    return QStringLiteral(QUORVEL_SOURCE_DIR "/tests/golden/baselines/%1.%2.png").arg(scene, look);
}

QImage baseline(const QString &scene, const QString &look)
{
    return QImage(baselinePath(scene, look)).convertToFormat(QImage::Format_RGB888);
}

/// Drops the shared programs: a directional light would be drawn with the spot flag of another row's light.
void forgetPrograms()
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    for (const Shading shading : {Shading::SinglePassPhong, Shading::PerVertexPhong, Shading::LightMapping})
        programs.program(shading) = ShaderProgram();
}

void setLook(PainterState *state, const QString &look)
{
    state->setCastShadows(look == QLatin1String("shadows"));
    state->setAmbientOcclusion(look.startsWith(QLatin1String("occlusion")));
    state->setOutlines(look.endsWith(QLatin1String("outlines")));
    state->setLowQuality(look == QLatin1String("low-quality"));
}

struct Comparison
{
    bool sameSize = false;
    int differing = 0;
    int largest = 0;
    /// Per channel, four times as bright.
    QImage difference;

    bool isAccepted() const
    {
        return sameSize && differing <= pictureSize.width() * pictureSize.height() / pixelsPerDifferingOne;
    }
};

/// Both pictures in Format_RGB888.
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

void swapLightColors(Scene &scene, const QString &first, const QString &second)
{
    Light *a = scene.findNode(first)->lightModel();
    Light *b = scene.findNode(second)->lightModel();
    const QColor color = a->color();
    a->setColor(b->color());
    b->setColor(color);
}

/// The floor's first normal, and those that equal it: the flat part of a floor has one direction.
void flipFloorNormal(Scene &scene, const QString &floor)
{
    Geometry *geometry = scene.findNode(floor)->geometryModel();
    QVector<QVector3D> normals = geometry->normals();
    const QVector3D flipped = normals.first();
    for (QVector3D &normal : normals) {
        if (normal == flipped)
            normal = -normal;
    }
    geometry->setNormals(normals);
}

void scaleFieldOfView(Scene &scene, float factor)
{
    Camera *camera = scene.activeCameraNode()->cameraModel();
    camera->setFieldOfView(camera->fieldOfView() * factor);
}

/// Lights and floor of each scene by their nodes' ids.
struct Parts
{
    QString light;
    QString otherLight;
    QString floor;
};

Parts partsOf(const QString &scene)
{
    if (scene == QLatin1String("shapes"))
        return {QStringLiteral("key"), QStringLiteral("fill"), QStringLiteral("floor")};
    if (scene == QLatin1String("corner"))
        return {QStringLiteral("sky"), QStringLiteral("sun"), QStringLiteral("floor")};
    return {QStringLiteral("sun"), QStringLiteral("fill"), QStringLiteral("court-floor")};
}

} // namespace

QImage TestGolden::draw(const QString &sceneName, const QString &look, const Change &change)
{
    const MessageCapture capture;
    Scene scene;
    const ColladaLoader loader(&scene, scenePath(sceneName), SceneCache(QString(), m_cache.path()));
    if (change)
        change(scene);

    PainterState state(&scene);
    state.setViewport(QRectF(QPointF(), QSizeF(pictureSize)));
    state.setAspect(float(pictureSize.width()) / float(pictureSize.height()));
    setLook(&state, look);
    state.update();
    forgetPrograms();
    // The painter's noise textures come from rand(): this makes them the same in every row and run.
    std::srand(1);
    ForwardPainter painter;
    painter.prepare(state);
    painter.paint(state);
    return m_context.grab();
}

void TestGolden::pictures_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("look");
    for (const QString &scene : scenes()) {
        for (const QString &look : looks())
            QTest::newRow(qPrintable(scene + '.' + look)) << scene << look;
    }
}

void TestGolden::pictures()
{
    QFETCH(QString, scene);
    QFETCH(QString, look);
    const QImage actual = draw(scene, look);
    if (qEnvironmentVariableIsSet(updateVariable)) {
        // Quality 0 is the smallest file; nothing is lost.
        QVERIFY(actual.save(baselinePath(scene, look), "png", 0));
        return;
    }
    const Comparison comparison = compare(actual, baseline(scene, look));
    if (!comparison.isAccepted())
        QFAIL(qPrintable(explain(scene + '.' + look, actual, comparison)));
}

void TestGolden::flagsShow_data()
{
    pictures_data();
}

/// Each look is told from the plain one, but for shadows where no light casts any.
void TestGolden::flagsShow()
{
    QFETCH(QString, scene);
    QFETCH(QString, look);
    const bool isPlain = look == QLatin1String("none") ||
                         (scene == QLatin1String("corner") && look == QLatin1String("shadows"));
    const Comparison comparison = compare(baseline(scene, look), baseline(scene, QStringLiteral("none")));
    QVERIFY(comparison.sameSize);
    QCOMPARE(comparison.isAccepted(), isPlain);
}

void TestGolden::wrongPicturesAreRefused_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<Change>("change");
    for (const QString &scene : scenes()) {
        const Parts parts = partsOf(scene);
        const auto row = [&](const char *name, const Change &change) {
            QTest::newRow(qPrintable(scene + QStringLiteral(": ") + name)) << scene << change;
        };
        row("colours of two lights swapped",
            [=](Scene &drawn) { swapLightColors(drawn, parts.light, parts.otherLight); });
        row("normal flipped", [=](Scene &drawn) { flipFloorNormal(drawn, parts.floor); });
        row("field of view +5 %", [](Scene &drawn) { scaleFieldOfView(drawn, 1.05f); });
        row("field of view -5 %", [](Scene &drawn) { scaleFieldOfView(drawn, 0.95f); });
    }
}

void TestGolden::wrongPicturesAreRefused()
{
    QFETCH(QString, scene);
    QFETCH(Change, change);
    for (const QString &look : looks()) {
        const QImage expected = baseline(scene, look);
        const Comparison comparison = compare(draw(scene, look, change), expected);
        QVERIFY(comparison.sameSize);
        QVERIFY2(!comparison.isAccepted(), qPrintable(look));
    }
}

int main(int argc, char **argv)
{
    return GlLane::run<TestGolden>(argc, argv, pictureSize);
}

#include "tst_golden.moc"
