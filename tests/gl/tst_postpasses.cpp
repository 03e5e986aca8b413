#include "GlTest.h"
#include "PostSketch.h"

#include <QtTest>

#include <algorithm>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Outlines, against what they are meant to show and an independent computation, and the passes together.
class TestPostPasses : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void outlinesAgree();
    void outlineOnADepthStep();
    void outlineOnABend();
    void noOutlineInsideASurface();
    void noOutlineBetweenBackgroundPixels();
    void outlinesOverOcclusion();
    void passesLeaveNoStateBehind();
};

void TestPostPasses::outlinesAgree()
{
    PostSketch sketch;
    const Image::Texel paper = {200, 208, 220, 255};
    SceneSketch scene;
    addCorner(scene);
    for (const Image &surfaces : {randomSurfaces(), sketch.normalDepth(scene.scene())}) {
        const Image picture = sketch.outline(surfaces, paper);
        QVERIFY(PostSketch::isScreenUntouchedOutside());
        int outlined = 0;
        int compared = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const std::optional<double> dark = PostReference::outlining(surfaces, x, y);
                if (!dark)
                    continue;
                for (int channel = 0; channel < 3; ++channel) {
                    const double expected = std::max(paper[size_t(channel)] / 255.0 - *dark, 0.0);
                    const double value = picture.value(x, y, channel);
                    QVERIFY2(isNear(value, expected, 1.5 / 255), place(x, y, value, expected));
                }
                ++compared;
                outlined += *dark > 0;
            }
        }
        QVERIFY(compared > width * height / 2);
        QVERIFY(outlined > height / 2);
    }
}

void TestPostPasses::outlineOnADepthStep()
{
    PostSketch sketch;
    // A block one pixel wide is an edge on every side: all four axes and all four diagonals but its own.
    Image surfaces(PostSketch::size, surfaceTexel({0, 0, 1}, 0.5));
    surfaces.texel(middleX, middleY) = surfaceTexel({0, 0, 1}, 0.5 + 6.0 / 255);
    Image picture = sketch.outline(surfaces, white);
    QCOMPARE(int(picture.at(middleX, middleY)[0]), 0);
    QVERIFY(isNear(picture.value(middleX + 1, middleY, 0), 0.75, 0.003));
    QVERIFY(isNear(picture.value(middleX + 1, middleY + 1, 0), 0.875, 0.003));
    QCOMPARE(int(picture.at(middleX + 2, middleY)[0]), 255);

    // Along a straight step one axis and two diagonals of eight count.
    surfaces = halves(surfaceTexel({0, 0, 1}, 0.5), surfaceTexel({0, 0, 1}, 0.7));
    picture = sketch.outline(surfaces, white);
    for (const int x : {middleX - 1, middleX})
        QVERIFY(isNear(picture.value(x, middleY, 0), 0.5, 0.003));
    QCOMPARE(int(picture.at(middleX - 2, middleY)[0]), 255);
    QCOMPARE(int(picture.at(middleX + 1, middleY)[0]), 255);

    // The least step that is outlined, and the largest that is not, at whatever depth.
    for (int byte = 3; byte < 249; byte += 4) {
        const Image::Texel wall = surfaceTexel({0, 0, 1}, byte / 255.0);
        const Image small = sketch.outline(halves(wall, surfaceTexel({0, 0, 1}, (byte + 5) / 255.0)), white);
        QCOMPARE(smallest(small), 1.0);
        const Image large = sketch.outline(halves(wall, surfaceTexel({0, 0, 1}, (byte + 6) / 255.0)), white);
        QVERIFY(isNear(large.value(middleX, middleY, 0), 0.5, 0.003));
    }
}

void TestPostPasses::outlineOnABend()
{
    PostSketch sketch;
    const Image::Texel facing = surfaceTexel({0, 0, 1}, 0.5);
    // Cosines 0.8 and 0.7.
    Image picture = sketch.outline(halves(facing, surfaceTexel({0.6f, 0, 0.8f}, 0.5)), white);
    QCOMPARE(smallest(picture), 1.0);
    picture = sketch.outline(halves(facing, surfaceTexel({0.714f, 0, 0.7f}, 0.5)), white);
    QVERIFY(isNear(picture.value(middleX, middleY, 0), 0.5, 0.003));
}

void TestPostPasses::noOutlineInsideASurface()
{
    SceneSketch scene;
    scene.camera(translation(0, 0, 1), 50);
    addQuad(scene, {{-30, -30, -6}, {90, 0, -45}, {0, 60, 0}});
    PostSketch sketch;
    const Image surfaces = sketch.normalDepth(scene.scene());
    double least = 1;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            least = std::min(least, surfaces.depth(x, y));
    }
    QVERIFY(least > 0);
    QVERIFY(surfaces.depth(0, middleY) - surfaces.depth(width - 1, middleY) > 0.05);
    QCOMPARE(smallest(sketch.outline(surfaces, white)), 1.0);
}

void TestPostPasses::noOutlineBetweenBackgroundPixels()
{
    PostSketch sketch;
    Image picture = sketch.outline(Image(PostSketch::size), {200, 208, 220, 255});
    for (const Image::Texel &texel : picture.texels)
        QVERIFY(isNear(texel[0], 200, 1) && isNear(texel[1], 208, 1) && isNear(texel[2], 220, 1));

    // Nor where what was drawn behind them left normals.
    const Image surfaces = halves({}, {255, 255, 0, 0});
    QCOMPARE(smallest(sketch.outline(surfaces, white)), 1.0);
}

void TestPostPasses::outlinesOverOcclusion()
{
    CornerSketch sketch;
    const Image surfaces = read(sketch.targets.normalDepth());
    fill(sketch.targets.lighting(), Image(PostSketch::size, {230, 200, 160, 255}));
    sketch.drawOcclusion(sketch.state, true);
    const Image darkened = read(sketch.targets.occlusion());
    sketch.outlinePass.draw(sketch.state, sketch.targets, sketch.targets.occlusion());
    QVERIFY(PostSketch::isScreenUntouchedOutside());
    const Image picture = sketch.picture();
    int outlined = 0;
    int shaded = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::optional<double> dark = PostReference::outlining(surfaces, x, y);
            if (!dark)
                continue;
            const double expected = std::max(darkened.value(x, y, 1) - *dark, 0.0);
            QVERIFY2(isNear(picture.value(x, y, 1), expected, 1.5 / 255),
                     place(x, y, picture.value(x, y, 1), expected));
            outlined += *dark > 0;
            shaded += *dark <= 0 && darkened.value(x, y, 1) < 0.7;
        }
    }
    QVERIFY(outlined > height / 2);
    QVERIFY2(shaded > height, qPrintable(QString::number(shaded)));
}

void TestPostPasses::passesLeaveNoStateBehind()
{
    CornerSketch sketch;
    sketch.drawOcclusion(sketch.state, true);
    sketch.outlinePass.draw(sketch.state, sketch.targets, sketch.targets.occlusion());

    const auto number = [](GLenum name) {
        GLint value = -1;
        glGetIntegerv(name, &value);
        return value;
    };
    QCOMPARE(number(GL_ACTIVE_TEXTURE), GLint(GL_TEXTURE0));
    for (int unit = 2; unit >= 0; --unit) {
        glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        QCOMPARE(number(GL_TEXTURE_BINDING_2D), 0);
    }
    QCOMPARE(number(GL_CURRENT_PROGRAM), 0);
    QCOMPARE(number(GL_FRAMEBUFFER_BINDING), 0);
    QCOMPARE(number(GL_ARRAY_BUFFER_BINDING), 0);
    QCOMPARE(number(GL_ELEMENT_ARRAY_BUFFER_BINDING), 0);
    QVERIFY(!glIsEnabled(GL_DEPTH_TEST));
    QVERIFY(!glIsEnabled(GL_CULL_FACE));
    QVERIFY(!glIsEnabled(GL_BLEND));
    for (GLuint i = 0; i < 3; ++i) {
        GLint enabled = -1;
        glGetVertexAttribiv(i, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &enabled);
        QCOMPARE(enabled, 0);
    }
}

int main(int argc, char **argv)
{
    return GlLane::run<TestPostPasses>(argc, argv, PostSketch::screenSize);
}

#include "tst_postpasses.moc"
