#include "EdgeMesh.h"
#include "Emulation.h"
#include "FatalCase.h"
#include "Geometry.h"
#include "MergedMesh.h"
#include "ShaderPainter.h"
#include "Trimesh.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QtTest>

#include <numeric>

#include <limits>

using namespace Quorvel;

namespace
{

Trimesh *addGroup(Geometry *geometry, const QVector<int> &vertices, const QVector<int> &normals,
                  const QVector<int> &texcoords)
{
    auto *group = new Trimesh;
    group->setIndices(vertices);
    group->setNormalIndices(normals);
    group->setTexcoordIndices(texcoords);
    geometry->addTrimesh(group);
    return group;
}

MergedMesh merged(const Geometry &geometry)
{
    MergedMesh mesh(geometry);
    for (const Trimesh *group : geometry.trimeshes())
        mesh.addGroup(*group);
    return mesh;
}

/// The merge as it is defined, vertex by vertex against all vertices of the group before it.
struct PlainMerge
{
    QVector<QVector3D> positions;
    QVector<QVector3D> normals;
    QVector<QVector2D> texcoords;
    QVector<int> indices;

    static qint32 key(const QVector3D &p, const QVector3D &n, const QVector2D &t)
    {
        const double scaled = double(p.x() + p.y() + p.z() + n.x() + n.y() + n.z() + t.x() + t.y()) * 10000.0;
        return qAbs(scaled) < 2147483648.0 ? qint32(scaled) : std::numeric_limits<qint32>::min();
    }

    void add(const Geometry &geometry, const Trimesh &group)
    {
        const int first = positions.size();
        for (int i = 0; i < group.indices().size(); ++i) {
            const QVector3D p = geometry.vertices()[group.indices()[i]];
            const QVector3D n = geometry.normals()[group.normalIndices()[i]];
            const QVector2D t = geometry.texcoords()[group.texcoordIndices()[i]];
            int found = first;
            while (found < positions.size() &&
                   !(key(p, n, t) == key(positions[found], normals[found], texcoords[found]) &&
                     qFuzzyCompare(p, positions[found]) && qFuzzyCompare(n, normals[found]) &&
                     qFuzzyCompare(t, texcoords[found])))
                ++found;
            if (found == positions.size()) {
                positions.append(p);
                normals.append(n);
                texcoords.append(t);
            }
            indices.append(found);
        }
    }
};

} // namespace

class TestMergedMesh : public QObject
{
    Q_OBJECT

private slots:
    void equalCornersShareAVertex();
    void samePositionWithOtherNormalStaysApart();
    void nearlyEqualCornersShareAVertex();
    void equalSumsStayApart();
    void nearlyEqualUnderOtherKeysStayApart();
    void groupsShareNoVertices();
    void indicesAreCumulative();
    void emptyGeometryAndEmptyGroup();
    void hugeAndInvalidNumbersAreKept();
    void agreesWithPlainMerge_data();
    void agreesWithPlainMerge();
    void gridsOfEqualSumsTakeLinearTime();
    void cornersMadeToCollideTakeLinearTime();
    void indexOutOfRangeIsFatal_data();
    void indexOutOfRangeIsFatal();
    void unequalListsAreFatal_data();
    void unequalListsAreFatal();
    void openEdgesNameTheCornerCount();
    void edgeMeshNeedsNeighbours();
};

void TestMergedMesh::equalCornersShareAVertex()
{
    Geometry geometry;
    geometry.setVertices({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}});
    geometry.setNormals({{0, 0, 1}, {0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    // Corner 3 repeats the index triple of corner 0; corner 4 has other indices of equal values.
    addGroup(&geometry, {0, 1, 2, 0, 4, 3}, {0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 0, 0});
    const MergedMesh mesh = merged(geometry);
    QCOMPARE(mesh.indices(), QVector<int>({0, 1, 2, 0, 0, 3}));
    QCOMPARE(mesh.positions(), QVector<QVector3D>({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
    QCOMPARE(mesh.normals(), QVector<QVector3D>(4, {0, 0, 1}));
    QCOMPARE(mesh.texcoords(), QVector<QVector2D>(4, {0, 0}));
}

void TestMergedMesh::samePositionWithOtherNormalStaysApart()
{
    Geometry geometry;
    geometry.setVertices({{1, 2, 3}});
    geometry.setNormals({{0, 0, 1}, {0, 1, 0}});
    geometry.setTexcoords({{0, 0}, {0, 1}});
    addGroup(&geometry, {0, 0, 0}, {0, 1, 0}, {0, 0, 1});
    QCOMPARE(merged(geometry).indices(), QVector<int>({0, 1, 2}));
}

void TestMergedMesh::nearlyEqualCornersShareAVertex()
{
    // Two neighbouring floats, one on each side of a cell of the search by value.
    const float below = std::nextafter(1.0f, 0.0f);
    Geometry geometry;
    geometry.setVertices({{1.0f, 0.5f, 0}, {below, 0.5f, 0}});
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    addGroup(&geometry, {0, 1, 0}, {0, 0, 0}, {0, 0, 0});
    QCOMPARE(merged(geometry).indices(), QVector<int>({0, 0, 0}));
}

void TestMergedMesh::equalSumsStayApart()
{
    Geometry geometry;
    geometry.setVertices({{1, 2, 3}, {3, 2, 1}});
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    addGroup(&geometry, {0, 1, 0}, {0, 0, 0}, {0, 0, 0});
    QCOMPARE(merged(geometry).indices(), QVector<int>({0, 1, 0}));
}

void TestMergedMesh::nearlyEqualUnderOtherKeysStayApart()
{
    // Equal within a hundred-thousandth, but the truncated sums are 200000 and 200001.
    Geometry geometry;
    geometry.setVertices({{20.0f, 0, 0}, {20.00015f, 0, 0}});
    geometry.setNormals({{0, 0, 0}});
    geometry.setTexcoords({{0, 0}});
    QVERIFY(qFuzzyCompare(20.0f, 20.00015f));
    addGroup(&geometry, {0, 1, 0}, {0, 0, 0}, {0, 0, 0});
    QCOMPARE(merged(geometry).indices(), QVector<int>({0, 1, 0}));
}

void TestMergedMesh::groupsShareNoVertices()
{
    Geometry geometry;
    geometry.setVertices({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    addGroup(&geometry, {0, 1, 2}, {0, 0, 0}, {0, 0, 0});
    addGroup(&geometry, {0, 1, 2}, {0, 0, 0}, {0, 0, 0});
    QCOMPARE(merged(geometry).positions().size(), 6);
}

void TestMergedMesh::indicesAreCumulative()
{
    Geometry geometry;
    geometry.setVertices({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    MergedMesh mesh(geometry);
    mesh.addGroup(*addGroup(&geometry, {0, 1, 2}, {0, 0, 0}, {0, 0, 0}));
    QCOMPARE(mesh.indices(), QVector<int>({0, 1, 2}));
    mesh.addGroup(*addGroup(&geometry, {2, 1, 0}, {0, 0, 0}, {0, 0, 0}));
    QCOMPARE(mesh.indices(), QVector<int>({0, 1, 2, 3, 4, 5}));
    QCOMPARE(mesh.positions()[3], QVector3D(0, 1, 0));
}

void TestMergedMesh::emptyGeometryAndEmptyGroup()
{
    Geometry geometry;
    QVERIFY(merged(geometry).positions().isEmpty());
    addGroup(&geometry, {}, {}, {});
    QVERIFY(merged(geometry).indices().isEmpty());
}

void TestMergedMesh::hugeAndInvalidNumbersAreKept()
{
    const float huge = 3e38f;
    const float infinity = std::numeric_limits<float>::infinity();
    Geometry geometry;
    geometry.setVertices(
        {{huge, huge, 0}, {-huge, -huge, 0}, {infinity, 0, 0}, {float(qQNaN()), 0, 0}, {300000, 0, 0}});
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    addGroup(&geometry, {0, 1, 2, 3, 4, 0}, {0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0, 0});
    QCOMPARE(merged(geometry).indices(), QVector<int>({0, 1, 2, 3, 4, 0}));
}

void TestMergedMesh::agreesWithPlainMerge_data()
{
    QTest::addColumn<double>("step");
    QTest::addColumn<double>("jitter");
    QTest::newRow("coarse values, no jitter") << 0.5 << 0.0;
    QTest::newRow("coarse values, jitter below the tolerance") << 0.5 << 2e-6;
    QTest::newRow("coarse values, jitter about the tolerance") << 0.5 << 1.2e-5;
    QTest::newRow("fine values, jitter about the tolerance") << 0.0625 << 1.2e-5;
}

void TestMergedMesh::agreesWithPlainMerge()
{
    QFETCH(double, step);
    QFETCH(double, jitter);
    QRandomGenerator random(42);
    const auto number = [&] {
        const double value = step * double(random.bounded(-3, 4));
        return float(value * (1.0 + jitter * (2.0 * random.generateDouble() - 1.0)));
    };
    Geometry geometry;
    QVector<QVector3D> positions;
    QVector<QVector3D> normals;
    QVector<QVector2D> texcoords;
    for (int i = 0; i < 1200; ++i) {
        positions.append({number(), number(), 0.0f});
        normals.append({0.0f, number() > 0 ? 1.0f : -1.0f, 0.0f});
        texcoords.append({number() > 0 ? 0.25f : 0.0f, 0.0f});
    }
    geometry.setVertices(positions);
    geometry.setNormals(normals);
    geometry.setTexcoords(texcoords);
    PlainMerge expected;
    for (int groupNumber = 0; groupNumber < 2; ++groupNumber) {
        QVector<int> v;
        QVector<int> n;
        QVector<int> t;
        for (int i = 0; i < 3000; ++i) {
            v.append(int(random.bounded(1200)));
            n.append(int(random.bounded(1200)));
            t.append(int(random.bounded(1200)));
        }
        expected.add(geometry, *addGroup(&geometry, v, n, t));
    }
    const MergedMesh mesh = merged(geometry);
    QVERIFY(mesh.positions().size() < 6000);
    QCOMPARE(mesh.indices(), expected.indices);
    QCOMPARE(mesh.positions(), expected.positions);
    QCOMPARE(mesh.normals(), expected.normals);
    QCOMPARE(mesh.texcoords(), expected.texcoords);
}

void TestMergedMesh::gridsOfEqualSumsTakeLinearTime()
{
    // Every vertex lies on x + y = 0, so all have one sum; a search among all of them would take minutes.
    const auto milliseconds = [](int count) {
        Geometry geometry;
        QVector<QVector3D> positions;
        QVector<int> indices;
        for (int i = 0; i < count; ++i) {
            positions.append({float(i), -float(i), 0});
            indices.append(i);
        }
        geometry.setVertices(positions);
        geometry.setNormals({{0, 0, 1}});
        geometry.setTexcoords({{0, 0}});
        addGroup(&geometry, indices, QVector<int>(count, 0), QVector<int>(count, 0));
        QElapsedTimer timer;
        timer.start();
        const MergedMesh mesh = merged(geometry);
        [&] { QCOMPARE(mesh.positions().size(), count); }();
        return timer.elapsed();
    };
    milliseconds(8000);
    const qint64 time = milliseconds(80000);
    QVERIFY2(time < 5000 * Test::patience, qPrintable(QString::number(time)));
}

/// Corners that are not numbers equal nothing, and share one key and cell: a search through all of them would
/// take minutes.
void TestMergedMesh::cornersMadeToCollideTakeLinearTime()
{
    constexpr int corners = 300'000;
    Geometry geometry;
    geometry.setVertices(QVector<QVector3D>(corners, {std::numeric_limits<float>::quiet_NaN(), 0.0f, 0.0f}));
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    QVector<int> indices(corners);
    std::iota(indices.begin(), indices.end(), 0);
    addGroup(&geometry, indices, QVector<int>(corners, 0), QVector<int>(corners, 0));
    QElapsedTimer timer;
    timer.start();
    const MergedMesh mesh = merged(geometry);
    QCOMPARE(mesh.positions().size(), corners);
    QVERIFY2(timer.elapsed() < 20'000 * Test::patience, qPrintable(QString::number(timer.elapsed())));
}

void TestMergedMesh::indexOutOfRangeIsFatal_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("past the end") << QStringLiteral("past the end");
    QTest::newRow("negative") << QStringLiteral("negative");
}

void TestMergedMesh::indexOutOfRangeIsFatal()
{
    QFETCH(QString, name);
    const FatalEnd end = FatalCases::end(name);
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("index out of range")), qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("the geometry \"broken\"")), qPrintable(end.text));
}

void TestMergedMesh::unequalListsAreFatal_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expression");
    QTest::newRow("normals") << QStringLiteral("few normals")
                             << QStringLiteral("\"vertexIndices.size() == normalIndices.size()\"");
    QTest::newRow("texture coordinates")
        << QStringLiteral("many texcoords")
        << QStringLiteral("\"vertexIndices.size() == texcoordIndices.size()\"");
}

void TestMergedMesh::unequalListsAreFatal()
{
    QFETCH(QString, name);
    QFETCH(QString, expression);
    const FatalEnd end = FatalCases::end(name);
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(expression), qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("src/ShaderPainter.cpp")), qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("the geometry \"broken\"")), qPrintable(end.text));
}

void TestMergedMesh::openEdgesNameTheCornerCount()
{
    Geometry geometry;
    geometry.setVertices({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {0, 1, 0}});
    Trimesh *group = addGroup(&geometry, {0, 1, 2}, {0, 0, 0}, {0, 0, 0});
    group->setAdjacency({-1, 3, -1});
    const EdgeMesh edges = edgeMesh(geometry);
    QCOMPARE(edges.indices, QVector<int>({0, 3, 1, 3, 2, 3}));
    QCOMPARE(edges.positions,
             QVector<QVector4D>({{1, 2, 3, 1}, {4, 5, 6, 1}, {7, 8, 9, 1}, {0, 1, 0, 1}, {0, 0, 0, 0}}));
}

void TestMergedMesh::edgeMeshNeedsNeighbours()
{
    Geometry geometry;
    geometry.setVertices({{1, 2, 3}});
    Trimesh *group = addGroup(&geometry, {0, 0, 0}, {0, 0, 0}, {0, 0, 0});
    group->setAdjacency({-1, -1});
    QVERIFY(edgeMesh(geometry).indices.isEmpty());
    QVERIFY(edgeMesh(geometry).positions.isEmpty());
}

/// Builds a group of one vertex, one normal and one texture coordinate. What is checked comes before any GL
/// call that would need a context.
static void build(const QVector<int> &vertices, int normals, int texcoords)
{
    Geometry geometry;
    geometry.setId(QStringLiteral("broken"));
    geometry.setVertices({{0, 0, 0}});
    geometry.setNormals({{0, 0, 1}});
    geometry.setTexcoords({{0, 0}});
    addGroup(&geometry, vertices, QVector<int>(normals, 0), QVector<int>(texcoords, 0));
    ShaderPainter().geometryData(&geometry, 0.0f);
}

int main(int argc, char **argv)
{
    const FatalCases cases{{QStringLiteral("past the end"),
                            [] {
                                build({0, 0, 1}, 3, 3);
                            }},
                           {QStringLiteral("negative"),
                            [] {
                                build({0, -1, 0}, 3, 3);
                            }},
                           {QStringLiteral("few normals"),
                            [] {
                                build({0, 0, 0}, 2, 3);
                            }},
                           {QStringLiteral("many texcoords"), [] {
                                build({0, 0, 0}, 3, 4);
                            }}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    TestMergedMesh test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_mergedmesh.moc"
