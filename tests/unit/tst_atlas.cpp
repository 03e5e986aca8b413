#include "AtlasScene.h"
#include "ColladaLoader.h"
#include "ColladaText.h"
#include "Geometry.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Scene.h"
#include "SceneDump.h"
#include "Trimesh.h"

#include <QDomDocument>
#include <QtTest>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <numeric>

using namespace Quorvel;

/// Copies of scenes with fresh texture coordinates, judged by what the loader makes of them and by sampling
/// the image that their triangles cover.
class TestAtlas : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFixtureGivesACopyThatLoads_data();
    void everyFixtureGivesACopyThatLoads();
    void chartsNeitherOverlapNorTouch_data();
    void chartsNeitherOverlapNorTouch();
    void densityIsUniform_data();
    void densityIsUniform();
    void flatSidesAreOneChartEach();
    void columnUnrollsIntoFewCharts();
    void sceneFillsTheImage();
    void materialsDoNotShareAChart();
    void instancesGetGeometriesOfTheirOwn();
    void scaledInstanceGetsMoreRoom();
    void degenerateTrianglesLieInsideAChart();
    void sceneWithoutAreaGetsCoordinates();
    void otherInputsAreKept();
    void oldCoordinatesGoAndTheRestStays();
    void linesKeepTheirCoordinates();
    void namespacePrefixIsTakenOver();
    void listsOfThePredecessorAreWrittenOut();
    void sameSceneGivesSameBytes();
    void failures();

private:
    QString write(const QByteArray &text);
    QByteArray copyOf(const QByteArray &text, const AtlasOptions &options, AtlasSummary *summary = nullptr);

    QTemporaryDir m_directory;
};

namespace
{

constexpr double pi = 3.14159265358979323846;

struct Vec
{
    double x, y, z;
};

Vec operator-(Vec a, Vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vec cross(Vec a, Vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double length(Vec a)
{
    return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
}

Vec toVec(const QVector3D &v)
{
    return {double(v.x()), double(v.y()), double(v.z())};
}

/// Positions with a normal each, and triangles by material symbol.
struct Mesh
{
    std::vector<Vec> positions;
    std::vector<Vec> normals;
    std::map<QByteArray, std::vector<int>> groups;

    int add(Vec position, Vec normal)
    {
        positions.push_back(position);
        normals.push_back(normal);
        return int(positions.size()) - 1;
    }
    void quad(const QByteArray &group, int a, int b, int c, int d)
    {
        auto &list = groups[group];
        list.insert(list.end(), {a, b, c, a, c, d});
    }
};

/// A grid of quads over a surface given by a function of (0..1, 0..1), smoothly shaded.
Mesh surface(int across, int along, const std::function<Vec(double, double)> &at)
{
    Mesh mesh;
    constexpr double step = 1e-5;
    for (int j = 0; j <= along; ++j) {
        for (int i = 0; i <= across; ++i) {
            // What ends where it began has the very same positions there.
            const double u = double(i) / across;
            const double v = double(j) / along;
            const Vec du = at(u + step, v) - at(u - step, v);
            const Vec dv = at(u, v + step) - at(u, v - step);
            mesh.add(at(u, v), cross(du, dv));
        }
    }
    for (int j = 0; j < along; ++j) {
        for (int i = 0; i < across; ++i) {
            const int a = j * (across + 1) + i;
            mesh.quad("paint", a, a + 1, a + across + 2, a + across + 1);
        }
    }
    return mesh;
}

Mesh box(Vec low, Vec high)
{
    Mesh mesh;
    const std::array<Vec, 2> ends{low, high};
    const auto corner = [&](int x, int y, int z) {
        return Vec{ends[size_t(x)].x, ends[size_t(y)].y, ends[size_t(z)].z};
    };
    const auto side = [&mesh](Vec normal, Vec a, Vec b, Vec c, Vec d) {
        const int first = mesh.add(a, normal);
        mesh.add(b, normal);
        mesh.add(c, normal);
        mesh.add(d, normal);
        mesh.quad("paint", first, first + 1, first + 2, first + 3);
    };
    side({-1, 0, 0}, corner(0, 0, 0), corner(0, 0, 1), corner(0, 1, 1), corner(0, 1, 0));
    side({1, 0, 0}, corner(1, 0, 0), corner(1, 1, 0), corner(1, 1, 1), corner(1, 0, 1));
    side({0, -1, 0}, corner(0, 0, 0), corner(1, 0, 0), corner(1, 0, 1), corner(0, 0, 1));
    side({0, 1, 0}, corner(0, 1, 0), corner(0, 1, 1), corner(1, 1, 1), corner(1, 1, 0));
    side({0, 0, -1}, corner(0, 0, 0), corner(0, 1, 0), corner(1, 1, 0), corner(1, 0, 0));
    side({0, 0, 1}, corner(0, 0, 1), corner(1, 0, 1), corner(1, 1, 1), corner(0, 1, 1));
    return mesh;
}

/// Rounds away the difference between the two ends of a full turn.
double turn(double part, double (*function)(double))
{
    return std::round(function(2.0 * pi * part) * 1e6) / 1e6;
}

Mesh cylinder()
{
    return surface(48, 4, [](double u, double v) {
        return Vec{turn(u, std::cos), turn(u, std::sin), 3.0 * v};
    });
}

Mesh sphere()
{
    return surface(48, 24, [](double u, double v) {
        const double ring = std::sin(pi * v);
        return Vec{ring * turn(u, std::cos), ring * turn(u, std::sin), -std::cos(pi * v)};
    });
}

Mesh torus()
{
    return surface(48, 24, [](double u, double v) {
        const double ring = 2.0 + turn(v, std::cos);
        return Vec{ring * turn(u, std::cos), ring * turn(u, std::sin), turn(v, std::sin)};
    });
}

/// Two turns of a ramp, which from above covers itself.
Mesh ramp()
{
    return surface(96, 2, [](double u, double v) {
        return Vec{(1.0 + v) * std::cos(4.0 * pi * u), (1.0 + v) * std::sin(4.0 * pi * u), u};
    });
}

/// One turn of a flat ring that does not quite close.
Mesh ring()
{
    return surface(96, 1, [](double u, double v) {
        return Vec{(9.0 + v) * std::cos(6.0 * u), (9.0 + v) * std::sin(6.0 * u), 0.0};
    });
}

Mesh hills()
{
    return surface(40, 40, [](double u, double v) {
        return Vec{4.0 * u, 4.0 * v, 0.6 * std::sin(9.0 * u + 2.0 * v) * std::cos(7.0 * v)};
    });
}

/// Both sides of a bent sheet in one place.
Mesh sheet()
{
    Mesh mesh = surface(12, 6, [](double u, double v) { return Vec{2.0 * u, v, 0.3 * std::sin(3.0 * u)}; });
    std::vector<int> &list = mesh.groups["paint"];
    const std::vector<int> front = list;
    for (size_t i = 0; i < front.size(); i += 3)
        list.insert(list.end(), {front[i], front[i + 2], front[i + 1]});
    return mesh;
}

template <typename T>
QByteArray joined(const std::vector<T> &values, const std::function<QByteArray(const T &)> &text)
{
    QByteArray result;
    for (const T &value : values)
        result += (result.isEmpty() ? "" : " ") + text(value);
    return result;
}

QByteArray numbers(const std::vector<Vec> &values)
{
    return joined<Vec>(values, [](const Vec &v) {
        return QByteArray::number(v.x, 'g', 7) + ' ' + QByteArray::number(v.y, 'g', 7) + ' ' +
               QByteArray::number(v.z, 'g', 7);
    });
}

/// A geometry with positions and normals, and without texture coordinates.
QByteArray geometry(const QByteArray &id, const Mesh &mesh)
{
    QByteArray text = "<geometry id=\"" + id + "\"><mesh>\n<source id=\"" + id + "-p\"><float_array>" +
                      numbers(mesh.positions) + "</float_array></source>\n<source id=\"" + id +
                      "-n\"><float_array>" + numbers(mesh.normals) +
                      "</float_array></source>\n<vertices id=\"" + id +
                      "-v\"><input semantic=\"POSITION\" source=\"#" + id + "-p\"/></vertices>\n";
    for (const auto &[group, indices] : mesh.groups) {
        text +=
            "<triangles material=\"" + group + "\" count=\"" + QByteArray::number(int(indices.size() / 3)) +
            "\">\n<input semantic=\"VERTEX\" source=\"#" + id + "-v\" offset=\"0\"/>\n" +
            "<input semantic=\"NORMAL\" source=\"#" + id + "-n\" offset=\"1\"/>\n<p>" +
            joined<int>(indices,
                        [](const int &i) { return QByteArray::number(i) + ' ' + QByteArray::number(i); }) +
            "</p>\n</triangles>\n";
    }
    return text + "</mesh></geometry>\n";
}

QByteArray scene(const QByteArray &geometries, const QByteArray &nodes)
{
    return ColladaText::document(ColladaText::camera("camera") + "<library_geometries>\n" + geometries +
                                     "</library_geometries>\n",
                                 ColladaText::cameraNode("view") + nodes);
}

QByteArray shownBy(const QByteArray &node, const QByteArray &geometryId, const QByteArray &transform = {})
{
    return "<node id=\"" + node + "\">" + transform + "<instance_geometry url=\"#" + geometryId +
           "\"/></node>\n";
}

QByteArray sceneOf(const Mesh &mesh)
{
    return scene(geometry("thing", mesh), shownBy("thing-node", "thing"));
}

/// Boxes of all sizes, thin ones among them.
QByteArray crowd()
{
    QByteArray geometries;
    QByteArray nodes;
    for (int i = 0; i < 30; ++i) {
        const QByteArray id = "box" + QByteArray::number(i);
        geometries +=
            geometry(id, box({0, 0, 0}, {0.1 + 0.05 * i, 0.02 + 0.11 * (i % 7), 3.0 / (1 + i % 5)}));
        nodes += shownBy(id + "-node", id, "<translate>" + QByteArray::number(4 * i) + " 0 0</translate>");
    }
    return scene(geometries, nodes);
}

const std::map<QByteArray, QByteArray> &scenes()
{
    static const std::map<QByteArray, QByteArray> all{
        {"box", sceneOf(box({0, 0, 0}, {1, 2, 3}))},
        {"cylinder", sceneOf(cylinder())},
        {"sphere", sceneOf(sphere())},
        {"torus", sceneOf(torus())},
        {"ramp", sceneOf(ramp())},
        {"ring", sceneOf(ring())},
        {"hills", sceneOf(hills())},
        {"sheet", sceneOf(sheet())},
        {"crowd", crowd()},
    };
    return all;
}

void sceneRows()
{
    QTest::addColumn<QByteArray>("text");
    for (const auto &[name, text] : scenes())
        QTest::newRow(name.constData()) << text;
}

std::unique_ptr<Scene> load(const QString &path)
{
    const MessageCapture quiet;
    auto scene = std::make_unique<Scene>();
    const ColladaLoader loader(scene.get(), path);
    return scene;
}

struct Corner
{
    QVector3D position;
    QVector3D normal;
    QVector2D texcoord;
};

/// What a node shows, group after group; positions and normals in object space.
QVector<QVector<Corner>> shownCorners(const Node &node)
{
    const Geometry &geometry = *node.geometryModel();
    QVector<QVector<Corner>> groups;
    for (const Trimesh *group : geometry.trimeshes()) {
        QVector<Corner> corners;
        for (int i = 0; i < group->indices().size(); ++i)
            corners.append({geometry.vertices().at(group->indices().at(i)),
                            geometry.normals().value(group->normalIndices().at(i)),
                            geometry.texcoords().at(group->texcoordIndices().at(i))});
        groups.append(corners);
    }
    return groups;
}

/// The dump without its geometries and without the names of the nodes' models.
QStringList dumpBesidesGeometry(const Scene &scene)
{
    QStringList lines;
    bool inGeometry = false;
    for (const QString &line : dumpScene(scene).split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1Char(' ')))
            inGeometry = line.startsWith(QStringLiteral("geometry"));
        const bool names = line.trimmed().startsWith(QStringLiteral("model: ")) &&
                           line.endsWith(QStringLiteral(" of type 0"));
        if (!inGeometry && !line.startsWith(QStringLiteral("scene ")))
            lines += names ? QStringLiteral("model of type 0") : line;
    }
    return lines;
}

/// Whether two corners look the same but for their texture coordinates. What is not a number looks like
/// itself.
bool sameCorner(const Corner &a, const Corner &b)
{
    return std::memcmp(&a.position, &b.position, sizeof a.position) == 0 &&
           std::memcmp(&a.normal, &b.normal, sizeof a.normal) == 0;
}

void compareScenes(const Scene &before, const Scene &after)
{
    QCOMPARE(dumpBesidesGeometry(after), dumpBesidesGeometry(before));
    QSet<const Geometry *> seen;
    for (int i = 0; i < before.nodes().size(); ++i) {
        const Node &oldNode = *before.nodes().at(i);
        const Node &newNode = *after.nodes().at(i);
        if (!oldNode.geometryModel())
            continue;
        QVERIFY2(!seen.contains(newNode.geometryModel()), "two nodes show one geometry");
        seen.insert(newNode.geometryModel());
        const auto oldGroups = shownCorners(oldNode);
        const auto newGroups = shownCorners(newNode);
        QCOMPARE(newGroups.size(), oldGroups.size());
        for (int g = 0; g < oldGroups.size(); ++g) {
            QCOMPARE(newNode.geometryModel()->trimeshes().at(g)->materialName(),
                     oldNode.geometryModel()->trimeshes().at(g)->materialName());
            QCOMPARE(newGroups.at(g).size(), oldGroups.at(g).size());
            for (int c = 0; c < oldGroups.at(g).size(); ++c) {
                QVERIFY(sameCorner(newGroups.at(g).at(c), oldGroups.at(g).at(c)));
                const QVector2D at = newGroups.at(g).at(c).texcoord;
                QVERIFY(at.x() >= 0 && at.x() <= 1 && at.y() >= 0 && at.y() <= 1);
            }
        }
    }
}

/// A shown triangle in the image, in texels.
struct Flat
{
    std::array<double, 3> x;
    std::array<double, 3> y;
    double worldArea;
    int chart;

    double area() const { return ((x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0])) / 2.0; }
    bool holds(double px, double py, double margin) const
    {
        const double sign = area() < 0.0 ? -1.0 : 1.0;
        for (size_t k = 0; k < 3; ++k) {
            const size_t n = (k + 1) % 3;
            const double ex = x[n] - x[k];
            const double ey = y[n] - y[k];
            if (sign * (ex * (py - y[k]) - ey * (px - x[k])) < margin * std::hypot(ex, ey))
                return false;
        }
        return true;
    }
};

/// All shown triangles. Those whose corners share coordinates are one chart.
std::vector<Flat> flatTriangles(const Scene &scene, int size)
{
    std::vector<Flat> flats;
    std::vector<std::array<std::pair<const void *, std::pair<float, float>>, 3>> keys;
    for (const Node *node : scene.nodes()) {
        if (!node->geometryModel())
            continue;
        for (const auto &corners : shownCorners(*node)) {
            for (int i = 0; i + 2 < corners.size(); i += 3) {
                Flat flat{};
                std::array<Vec, 3> world{};
                keys.emplace_back();
                for (int k = 0; k < 3; ++k) {
                    const Corner &corner = corners.at(i + k);
                    flat.x[size_t(k)] = double(corner.texcoord.x()) * size;
                    flat.y[size_t(k)] = double(corner.texcoord.y()) * size;
                    world[size_t(k)] = toVec(node->worldTransform() * corner.position);
                    keys.back()[size_t(k)] = {node, {corner.texcoord.x(), corner.texcoord.y()}};
                }
                flat.worldArea = length(cross(world[1] - world[0], world[2] - world[0])) / 2.0;
                flats.push_back(flat);
            }
        }
    }
    std::vector<int> parents(flats.size());
    std::iota(parents.begin(), parents.end(), 0);
    const auto root = [&parents](int i) {
        while (parents[size_t(i)] != i)
            i = parents[size_t(i)] = parents[size_t(parents[size_t(i)])];
        return i;
    };
    std::map<std::pair<const void *, std::pair<float, float>>, int> owners;
    for (int i = 0; i < int(flats.size()); ++i) {
        for (const auto &key : keys[size_t(i)]) {
            const int owner = owners.emplace(key, i).first->second;
            parents[size_t(root(i))] = root(owner);
        }
    }
    for (int i = 0; i < int(flats.size()); ++i)
        flats[size_t(i)].chart = root(i);
    return flats;
}

/// Without the degenerate ones. A triangle that is one of them in the image must be one in the world.
std::vector<Flat> drawnTriangles(const Scene &scene, int size)
{
    std::vector<Flat> drawn;
    for (const Flat &flat : flatTriangles(scene, size)) {
        if (flat.area() == 0.0 && flat.worldArea > 1e-9)
            qFatal("a triangle of area %g has no room", flat.worldArea);
        if (flat.area() != 0.0)
            drawn.push_back(flat);
    }
    return drawn;
}

/// Marks points of the image, `scale` to a texel each way, with what covers them.
class Raster
{
public:
    Raster(int size, int scale)
        : m_side(size * scale), m_scale(scale), m_owners(size_t(m_side) * size_t(m_side), -1)
    {
    }

    /// Calls visit(owner) for every point inside the triangle.
    void cover(const Flat &flat, double margin, const std::function<void(int *)> &visit)
    {
        const auto [lowX, highX] = std::minmax_element(flat.x.begin(), flat.x.end());
        const auto [lowY, highY] = std::minmax_element(flat.y.begin(), flat.y.end());
        for (int j = first(*lowY); j <= last(*highY); ++j) {
            for (int i = first(*lowX); i <= last(*highX); ++i) {
                if (flat.holds((i + 0.5) / m_scale, (j + 0.5) / m_scale, margin))
                    visit(&m_owners[size_t(j) * size_t(m_side) + size_t(i)]);
            }
        }
    }
    int owner(int x, int y) const
    {
        const bool inside = x >= 0 && y >= 0 && x < m_side && y < m_side;
        return inside ? m_owners[size_t(y) * size_t(m_side) + size_t(x)] : -1;
    }
    void setOwner(int x, int y, int owner) { m_owners[size_t(y) * size_t(m_side) + size_t(x)] = owner; }

private:
    int first(double at) const { return std::max(0, int(at * m_scale) - 1); }
    int last(double at) const { return std::min(m_side - 1, int(at * m_scale) + 1); }

    int m_side;
    int m_scale;
    std::vector<int> m_owners;
};

/// What linear filtering reads anywhere on the triangle's edges and corners, as calls of visit(x, y).
void footprint(const Flat &flat, const std::function<void(int, int)> &visit)
{
    for (size_t k = 0; k < 3; ++k) {
        const size_t n = (k + 1) % 3;
        const int steps = 1 + int(8.0 * std::hypot(flat.x[n] - flat.x[k], flat.y[n] - flat.y[k]));
        for (int i = 0; i <= steps; ++i) {
            const double part = double(i) / steps;
            const int x = int(std::floor(flat.x[k] + part * (flat.x[n] - flat.x[k]) - 0.5 + 1e-3));
            const int y = int(std::floor(flat.y[k] + part * (flat.y[n] - flat.y[k]) - 0.5 + 1e-3));
            for (int j = 0; j < 4; ++j) {
                // A texel of no weight is not read.
                const double wx = flat.x[k] + part * (flat.x[n] - flat.x[k]) - 0.5 - x;
                const double wy = flat.y[k] + part * (flat.y[n] - flat.y[k]) - 0.5 - y;
                if ((j % 2 == 0 || wx > 0.02) && (j / 2 == 0 || wy > 0.02))
                    visit(x + j % 2, y + j / 2);
            }
        }
    }
}

} // namespace

void TestAtlas::initTestCase()
{
    // Converted scenes go to a cache of this run's own.
    QVERIFY(m_directory.isValid());
    qputenv("HOME", m_directory.path().toLocal8Bit());
}

QString TestAtlas::write(const QByteArray &text)
{
    const QString path = m_directory.filePath(QStringLiteral("scene.dae"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

/// The text of the copy, which stays at copy.dae; empty after a failure.
QByteArray TestAtlas::copyOf(const QByteArray &text, const AtlasOptions &options, AtlasSummary *summary)
{
    const MessageCapture quiet;
    const QString copy = m_directory.filePath(QStringLiteral("copy.dae"));
    QString error;
    if (!writeAtlasScene(write(text), copy, options, &error, summary))
        return {};
    QFile file(copy);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void TestAtlas::everyFixtureGivesACopyThatLoads_data()
{
    QTest::addColumn<QString>("folder");
    const QDir fixtures(QStringLiteral(QUORVEL_FIXTURES "/collada"));
    int rows = 0;
    for (const QString &name : fixtures.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QDir folder(fixtures.filePath(name));
        if (!folder.exists(QStringLiteral("expected.txt")))
            continue;
        QTest::newRow(qPrintable(name)) << folder.path();
        ++rows;
    }
    QVERIFY2(rows > 0, "no fixture folders found");
}

void TestAtlas::everyFixtureGivesACopyThatLoads()
{
    QFETCH(QString, folder);
    QFile file(folder + QStringLiteral("/input.dae"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray copy = copyOf(file.readAll(), {256, 2});
    QVERIFY(!copy.isEmpty());
    compareScenes(*load(file.fileName()), *load(m_directory.filePath(QStringLiteral("copy.dae"))));
}

void TestAtlas::chartsNeitherOverlapNorTouch_data()
{
    sceneRows();
}

void TestAtlas::chartsNeitherOverlapNorTouch()
{
    QFETCH(QByteArray, text);
    for (const int padding : {0, 3}) {
        constexpr int size = 256;
        QVERIFY(!copyOf(text, {size, padding}).isEmpty());
        const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
        compareScenes(*load(m_directory.filePath(QStringLiteral("scene.dae"))), *scene);
        const std::vector<Flat> flats = drawnTriangles(*scene, size);

        Raster points(size, 4);
        int twice = 0;
        for (int i = 0; i < int(flats.size()); ++i) {
            points.cover(flats[size_t(i)], 0.02, [&](int *owner) {
                twice += *owner >= 0 ? 1 : 0;
                *owner = i;
            });
        }
        QCOMPARE(twice, 0);

        Raster texels(size, 1);
        int shared = 0;
        for (const Flat &flat : flats) {
            footprint(flat, [&](int x, int y) {
                const bool border = x < padding || y < padding || x >= size - padding || y >= size - padding;
                shared += border || (texels.owner(x, y) >= 0 && texels.owner(x, y) != flat.chart) ? 1 : 0;
                if (!border)
                    texels.setOwner(x, y, flat.chart);
            });
        }
        QCOMPARE(shared, 0);
        int close = 0;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                for (int n = 0; texels.owner(x, y) >= 0 && n < (2 * padding + 1) * (2 * padding + 1); ++n) {
                    const int other = texels.owner(x + n % (2 * padding + 1) - padding,
                                                   y + n / (2 * padding + 1) - padding);
                    close += other >= 0 && other != texels.owner(x, y) ? 1 : 0;
                }
            }
        }
        QCOMPARE(close, 0);
    }
}

void TestAtlas::densityIsUniform_data()
{
    sceneRows();
}

void TestAtlas::densityIsUniform()
{
    QFETCH(QByteArray, text);
    AtlasSummary summary;
    QVERIFY(!copyOf(text, {512, 2}, &summary).isEmpty());
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    double world = 0.0;
    double uniform = 0.0;
    std::map<int, std::pair<double, double>> charts;
    for (const Flat &flat : drawnTriangles(*scene, 512)) {
        const double density = std::sqrt(std::abs(flat.area()) / flat.worldArea);
        world += flat.worldArea;
        uniform += std::abs(density / summary.density - 1.0) < 0.1 ? flat.worldArea : 0.0;
        charts[flat.chart].first += std::abs(flat.area());
        charts[flat.chart].second += flat.worldArea;
    }
    QVERIFY2(uniform > 0.98 * world, qPrintable(QString::number(uniform / world)));
    for (const auto &[chart, areas] : charts) {
        // Coordinates are rounded to a hundredth of a texel, which tells in the smallest charts.
        if (areas.first > 20.0)
            QVERIFY(std::abs(std::sqrt(areas.first / areas.second) / summary.density - 1.0) < 0.03);
    }
}

void TestAtlas::flatSidesAreOneChartEach()
{
    AtlasSummary summary;
    QVERIFY(!copyOf(sceneOf(box({0, 0, 0}, {1, 2, 3})), {256, 2}, &summary).isEmpty());
    QCOMPARE(summary.triangles, 12);
    QCOMPARE(summary.charts, 6);
}

void TestAtlas::columnUnrollsIntoFewCharts()
{
    AtlasSummary summary;
    QVERIFY(!copyOf(sceneOf(cylinder()), {256, 2}, &summary).isEmpty());
    QVERIFY2(summary.charts <= 4, qPrintable(QString::number(summary.charts)));
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    for (const Flat &flat : drawnTriangles(*scene, 256)) {
        const double density = std::sqrt(std::abs(flat.area()) / flat.worldArea);
        QVERIFY(std::abs(density / summary.density - 1.0) < 0.01);
    }
}

void TestAtlas::sceneFillsTheImage()
{
    AtlasSummary summary;
    QVERIFY(!copyOf(crowd(), {1024, 2}, &summary).isEmpty());
    QVERIFY2(summary.fill > 0.8, qPrintable(QString::number(summary.fill)));
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    double covered = 0.0;
    for (const Flat &flat : drawnTriangles(*scene, 1))
        covered += std::abs(flat.area());
    QVERIFY(std::abs(covered - summary.fill) < 0.01);
    // A ring is cut, since most of the square around it would stay empty.
    QVERIFY(!copyOf(sceneOf(ring()), {1024, 2}, &summary).isEmpty());
    QVERIFY2(summary.fill > 0.5, qPrintable(QString::number(summary.fill)));
}

void TestAtlas::materialsDoNotShareAChart()
{
    Mesh mesh;
    for (int i = 0; i < 3; ++i) {
        mesh.add({double(i), 0, 0}, {0, 0, 1});
        mesh.add({double(i), 1, 0}, {0, 0, 1});
    }
    mesh.quad("red", 0, 2, 3, 1);
    mesh.quad("blue", 2, 4, 5, 3);
    const QByteArray materials =
        "<library_materials><material id=\"m1\"/><material id=\"m2\"/></library_materials>\n";
    const auto bound = [&](const QByteArray &red, const QByteArray &blue) {
        return ColladaText::document(
            ColladaText::camera("camera") + materials + "<library_geometries>" + geometry("thing", mesh) +
                "</library_geometries>",
            ColladaText::cameraNode("view") +
                "<node id=\"n\"><instance_geometry url=\"#thing\"><bind_material><technique_common>"
                "<instance_material symbol=\"red\" target=\"#" +
                red + "\"/><instance_material symbol=\"blue\" target=\"#" + blue +
                "\"/></technique_common></bind_material></instance_geometry></node>");
    };
    AtlasSummary summary;
    QVERIFY(!copyOf(bound("m1", "m2"), {64, 2}, &summary).isEmpty());
    QCOMPARE(summary.charts, 2);
    QVERIFY(!copyOf(bound("m1", "m1"), {64, 2}, &summary).isEmpty());
    QCOMPARE(summary.charts, 1);
}

void TestAtlas::instancesGetGeometriesOfTheirOwn()
{
    const QByteArray text =
        scene(geometry("thing", box({0, 0, 0}, {1, 1, 1})) + geometry("thing-2", box({0, 0, 0}, {1, 1, 2})),
              shownBy("a", "thing") + shownBy("b", "thing", "<translate>3 0 0</translate>") +
                  shownBy("c", "thing-2") + "<node id=\"d\">" + shownBy("e", "thing") + "</node>");
    const QByteArray copy = copyOf(text, {256, 2});
    QVERIFY(!copy.isEmpty());
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    compareScenes(*load(m_directory.filePath(QStringLiteral("scene.dae"))), *scene);
    QCOMPARE(scene->geometries().size(), 4);
    QCOMPARE(scene->findNode(QStringLiteral("a"))->geometryModel()->id(), QStringLiteral("thing"));
    QCOMPARE(scene->findNode(QStringLiteral("c"))->geometryModel()->id(), QStringLiteral("thing-2"));

    QDomDocument document;
    QVERIFY(document.setContent(copy, true));
    QSet<QString> ids;
    QStringList references;
    const std::function<void(const QDomElement &)> walk = [&](const QDomElement &element) {
        if (element.hasAttribute(QStringLiteral("id"))) {
            QVERIFY2(!ids.contains(element.attribute(QStringLiteral("id"))),
                     qPrintable(element.attribute(QStringLiteral("id"))));
            ids.insert(element.attribute(QStringLiteral("id")));
        }
        for (const QString &name : {QStringLiteral("source"), QStringLiteral("url")}) {
            if (element.hasAttribute(name))
                references += element.attribute(name).mid(1);
        }
        for (QDomElement c = element.firstChildElement(); !c.isNull(); c = c.nextSiblingElement())
            walk(c);
    };
    walk(document.documentElement());
    for (const QString &reference : qAsConst(references))
        QVERIFY2(ids.contains(reference), qPrintable(reference));
}

void TestAtlas::scaledInstanceGetsMoreRoom()
{
    const QByteArray text =
        scene(geometry("thing", box({0, 0, 0}, {1, 1, 1})),
              shownBy("a", "thing") + "<node id=\"p\"><matrix>0 2 0 5 2 0 0 0 0 0 2 0 0 0 0 1</matrix>" +
                  shownBy("b", "thing", "<rotate>0 0 1 30</rotate><scale>1 1 1.5</scale>") + "</node>");
    AtlasSummary summary;
    QVERIFY(!copyOf(text, {512, 2}, &summary).isEmpty());
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    for (const Flat &flat : drawnTriangles(*scene, 512)) {
        const double density = std::sqrt(std::abs(flat.area()) / flat.worldArea);
        QVERIFY(std::abs(density / summary.density - 1.0) < 0.01);
    }
}

void TestAtlas::degenerateTrianglesLieInsideAChart()
{
    Mesh mesh = box({0, 0, 0}, {1, 1, 1});
    const int there = mesh.add({5, 5, 5}, {0, 0, 1});
    const int beside = mesh.add({6, 5, 5}, {0, 0, 1});
    const int further = mesh.add({7, 5, 5}, {0, 0, 1});
    // A point, a line of two corners, a line of three away from all else.
    const std::vector<int> degenerate{0, 0, 0, 0, 1, 1, there, beside, further};
    auto &list = mesh.groups["paint"];
    list.insert(list.end(), degenerate.begin(), degenerate.end());
    AtlasSummary summary;
    QVERIFY(!copyOf(sceneOf(mesh), {256, 2}, &summary).isEmpty());
    QCOMPARE(summary.charts, 6);
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    const std::vector<Flat> flats = flatTriangles(*scene, 256);
    QCOMPARE(flats.size(), size_t(15));
    for (size_t i = 12; i < 15; ++i) {
        int hosts = 0;
        for (size_t j = 0; j < 12; ++j)
            hosts += flats[j].holds(flats[i].x[0], flats[i].y[0], 0.5) ? 1 : 0;
        QCOMPARE(hosts, 1);
        QCOMPARE(flats[i].area(), 0.0);
    }
}

void TestAtlas::sceneWithoutAreaGetsCoordinates()
{
    Mesh mesh;
    for (int i = 0; i < 3; ++i)
        mesh.add({double(i), 0, 0}, {0, 0, 1});
    mesh.groups["paint"] = {0, 1, 2};
    AtlasSummary summary;
    QVERIFY(!copyOf(sceneOf(mesh), {64, 2}, &summary).isEmpty());
    QCOMPARE(summary.charts, 0);
    const auto scene = load(m_directory.filePath(QStringLiteral("copy.dae")));
    compareScenes(*load(m_directory.filePath(QStringLiteral("scene.dae"))), *scene);
}

void TestAtlas::otherInputsAreKept()
{
    const QByteArray thing =
        "<geometry id=\"g\"><mesh><source id=\"p\"><float_array>0 0 0 1 0 0 0 1 0</float_array></source>"
        "<source id=\"n\"><float_array>0 0 1</float_array></source>"
        "<source id=\"t\"><float_array>0 0 0 1 0 0 0 1 0</float_array></source>"
        "<source id=\"c\"><float_array>1 0 0 0 1 0</float_array></source>"
        "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices><triangles>"
        "<input semantic=\"COLOR\" source=\"#c\" offset=\"3\"/><input semantic=\"VERTEX\" source=\"#v\" "
        "offset=\"0\"/><input semantic=\"NORMAL\" source=\"#n\" offset=\"1\"/>"
        "<input semantic=\"TEXCOORD\" source=\"#t\" offset=\"2\" set=\"1\"/>"
        "<p>0 0 0 1 1 0 1 0 2 0 2 1</p></triangles></mesh></geometry>";
    const QByteArray copy = copyOf(scene(thing, shownBy("n", "g")), {64, 2});
    QDomDocument document;
    QVERIFY(document.setContent(copy, true));
    const QDomElement triangles = document.elementsByTagName(QStringLiteral("triangles")).at(0).toElement();
    QMap<QString, QString> offsets;
    const QDomNodeList inputs = triangles.elementsByTagName(QStringLiteral("input"));
    for (int i = 0; i < inputs.size(); ++i)
        offsets.insert(inputs.at(i).toElement().attribute(QStringLiteral("semantic")),
                       inputs.at(i).toElement().attribute(QStringLiteral("offset")));
    QCOMPARE(offsets,
             (QMap<QString, QString>{{"VERTEX", "0"}, {"NORMAL", "1"}, {"TEXCOORD", "2"}, {"COLOR", "3"}}));
    QCOMPARE(triangles.firstChildElement(QStringLiteral("p")).text(),
             QStringLiteral("0 0 0 1 1 0 1 0 2 0 2 1"));
    compareScenes(*load(m_directory.filePath(QStringLiteral("scene.dae"))),
                  *load(m_directory.filePath(QStringLiteral("copy.dae"))));
}

void TestAtlas::oldCoordinatesGoAndTheRestStays()
{
    QFile file(QStringLiteral(QUORVEL_FIXTURES "/collada/stride-of-three-inputs/input.dae"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray before = file.readAll();
    const QByteArray copy = copyOf(before, {64, 2});
    // Everything around the geometry is the same to the byte.
    const QByteArray begin = "<geometry";
    const QByteArray end = "</geometry>";
    QCOMPARE(copy.left(copy.indexOf(begin)), before.left(before.indexOf(begin)));
    QCOMPARE(copy.mid(copy.lastIndexOf(end)), before.mid(before.lastIndexOf(end)));
    QDomDocument document;
    QVERIFY(document.setContent(copy, true));
    QSet<QString> wanted;
    const QDomNodeList inputs = document.elementsByTagName(QStringLiteral("input"));
    for (int i = 0; i < inputs.size(); ++i)
        wanted.insert(inputs.at(i).toElement().attribute(QStringLiteral("source")));
    const QDomNodeList sources = document.elementsByTagName(QStringLiteral("source"));
    QCOMPARE(sources.size(), 3);
    for (int i = 0; i < sources.size(); ++i)
        QVERIFY(
            wanted.contains(QLatin1Char('#') + sources.at(i).toElement().attribute(QStringLiteral("id"))));
}

void TestAtlas::linesKeepTheirCoordinates()
{
    // The viewer takes the coordinates of lines into the same list.
    const QByteArray thing =
        "<geometry id=\"g\"><mesh><source id=\"t\"><float_array>9 9 9 8 8 8 7 7 7</float_array></source>"
        "<source id=\"p\"><float_array>0 0 0 1 0 0 0 1 0</float_array></source>"
        "<source id=\"n\"><float_array>0 0 1</float_array></source>"
        "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
        "<lines><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/>"
        "<input semantic=\"TEXCOORD\" source=\"#t\" offset=\"1\"/><p>0 0 1 1</p></lines>"
        "<triangles><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/>"
        "<input semantic=\"NORMAL\" source=\"#n\" offset=\"1\"/>"
        "<input semantic=\"TEXCOORD\" source=\"#t\" offset=\"2\"/>"
        "<p>0 0 0 1 0 1 2 0 2</p></triangles></mesh></geometry>";
    const QByteArray copy = copyOf(scene(thing, shownBy("n", "g")), {64, 2});
    QVERIFY(copy.contains("9 9 9 8 8 8 7 7 7"));
    QVERIFY(copy.contains("<p>0 0 1 1</p>"));
    compareScenes(*load(m_directory.filePath(QStringLiteral("scene.dae"))),
                  *load(m_directory.filePath(QStringLiteral("copy.dae"))));
}

void TestAtlas::namespacePrefixIsTakenOver()
{
    QFile file(QStringLiteral(QUORVEL_FIXTURES "/collada/namespace-by-prefix/input.dae"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray copy = copyOf(file.readAll(), {64, 2});
    QDomDocument document;
    QVERIFY(document.setContent(copy, true));
    const QString space = document.documentElement().namespaceURI();
    QVERIFY(!space.isEmpty());
    int inputs = 0;
    const std::function<void(const QDomElement &)> walk = [&](const QDomElement &element) {
        QCOMPARE(element.namespaceURI(), space);
        inputs += element.localName() == QStringLiteral("input") ? 1 : 0;
        for (QDomElement c = element.firstChildElement(); !c.isNull(); c = c.nextSiblingElement())
            walk(c);
    };
    walk(document.documentElement());
    QCOMPARE(inputs, 4);
}

void TestAtlas::listsOfThePredecessorAreWrittenOut()
{
    // The second geometry has neither positions nor normals of its own and shows those of the first; the
    // third is not shown and would take over texture coordinates.
    const auto bare = [](const QByteArray &id) {
        return "<geometry id=\"" + id +
               "\"><mesh><triangles><input semantic=\"VERTEX\" source=\"#no\" offset=\"0\"/>"
               "<input semantic=\"NORMAL\" source=\"#no\" offset=\"1\"/>"
               "<input semantic=\"TEXCOORD\" source=\"#no\" offset=\"2\"/>"
               "<p>0 0 0 1 1 1 2 2 2 4 4 2</p></triangles></mesh></geometry>";
    };
    const QByteArray first =
        "<geometry id=\"first\"><mesh><source id=\"p\"><float_array>0 0 0 1 0 0 0 1 0 0 0 1 1 1 "
        "1</float_array>"
        "</source><source id=\"n\"><float_array>0 0 1 0 1 0 1 0 0 0 0.6 0.8 0 0.8 0.6</float_array></source>"
        "<source id=\"t\"><float_array>0 0 0 1 0 0 0 1 0</float_array></source>"
        "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
        "<triangles><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/>"
        "<input semantic=\"NORMAL\" source=\"#n\" offset=\"1\"/>"
        "<input semantic=\"TEXCOORD\" source=\"#t\" offset=\"2\"/>"
        "<p>0 0 0 1 1 1 2 2 2</p></triangles></mesh></geometry>";
    const QByteArray text = scene(first + bare("second") + bare("third"), shownBy("a", "second"));
    QVERIFY(!copyOf(text, {64, 2}).isEmpty());
    const auto before = load(m_directory.filePath(QStringLiteral("scene.dae")));
    const auto after = load(m_directory.filePath(QStringLiteral("copy.dae")));
    compareScenes(*before, *after);
    QCOMPARE(after->geometries().size(), 3);
    const Geometry &third = *after->geometries().at(2);
    QCOMPARE(third.trimeshes().first()->texcoordIndices().size(), 4);
    QCOMPARE(third.texcoords().at(third.trimeshes().first()->texcoordIndices().at(1)), QVector2D(1, 0));
}

void TestAtlas::sameSceneGivesSameBytes()
{
    for (const QByteArray &text : {crowd(), sceneOf(hills())}) {
        const QByteArray first = copyOf(text, {256, 2});
        QVERIFY(!first.isEmpty());
        QCOMPARE(copyOf(text, {256, 2}), first);
        QVERIFY(copyOf(text, {512, 2}) != first);
    }
}

void TestAtlas::failures()
{
    const MessageCapture quiet;
    const QString scene = write(crowd());
    const QString copy = m_directory.filePath(QStringLiteral("failed.dae"));
    QString error;
    QVERIFY(!writeAtlasScene(scene, copy, {16, 4}, &error));
    QVERIFY2(error.contains(QStringLiteral("do not fit into 16 x 16 texels")), qPrintable(error));
    QVERIFY(!writeAtlasScene(m_directory.filePath(QStringLiteral("missing.dae")), copy, {}, &error));
    QVERIFY2(error.contains(QStringLiteral("missing.dae: the file cannot be read")), qPrintable(error));
    QVERIFY(!writeAtlasScene(scene, m_directory.filePath(QStringLiteral("no/folder.dae")), {}, &error));
    QVERIFY2(error.contains(QStringLiteral("cannot be written")), qPrintable(error));
    QVERIFY(!QFile::exists(copy));
}

QTEST_GUILESS_MAIN(TestAtlas)
#include "tst_atlas.moc"
