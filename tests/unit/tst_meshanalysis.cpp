#include "FatalCase.h"
#include "MessageCapture.h"
#include "SceneAssembly.h"

#include <QTest>

#include <limits>
#include <random>

using namespace Quorvel;

namespace
{

const QVector<QVector3D> points{QVector3D(0, 0, 0), QVector3D(1, 0, 0),  QVector3D(0, 1, 0),
                                QVector3D(0, 0, 1), QVector3D(1, 1, 0),  QVector3D(1, 0, 1),
                                QVector3D(2, 3, 5), QVector3D(-1, 1, -1)};

struct Result
{
    QVector<int> adjacency;
    QVector<int> invalidFaces;
    bool twoManifold = false;
    QStringList lines;
};

Result analyze(const QVector<QVector3D> &vertices, const QVector<int> &indices)
{
    Geometry geometry;
    geometry.setVertices(vertices);
    Result result;
    const MessageCapture capture;
    geometry.analyze(indices, &result.adjacency, &result.invalidFaces);
    result.twoManifold = geometry.isTwoManifold();
    result.lines = MessageCapture::lines();
    return result;
}

QStringList manifold(bool twoManifold)
{
    return {twoManifold ? QStringLiteral("Two-manifold mesh:  true")
                        : QStringLiteral("Two-manifold mesh:  false")};
}

/// The analysis written down a second time in the plainest form: text keys, ordered tables, look-ups that
/// insert.
class Reference
{
public:
    Reference(const QVector<QVector3D> &vertices, const QVector<int> &indices) : m_vertices(vertices)
    {
        const int faces = indices.size() / 3;
        m_result.adjacency.fill(-1, indices.size());
        for (int f = 0; f < faces; ++f)
            registerFace(f, indices[3 * f], indices[3 * f + 1], indices[3 * f + 2]);

        m_result.twoManifold = true;
        for (const QMap<int, int> &edge : qAsConst(m_edges)) {
            if (edge.size() < 2)
                m_result.twoManifold = false;
        }
        for (int entry = 0; entry < 3 * faces; ++entry) {
            const int f = entry / 3;
            const QString key = edgeKey(indices[entry], indices[3 * f + (entry + 1) % 3]);
            if (m_edges.contains(key) && m_edges[key].size() == 2)
                m_result.adjacency[entry] = m_edges[key][f];
        }
        m_result.lines += manifold(m_result.twoManifold);
    }

    const Result &result() const { return m_result; }

private:
    static QString edgeKey(int u, int v) { return QString::asprintf("%d,%d", qMin(u, v), qMax(u, v)); }

    void registerFace(int f, int a, int b, int c)
    {
        const QVector3D ab = m_vertices[a] - m_vertices[b];
        const QVector3D ac = m_vertices[a] - m_vertices[c];
        if (QVector3D::crossProduct(ab, ac).length() <= 0) {
            m_result.invalidFaces.append(f);
            return;
        }
        registerEdge(f, a, b, c);
        registerEdge(f, b, c, a);
        registerEdge(f, c, a, b);
    }

    void registerEdge(int f, int u, int v, int w)
    {
        if (u == v) {
            m_result.lines +=
                QStringLiteral("warning 3: invalid edge     %1 to %2 of face %3").arg(u).arg(v).arg(f);
            m_result.invalidFaces.append(f);
            return;
        }
        QMap<int, int> &edge = m_edges[edgeKey(u, v)];
        if (edge.size() == 2) {
            warn(1, w, f);
            m_result.invalidFaces.append(edge.firstKey());
            m_result.invalidFaces.append(f);
        } else if (edge.isEmpty()) {
            edge[f] = w;
        } else {
            const int g = edge.firstKey();
            const int x = edge.first();
            edge.clear();
            if (g == f) {
                warn(2, w, f);
                m_result.invalidFaces.append(g);
            } else if (x == w) {
                warn(5, w, f);
                m_result.invalidFaces.append(g);
            } else {
                edge[g] = w;
                edge[f] = x;
            }
        }
    }

    void warn(int number, int w, int f)
    {
        m_result.lines +=
            QStringLiteral("warning %1: invalid adjacent vertex %2 of face %3").arg(number).arg(w).arg(f);
    }

    QVector<QVector3D> m_vertices;
    QHash<QString, QMap<int, int>> m_edges;
    Result m_result;
};

} // namespace

class MeshAnalysisTest : public QObject
{
    Q_OBJECT

private slots:
    void lists_data();
    void lists();
    void nonFinitePosition_data();
    void nonFinitePosition();
    void tinyTriangleIsNotDegenerate();
    void flagFollowsTheLastAnalysis();
    void thirdTriangleTakesTheInsertingLookUp();
    void degenerateTriangleSpoilsAPairedEdge();
    void edgeOfManyTriangles();
    void agreesWithTheReference();
    void vertexOutOfRangeIsFatal_data();
    void vertexOutOfRangeIsFatal();
};

void MeshAnalysisTest::lists_data()
{
    QTest::addColumn<QVector<int>>("indices");
    QTest::addColumn<QVector<int>>("adjacency");
    QTest::addColumn<QVector<int>>("invalidFaces");
    QTest::addColumn<bool>("twoManifold");
    QTest::addColumn<QStringList>("warnings");
    using Ints = QVector<int>;
    const QStringList quiet;

    QTest::newRow("no index") << Ints{} << Ints{} << Ints{} << true << quiet;
    QTest::newRow("one index") << Ints{0} << Ints{-1} << Ints{} << true << quiet;
    QTest::newRow("two indices") << Ints{0, 1} << Ints{-1, -1} << Ints{} << true << quiet;
    QTest::newRow("one triangle") << Ints{0, 1, 2} << Ints{-1, -1, -1} << Ints{} << false << quiet;
    QTest::newRow("trailing indices")
        << Ints{0, 1, 2, 1, 0} << Ints{-1, -1, -1, -1, -1} << Ints{} << false << quiet;
    QTest::newRow("two triangles, opposite order")
        << Ints{0, 1, 2, 1, 0, 3} << Ints{3, -1, -1, 2, -1, -1} << Ints{} << false << quiet;
    QTest::newRow("two triangles, same order")
        << Ints{0, 1, 2, 3, 0, 1} << Ints{3, -1, -1, -1, 2, -1} << Ints{} << false << quiet;
    QTest::newRow("tetrahedron") << Ints{0, 1, 2, 0, 3, 1, 0, 2, 3, 1, 3, 2}
                                 // (0,1):3 (1,2):3 (2,0):3 | (0,3):2 (3,1):2 (1,0):2 | ...
                                 << Ints{3, 3, 3, 2, 2, 2, 1, 1, 1, 0, 0, 0} << Ints{} << true << quiet;
    QTest::newRow("three triangles on an edge")
        << Ints{0, 1, 2, 1, 0, 3, 0, 1, 6} << Ints{3, -1, -1, 2, -1, -1, 0, -1, -1} << Ints{0, 2} << false
        << QStringList{QStringLiteral("warning 1: invalid adjacent vertex 6 of face 2")};
    QTest::newRow("doubled triangle")
        << Ints{0, 1, 2, 0, 1, 2} << Ints{-1, -1, -1, -1, -1, -1} << Ints{0, 0, 0} << false
        << QStringList{QStringLiteral("warning 5: invalid adjacent vertex 2 of face 1"),
                       QStringLiteral("warning 5: invalid adjacent vertex 0 of face 1"),
                       QStringLiteral("warning 5: invalid adjacent vertex 1 of face 1")};
    QTest::newRow("tripled triangle")
        << Ints{0, 1, 2, 0, 1, 2, 0, 1, 2} << Ints{-1, -1, -1, -1, -1, -1, -1, -1, -1} << Ints{0, 0, 0}
        << false
        << QStringList{QStringLiteral("warning 5: invalid adjacent vertex 2 of face 1"),
                       QStringLiteral("warning 5: invalid adjacent vertex 0 of face 1"),
                       QStringLiteral("warning 5: invalid adjacent vertex 1 of face 1")};
    // The pair would see 6 and 3, had the look-up under triangle 0 not left a third entry on their edge.
    QTest::newRow("cleared edge pairs the next two")
        << Ints{0, 1, 2, 0, 1, 2, 0, 1, 3, 1, 0, 6} << Ints{0, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}
        << Ints{0, 0, 0} << false
        << QStringList{QStringLiteral("warning 5: invalid adjacent vertex 2 of face 1"),
                       QStringLiteral("warning 5: invalid adjacent vertex 0 of face 1"),
                       QStringLiteral("warning 5: invalid adjacent vertex 1 of face 1")};
    QTest::newRow("equal corners") << Ints{0, 1, 1} << Ints{-1, -1, -1} << Ints{0} << true << quiet;
    QTest::newRow("equal corners beside a triangle")
        << Ints{0, 1, 1, 0, 1, 2} << Ints{-1, -1, -1, -1, -1, -1} << Ints{0} << false << quiet;
}

void MeshAnalysisTest::lists()
{
    QFETCH(QVector<int>, indices);
    QFETCH(QStringList, warnings);
    QFETCH(bool, twoManifold);
    const Result result = analyze(points, indices);
    QTEST(result.adjacency, "adjacency");
    QTEST(result.invalidFaces, "invalidFaces");
    QTEST(result.twoManifold, "twoManifold");
    QCOMPARE(result.lines, warnings + manifold(twoManifold));
}

void MeshAnalysisTest::nonFinitePosition_data()
{
    QTest::addColumn<QVector3D>("position");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    QTest::newRow("nan") << QVector3D(nan, 0, 0);
    QTest::newRow("infinity") << QVector3D(infinity, 0, 0);
}

void MeshAnalysisTest::nonFinitePosition()
{
    // No length is at most 0 when it is not a number, so equal corners get past the test for degenerate
    // triangles.
    QFETCH(QVector3D, position);
    const Result result = analyze({position, QVector3D(0, 1, 0), QVector3D(0, 0, 1)}, {0, 0, 1, 1, 0, 2});
    QCOMPARE(result.lines, QStringList({QStringLiteral("warning 3: invalid edge     0 to 0 of face 0"),
                                        QStringLiteral("warning 2: invalid adjacent vertex 0 of face 0")}) +
                               manifold(false));
    QCOMPARE(result.invalidFaces, (QVector<int>{0, 0}));
    QCOMPARE(result.adjacency, (QVector<int>{-1, -1, -1, -1, -1, -1}));
    QCOMPARE(result.twoManifold, false);
}

void MeshAnalysisTest::tinyTriangleIsNotDegenerate()
{
    // The squared length of this normal is 0 in single precision, its length is not.
    const float side = 1e-12f;
    const Result result =
        analyze({QVector3D(0, 0, 0), QVector3D(side, 0, 0), QVector3D(0, side, 0)}, {0, 1, 2, 0, 2, 1});
    QCOMPARE(result.invalidFaces, (QVector<int>{0, 0, 0}));
    QCOMPARE(result.lines.first(), QStringLiteral("warning 5: invalid adjacent vertex 1 of face 1"));
    QCOMPARE(result.lines.size(), 4);
}

void MeshAnalysisTest::flagFollowsTheLastAnalysis()
{
    const MessageCapture capture;
    Geometry geometry;
    geometry.setVertices(points);
    QVector<int> adjacency;
    QVector<int> invalidFaces;
    geometry.analyze({}, &adjacency, &invalidFaces);
    QCOMPARE(geometry.isTwoManifold(), true);
    geometry.analyze({0, 1, 2}, &adjacency, &invalidFaces);
    QCOMPARE(geometry.isTwoManifold(), false);
    QCOMPARE(MessageCapture::lines(), manifold(true) + manifold(false));
}

void MeshAnalysisTest::thirdTriangleTakesTheInsertingLookUp()
{
    // The look-up under a triangle that is not on the edge yields 0 and stays behind as a third entry, so
    // that the fourth triangle finds an edge of three.
    const Result result = analyze(points, {0, 1, 2, 1, 0, 3, 0, 1, 6, 0, 1, 7});
    QCOMPARE(result.adjacency, (QVector<int>{3, -1, -1, 2, -1, -1, 0, -1, -1, -1, -1, -1}));
    QCOMPARE(result.invalidFaces, (QVector<int>{0, 2, 0, 3}));
    QCOMPARE(result.lines, QStringList({QStringLiteral("warning 1: invalid adjacent vertex 6 of face 2"),
                                        QStringLiteral("warning 1: invalid adjacent vertex 7 of face 3")}) +
                               manifold(false));
}

void MeshAnalysisTest::degenerateTriangleSpoilsAPairedEdge()
{
    // Degenerate first: its look-up on edge 0-1 comes before those of the pair, and leaves them an edge of
    // three.
    const Result before = analyze(points, {0, 1, 1, 0, 1, 2, 1, 0, 3});
    QCOMPARE(before.adjacency, (QVector<int>{0, -1, -1, -1, -1, -1, -1, -1, -1}));
    QCOMPARE(before.invalidFaces, QVector<int>{0});
    QCOMPARE(before.lines, manifold(false));

    // Degenerate last: the pair has been served.
    const Result after = analyze(points, {0, 1, 2, 1, 0, 3, 0, 1, 1});
    QCOMPARE(after.adjacency, (QVector<int>{3, -1, -1, 2, -1, -1, 0, -1, -1}));
    QCOMPARE(after.invalidFaces, QVector<int>{2});
    QCOMPARE(after.lines, manifold(false));
}

void MeshAnalysisTest::edgeOfManyTriangles()
{
    // The first of the pair is named again for each triangle too many.
    const Result result = analyze(points, {0, 1, 2, 0, 1, 3, 0, 1, 4, 0, 1, 5, 0, 1, 6});
    // Vertices 4 and 5 lie off the line 0-1, so no triangle is degenerate.
    QCOMPARE(result.invalidFaces, (QVector<int>{0, 2, 0, 3, 0, 4}));
    // Edges 1-2 ... 1-6 and 2-0 ... 6-0 are open.
    QCOMPARE(result.adjacency, (QVector<int>{3, -1, -1, 2, -1, -1, 0, -1, -1, -1, -1, -1, -1, -1, -1}));
}

void MeshAnalysisTest::agreesWithTheReference()
{
    std::mt19937 random(20100);
    int seenWarnings[6] = {};
    int manifolds = 0;
    int insertedZeros = 0;
    for (int round = 0; round < 400; ++round) {
        const auto below = [&random](int limit) { return int(random() % unsigned(limit)); };
        QVector<QVector3D> vertices;
        const int vertexCount = 3 + below(6);
        for (int i = 0; i < vertexCount; ++i)
            vertices.append(QVector3D(below(3), below(3), below(3)));
        if (round % 4 == 0)
            vertices[below(vertexCount)].setY(std::numeric_limits<float>::quiet_NaN());

        QVector<int> indices;
        if (round % 5 == 1 && vertexCount >= 4)
            indices = {0, 1, 2, 0, 3, 1, 0, 2, 3, 1, 3, 2};
        const int faces = below(12);
        for (int f = 0; f < faces; ++f) {
            if (!indices.isEmpty() && below(5) == 0) {
                const int copied = 3 * below(indices.size() / 3);
                const QVector<int> corners = indices.mid(copied, 3);
                const int turn = below(3);
                indices << corners[turn] << corners[(turn + 1) % 3] << corners[(turn + 2) % 3];
            } else {
                indices << below(vertexCount) << below(vertexCount) << below(vertexCount);
            }
        }
        for (int extra = below(3); extra > 0; --extra)
            indices << below(vertexCount);

        const Result expected = Reference(vertices, indices).result();
        const Result actual = analyze(vertices, indices);
        QVERIFY2(actual.lines == expected.lines,
                 qPrintable(QStringLiteral("round %1:\n%2\ninstead of\n%3")
                                .arg(round)
                                .arg(actual.lines.join('\n'), expected.lines.join('\n'))));
        QCOMPARE(actual.adjacency, expected.adjacency);
        QCOMPARE(actual.invalidFaces, expected.invalidFaces);
        QCOMPARE(actual.twoManifold, expected.twoManifold);

        for (const QString &line : expected.lines) {
            if (line.startsWith(QLatin1String("warning")))
                ++seenWarnings[line[8].digitValue()];
        }
        manifolds += expected.twoManifold ? 1 : 0;
        insertedZeros += expected.adjacency.contains(0) ? 1 : 0;
    }
    for (const int number : {1, 2, 3, 5})
        QVERIFY2(seenWarnings[number] > 0, "the lists do not reach every warning");
    QVERIFY(manifolds > 0);
    QVERIFY(insertedZeros > 0);
}

void MeshAnalysisTest::vertexOutOfRangeIsFatal_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("past the end") << QStringLiteral("past the end");
    QTest::newRow("negative") << QStringLiteral("negative");
}

void MeshAnalysisTest::vertexOutOfRangeIsFatal()
{
    QFETCH(QString, name);
    const FatalEnd end = FatalCases::end(name);
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("ASSERT")), qPrintable(end.text));
}

int main(int argc, char **argv)
{
    const auto analyzeWithIndex = [](int index) {
        Geometry geometry;
        geometry.setVertices(points);
        QVector<int> adjacency;
        QVector<int> invalidFaces;
        geometry.analyze({0, 1, index}, &adjacency, &invalidFaces);
    };
    const FatalCases cases{{QStringLiteral("past the end"), [&] { analyzeWithIndex(points.size()); }},
                           {QStringLiteral("negative"), [&] { analyzeWithIndex(-1); }}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    MeshAnalysisTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_meshanalysis.moc"
