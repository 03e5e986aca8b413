#include "BakeSketch.h"
#include "TexelFill.h"
#include "TexelMap.h"

#include <QtTest>

#include <random>

using namespace Quorvel;
using namespace Quorvel::Test;

using Corners = QVector<QVector2D>;

/// Which texel belongs to which triangle, and what becomes of the others.
class TestBakeTexels : public QObject
{
    Q_OBJECT

private slots:
    void quadCoversItsTexelsAndTheirReach();
    void lowerLeftCornerIsTheImagesLowerLeft();
    void filteringInsideATriangleReadsCoveredTexels_data();
    void filteringInsideATriangleReadsCoveredTexels();
    void thinTrianglesAreSeenInTheirOwnLight();
    void overlapsAreCounted_data();
    void overlapsAreCounted();
    void outsideTrianglesAreCounted();
    void trianglesWithoutAreaAreCounted();
    void chartsEndAtSeams();
    void paddingReachesAsFarAsAsked_data();
    void paddingReachesAsFarAsAsked();
    void paddingKeepsTheCharts();
    void buriedTexelsTakeTheirNeighboursLight();
    void textureAreaIsFound();
};

namespace
{

const QVector3D white(1, 1, 1);

BakeScene sketchOf(const std::array<QVector2D, 3> &texcoords)
{
    BakeSketch sketch;
    sketch.triangle({QVector3D(0, 0, 0), QVector3D(0, 0, 1), QVector3D(1, 0, 0)}, texcoords,
                    sketch.surface(white));
    return sketch.finished();
}

/// Texels of an image of 32 that are this far, in x or y, from the square of texels 10 to 19.
int awayFromSquare(int texel)
{
    const int x = texel % 32;
    const int y = texel / 32;
    return std::max({10 - x, x - 19, 10 - y, y - 19, 0});
}

BakeSketch squareInTheMiddle()
{
    BakeSketch sketch;
    sketch.quad({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, sketch.surface(white),
                QRectF(10 / 32.0, 12 / 32.0, 10 / 32.0, 10 / 32.0));
    sketch.scene.ambient = {0.5f, 0.25f, 0.125f};
    return sketch;
}

} // namespace

void TestBakeTexels::quadCoversItsTexelsAndTheirReach()
{
    BakeSketch sketch = squareInTheMiddle();
    const TexelMap texels(sketch.finished(), 32);
    for (int texel = 0; texel < 32 * 32; ++texel)
        QCOMPARE(texels.triangleAt(texel) >= 0, awayFromSquare(texel) <= 1);
    QCOMPARE(texels.coveredCount(), 12 * 12);
    QCOMPARE(texels.overlapCount(), 0);
    QCOMPARE(texels.chartCount(), 1);
    QCOMPARE(texels.chartAt(0), -1);
    QCOMPARE(texels.chartAt(15 * 32 + 15), 0);
}

void TestBakeTexels::lowerLeftCornerIsTheImagesLowerLeft()
{
    // s runs along x, t along -z; the lamp hangs low above s = t = 0.
    BakeSketch sketch;
    sketch.quad({-1, 0, 1}, {2, 0, 0}, {0, 0, -2}, sketch.surface(white));
    sketch.light(BakeLight::Kind::Point, white, {-0.9f, 0.1f, 0.9f});
    const QImage image = sketch.bake(quickSettings(32, 4, 0)).image;
    const auto brightness = [&image](int x, int y) { return qGray(image.pixel(x, y)); };
    QVERIFY(brightness(1, 30) > 200);
    QVERIFY(brightness(30, 30) < 100);
    QVERIFY(brightness(1, 1) < 100);
    QVERIFY(brightness(30, 1) < 100);
}

void TestBakeTexels::filteringInsideATriangleReadsCoveredTexels_data()
{
    QTest::addColumn<Corners>("corners");
    QTest::newRow("plain") << Corners{QVector2D(0.1f, 0.1f), QVector2D(0.8f, 0.3f), QVector2D(0.3f, 0.9f)};
    QTest::newRow("sliver") << Corners{QVector2D(0.1f, 0.1f), QVector2D(0.9f, 0.62f),
                                       QVector2D(0.9f, 0.621f)};
    QTest::newRow("upright hair") << Corners{QVector2D(0.5f, 0.1f), QVector2D(0.5001f, 0.9f),
                                             QVector2D(0.5f, 0.9f)};
    QTest::newRow("smaller than a texel")
        << Corners{QVector2D(0.5f, 0.5f), QVector2D(0.505f, 0.5f), QVector2D(0.5f, 0.503f)};
    QTest::newRow("a line") << Corners{QVector2D(0.1f, 0.2f), QVector2D(0.5f, 0.4f), QVector2D(0.9f, 0.6f)};
    QTest::newRow("a point") << Corners{QVector2D(0.3f, 0.7f), QVector2D(0.3f, 0.7f), QVector2D(0.3f, 0.7f)};
    QTest::newRow("in the image's corner")
        << Corners{QVector2D(0, 0), QVector2D(0.02f, 0), QVector2D(0, 0.02f)};
}

void TestBakeTexels::filteringInsideATriangleReadsCoveredTexels()
{
    QFETCH(Corners, corners);
    constexpr int size = 64;
    const TexelMap texels(sketchOf({corners[0], corners[1], corners[2]}), size);
    std::mt19937 random(5);
    std::uniform_real_distribution<float> part(0.0f, 1.0f);
    for (int i = 0; i < 5000; ++i) {
        float a = part(random);
        float b = part(random);
        if (a + b > 1.0f) {
            a = 1.0f - a;
            b = 1.0f - b;
        }
        const QVector2D place = corners[0] * (1.0f - a - b) + corners[1] * a + corners[2] * b;
        const int left = int(std::floor(place.x() * size - 0.5f));
        const int top = int(std::floor((1.0f - place.y()) * size - 0.5f));
        for (const int x : {left, left + 1}) {
            for (const int y : {top, top + 1}) {
                const int texel = qBound(0, y, size - 1) * size + qBound(0, x, size - 1);
                QVERIFY2(texels.triangleAt(texel) == 0,
                         qPrintable(QStringLiteral("texel %1, %2").arg(x).arg(y)));
            }
        }
    }
}

void TestBakeTexels::thinTrianglesAreSeenInTheirOwnLight()
{
    // Ten strips of a fan, each a tenth of a texel wide, in two colours: filtering reads only these.
    BakeSketch sketch;
    const int surfaces[] = {sketch.surface({1, 0, 0}), sketch.surface({0, 0, 1})};
    for (int i = 0; i < 10; ++i) {
        const float s = 0.5f + 0.1f * float(i) / 32.0f;
        const QVector3D at(float(i), 0, 0);
        sketch.triangle({at, at + QVector3D(1, 0, 0), at + QVector3D(0, 0, -1)},
                        {QVector2D(s, 0.1f), QVector2D(s + 0.1f / 32.0f, 0.1f), QVector2D(s, 0.9f)},
                        surfaces[i % 2]);
    }
    sketch.scene.ambient = white;
    BakeSettings settings = quickSettings(32, 4, 0);
    settings.padding = 0;
    const BakeResult result = sketch.bake(settings);
    for (int y = 4; y < 29; ++y) {
        for (const int x : {15, 16}) {
            const QVector3D light = result.light[size_t(32 * y + x)];
            QVERIFY(light.x() + light.z() > 0.99f);
        }
    }
}

void TestBakeTexels::overlapsAreCounted_data()
{
    QTest::addColumn<QRectF>("second");
    QTest::addColumn<int>("texels");
    // The first lies in the texels 0 to 15 of 32, in both directions.
    QTest::newRow("apart") << QRectF(0.6, 0.6, 0.3, 0.3) << 0;
    QTest::newRow("side by side") << QRectF(0.5, 0, 0.5, 0.5) << 0;
    QTest::newRow("half of it") << QRectF(0.25, 0, 0.5, 0.5) << 8 * 16;
    QTest::newRow("the same") << QRectF(0, 0, 0.5, 0.5) << 16 * 16;
    QTest::newRow("within") << QRectF(0.125, 0.125, 0.125, 0.125) << 4 * 4;
}

void TestBakeTexels::overlapsAreCounted()
{
    QFETCH(QRectF, second);
    QFETCH(int, texels);
    BakeSketch sketch;
    const int surface = sketch.surface(white);
    sketch.quad({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, surface, QRectF(0, 0, 0.5, 0.5));
    sketch.quad({2, 0, 0}, {0, 0, 1}, {1, 0, 0}, surface, second);
    const TexelMap map(sketch.finished(), 32);
    // Both diagonals run through the centres of texels, where nothing lies well inside of one triangle.
    QVERIFY2(map.overlapCount() <= texels && map.overlapCount() >= texels * 3 / 4,
             qPrintable(QString::number(map.overlapCount())));
    QCOMPARE(map.chartCount(), 2);
    // The first one keeps what it has.
    QVERIFY(map.triangleAt(31 * 32 + 15) <= 1 && map.triangleAt(20 * 32 + 8) <= 1);
}

void TestBakeTexels::outsideTrianglesAreCounted()
{
    QCOMPARE(TexelMap(sketchOf({QVector2D(0, 0), QVector2D(1, 0), QVector2D(0, 1)}), 16).outsideCount(), 0);
    QCOMPARE(TexelMap(sketchOf({QVector2D(0, 0), QVector2D(1.1f, 0), QVector2D(0, 1)}), 16).outsideCount(),
             1);
    const TexelMap far(sketchOf({QVector2D(5, 5), QVector2D(6, 5), QVector2D(5, 6)}), 16);
    QCOMPARE(far.outsideCount(), 1);
    QCOMPARE(far.coveredCount(), 0);
}

void TestBakeTexels::trianglesWithoutAreaAreCounted()
{
    QCOMPARE(TexelMap(sketchOf({QVector2D(0, 0), QVector2D(1, 0), QVector2D(0, 1)}), 16).thinCount(), 0);
    QCOMPARE(TexelMap(sketchOf({QVector2D(0, 0), QVector2D(0, 0), QVector2D(0, 1)}), 16).thinCount(), 1);
}

void TestBakeTexels::chartsEndAtSeams()
{
    BakeSketch sketch;
    const int surface = sketch.surface(white);
    sketch.quad({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, surface, QRectF(0, 0, 0.2, 0.2));
    // Shares an edge with the first, in space and in the texture: one chart.
    sketch.quad({0, 0, 1}, {0, 0, 1}, {1, 0, 0}, surface, QRectF(0.2, 0, 0.2, 0.2));
    // In the texture only: another.
    sketch.quad({9, 0, 2}, {0, 0, 1}, {1, 0, 0}, surface, QRectF(0.4, 0, 0.2, 0.2));
    // In space only: another.
    sketch.quad({1, 0, 0}, {0, 0, 1}, {1, 0, 0}, surface, QRectF(0.7, 0.7, 0.2, 0.2));
    const TexelMap texels(sketch.finished(), 64);
    QCOMPARE(texels.chartCount(), 3);
    const auto chart = [&texels](float s, float t) {
        return texels.chartAt(int((1.0f - t) * 64) * 64 + int(s * 64));
    };
    QCOMPARE(chart(0.1f, 0.1f), chart(0.3f, 0.1f));
    QVERIFY(chart(0.3f, 0.1f) != chart(0.5f, 0.1f));
    QVERIFY(chart(0.8f, 0.8f) != chart(0.1f, 0.1f));
}

void TestBakeTexels::paddingReachesAsFarAsAsked_data()
{
    QTest::addColumn<int>("padding");
    for (const int padding : {0, 1, 2, 5, 8, 100})
        QTest::addRow("%d", padding) << padding;
}

void TestBakeTexels::paddingReachesAsFarAsAsked()
{
    QFETCH(int, padding);
    BakeSketch sketch = squareInTheMiddle();
    BakeSettings settings = quickSettings(32, 4, 0);
    settings.padding = padding;
    const BakeResult result = sketch.bake(settings);
    for (int texel = 0; texel < 32 * 32; ++texel) {
        // One ring of texels belongs to the square already, since filtering inside of it reads them.
        const bool reached = awayFromSquare(texel) <= 1 + padding;
        const QVector3D light = result.light[size_t(texel)];
        if (reached)
            QVERIFY((light - sketch.scene.ambient).length() < 1e-6f);
        else
            QVERIFY(light.isNull());
    }
}

void TestBakeTexels::paddingKeepsTheCharts()
{
    BakeSketch sketch;
    sketch.quad({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, sketch.surface({1, 0, 0}), QRectF(0, 0, 0.375, 1));
    sketch.quad({5, 0, 0}, {0, 0, 1}, {1, 0, 0}, sketch.surface({0, 0, 1}), QRectF(0.625, 0, 0.375, 1));
    sketch.scene.ambient = white;
    BakeSettings settings = quickSettings(32, 4, 0);
    settings.padding = 16;
    const BakeResult result = sketch.bake(settings);
    for (int x = 0; x < 32; ++x) {
        const QVector3D light = result.light[size_t(32 * 16 + x)];
        if (x < 16)
            QVERIFY(light.x() > 0.9f && light.z() < 0.1f);
        else
            QVERIFY(light.z() > 0.9f && light.x() < 0.1f);
    }
}

void TestBakeTexels::buriedTexelsTakeTheirNeighboursLight()
{
    // A block that stands in the floor from x = -0.15 to 0.15, with its bottom below.
    BakeSketch sketch;
    sketch.quad({-2, 0, 2}, {4, 0, 0}, {0, 0, -4}, sketch.surface(white));
    const int black = sketch.surface({});
    constexpr float half = 0.15f;
    for (int axis = 0; axis < 3; ++axis) {
        for (const float side : {-1.0f, 1.0f}) {
            QVector3D u;
            QVector3D v;
            u[(axis + 1) % 3] = 2.0f * half;
            v[(axis + 2) % 3] = 2.0f * half;
            QVector3D origin = (u + v) * -0.5f;
            origin[axis] = side * half;
            if (side < 0.0f)
                std::swap(u, v);
            sketch.quad(origin, u, v, black, QRectF(2, 2, 1, 1));
        }
    }
    sketch.scene.ambient = white * 0.5f;
    const BakeResult result = sketch.bake(quickSettings(64, 32, 1));
    QVERIFY2(result.statistics.buriedTexels >= 12 && result.statistics.buriedTexels <= 36,
             qPrintable(QString::number(result.statistics.buriedTexels)));
    // The middle of the floor, inside of the block, where no light gets.
    QVERIFY(result.light[32 * 64 + 32].x() > 0.1f);
}

void TestBakeTexels::textureAreaIsFound()
{
    QVERIFY(hasTextureArea(sketchOf({QVector2D(0, 0), QVector2D(1, 0), QVector2D(0, 1)})));
    QVERIFY(!hasTextureArea(sketchOf({QVector2D(0, 0), QVector2D(0, 0), QVector2D(0, 0)})));
    QVERIFY(!hasTextureArea(sketchOf({QVector2D(0, 0), QVector2D(1, 1), QVector2D(2, 2)})));
}

QTEST_GUILESS_MAIN(TestBakeTexels)
#include "tst_baketexels.moc"
