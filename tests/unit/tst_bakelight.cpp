#include "BakeSketch.h"
#include "TexelMap.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

/// What light does, against what physics says about it.
class TestBakeLight : public QObject
{
    Q_OBJECT

private slots:
    void whiteFurnaceIsAsBrightAsItsAmbientLight_data();
    void whiteFurnaceIsAsBrightAsItsAmbientLight();
    void greyFurnaceDarkensByItsAlbedoAtEveryBounce();
    void glowingFurnaceAddsUpTheGeometricSeries();
    void bouncedLightShrinksByTheAlbedoAtLeast();
    void openPlaneGetsTheAmbientLight();
    void cornerGetsItsShareOfTheSky();
    void pointLightFollowsTheCosineLaw_data();
    void pointLightFollowsTheCosineLaw();
    void directionalLightFollowsTheCosineLaw();
    void halfDistanceHalvesTheLight();
    void spotLightFollowsItsCone();
    void hardShadowEndsAtTheEdge();
    void softShadowIsAsWideAsTheLightMakesIt();
    void sunAngleSoftensTheShadow();
    void paneLetsItsPartThrough();
    void surfaceIsLitOnTheSideOfItsNormal();
    void coarseRoundShapeDoesNotShadeItself();
    void borderOfAWallIsLitAsItsInside();
    void everyLightIsBouncedInItsShare();
};

namespace
{

const QVector3D white(1, 1, 1);

void compareLight(const QVector3D &light, const QVector3D &expected, float tolerance, const char *what)
{
    const QVector3D off = light - expected;
    const float worst = std::max({qAbs(off.x()), qAbs(off.y()), qAbs(off.z())});
    QVERIFY2(worst <= tolerance, qPrintable(QStringLiteral("%1: (%2, %3, %4) instead of (%5, %6, %7)")
                                                .arg(what)
                                                .arg(double(light.x()))
                                                .arg(double(light.y()))
                                                .arg(double(light.z()))
                                                .arg(double(expected.x()))
                                                .arg(double(expected.y()))
                                                .arg(double(expected.z()))));
}

/// Calls check(light, texel) for the texels that belong to triangles.
template <typename Check>
void forEachTexel(const BakeScene &scene, const BakeResult &result, Check check)
{
    const TexelMap texels(scene, result.image.width());
    for (int texel = 0; texel < texels.texelCount(); ++texel) {
        if (texels.triangleAt(texel) >= 0)
            check(result.light[size_t(texel)], texel);
    }
}

double meanRed(const BakeScene &scene, const BakeResult &result)
{
    double sum = 0.0;
    int count = 0;
    forEachTexel(scene, result, [&](const QVector3D &light, int) {
        sum += double(light.x());
        ++count;
    });
    return sum / count;
}

/// A floor of 4 x 4 around the origin that faces up, over the whole texture: s along x, t along -z.
struct Floor : BakeSketch
{
    explicit Floor(const QVector3D &albedo = white)
    {
        quad({-2, 0, 2}, {4, 0, 0}, {0, 0, -4}, surface(albedo));
    }

    /// Where the middle of a texel lies.
    static QVector3D place(int texel, int size)
    {
        const float s = (float(texel % size) + 0.5f) / float(size);
        const float t = 1.0f - (float(texel / size) + 0.5f) / float(size);
        return {4.0f * s - 2.0f, 0.0f, 2.0f - 4.0f * t};
    }

    /// The texel at a place on the floor.
    static int texelAt(float x, float z, int size)
    {
        return int((z + 2.0f) / 4.0f * float(size)) * size + int((x + 2.0f) / 4.0f * float(size));
    }
};

/// A board above the floor that covers the half x < 0 and lies outside of the texture.
void addBoard(Floor *floor, float height, float transparency = 0.0f)
{
    floor->quad({-4, height, -4}, {0, 0, 8}, {4, 0, 0}, floor->surface({0, 0, 0}, {}, transparency),
                QRectF(2, 2, 1, 1));
}

} // namespace

void TestBakeLight::whiteFurnaceIsAsBrightAsItsAmbientLight_data()
{
    QTest::addColumn<int>("bounces");
    QTest::addColumn<bool>("denoise");
    for (const int bounces : {0, 1, 3, 8}) {
        QTest::addRow("%d bounces", bounces) << bounces << false;
        QTest::addRow("%d bounces, denoised", bounces) << bounces << true;
    }
}

void TestBakeLight::whiteFurnaceIsAsBrightAsItsAmbientLight()
{
    QFETCH(int, bounces);
    QFETCH(bool, denoise);
    BakeSketch sketch;
    sketch.box(1.0f, sketch.surface(white), true);
    sketch.scene.ambient = {0.3f, 0.5f, 0.7f};
    BakeSettings settings = quickSettings(48, 8, bounces);
    settings.denoise = denoise;
    const BakeResult result = sketch.bake(settings);
    QVERIFY(result.statistics.texels > 48 * 48 / 2);
    forEachTexel(sketch.scene, result, [&](const QVector3D &light, int) {
        compareLight(light, sketch.scene.ambient, 1e-5f, "furnace");
    });
    QVERIFY(result.statistics.noise < 1e-4);
}

void TestBakeLight::greyFurnaceDarkensByItsAlbedoAtEveryBounce()
{
    const QVector3D albedo(0.5f, 0.8f, 0.2f);
    BakeSketch sketch;
    sketch.box(1.0f, sketch.surface(albedo), true);
    sketch.scene.ambient = white;
    QVector3D expected = white;
    for (int bounces = 0; bounces <= 5; ++bounces) {
        expected *= albedo;
        const BakeResult result = sketch.bake(quickSettings(32, 4, bounces));
        forEachTexel(sketch.scene, result,
                     [&](const QVector3D &light, int) { compareLight(light, expected, 1e-5f, "furnace"); });
    }
}

void TestBakeLight::glowingFurnaceAddsUpTheGeometricSeries()
{
    const QVector3D albedo(0.5f, 0.8f, 0.0f);
    const QVector3D emission(0.2f, 0.1f, 0.4f);
    BakeSketch sketch;
    sketch.box(1.0f, sketch.surface(albedo, emission), true);
    QVector3D expected = emission;
    QVector3D term = emission;
    for (int bounces = 0; bounces <= 6; ++bounces) {
        const BakeResult result = sketch.bake(quickSettings(32, 4, bounces));
        forEachTexel(sketch.scene, result,
                     [&](const QVector3D &light, int) { compareLight(light, expected, 1e-5f, "glow"); });
        term *= albedo;
        expected += term;
    }
}

void TestBakeLight::bouncedLightShrinksByTheAlbedoAtLeast()
{
    BakeSketch sketch;
    sketch.box(1.0f, sketch.surface(white * 0.7f), true);
    sketch.light(BakeLight::Kind::Point, white, {0.2f, 0.3f, -0.1f});
    QVector<double> means;
    for (int bounces = 0; bounces <= 6; ++bounces)
        means.append(meanRed(sketch.scene, sketch.bake(quickSettings(24, 256, bounces))));
    for (int i = 1; i + 1 < means.size(); ++i) {
        const double gained = means[i] - means[i - 1];
        QVERIFY(gained > 0.0);
        // In a closed box of one albedo every bounce hands on that part of what the last one brought.
        QVERIFY2(qAbs((means[i + 1] - means[i]) / gained - 0.7) < 0.02,
                 qPrintable(QString::number((means[i + 1] - means[i]) / gained)));
    }
}

void TestBakeLight::openPlaneGetsTheAmbientLight()
{
    Floor floor({0.5f, 0.25f, 1.0f});
    floor.scene.ambient = {0.4f, 0.4f, 0.8f};
    for (const int bounces : {0, 1, 4}) {
        const BakeResult result = floor.bake(quickSettings(16, 8, bounces));
        for (const QVector3D &light : result.light)
            compareLight(light, {0.2f, 0.1f, 0.8f}, 1e-6f, "plane");
    }
}

void TestBakeLight::cornerGetsItsShareOfTheSky()
{
    // A black wall of height 1 along the floor's edge hides (1 - cos(elevation)) / 2 of the sky, where the
    // elevation is that of the wall's top: the form factor of an endless strip.
    Floor floor;
    floor.scene.ambient = white;
    floor.quad({-40, 0, -2}, {80, 0, 0}, {0, 1, 0}, floor.surface({}), QRectF(2, 2, 1, 1));
    const BakeResult result = floor.bake(quickSettings(16, 1024, 1));
    for (int y = 0; y < 16; ++y) {
        // The texel's mean, by four places in it.
        double expected = 0.0;
        for (const double part : {0.125, 0.375, 0.625, 0.875}) {
            const double distance = (y + part) / 4.0;
            expected += (1.0 - (1.0 - distance / std::hypot(distance, 1.0)) / 2.0) / 4.0;
        }
        const QVector3D light = result.light[size_t(16 * y + 8)];
        compareLight(light, white * float(expected), 0.012f, qPrintable(QStringLiteral("row %1").arg(y)));
    }
}

void TestBakeLight::pointLightFollowsTheCosineLaw_data()
{
    QTest::addColumn<float>("radius");
    QTest::addColumn<int>("samples");
    QTest::addColumn<float>("tolerance");
    QTest::newRow("a point") << 0.0f << 16 << 0.002f;
    QTest::newRow("a small ball") << 0.1f << 64 << 0.004f;
    QTest::newRow("a large ball") << 0.5f << 256 << 0.01f;
}

void TestBakeLight::pointLightFollowsTheCosineLaw()
{
    QFETCH(float, radius);
    QFETCH(int, samples);
    QFETCH(float, tolerance);
    const QVector3D albedo(0.8f, 0.5f, 0.3f);
    const QVector3D color(1.0f, 0.9f, 0.5f);
    Floor floor(albedo);
    const QVector3D lamp(0.5f, 1.0f, -0.25f);
    floor.light(BakeLight::Kind::Point, color, lamp);
    BakeSettings settings = quickSettings(64, samples, 2);
    settings.lightRadius = radius;
    const BakeResult result = floor.bake(settings);
    for (int texel = 0; texel < 64 * 64; ++texel) {
        const QVector3D path = lamp - Floor::place(texel, 64);
        const float cosine = path.y() / path.length();
        compareLight(result.light[size_t(texel)], albedo * color * cosine, tolerance, "texel");
    }
}

void TestBakeLight::directionalLightFollowsTheCosineLaw()
{
    Floor floor({0.5f, 0.5f, 1.0f});
    floor.light(BakeLight::Kind::Directional, {1.0f, 0.5f, 0.25f}, {}, {1, -1, 0});
    floor.light(BakeLight::Kind::Directional, {0.0f, 0.0f, 0.5f}, {}, {0, -1, 0});
    // From below: the floor's back.
    floor.light(BakeLight::Kind::Directional, white, {}, {0, 1, 0});
    BakeSettings settings = quickSettings(16, 16, 1);
    const float cosine = std::sqrt(0.5f);
    const QVector3D expected(0.5f * cosine, 0.25f * cosine, 0.25f * cosine + 0.5f);
    for (const QVector3D &light : floor.bake(settings).light)
        compareLight(light, expected, 1e-5f, "point sun");
    settings.sunAngle = 10.0f;
    settings.samples = 256;
    for (const QVector3D &light : floor.bake(settings).light)
        compareLight(light, expected, 0.002f, "wide sun");
}

void TestBakeLight::halfDistanceHalvesTheLight()
{
    Floor floor;
    floor.light(BakeLight::Kind::Point, white, {0, 2, 0});
    BakeSettings settings = quickSettings(65, 16, 0);
    settings.halfDistance = 2.0f;
    const BakeResult result = floor.bake(settings);
    compareLight(result.light[32 * 65 + 32], white * 0.5f, 0.002f, "below the light");
    const float squared = 4.0f + Floor::place(0, 65).lengthSquared();
    compareLight(result.light[0], white * (2.0f / std::sqrt(squared) / (1.0f + squared / 4.0f)), 0.002f,
                 "in the corner");
    // A sun is far away from everything.
    floor.scene.lights.clear();
    floor.light(BakeLight::Kind::Directional, white, {0, 2, 0});
    compareLight(floor.bake(settings).light[0], white, 1e-5f, "sun");
}

void TestBakeLight::spotLightFollowsItsCone()
{
    Floor floor;
    const QVector3D lamp(-0.5f, 2.0f, 0.0f);
    const QVector3D axis = unit({0.3f, -1.0f, 0.1f});
    BakeLight &spot = floor.light(BakeLight::Kind::Spot, white, lamp, axis);
    spot.cosHotspot = std::cos(0.3f);
    spot.cosFalloff = std::cos(0.6f);
    const BakeResult result = floor.bake(quickSettings(128, 64, 1));
    int dark = 0;
    int full = 0;
    for (int texel = 0; texel < 128 * 128; ++texel) {
        const QVector3D ray = unit(Floor::place(texel, 128) - lamp);
        const float part = (dot(ray, axis) - spot.cosFalloff) / (spot.cosHotspot - spot.cosFalloff);
        const float factor = qBound(0.0f, part, 1.0f);
        dark += factor == 0.0f;
        full += factor == 1.0f;
        // Where the cone begins or ends within a texel, its mean is another.
        if (qAbs(part) < 0.03f || qAbs(part - 1.0f) < 0.03f)
            continue;
        compareLight(result.light[size_t(texel)], white * (factor * -ray.y()), 0.004f, "texel");
    }
    QVERIFY(dark > 1000 && full > 500);
}

void TestBakeLight::hardShadowEndsAtTheEdge()
{
    Floor floor;
    addBoard(&floor, 1.0f);
    floor.light(BakeLight::Kind::Point, white, {1, 2, 0});
    const BakeResult result = floor.bake(quickSettings(64, 16, 1));
    // From x = 1 at height 2 past x = 0 at height 1 to x = -1 on the floor.
    for (int texel = 0; texel < 64 * 64; ++texel) {
        const QVector3D place = Floor::place(texel, 64);
        const QVector3D path = QVector3D(1, 2, 0) - place;
        if (place.x() < -1.05f)
            compareLight(result.light[size_t(texel)], {}, 0.0f, "shadow");
        else if (place.x() > -0.95f)
            compareLight(result.light[size_t(texel)], white * (path.y() / path.length()), 0.003f, "light");
    }
}

void TestBakeLight::softShadowIsAsWideAsTheLightMakesIt()
{
    Floor floor;
    addBoard(&floor, 1.0f);
    // Above the board's edge, so the shadow's middle lies below it, too.
    floor.light(BakeLight::Kind::Point, white, {0, 3, 0});
    BakeSettings settings = quickSettings(64, 512, 0);
    settings.lightRadius = 0.8f;
    const BakeResult result = floor.bake(settings);
    const auto lightAt = [&result](float x) {
        const int texel = Floor::texelAt(x, 0.0f, 64);
        const QVector3D path = QVector3D(0, 3, 0) - Floor::place(texel, 64);
        return result.light[size_t(texel)].x() / (path.y() / path.length());
    };
    // A ball of radius 0.8 two above the edge throws a penumbra of 0.4 one below it, to either side.
    const float middle = (lightAt(-0.03f) + lightAt(0.03f)) / 2.0f;
    QVERIFY2(qAbs(middle - 0.5f) < 0.02f, qPrintable(QString::number(double(middle))));
    compareLight(white * lightAt(-0.46f), {}, 0.0f, "full shadow");
    compareLight(white * lightAt(0.46f), white, 0.01f, "full light");
    QVERIFY(lightAt(-0.3f) > 0.01f && lightAt(-0.3f) < 0.15f);
    QVERIFY(lightAt(0.3f) < 0.99f && lightAt(0.3f) > 0.85f);
}

void TestBakeLight::sunAngleSoftensTheShadow()
{
    Floor floor;
    addBoard(&floor, 1.0f);
    floor.light(BakeLight::Kind::Directional, white, {}, {0, -1, 0});
    BakeSettings settings = quickSettings(64, 256, 0);
    // tan(11.31 degrees) = 0.2: a penumbra of 0.2 one below the edge, to either side.
    settings.sunAngle = 2.0f * 11.31f;
    const BakeResult result = floor.bake(settings);
    const auto lightAt = [&result](float x) { return result.light[size_t(Floor::texelAt(x, 0.0f, 64))].x(); };
    QCOMPARE(lightAt(-0.25f), 0.0f);
    QVERIFY(lightAt(-0.1f) > 0.05f && lightAt(-0.1f) < 0.35f);
    QVERIFY(lightAt(0.1f) > 0.65f && lightAt(0.1f) < 0.95f);
    QVERIFY(qAbs(lightAt(0.25f) - 1.0f) < 0.01f);
}

void TestBakeLight::paneLetsItsPartThrough()
{
    Floor floor;
    // Two panes over everything, of which each lets one half through; they reflect nothing.
    for (const float height : {1.0f, 1.5f})
        floor.quad({-400, height, -400}, {0, 0, 800}, {800, 0, 0}, floor.surface({}, {}, 0.5f),
                   QRectF(2, 2, 1, 1));
    floor.light(BakeLight::Kind::Directional, white, {}, {0, -1, 0});
    for (const QVector3D &light : floor.bake(quickSettings(16, 4, 0)).light)
        compareLight(light, white * 0.25f, 1e-6f, "direct light");
    floor.scene.lights.clear();
    floor.scene.ambient = white;
    const BakeResult result = floor.bake(quickSettings(16, 1024, 1));
    QVERIFY(qAbs(meanRed(floor.scene, result) - 0.25) < 0.003);
}

void TestBakeLight::surfaceIsLitOnTheSideOfItsNormal()
{
    Floor floor;
    floor.light(BakeLight::Kind::Point, white, {0, -1, 0});
    for (const QVector3D &light : floor.bake(quickSettings(16, 4, 1)).light)
        compareLight(light, {}, 0.0f, "lit from behind");
    // The corner order does not matter, the normals do.
    BakeSketch turned;
    const std::array<QVector3D, 3> down = {QVector3D(0, -1, 0), QVector3D(0, -1, 0), QVector3D(0, -1, 0)};
    turned.triangle({QVector3D(-2, 0, 2), QVector3D(2, 0, 2), QVector3D(0, 0, -2)},
                    {QVector2D(0, 0), QVector2D(1, 0), QVector2D(0.5f, 1)}, turned.surface(white), down);
    turned.light(BakeLight::Kind::Directional, white, {}, {0, 1, 0});
    const BakeResult result = turned.bake(quickSettings(16, 4, 1));
    compareLight(result.light[8 * 16 + 8], white, 1e-5f, "lit from the normal's side");
}

void TestBakeLight::coarseRoundShapeDoesNotShadeItself()
{
    // A cylinder of 12 flat strips with the normals of a round one, lit from +x.
    constexpr int strips = 12;
    BakeSketch sketch;
    const int surface = sketch.surface(white);
    const auto around = [](int strip) {
        const float angle = 6.2831853f * float(strip) / strips;
        return QVector3D(std::cos(angle), 0, std::sin(angle));
    };
    for (int i = 0; i < strips; ++i) {
        const QVector3D n0 = around(i);
        const QVector3D n1 = around(i + 1);
        const QVector3D up(0, 4, 0);
        const QVector2D s0(float(i) / strips, 0);
        const QVector2D s1(float(i + 1) / strips, 0);
        const QVector2D t(0, 1);
        sketch.triangle({n0, n1, n1 + up}, {s0, s1, s1 + t}, surface, {n0, n1, n1});
        sketch.triangle({n0, n1 + up, n0 + up}, {s0, s1 + t, s0 + t}, surface, {n0, n1, n0});
    }
    sketch.light(BakeLight::Kind::Directional, white, {}, {-1, 0, 0});
    const BakeResult result = sketch.bake(quickSettings(96, 16, 0));
    for (int x = 0; x < 96; ++x) {
        // Normals are interpolated along the chord.
        const float angle = 6.2831853f * (float(x) + 0.5f) / 96.0f;
        const float cosine = std::cos(angle);
        if (cosine > 0.1f)
            compareLight(result.light[size_t(48 * 96 + x)], white * cosine, 0.025f,
                         qPrintable(QStringLiteral("column %1").arg(x)));
    }
}

void TestBakeLight::borderOfAWallIsLitAsItsInside()
{
    // Floor and wall meet along the floor's edge, where the floor's last texels must not drown in the wall.
    Floor floor;
    floor.quad({-2, 0, -2}, {4, 0, 0}, {0, 4, 0}, floor.surface({}), QRectF(2, 2, 1, 1));
    floor.light(BakeLight::Kind::Point, white, {0, 2, 1});
    const BakeResult result = floor.bake(quickSettings(32, 16, 0));
    for (int x = 0; x < 32; ++x) {
        const QVector3D path = QVector3D(0, 2, 1) - Floor::place(x, 32);
        compareLight(result.light[size_t(x)], white * (path.y() / path.length()), 0.004f, "first row");
    }
}

void TestBakeLight::everyLightIsBouncedInItsShare()
{
    // At bounces one light is picked by chance: the mean must be that of all lights.
    const auto boxWith = [](std::initializer_list<int> numbers) {
        BakeSketch sketch;
        sketch.box(1.0f, sketch.surface(white * 0.6f), true);
        for (const int number : numbers) {
            if (number == 0)
                sketch.light(BakeLight::Kind::Point, {1.0f, 0, 0}, {0.5f, 0.3f, -0.1f});
            else if (number == 1)
                sketch.light(BakeLight::Kind::Point, {0.1f, 0, 0}, {-0.6f, -0.4f, 0.7f});
            else
                sketch.light(BakeLight::Kind::Spot, {0.5f, 0, 0}, {0, 0.9f, 0}).cosFalloff = 0.5f;
            sketch.scene.lights.back().cosHotspot = 0.8f;
        }
        BakeSettings settings = quickSettings(16, 512, 2);
        settings.lightRadius = 0.05f;
        return meanRed(sketch.scene, sketch.bake(settings));
    };
    const double apart = boxWith({0}) + boxWith({1}) + boxWith({2});
    const double together = boxWith({0, 1, 2});
    QVERIFY2(qAbs(together / apart - 1.0) < 0.003, qPrintable(QString::number(together / apart)));
}

QTEST_GUILESS_MAIN(TestBakeLight)
#include "tst_bakelight.moc"
