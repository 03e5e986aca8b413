#include "BakeSketch.h"
#include "ColorCoding.h"
#include "SampleSequence.h"
#include "TexelMap.h"

#include <QtTest>

#include <set>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Samples, the noise that they leave, and what is done about it.
class TestBakeNoise : public QObject
{
    Q_OBJECT

private slots:
    void pointsAreStratified_data();
    void pointsAreStratified();
    void pointsOfOtherTexelsAndSeedsDiffer();
    void doubledSamplesHalveTheVariance();
    void estimatedNoiseIsNoLessThanTheRealOne();
    void threadsDoNotChangeTheResult();
    void seedChangesTheNoiseOnly();
    void denoisingTakesMostOfTheNoise();
    void denoisingKeepsShadowEdges();
    void denoisingKeepsChartsApart();
    void colorsAreCodedAsInTheViewer();
    void softHighlightsBendOnlyWhatIsBright();
    void exposureIsInPowersOfTwo();
    void progressReachesTheEnd();
};

namespace
{

const QVector3D white(1, 1, 1);

/// A grey box with a ball-shaped lamp and a block of another colour, which makes for noise.
struct Room : BakeSketch
{
    Room()
    {
        box(1.0f, surface(white * 0.7f), true);
        const int red = surface({0.9f, 0.1f, 0.1f});
        for (const float side : {-1.0f, 1.0f})
            quad({-0.5f, -0.4f, -0.4f * side}, {1.0f, 0, 0}, {0, 0, 0.8f * side}, red, QRectF(2, 2, 1, 1));
        light(BakeLight::Kind::Point, white, {0.1f, 0.6f, 0.2f});
        scene.ambient = white * 0.1f;
    }
};

BakeSettings noisySettings(int size, int samples)
{
    BakeSettings settings;
    settings.size = size;
    settings.samples = samples;
    settings.bounces = 2;
    settings.lightRadius = 0.3f;
    return settings;
}

double meanSquare(const BakeScene &scene, const BakeResult &result, const BakeResult &reference)
{
    const TexelMap texels(scene, result.image.width());
    double sum = 0.0;
    for (int texel = 0; texel < texels.texelCount(); ++texel) {
        if (texels.triangleAt(texel) < 0)
            continue;
        const double off =
            double(luminance(result.light[size_t(texel)]) - luminance(reference.light[size_t(texel)]));
        sum += off * off;
    }
    return sum / texels.coveredCount();
}

/// Mean over the texels of the variance over seeds.
double varianceOverSeeds(int samples)
{
    constexpr int seeds = 12;
    Room room;
    std::vector<double> sums(24 * 24);
    std::vector<double> squares(24 * 24);
    for (quint32 seed = 1; seed <= seeds; ++seed) {
        BakeSettings settings = noisySettings(24, samples);
        settings.seed = seed;
        const BakeResult result = room.bake(settings);
        for (size_t texel = 0; texel < sums.size(); ++texel) {
            const double value = double(luminance(result.light[texel]));
            sums[texel] += value;
            squares[texel] += value * value;
        }
    }
    double total = 0.0;
    for (size_t texel = 0; texel < sums.size(); ++texel)
        total += (squares[texel] - sums[texel] * sums[texel] / seeds) / (seeds - 1);
    return total / double(sums.size());
}

} // namespace

void TestBakeNoise::pointsAreStratified_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("64 x 1") << 64 << 1;
    QTest::newRow("16 x 4") << 16 << 4;
    QTest::newRow("8 x 8") << 8 << 8;
    QTest::newRow("2 x 32") << 2 << 32;
    QTest::newRow("1 x 64") << 1 << 64;
}

void TestBakeNoise::pointsAreStratified()
{
    QFETCH(int, rows);
    QFETCH(int, columns);
    for (quint32 texel = 0; texel < 20; ++texel) {
        const SampleSequence sequence(7, texel);
        for (quint32 pair = 0; pair < 5; ++pair) {
            std::set<int> cells;
            for (quint32 i = 0; i < 64; ++i) {
                const SamplePoint point = sequence.point(pair, i);
                QVERIFY(point.x >= 0.0f && point.x < 1.0f && point.y >= 0.0f && point.y < 1.0f);
                cells.insert(int(point.y * float(rows)) * columns + int(point.x * float(columns)));
            }
            QCOMPARE(int(cells.size()), 64);
        }
    }
}

void TestBakeNoise::pointsOfOtherTexelsAndSeedsDiffer()
{
    const auto signature = [](quint32 seed, quint32 texel, quint32 pair) {
        QVector<float> values;
        for (quint32 i = 0; i < 8; ++i)
            values << SampleSequence(seed, texel).point(pair, i).x;
        return values;
    };
    QCOMPARE(signature(1, 2, 3), signature(1, 2, 3));
    QVERIFY(signature(1, 2, 3) != signature(2, 2, 3));
    QVERIFY(signature(1, 2, 3) != signature(1, 3, 3));
    QVERIFY(signature(1, 2, 3) != signature(1, 2, 4));
    // Two pairs of one texel together fill four dimensions: they must not go hand in hand.
    double product = 0.0;
    for (quint32 texel = 0; texel < 200; ++texel) {
        const SampleSequence sequence(1, texel);
        for (quint32 i = 0; i < 16; ++i)
            product += (double(sequence.point(0, i).x) - 0.5) * (double(sequence.point(1, i).x) - 0.5);
    }
    QVERIFY2(qAbs(product / 3200.0) < 0.01, qPrintable(QString::number(product / 3200.0)));
}

void TestBakeNoise::doubledSamplesHalveTheVariance()
{
    double previous = varianceOverSeeds(8);
    QVERIFY(previous > 1e-6);
    for (const int samples : {16, 32, 64}) {
        const double variance = varianceOverSeeds(samples);
        // Samples by chance would halve it, spread ones do better.
        QVERIFY2(variance < 0.55 * previous,
                 qPrintable(QStringLiteral("%1 samples: %2").arg(samples).arg(variance / previous)));
        previous = variance;
    }
}

void TestBakeNoise::estimatedNoiseIsNoLessThanTheRealOne()
{
    Room room;
    const BakeResult result = room.bake(noisySettings(24, 16));
    const BakeResult reference = room.bake(noisySettings(24, 1024));
    // The walls send 0.7 of the light on.
    const double real = std::sqrt(meanSquare(room.scene, result, reference)) / 0.7;
    QVERIFY2(result.statistics.noise > 0.9 * real && result.statistics.noise < 4.0 * real,
             qPrintable(QStringLiteral("%1 for %2").arg(result.statistics.noise).arg(real)));
    QVERIFY(reference.statistics.noise < 0.2 * result.statistics.noise);
}

void TestBakeNoise::threadsDoNotChangeTheResult()
{
    Room room;
    BakeSettings settings = noisySettings(64, 4);
    settings.denoise = true;
    settings.threads = 1;
    const BakeResult alone = room.bake(settings);
    for (const int threads : {2, 5, 16}) {
        settings.threads = threads;
        const BakeResult result = room.bake(settings);
        QVERIFY(result.light == alone.light);
        QCOMPARE(result.image, alone.image);
        QCOMPARE(result.statistics.rays, alone.statistics.rays);
        QCOMPARE(result.statistics.noise, alone.statistics.noise);
    }
}

void TestBakeNoise::seedChangesTheNoiseOnly()
{
    Room room;
    BakeSettings settings = noisySettings(32, 16);
    const BakeResult first = room.bake(settings);
    settings.seed = 2;
    const BakeResult second = room.bake(settings);
    QVERIFY(first.light != second.light);
    const double off = std::sqrt(meanSquare(room.scene, first, second));
    QVERIFY2(off > 0.0 && off < 3.0 * first.statistics.noise, qPrintable(QString::number(off)));
}

void TestBakeNoise::denoisingTakesMostOfTheNoise()
{
    Room room;
    BakeSettings settings = noisySettings(64, 16);
    const BakeResult reference = room.bake(noisySettings(64, 1024));
    const double before = meanSquare(room.scene, room.bake(settings), reference);
    settings.denoise = true;
    const double after = meanSquare(room.scene, room.bake(settings), reference);
    QVERIFY2(after < 0.3 * before, qPrintable(QStringLiteral("%1 of it is left").arg(after / before)));
}

void TestBakeNoise::denoisingKeepsShadowEdges()
{
    // A hard shadow across a floor: half of it has no light at all.
    BakeSketch sketch;
    sketch.quad({-2, 0, 2}, {4, 0, 0}, {0, 0, -4}, sketch.surface(white));
    sketch.quad({-4, 1, -4}, {0, 0, 8}, {4, 0, 0}, sketch.surface({}), QRectF(2, 2, 1, 1));
    sketch.light(BakeLight::Kind::Directional, white, {});
    BakeSettings settings = quickSettings(64, 16, 1);
    settings.denoise = true;
    const BakeResult result = sketch.bake(settings);
    for (int texel = 0; texel < 64 * 64; ++texel) {
        const float light = result.light[size_t(texel)].x();
        const int x = texel % 64;
        if (x != 31 && x != 32)
            QVERIFY2(qAbs(light - (x < 32 ? 0.0f : 1.0f)) < 0.01f,
                     qPrintable(QStringLiteral("%1 at column %2").arg(double(light)).arg(x)));
    }
}

void TestBakeNoise::denoisingKeepsChartsApart()
{
    // Two walls beside one another in the texture, one in the dark.
    BakeSketch sketch;
    const int surface = sketch.surface(white);
    sketch.quad({-1, 0, 1}, {2, 0, 0}, {0, 0, -2}, surface, QRectF(0, 0, 0.5, 1));
    sketch.quad({-1, -9, 1}, {2, 0, 0}, {0, 0, -2}, surface, QRectF(0.5, 0, 0.5, 1));
    sketch.scene.ambient = white * 0.2f;
    sketch.light(BakeLight::Kind::Point, white, {0, 1, 0});
    sketch.quad({-99, -5, -99}, {0, 0, 198}, {198, 0, 0}, sketch.surface({}), QRectF(2, 2, 1, 1));
    BakeSettings settings = noisySettings(32, 4);
    settings.denoise = true;
    const BakeResult result = sketch.bake(settings);
    for (int y = 0; y < 32; ++y) {
        for (int x = 17; x < 32; ++x)
            QVERIFY(result.light[size_t(32 * y + x)].x() < 0.05f);
        QVERIFY(result.light[size_t(32 * y + 15)].x() > 0.5f);
    }
}

void TestBakeNoise::colorsAreCodedAsInTheViewer()
{
    for (int code = 0; code < 256; ++code)
        QCOMPARE(int(std::lround(255.0f * codeFromLinear(linearFromCode(float(code) / 255.0f)))), code);
    // Points of the curve that its definition gives.
    QVERIFY(qAbs(linearFromCode(0.5f) - 0.214041f) < 1e-5f);
    QVERIFY(qAbs(codeFromLinear(0.18f) - 0.461356f) < 1e-5f);
    QVERIFY(qAbs(linearFromCode(0.04f) - 0.04f / 12.92f) < 1e-7f);
    QCOMPARE(codeFromLinear(7.0f), 1.0f);
    QCOMPARE(codeFromLinear(-1.0f), 0.0f);
}

void TestBakeNoise::softHighlightsBendOnlyWhatIsBright()
{
    QCOMPARE(rollOff(0.3f), 0.3f);
    QCOMPARE(rollOff(0.8f), 0.8f);
    QVERIFY(qAbs(rollOff(0.801f) - 0.801f) < 1e-5f);
    float last = 0.8f;
    for (float light = 0.85f; light < 3.0f; light += 0.05f) {
        QVERIFY(rollOff(light) > last && rollOff(light) < std::min(light, 1.0f));
        last = rollOff(light);
    }
    BakeSketch sketch;
    sketch.quad({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, sketch.surface(white));
    sketch.light(BakeLight::Kind::Directional, white * 1.5f, {});
    BakeSettings settings = quickSettings(16, 1, 0);
    QCOMPARE(sketch.bake(settings).image.pixelColor(8, 8), QColor(255, 255, 255));
    settings.softHighlights = true;
    const int expected = int(std::lround(255.0f * codeFromLinear(1.0f - 0.2f * std::exp(-3.5f))));
    QCOMPARE(sketch.bake(settings).image.pixelColor(8, 8).red(), expected);
    QVERIFY(expected < 255);
}

void TestBakeNoise::exposureIsInPowersOfTwo()
{
    BakeSketch sketch;
    sketch.quad({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, sketch.surface({0.4f, 0.2f, 0.1f}));
    sketch.scene.ambient = white;
    BakeSettings settings = quickSettings(16, 1, 0);
    settings.exposure = -2.0f;
    const auto code = [](float light) { return int(std::lround(255.0f * codeFromLinear(light))); };
    QCOMPARE(sketch.bake(settings).image.pixelColor(8, 8), QColor(code(0.1f), code(0.05f), code(0.025f)));
    settings.exposure = 1.0f;
    QCOMPARE(sketch.bake(settings).image.pixelColor(8, 8), QColor(code(0.8f), code(0.4f), code(0.2f)));
}

void TestBakeNoise::progressReachesTheEnd()
{
    Room room;
    QVector<double> parts;
    BakeSettings settings = noisySettings(32, 1);
    settings.threads = 1;
    bakeLightMap(room.finished(), settings, [&parts](double part) { parts.append(part); });
    QVERIFY(parts.size() > 3);
    QVERIFY(std::is_sorted(parts.cbegin(), parts.cend()));
    QCOMPARE(parts.constLast(), 1.0);
}

QTEST_GUILESS_MAIN(TestBakeNoise)
#include "tst_bakenoise.moc"
