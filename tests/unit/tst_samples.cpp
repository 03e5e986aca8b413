#include "Camera.h"
#include "ColladaLoader.h"
#include "Geometry.h"
#include "Light.h"
#include "LightMap.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QtMath>
#include <QtTest>

#include <cmath>
#include <limits>
#include <map>
#include <memory>

using namespace Quorvel;

/// What is asked of the scenes that are built into the program, besides looking good.
class TestSamples : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void convertsWithoutComplaint_data() { addScenes(); }
    void convertsWithoutComplaint();
    void staysInItsBudget_data() { addScenes(); }
    void staysInItsBudget();
    void hasACameraAndAShadowCastingSpot_data() { addScenes(); }
    void hasACameraAndAShadowCastingSpot();
    void indicesAreInRange_data() { addScenes(); }
    void indicesAreInRange();
    void frontFacesAreClockwise_data() { addScenes(); }
    void frontFacesAreClockwise();
    void noReedIsSeenBeforeTheTable();
    void lightMapHasItsSize_data() { addLitScenes(); }
    void lightMapHasItsSize();
    void chartsDoNotOverlap_data() { addLitScenes(); }
    void chartsDoNotOverlap();
    void everyTriangleSamplesBakedTexels_data() { addLitScenes(); }
    void everyTriangleSamplesBakedTexels();
    void thumbnailsAreTwiceTheirShownSize_data() { addLitScenes(); }
    void thumbnailsAreTwiceTheirShownSize();

private:
    static void addScenes();
    static void addLitScenes();
    const Scene &scene();

    struct Loaded
    {
        std::unique_ptr<Scene> scene = std::make_unique<Scene>();
        QStringList messages;
    };
    std::map<QString, Loaded> m_loaded;
};

namespace
{

const QStringList litScenes = {QStringLiteral("bedroom"), QStringLiteral("spiral"), QStringLiteral("quorvel"),
                               QStringLiteral("microscope"), QStringLiteral("objects")};

QString path(const QString &name)
{
    return QStringLiteral(":/models/%1.DAE").arg(name);
}

/// A triangle in the light map: its corners in texels, y upwards from the bottom row.
using MappedTriangle = std::array<QVector2D, 3>;

QVector<const Geometry *> geometries(const Scene &scene)
{
    QVector<const Geometry *> result;
    for (const Node *node : scene.nodes()) {
        if (const Geometry *geometry = node->geometryModel())
            result.append(geometry);
    }
    return result;
}

QVector<MappedTriangle> mappedTriangles(const Scene &scene, int size)
{
    QVector<MappedTriangle> result;
    for (const Geometry *geometry : geometries(scene)) {
        for (const Trimesh *group : geometry->trimeshes()) {
            const QVector<int> &indices = group->texcoordIndices();
            for (int i = 0; i + 2 < indices.size(); i += 3) {
                result.append({geometry->texcoords().at(indices.at(i)) * size,
                               geometry->texcoords().at(indices.at(i + 1)) * size,
                               geometry->texcoords().at(indices.at(i + 2)) * size});
            }
        }
    }
    return result;
}

/// A triangle as the first view has it: the eye at the origin, looking along -z.
using ViewedTriangle = std::array<QVector3D, 3>;

/// The triangles of the geometries whose ids begin with `prefix`.
QVector<ViewedTriangle> viewedTriangles(const Scene &scene, const QString &prefix)
{
    const QMatrix4x4 sceneToView = scene.activeCameraNode()->worldTransform().inverted();
    QVector<ViewedTriangle> result;
    for (const Node *node : scene.nodes()) {
        const Geometry *geometry = node->geometryModel();
        if (!geometry || !geometry->id().startsWith(prefix))
            continue;
        const QMatrix4x4 toView = sceneToView * node->worldTransform();
        const auto corner = [&](int index) { return toView.map(geometry->vertices().at(index)); };
        for (const Trimesh *group : geometry->trimeshes()) {
            const QVector<int> &corners = group->indices();
            for (int i = 0; i + 2 < corners.size(); i += 3)
                result.append({corner(corners.at(i)), corner(corners.at(i + 1)), corner(corners.at(i + 2))});
        }
    }
    return result;
}

bool isTurnedToEye(const ViewedTriangle &triangle)
{
    const QVector3D normal = QVector3D::crossProduct(triangle[2] - triangle[0], triangle[1] - triangle[0]);
    return QVector3D::dotProduct(normal, triangle[0]) < 0.0f;
}

float cross(const QVector2D &a, const QVector2D &b)
{
    return a.x() * b.y() - a.y() * b.x();
}

/// Whether a point lies in the triangle, and at least `margin` texels from each of its edges.
bool liesInside(const MappedTriangle &triangle, const QVector2D &point, float margin)
{
    const float sign = cross(triangle[1] - triangle[0], triangle[2] - triangle[0]) < 0.0f ? -1.0f : 1.0f;
    for (int k = 0; k < 3; ++k) {
        const QVector2D edge = triangle[(k + 1) % 3] - triangle[k];
        if (sign * cross(edge, point - triangle[k]) < margin * edge.length())
            return false;
    }
    return true;
}

/// Calls visit(x, y) for each texel of a map of this size whose centre lies in the triangle.
template <typename Visit>
void visitTexels(const MappedTriangle &triangle, int size, float margin, const Visit &visit)
{
    const auto [left, right] = std::minmax({triangle[0].x(), triangle[1].x(), triangle[2].x()});
    const auto [bottom, top] = std::minmax({triangle[0].y(), triangle[1].y(), triangle[2].y()});
    for (int y = std::max(int(bottom), 0); y <= std::min(int(top), size - 1); ++y) {
        for (int x = std::max(int(left), 0); x <= std::min(int(right), size - 1); ++x) {
            if (liesInside(triangle, QVector2D(x + 0.5f, y + 0.5f), margin))
                visit(x, y);
        }
    }
}

/// Rows from the bottom.
using TexelMask = std::vector<char>;

TexelMask coveredTexels(const QVector<MappedTriangle> &triangles, int size)
{
    TexelMask covered(size_t(size) * size_t(size), 0);
    for (const MappedTriangle &triangle : triangles)
        visitTexels(triangle, size, 0.0f, [&](int x, int y) { covered[size_t(y * size + x)] = 1; });
    return covered;
}

/// Whether a texel outside of the charts, with all around it that is outside of them too, is black although
/// every texel of a chart nearby is not.
bool isLeftBlack(const QImage &image, const TexelMask &covered, int x, int y)
{
    constexpr int radius = 2;
    constexpr int dark = 16; // of 255, the brightest channel
    const int size = image.width();
    int bright = 0;
    for (int j = qMax(y - radius, 0); j <= qMin(y + radius, size - 1); ++j) {
        for (int i = qMax(x - radius, 0); i <= qMin(x + radius, size - 1); ++i) {
            const QRgb pixel = image.pixel(i, size - 1 - j);
            const int brightness = qMax(qRed(pixel), qMax(qGreen(pixel), qBlue(pixel)));
            const bool isCovered = covered[size_t(j * size + i)];
            const bool isNeighbour = qAbs(i - x) <= 1 && qAbs(j - y) <= 1;
            if (isCovered ? brightness < dark : isNeighbour && brightness > 0)
                return false;
            bright += isCovered ? 1 : 0;
        }
    }
    return bright > 0 && !covered[size_t(y * size + x)];
}

} // namespace

void TestSamples::addScenes()
{
    addLitScenes();
    QTest::newRow("logo") << "logo";
}

void TestSamples::addLitScenes()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : litScenes)
        QTest::newRow(qPrintable(name)) << name;
}

void TestSamples::initTestCase()
{
    const QTemporaryDir cache;
    for (const QString &name : litScenes + QStringList{QStringLiteral("logo")}) {
        const MessageCapture capture;
        Loaded &loaded = m_loaded[name];
        const ColladaLoader loader(loaded.scene.get(), path(name), SceneCache(QString(), cache.path()));
        loaded.messages = MessageCapture::lines();
    }
}

const Scene &TestSamples::scene()
{
    return *m_loaded.at(QString::fromLatin1(QTest::currentDataTag())).scene;
}

void TestSamples::convertsWithoutComplaint()
{
    QFETCH(QString, name);
    QCOMPARE(m_loaded.at(name).messages.filter(QStringLiteral("warning"), Qt::CaseInsensitive),
             QStringList());
    QVERIFY(!m_loaded.at(name).messages.isEmpty());
}

void TestSamples::staysInItsBudget()
{
    QFETCH(QString, name);
    int triangles = 0;
    for (const Geometry *geometry : geometries(scene())) {
        for (const Trimesh *group : geometry->trimeshes())
            triangles += group->indices().size() / 3;
    }
    const bool isLogo = name == QLatin1String("logo");
    QVERIFY2(triangles >= (isLogo ? 500 : 5000) && triangles <= (isLogo ? 5000 : 60000),
             qPrintable(QString::number(triangles)));
    QVERIFY(QFile(path(name)).size() < (isLogo ? 250'000 : 4'000'000));
}

void TestSamples::hasACameraAndAShadowCastingSpot()
{
    QVERIFY(scene().activeCameraNode());
    int casting = 0;
    for (const Node *node : scene().nodes()) {
        const Light *light = node->lightModel();
        if (!light || light->type() != Light::SpotLight)
            continue;
        QVERIFY(light->hotspotBeam() < light->falloff());
        QVERIFY(scene().findNode(light->target()));
        casting += light->shadow() ? 1 : 0;
    }
    QVERIFY(casting > 0);
}

void TestSamples::indicesAreInRange()
{
    const auto allBelow = [](const QVector<int> &indices, int size) {
        return std::all_of(indices.begin(), indices.end(),
                           [size](int index) { return index >= 0 && index < size; });
    };
    for (const Geometry *geometry : geometries(scene())) {
        for (const Trimesh *group : geometry->trimeshes()) {
            QVERIFY(allBelow(group->indices(), geometry->vertices().size()));
            QVERIFY(allBelow(group->normalIndices(), geometry->normals().size()));
            QVERIFY(allBelow(group->texcoordIndices(), geometry->texcoords().size()));
        }
        for (const QVector2D &texcoord : geometry->texcoords()) {
            QVERIFY(texcoord.x() >= 0.0f && texcoord.x() <= 1.0f);
            QVERIFY(texcoord.y() >= 0.0f && texcoord.y() <= 1.0f);
        }
    }
}

/// Culled from the side that its normals point to, a triangle would be a hole. Slivers beside sharp creases
/// may lean over a little.
void TestSamples::frontFacesAreClockwise()
{
    float area = 0.0f;
    float turnedArea = 0.0f;
    for (const Geometry *geometry : geometries(scene())) {
        // The shade's outside is lit by the bulb inside of it, so its normals point there.
        if (geometry->id() == QLatin1String("lamp-shade-mesh"))
            continue;
        for (const Trimesh *group : geometry->trimeshes()) {
            const QVector<int> &corners = group->indices();
            for (int i = 0; i + 2 < corners.size(); i += 3) {
                const QVector3D &origin = geometry->vertices().at(corners.at(i));
                const QVector3D face =
                    QVector3D::crossProduct(geometry->vertices().at(corners.at(i + 2)) - origin,
                                            geometry->vertices().at(corners.at(i + 1)) - origin);
                QVector3D normal;
                for (int k = 0; k < 3; ++k)
                    normal += geometry->normals().at(group->normalIndices().at(i + k));
                area += face.length();
                if (!(QVector3D::dotProduct(face, normal) > 0.0f))
                    turnedArea += face.length();
            }
        }
    }
    QVERIFY2(turnedArea < 1e-4f * area, qPrintable(QString::number(turnedArea / area)));
}

/// The room's wall is looked through from behind. A flank of a near reed that faces the eye would be a stripe
/// across the picture. Looked for along the edges of the triangles, in a view of 12:5.
void TestSamples::noReedIsSeenBeforeTheTable()
{
    const Scene &scene = *m_loaded.at(QStringLiteral("objects")).scene;
    float table = std::numeric_limits<float>::max();
    for (const ViewedTriangle &triangle : viewedTriangles(scene, QStringLiteral("tablecloth")))
        table = std::min({table, -triangle[0].z(), -triangle[1].z(), -triangle[2].z()});

    const float fieldOfView = scene.activeCameraNode()->cameraModel()->fieldOfView();
    const float up = std::tan(qDegreesToRadians(0.5f * fieldOfView));
    const auto isStripe = [table, up](const QVector3D &point) {
        const float distance = -point.z();
        return distance > 0.0f && distance < table && std::abs(point.y()) < up * distance &&
               std::abs(point.x()) < 2.4f * up * distance;
    };
    const QVector<ViewedTriangle> reeds = viewedTriangles(scene, QStringLiteral("reed"));
    QVERIFY(!reeds.isEmpty());
    int stripes = 0;
    for (const ViewedTriangle &triangle : reeds) {
        if (!isTurnedToEye(triangle))
            continue;
        for (int k = 0; k < 3; ++k) {
            const QVector3D edge = triangle[(k + 1) % 3] - triangle[k];
            for (int step = 0; step < 64; ++step)
                stripes += isStripe(triangle[k] + edge * (step / 64.0f)) ? 1 : 0;
        }
    }
    QCOMPARE(stripes, 0);
}

void TestSamples::lightMapHasItsSize()
{
    QFETCH(QString, name);
    const QString file = LightMap::fileName(path(name));
    QVERIFY(QFile(file).size() < 2'000'000);
    const QImage image(file);
    QVERIFY(image.width() >= 1024);
    QCOMPARE(image.height(), image.width());
}

/// Half a texel may be shared along the edge of a chart; texel centres inside two triangles may not.
void TestSamples::chartsDoNotOverlap()
{
    QFETCH(QString, name);
    const int size = 2 * QImage(LightMap::fileName(path(name))).width();
    std::vector<char> taken(size_t(size) * size_t(size), 0);
    int shared = 0;
    for (const MappedTriangle &triangle : mappedTriangles(scene(), size)) {
        visitTexels(triangle, size, 0.02f, [&](int x, int y) {
            char &texel = taken[size_t(y) * size_t(size) + size_t(x)];
            shared += texel;
            texel = 1;
        });
    }
    QCOMPARE(shared, 0);
}

/// The four texels around a corner, and around the middle of each edge, are what linear filtering reads
/// there. What the baker leaves outside the charts' padding is black; beside bright texels of a chart that
/// would be a seam.
void TestSamples::everyTriangleSamplesBakedTexels()
{
    QFETCH(QString, name);
    const QImage image = QImage(LightMap::fileName(path(name))).convertToFormat(QImage::Format_RGB32);
    const int size = image.width();
    const QVector<MappedTriangle> triangles = mappedTriangles(scene(), size);
    const TexelMask covered = coveredTexels(triangles, size);
    int unbaked = 0;
    int sampled = 0;
    for (const MappedTriangle &triangle : triangles) {
        for (int k = 0; k < 3; ++k) {
            for (const QVector2D &point : {triangle[k], 0.5f * (triangle[k] + triangle[(k + 1) % 3])}) {
                for (int corner = 0; corner < 4; ++corner) {
                    const int x = qBound(0, int(std::floor(point.x() - 0.5f)) + corner % 2, size - 1);
                    const int y = qBound(0, int(std::floor(point.y() - 0.5f)) + corner / 2, size - 1);
                    unbaked += isLeftBlack(image, covered, x, y) ? 1 : 0;
                    ++sampled;
                }
            }
        }
    }
    QVERIFY2(unbaked < 0.0005 * sampled, qPrintable(QStringLiteral("%1 of %2").arg(unbaked).arg(sampled)));
}

void TestSamples::thumbnailsAreTwiceTheirShownSize()
{
    QFETCH(QString, name);
    QCOMPARE(QImage(QStringLiteral(":/icons/demo_thumbnails/%1.png").arg(name)).size(), QSize(256, 172));
}

QTEST_GUILESS_MAIN(TestSamples)
#include "tst_samples.moc"
