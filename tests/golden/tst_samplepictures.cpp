#include "Camera.h"
#include "ColladaLoader.h"
#include "GlLane.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Pictures.h"
#include "Scene.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

/// The scenes that are built into the program, from their first view: with their light map, and as their
/// lights and shadows draw them without it.
class TestSamplePictures : public QObject
{
    Q_OBJECT

public:
    explicit TestSamplePictures(OffscreenContext &context) : m_context(context) {}

private slots:
    void initTestCase() { QVERIFY(m_cache.isValid()); }
    void cleanup() { QCOMPARE(glErrors(), QStringList()); }
    void pictures_data();
    void pictures();
    void logoIsSeen();
    void firstViewShowsNoBackground_data();
    void firstViewShowsNoBackground();
    void cachedDrawsAsConverted_data() { addScenes(); }
    void cachedDrawsAsConverted();

private:
    static void addScenes();
    void load(Scene *scene, const QString &name, const QString &cache);
    QImage draw(const QString &name, const QString &look, bool withLightMap = true);

    OffscreenContext &m_context;
    QTemporaryDir m_cache;
};

namespace
{

const QStringList &scenes()
{
    static const QStringList names = {QStringLiteral("bedroom"), QStringLiteral("spiral"),
                                      QStringLiteral("quorvel"), QStringLiteral("microscope"),
                                      QStringLiteral("objects"), QStringLiteral("logo")};
    return names;
}

/// The part of a picture that shows something: the painter clears to black.
double shownPart(const QImage &picture)
{
    int shown = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            shown += (picture.pixel(x, y) & RGB_MASK) != 0 ? 1 : 0;
    }
    return double(shown) / (picture.width() * picture.height());
}

/// How many pixels are not the same, and where the first of them are.
QString differences(const QImage &one, const QImage &other)
{
    int count = 0;
    QStringList places;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            if (one.pixel(x, y) == other.pixel(x, y))
                continue;
            ++count;
            if (places.size() < 8)
                places.append(QStringLiteral("%1,%2").arg(x).arg(y));
        }
    }
    return count ? QStringLiteral("%1 pixels: %2").arg(count).arg(places.join(QLatin1Char(' '))) : QString();
}

} // namespace

void TestSamplePictures::addScenes()
{
    QTest::addColumn<QString>("scene");
    for (const QString &scene : scenes())
        QTest::newRow(qPrintable(scene)) << scene;
}

void TestSamplePictures::load(Scene *scene, const QString &name, const QString &cache)
{
    const MessageCapture capture;
    const ColladaLoader loader(scene, QStringLiteral(":/models/%1.DAE").arg(name),
                               SceneCache(QString(), cache));
}

QImage TestSamplePictures::draw(const QString &name, const QString &look, bool withLightMap)
{
    Scene scene;
    load(&scene, name, m_cache.path());
    // The light map lies beside the file that the scene was read from.
    if (!withLightMap)
        scene.setName(QStringLiteral("unlit"));
    return drawPicture(&scene, look, &m_context);
}

void TestSamplePictures::pictures_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("look");
    QTest::addColumn<bool>("withLightMap");
    for (const QString &scene : scenes()) {
        if (scene != QLatin1String("logo"))
            QTest::newRow(qPrintable(scene + ".lightmap")) << scene << "none" << true;
        QTest::newRow(qPrintable(scene + ".shadows")) << scene << "shadows" << false;
    }
    QTest::newRow("logo.outlines") << "logo"
                                   << "outlines" << false;
}

void TestSamplePictures::pictures()
{
    QFETCH(QString, scene);
    QFETCH(QString, look);
    QFETCH(bool, withLightMap);
    const QImage actual = draw(scene, look, withLightMap);
    const QString complaint = compareWithBaseline(QTest::currentDataTag(), actual);
    QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
}

void TestSamplePictures::logoIsSeen()
{
    const double part = shownPart(draw(QStringLiteral("logo"), QStringLiteral("none")));
    QVERIFY2(part >= 0.2, qPrintable(QString::number(part)));
}

void TestSamplePictures::firstViewShowsNoBackground_data()
{
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QSize>("size");
    for (const QString &scene : scenes()) {
        if (scene == QLatin1String("logo"))
            continue;
        for (const QSize &size : {QSize(640, 480), QSize(1280, 1024), QSize(1280, 800), QSize(1419, 946),
                                  QSize(1366, 768), QSize(1920, 1080), QSize(1808, 757), QSize(2400, 1000)}) {
            QTest::addRow("%s %dx%d", qPrintable(scene), size.width(), size.height()) << scene << size;
        }
    }
}

/// From 5:4 to 12:5, the sides of the view and the seams between surfaces show no background: what is drawn
/// does not depend on its colour.
void TestSamplePictures::firstViewShowsNoBackground()
{
    QFETCH(QString, scene);
    QFETCH(QSize, size);
    QString seen;
    {
        OffscreenContext screen(size, m_context.isEs() ? OffscreenContext::Api::Es2
                                                       : OffscreenContext::Api::Desktop);
        QVERIFY2(screen.isValid(), qPrintable(screen.errorString()));
        Scene drawn;
        load(&drawn, scene, m_cache.path());
        const QString look = QStringLiteral("none");
        seen = differences(drawPicture(&drawn, look, &screen, Qt::magenta),
                           drawPicture(&drawn, look, &screen, Qt::green));
    }
    m_context.makeCurrent();
    QVERIFY2(seen.isEmpty(), qPrintable(seen));
}

void TestSamplePictures::cachedDrawsAsConverted()
{
    QFETCH(QString, scene);
    const QTemporaryDir cache;
    QImage pictures[2];
    for (QImage &picture : pictures) {
        Scene drawn;
        load(&drawn, scene, cache.path());
        picture = drawPicture(&drawn, QStringLiteral("none"), &m_context);
    }
    QCOMPARE(QDir(cache.path()).entryList({QStringLiteral("*.qvm")}).size(), 1);
    QCOMPARE(pictures[1], pictures[0]);
}

int main(int argc, char **argv)
{
    return GlLane::run<TestSamplePictures>(argc, argv, pictureSize);
}

#include "tst_samplepictures.moc"
