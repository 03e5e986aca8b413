#include "BlankPicture.h"
#include "Light.h"
#include "Material.h"
#include "PainterState.h"
#include "Rendering.h"
#include "SceneSketch.h"

#include <QtTest>

#include <set>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Pictures as plain data: when they show nothing, why, and how several become one.
class TestRenderPictures : public QObject
{
    Q_OBJECT

private slots:
    void oneColor();
    void reasons_data();
    void reasons();
    void sceneIsDescribed();
    void samplesLieInEveryColumnAndRow_data();
    void samplesLieInEveryColumnAndRow();
    void eachSampleHasAPlaceOfItsOwnInTheBuffer();
    void meanIsRounded();
};

void TestRenderPictures::oneColor()
{
    QImage picture(3, 2, QImage::Format_RGB888);
    picture.fill(qRgb(1, 2, 3));
    QVERIFY(isOneColor(picture));
    picture.setPixel(2, 1, qRgb(1, 2, 4));
    QVERIFY(!isOneColor(picture));
    // A single pixel has nothing to differ from.
    QVERIFY(!isOneColor(picture.copy(0, 0, 1, 1)));
}

void TestRenderPictures::reasons_data()
{
    QTest::addColumn<QString>("facts");
    QTest::addColumn<QString>("reason");
    const QString seen = QStringLiteral("triangles inView visible covered backs ");
    QTest::newRow("empty scene") << "black"
                                 << "the scene has no triangles";
    QTest::newRow("looking elsewhere") << "black triangles lights direct"
                                       << "nothing is in the camera's view";
    QTest::newRow("between the things in view") << "black triangles inView visible lights direct"
                                                << "nothing is in the camera's view";
    QTest::newRow("glass") << "black triangles inView lights direct"
                           << "everything in view is fully transparent";
    QTest::newRow("from inside") << "triangles inView visible backs lights direct"
                                 << "the camera sees only the backs of surfaces, perhaps from inside of "
                                    "something; --no-backface-culling draws them";
    QTest::newRow("no light") << seen + "black"
                              << "the scene has no light, and its materials reflect no ambient light";
    QTest::newRow("black lights") << seen + "black lights"
                                  << "all of the scene's lights that count are black";
    QTest::newRow("ambient only") << seen + "black lights ambient"
                                  << "the scene has only ambient light, and its materials reflect none of it";
    QTest::newRow("turned away") << seen + "black lights direct"
                                 << "no light reaches what is in view";
    QTest::newRow("dark light map") << seen + "black lights direct map"
                                    << "the light map is black there";
    QTest::newRow("a wall") << seen + "lights direct"
                            << "what is in view has the same colour everywhere";
}

void TestRenderPictures::reasons()
{
    QFETCH(QString, facts);
    QFETCH(QString, reason);
    const QStringList words = facts.split(' ', Qt::SkipEmptyParts);
    BlankPicture blank;
    blank.isBlack = words.contains("black");
    blank.isLightMapped = words.contains("map");
    blank.hasTriangles = words.contains("triangles");
    blank.hasItemsInView = words.contains("inView");
    blank.hasVisibleItems = words.contains("visible");
    blank.isCovered = words.contains("covered");
    blank.isCoveredByBacks = words.contains("backs");
    blank.hasLights = words.contains("lights");
    blank.hasAmbientLight = words.contains("ambient");
    blank.hasDirectLight = words.contains("direct");
    QCOMPARE(reasonForOneColor(blank), reason);
}

void TestRenderPictures::sceneIsDescribed()
{
    const auto describe = [](SceneSketch *sketch) {
        PainterState state(&sketch->scene());
        state.update();
        BlankPicture blank;
        describeScene(state, &blank);
        return blank;
    };
    SceneSketch empty;
    BlankPicture blank = describe(&empty);
    QVERIFY(!blank.hasTriangles && !blank.hasItemsInView && !blank.hasVisibleItems && !blank.hasLights);

    SceneSketch room;
    Material *glass = room.material("glass");
    glass->setTransparency(1.0f);
    room.camera(translation(0.0f, 0.0f, 5.0f));
    room.quadNode({{-1, -1, 0}, {2, 0, 0}, {0, 2, 0}}, glass);
    room.light(Light::AmbientLight, Qt::black);
    for (int i = 0; i < 3; ++i)
        room.light(Light::PointLight, Qt::black);
    // Only the first three count.
    room.light(Light::PointLight, Qt::white);
    blank = describe(&room);
    QVERIFY(blank.hasTriangles && blank.hasItemsInView && !blank.hasVisibleItems);
    QVERIFY(blank.hasLights && !blank.hasAmbientLight && !blank.hasDirectLight);
    glass->setTransparency(0.5f);
    room.scene().lights().at(0)->setColor(Qt::blue);
    room.scene().lights().at(3)->setColor(Qt::red);
    blank = describe(&room);
    QVERIFY(blank.hasVisibleItems && blank.hasAmbientLight && blank.hasDirectLight);
}

void TestRenderPictures::samplesLieInEveryColumnAndRow_data()
{
    QTest::addColumn<int>("count");
    for (int count = 1; count <= 256; count *= 2)
        QTest::addRow("%d", count) << count;
}

void TestRenderPictures::samplesLieInEveryColumnAndRow()
{
    QFETCH(int, count);
    std::set<int> columns;
    std::set<int> rows;
    for (int i = 0; i < count; ++i) {
        const QPointF place = samplePlace(i, count);
        QCOMPARE(place.x() * count - 0.5, std::round(place.x() * count - 0.5));
        QCOMPARE(place.y() * count - 0.5, std::round(place.y() * count - 0.5));
        columns.insert(int(place.x() * count));
        rows.insert(int(place.y() * count));
    }
    QCOMPARE(int(columns.size()), count);
    QCOMPARE(int(rows.size()), count);
    QVERIFY(*columns.begin() == 0 && *columns.rbegin() == count - 1);
    QVERIFY(*rows.begin() == 0 && *rows.rbegin() == count - 1);
}

void TestRenderPictures::eachSampleHasAPlaceOfItsOwnInTheBuffer()
{
    std::set<std::pair<int, int>> corners;
    for (int i = 0; i < 64; ++i) {
        const QPoint corner = sampleShift(i, QSize(8, 8));
        QVERIFY(QRect(0, 0, 9, 9).contains(corner));
        corners.insert({corner.x(), corner.y()});
        QCOMPARE(sampleShift(i, QSize(0, 0)), QPoint(0, 0));
    }
    QCOMPARE(int(corners.size()), 64);
}

void TestRenderPictures::meanIsRounded()
{
    PictureMean mean;
    QImage picture(5, 3, QImage::Format_RGB888);
    for (int i = 0; i < 256; ++i) {
        picture.fill(qRgb(255, i, i < 128 ? 7 : 8));
        mean.add(picture);
    }
    // The mean of 0 to 255 is 127.5, that of as many sevens as eights 7.5.
    QCOMPARE(mean.picture().size(), QSize(5, 3));
    QCOMPARE(mean.picture().pixel(4, 2), qRgb(255, 128, 8));
    QVERIFY(isOneColor(mean.picture()));
}

QTEST_GUILESS_MAIN(TestRenderPictures)
#include "tst_renderpictures.moc"
