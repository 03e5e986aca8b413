#include "Camera.h"
#include "ColladaLoader.h"
#include "Geometry.h"
#include "GlLane.h"
#include "Light.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Pictures.h"
#include "Scene.h"

#include <QTemporaryDir>
#include <QtTest>

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

QString pictureName(const QString &scene, const QString &look)
{
    return scene + QLatin1Char('.') + look;
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

    return drawPicture(&scene, look, &m_context);
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
    const QString complaint = compareWithBaseline(pictureName(scene, look), actual);
    QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
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
    const Comparison comparison =
        compare(baseline(pictureName(scene, look)), baseline(pictureName(scene, QStringLiteral("none"))));
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
        const QImage expected = baseline(pictureName(scene, look));
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
