#include "AtlasScene.h"
#include "ColladaLoader.h"
#include "ColladaText.h"
#include "FlatTriangle.h"
#include "Geometry.h"
#include "MeshSketch.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Scene.h"
#include "SceneDump.h"
#include "TexelRaster.h"
#include "Trimesh.h"
#include "WorkMark.h"

#include <QDomDocument>
#include <QtTest>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>

using namespace Quorvel;
using namespace Quorvel::Test;

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

std::array<quint32, 3> bits(const QVector3D &v)
{
    std::array<quint32, 3> result{};
    for (size_t i = 0; i < 3; ++i) {
        const float value = v[int(i)];
        std::memcpy(&result[i], &value, sizeof value);
    }
    return result;
}

/// Whether two corners look the same but for their texture coordinates. What is not a number looks like
/// itself.
bool sameCorner(const Corner &a, const Corner &b)
{
    return bits(a.position) == bits(b.position) && bits(a.normal) == bits(b.normal);
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

} // namespace

void TestAtlas::initTestCase()
{
    // Converted scenes go to a cache of this run's own.
    QVERIFY(m_directory.isValid());
    qputenv("HOME", m_directory.path().toLocal8Bit());
}

QString TestAtlas::write(const QByteArray &text)
{
    QString path = m_directory.filePath(QStringLiteral("scene.dae"));
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
        const std::vector<FlatTriangle> flats = drawnTriangles(*scene, size);

        TexelRaster points(size, 4);
        int twice = 0;
        for (int i = 0; i < int(flats.size()); ++i) {
            points.cover(flats[size_t(i)], 0.02, [&](int *owner) {
                twice += *owner >= 0 ? 1 : 0;
                *owner = i;
            });
        }
        QCOMPARE(twice, 0);

        TexelRaster texels(size, 1);
        int shared = 0;
        for (const FlatTriangle &flat : flats) {
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
    for (const FlatTriangle &flat : drawnTriangles(*scene, 512)) {
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
    for (const FlatTriangle &flat : drawnTriangles(*scene, 256)) {
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
    for (const FlatTriangle &flat : drawnTriangles(*scene, 1))
        covered += std::abs(flat.area());
    QVERIFY(std::abs(covered - summary.fill) < 0.01);
    // A ring is cut, since most of the square around it would stay empty.
    QVERIFY(!copyOf(sceneOf(ring()), {1024, 2}, &summary).isEmpty());
    QVERIFY2(summary.fill > 0.5, qPrintable(QString::number(summary.fill)));
}

void TestAtlas::materialsDoNotShareAChart()
{
    MeshSketch mesh;
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
    for (const FlatTriangle &flat : drawnTriangles(*scene, 512)) {
        const double density = std::sqrt(std::abs(flat.area()) / flat.worldArea);
        QVERIFY(std::abs(density / summary.density - 1.0) < 0.01);
    }
}

void TestAtlas::degenerateTrianglesLieInsideAChart()
{
    MeshSketch mesh = box({0, 0, 0}, {1, 1, 1});
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
    const std::vector<FlatTriangle> flats = flatTriangles(*scene, 256);
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
    MeshSketch mesh;
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
    QCOMPARE(copy.mid(copy.lastIndexOf(end)), before.mid(before.lastIndexOf(end)) + sceneMark());
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
    QVERIFY2(error.contains(QStringLiteral("the file cannot be read")), qPrintable(error));
    QVERIFY(!writeAtlasScene(scene, m_directory.filePath(QStringLiteral("no/folder.dae")), {}, &error));
    QVERIFY2(error.contains(QStringLiteral("cannot be written")), qPrintable(error));
    QVERIFY(!QFile::exists(copy));
}

QTEST_GUILESS_MAIN(TestAtlas)
#include "tst_atlas.moc"
