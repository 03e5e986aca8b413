#include "FatalCase.h"
#include "Geometry.h"
#include "IntermediateText.h"
#include "Material.h"
#include "MessageCapture.h"
#include "ReceiverFeed.h"
#include "Trimesh.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::IntermediateText;

/// What the receivers make of the geometries and materials of intermediate documents, and the fatal ends.
class TestMeshReceivers : public QObject
{
    Q_OBJECT

private slots:
    void unfinishedDocumentLeavesNothingHalf();
    void group();
    void secondGroupCopiesTheLists();
    void groupOfPairs();
    void groupOfSingles();
    void groupOfSinglesUsesNormalZero();
    void groupWithStride_data();
    void groupWithStride();
    void groupWithoutMaterial();
    void missingTexcoords();
    void texcoordTriples();
    void normalsOfTheGeometryBefore();
    void groupsAreAnalysed();
    void geometryDiagnostics();
    void materialColors_data();
    void materialColors();
    void materialColorElsewhere();
    void materialNumbers_data();
    void materialNumbers();
    void materialTextureLeavesNoColor();
    void laterMaterialOfOneIdWins();
    void fatalEnds_data();
    void fatalEnds();
};

namespace
{

void feed(ReceiverFeed &feed, const QByteArray &document)
{
    const MessageCapture capture;
    QVERIFY(feed.feed(document));
}

QByteArray fatalDocument(const QString &name)
{
    const QByteArray lists = "<vertices>0 0 0 1 0 0 0 1 0</vertices><normals>0 0 1</normals>"
                             "<texcoords>0 0 0 1 1 0</texcoords>";
    const auto triangles = [&](const QByteArray &stride, const QByteArray &indices) {
        return geometries(geometry(lists + "<triangles stride='" + stride + "'>" + indices + "</triangles>",
                                   "bad geometry"));
    };
    const QMap<QString, QByteArray> documents{
        {"position", triangles("3", "0 0 0 1 0 0 3 0 0")},
        {"negative position", triangles("3", "0 0 0 -1 0 0 2 0 0")},
        {"normal", triangles("3", "0 0 0 1 1 0 2 0 0")},
        {"negative normal", triangles("3", "0 -2 0 1 0 0 2 0 0")},
        {"texcoord", triangles("3", "0 0 0 1 0 1 2 0 2")},
        {"negative texcoord", triangles("3", "0 0 -3 1 0 1 2 0 0")},
        {"pair position", triangles("2", "0 0 7 0 2 0")},
        {"negative pair position", triangles("2", "0 0 -7 0 2 0")},
        {"pair normal", triangles("2", "0 0 1 4 2 0")},
        {"single position", triangles("1", "0 1 3")},
        {"negative single position", triangles("1", "0 1 -9")},
    };
    return documents.value(name);
}

void feedFatally(const QString &name)
{
    ReceiverFeed feed;
    feed.feed(fatalDocument(name));
}

} // namespace

void TestMeshReceivers::unfinishedDocumentLeavesNothingHalf()
{
    const MessageCapture capture;
    ReceiverFeed feed;
    QVERIFY(!feed.feed("<scene><geometries>" + geometry(triangleLists()) + "<geometry id='half'>" +
                       triangleLists() + "<triangles stride='1'>0 1"));
    QCOMPARE(feed.scene().geometries().size(), 1);
}

void TestMeshReceivers::group()
{
    ReceiverFeed feed;
    ::feed(feed, geometries(geometry(triangleLists() +
                                     "<triangles stride='3' material='red'>0 1 3 1 0 2 2 1 0</triangles>")));
    const Geometry *geometry = feed.scene().geometries().value(0);
    QVERIFY(geometry);
    QCOMPARE(geometry->id(), QStringLiteral("g"));
    QCOMPARE(geometry->vertices(), (QVector<QVector3D>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    QCOMPARE(geometry->normals(), (QVector<QVector3D>{{0, 0, 1}, {0, 1, 0}}));
    QCOMPARE(geometry->texcoords(), (QVector<QVector2D>{{0, 0}, {1, 0}, {0, 1}, {5, 5}}));
    QCOMPARE(geometry->trimeshes().size(), 1);
    const Trimesh *trimesh = geometry->trimeshes().first();
    QCOMPARE(trimesh->materialName(), QStringLiteral("red"));
    QCOMPARE(trimesh->indices(), (QVector<int>{0, 1, 2}));
    QCOMPARE(trimesh->normalIndices(), (QVector<int>{1, 0, 1}));
    QCOMPARE(trimesh->texcoordIndices(), (QVector<int>{3, 2, 0}));
}

void TestMeshReceivers::secondGroupCopiesTheLists()
{
    ReceiverFeed feed;
    ::feed(feed, geometries(geometry(triangleLists() +
                                     "<triangles stride='3' material='a'>0 0 0 1 1 1 2 0 2</triangles>"
                                     "<triangles stride='3' material='b'>5 3 7 1 1 1 2 0 2</triangles>")));
    const Geometry *geometry = feed.scene().geometries().value(0);
    QCOMPARE(geometry->vertices().size(), 6);
    QCOMPARE(geometry->vertices().mid(3), geometry->vertices().mid(0, 3));
    QCOMPARE(geometry->normals().size(), 4);
    QCOMPARE(geometry->texcoords().size(), 8);
    QCOMPARE(geometry->trimeshes().value(1)->materialName(), QStringLiteral("b"));
    QCOMPARE(geometry->trimeshes().value(1)->indices(), (QVector<int>{5, 1, 2}));
    QCOMPARE(geometry->trimeshes().value(1)->normalIndices(), (QVector<int>{3, 1, 0}));
    QCOMPARE(geometry->trimeshes().value(1)->texcoordIndices(), (QVector<int>{7, 1, 2}));
}

void TestMeshReceivers::groupOfPairs()
{
    ReceiverFeed feed;
    ::feed(feed, geometries(geometry(triangleLists() + "<triangles stride='2'>0 1 1 0 2 1 2</triangles>")));
    const Trimesh *trimesh = feed.scene().geometries().value(0)->trimeshes().value(0);
    QCOMPARE(trimesh->indices(), (QVector<int>{0, 1, 2}));
    QCOMPARE(trimesh->normalIndices(), (QVector<int>{1, 0, 1}));
    QCOMPARE(trimesh->texcoordIndices(), (QVector<int>{0, 0, 0}));
}

void TestMeshReceivers::groupOfSingles()
{
    ReceiverFeed feed;
    QStringList lines;
    {
        const MessageCapture capture;
        QVERIFY(feed.feed(geometries(geometry("<vertices>0 0 0 1 0 0 0 1 0</vertices><normals/><texcoords/>"
                                              "<triangles stride='1'>2 1 0</triangles>"))));
        lines = capture.lines();
    }
    const Geometry *geometry = feed.scene().geometries().value(0);
    QCOMPARE(geometry->normals(), (QVector<QVector3D>{{0, 0, 1}}));
    QCOMPARE(geometry->trimeshes().value(0)->indices(), (QVector<int>{2, 1, 0}));
    QCOMPARE(geometry->trimeshes().value(0)->normalIndices(), (QVector<int>{0, 0, 0}));
    QCOMPARE(geometry->trimeshes().value(0)->texcoordIndices(), (QVector<int>{0, 0, 0}));
    const int texcoords = lines.indexOf(QStringLiteral("Warning: No texcoords defined"));
    QVERIFY(texcoords >= 0);
    QCOMPARE(lines.value(texcoords + 1), QStringLiteral("Warning: No normals defined"));
}

void TestMeshReceivers::groupOfSinglesUsesNormalZero()
{
    ReceiverFeed feed;
    ::feed(feed, geometries(geometry("<vertices>0 0 0 1 0 0 0 1 0</vertices><normals>1 0 0</normals>"
                                     "<triangles stride='1'>2 1 0</triangles>")));
    const Geometry *geometry = feed.scene().geometries().value(0);
    QCOMPARE(geometry->normals(), (QVector<QVector3D>{{1, 0, 0}, {0, 0, 1}}));
    QCOMPARE(geometry->trimeshes().value(0)->normalIndices(), (QVector<int>{0, 0, 0}));
}

void TestMeshReceivers::groupWithStride_data()
{
    QTest::addColumn<QByteArray>("stride");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVector<int>>("indices");
    QTest::addColumn<QVector<int>>("normalIndices");
    QTest::addColumn<QVector<int>>("texcoordIndices");
    QTest::addColumn<QString>("warning");

    const QString none;
    QTest::newRow("4 skips the fourth")
        << QByteArray("4") << QByteArray("0 1 2 99 1 0 3 -99") << QVector<int>{0, 1} << QVector<int>{1, 0}
        << QVector<int>{2, 3} << none;
    QTest::newRow("3 ends at the last whole group")
        << QByteArray("3") << QByteArray("0 0 0 1 1 1 2 0") << QVector<int>{0, 1} << QVector<int>{0, 1}
        << QVector<int>{0, 1} << none;
    QTest::newRow("5 ends at the last whole group")
        << QByteArray("5") << QByteArray("0 0 0 9 9 1 1 1") << QVector<int>{0} << QVector<int>{0}
        << QVector<int>{0} << none;
    QTest::newRow("2 ends at the last whole group")
        << QByteArray("2") << QByteArray("0 0 1 1 2") << QVector<int>{0, 1} << QVector<int>{0, 1}
        << QVector<int>{0, 0} << none;
    QTest::newRow("a word reads as 0") << QByteArray("3") << QByteArray("1 x 2") << QVector<int>{1}
                                       << QVector<int>{0} << QVector<int>{2} << none;
    QTest::newRow("quad") << QByteArray("1") << QByteArray("0 1 2 2") << QVector<int>{0, 1, 2, 2}
                          << QVector<int>{0, 0, 0, 0} << QVector<int>{0, 0, 0, 0} << none;
    QTest::newRow("0") << QByteArray("0") << QByteArray("0 1 2") << QVector<int>() << QVector<int>()
                       << QVector<int>()
                       << QStringLiteral("Warning: triangles of geometry g with a stride of 0 ignored");
    QTest::newRow("not a number") << QByteArray("many") << QByteArray("0 1 2") << QVector<int>()
                                  << QVector<int>() << QVector<int>()
                                  << QStringLiteral(
                                         "Warning: triangles of geometry g with a stride of 0 ignored");
    QTest::newRow("no indices") << QByteArray("3") << QByteArray("  ") << QVector<int>() << QVector<int>()
                                << QVector<int>() << none;
}

void TestMeshReceivers::groupWithStride()
{
    QFETCH(QByteArray, stride);
    QFETCH(QByteArray, text);

    ReceiverFeed feed;
    QStringList lines;
    {
        const MessageCapture capture;
        QVERIFY(feed.feed(geometries(
            geometry(triangleLists() + "<triangles stride='" + stride + "'>" + text + "</triangles>"))));
        lines = capture.lines();
    }
    const Geometry *geometry = feed.scene().geometries().value(0);
    QCOMPARE(geometry->trimeshes().size(), 1);
    QTEST(geometry->trimeshes().first()->indices(), "indices");
    QTEST(geometry->trimeshes().first()->normalIndices(), "normalIndices");
    QTEST(geometry->trimeshes().first()->texcoordIndices(), "texcoordIndices");
    QTEST(lines.filter(QStringLiteral("ignored")).value(0), "warning");
}

void TestMeshReceivers::groupWithoutMaterial()
{
    ReceiverFeed feed;
    ::feed(feed, geometries(geometry(triangleLists() + "<triangles stride='3' material='a'>0 0 0</triangles>"
                                                       "<triangles stride='3'>0 0 0</triangles>")));
    const Geometry *geometry = feed.scene().geometries().value(0);
    QCOMPARE(geometry->trimeshes().value(0)->materialName(), QStringLiteral("a"));
    QCOMPARE(geometry->trimeshes().value(1)->materialName(), QString());
}

void TestMeshReceivers::missingTexcoords()
{
    ReceiverFeed feed;
    ::feed(feed,
           geometries(geometry("<vertices>0 0 0 1 0 0 0 1 0</vertices><normals>0 0 1</normals><texcoords/>"
                               "<triangles stride='2'>0 0 1 0 2 0</triangles>"
                               "<triangles stride='2'>0 0 1 0 2 0</triangles>")));
    QCOMPARE(feed.scene().geometries().value(0)->texcoords(), (QVector<QVector2D>{{0, 0}, {0, 0}}));
}

void TestMeshReceivers::texcoordTriples()
{
    ReceiverFeed feed;
    ::feed(feed,
           geometries(geometry("<vertices>0 0 0</vertices><normals>0 0 1</normals>"
                               "<texcoords>0 0 0 1 1 0</texcoords><triangles stride='3'>0 0 1</triangles>")));
    QCOMPARE(feed.scene().geometries().value(0)->texcoords(), (QVector<QVector2D>{{0, 0}, {1, 1}}));
}

void TestMeshReceivers::normalsOfTheGeometryBefore()
{
    ReceiverFeed feed;
    ::feed(feed, geometries(geometry(triangleLists() + "<triangles stride='3'>0 0 0</triangles>", "a") +
                            geometry("<vertices>4 4 4</vertices><normals/><texcoords/>"
                                     "<triangles stride='3'>0 1 3</triangles>",
                                     "b")));
    const Geometry *second = feed.scene().geometries().value(1);
    QCOMPARE(second->vertices(), (QVector<QVector3D>{{4, 4, 4}}));
    QCOMPARE(second->normals(), (QVector<QVector3D>{{0, 0, 1}, {0, 1, 0}}));
    QCOMPARE(second->texcoords().size(), 4);
    QCOMPARE(second->trimeshes().value(0)->normalIndices(), (QVector<int>{1}));
}

void TestMeshReceivers::groupsAreAnalysed()
{
    ReceiverFeed feed;
    QStringList lines;
    {
        const MessageCapture capture;
        QVERIFY(feed.feed(geometries(geometry(
            "<vertices>0 0 0 1 0 0 0 1 0 1 1 0</vertices>"
            "<triangles stride='1'>0 1 2 2 1 3</triangles><triangles stride='1'>0 1 1</triangles>"))));
        lines = capture.lines();
    }
    const Geometry *geometry = feed.scene().geometries().value(0);
    QCOMPARE(geometry->trimeshes().value(0)->adjacency(), (QVector<int>{-1, 3, -1, 0, -1, -1}));
    QVERIFY(geometry->trimeshes().value(0)->invalidFaces().isEmpty());
    QCOMPARE(geometry->trimeshes().value(1)->adjacency(), (QVector<int>{-1, -1, -1}));
    QCOMPARE(geometry->trimeshes().value(1)->invalidFaces(), (QVector<int>{0}));
    QCOMPARE(lines.filter(QStringLiteral("Two-manifold mesh:")).size(), 2);
}

void TestMeshReceivers::geometryDiagnostics()
{
    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(feed.feed(geometries(geometry(triangleLists(), "a") + geometry("<triangles stride='3'/>", "b"))));
    QCOMPARE(capture.lines().replaceInStrings(QStringLiteral("  "), QStringLiteral(" ")),
             (QStringList{"Geometry \"a\" :", "Vertices 0", "Normals 0", "Texcoords 0", "Geometry \"b\" :",
                          "Two-manifold mesh: true", "Vertices 3", "Normals 2", "Texcoords 4"}));
}

void TestMeshReceivers::materialColors_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QColor>("color");
    QTest::newRow("three numbers") << QByteArray("1 0 0") << QColor::fromRgbF(1, 0, 0, 1);
    QTest::newRow("four numbers") << QByteArray("1 0 0 0.5") << QColor::fromRgbF(1, 0, 0, 0.5);
    QTest::newRow("blanks around") << QByteArray("\n 0 0.5 1 \n") << QColor::fromRgbF(0, 0.5, 1, 1);
}

void TestMeshReceivers::materialColors()
{
    QFETCH(QByteArray, text);
    QFETCH(QColor, color);

    const QMap<QByteArray, QColor (Material::*)() const> getters{{"ambient", &Material::ambient},
                                                                 {"diffuse", &Material::diffuse},
                                                                 {"specular", &Material::specular},
                                                                 {"reflective", &Material::reflective},
                                                                 {"transparent", &Material::transparent}};
    for (const QByteArray &slot : getters.keys()) {
        ReceiverFeed feed;
        QStringList lines;
        {
            const MessageCapture capture;
            QVERIFY(feed.feed(scene("<materials><material id='m'><" + slot + "><color>" + text +
                                    "</color></" + slot + "></material></materials>")));
            lines = capture.lines();
        }
        const Material *material = feed.scene().materials().value(QStringLiteral("m"));
        QVERIFY(material);
        for (const QByteArray &other : getters.keys())
            QCOMPARE((material->*getters.value(other))(), other == slot ? color : QColor());
        QCOMPARE(lines.value(0), QStringLiteral("Material \"m\" :"));
        QVERIFY(lines.value(1).startsWith(QString::fromLatin1(slot) + QStringLiteral(" QColor(")));
    }
}

void TestMeshReceivers::materialColorElsewhere()
{
    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(
        feed.feed(scene("<materials><material id='m'><diffuse><extra><color>1 0 0</color></extra></diffuse>"
                        "<color>1 0 0</color></material></materials>")));
    QCOMPARE(feed.scene().materials().value(QStringLiteral("m"))->diffuse(), QColor());
    QVERIFY(capture.lines().value(1).startsWith(QStringLiteral("extra QColor(")));
    QVERIFY(capture.lines().value(2).startsWith(QStringLiteral("material QColor(")));
}

void TestMeshReceivers::materialNumbers_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<float>("transparency");
    QTest::addColumn<float>("shininess");
    QTest::addColumn<float>("level");
    QTest::addColumn<QString>("line");

    QTest::newRow("nothing") << QByteArray() << 0.0f << 0.0f << 1.0f << QString();
    QTest::newRow("transparency 0.25") << QByteArray("<transparency><float>0.25</float></transparency>")
                                       << 0.75f << 0.0f << 1.0f << QStringLiteral("transparency 0.75");
    QTest::newRow("transparency 1") << QByteArray("<transparency><float>1.0</float></transparency>") << 0.0f
                                    << 0.0f << 1.0f << QStringLiteral("transparency 0");
    QTest::newRow("shininess") << QByteArray("<shininess><float sid='s'>12.5</float></shininess>") << 0.0f
                               << 12.5f << 1.0f << QStringLiteral("shininess 12.5");
    QTest::newRow("specular level") << QByteArray("<spec_level><float>0.5</float></spec_level>") << 0.0f
                                    << 0.0f << 0.5f << QStringLiteral("spec_level 0.5");
    QTest::newRow("word") << QByteArray("<transparency><float>opaque</float></transparency>") << 1.0f << 0.0f
                          << 1.0f << QStringLiteral("transparency 1");
    QTest::newRow("text of the block itself")
        << QByteArray("<shininess>5</shininess>") << 0.0f << 0.0f << 1.0f << QString();
}

void TestMeshReceivers::materialNumbers()
{
    QFETCH(QByteArray, block);

    ReceiverFeed feed;
    QStringList lines;
    {
        const MessageCapture capture;
        QVERIFY(feed.feed(scene("<materials><material id='m'>" + block + "</material></materials>")));
        lines = capture.lines();
    }
    const Material *material = feed.scene().materials().value(QStringLiteral("m"));
    QTEST(material->transparency(), "transparency");
    QTEST(material->shininess(), "shininess");
    QTEST(material->specularLevel(), "level");
    QTEST(lines.value(1), "line");
}

void TestMeshReceivers::materialTextureLeavesNoColor()
{
    ReceiverFeed feed;
    ::feed(feed, scene("<materials><material id='m'><diffuse><texture texture='t' texcoord='u'/></diffuse>"
                       "<ambient><color>0 0 0</color></ambient></material></materials>"));
    const Material *material = feed.scene().materials().value(QStringLiteral("m"));
    QVERIFY(!material->diffuse().isValid());
    QVERIFY(material->ambient().isValid());
}

void TestMeshReceivers::laterMaterialOfOneIdWins()
{
    ReceiverFeed feed;
    ::feed(feed, scene("<materials><material id='m'><shininess><float>1</float></shininess></material>"
                       "<material id='m'><shininess><float>2</float></shininess></material></materials>"));
    QCOMPARE(feed.scene().materials().size(), 1);
    QCOMPARE(feed.scene().materials().value(QStringLiteral("m"))->shininess(), 2.0f);
}

void TestMeshReceivers::fatalEnds_data()
{
    QTest::addColumn<QString>("assertion");
    QTest::addColumn<QString>("sentence");

    const QString advice =
        QStringLiteral("export the file again as triangles in which every input has its own offset");
    const auto index = [&](const char *what, int number, int count) {
        return QStringLiteral(
                   "geometry \"bad geometry\" refers to %1 number %2, but it has %3 of them, counted "
                   "from 0: ")
                   .arg(QLatin1String(what))
                   .arg(number)
                   .arg(count) +
               advice;
    };
    const QString positions = QStringLiteral("indices[i + 0] < m_currentGeometry->vertices().size()");
    const QString normals = QStringLiteral("indices[i + 1] < m_currentGeometry->normals().size()");
    const QString texcoords = QStringLiteral("indices[i + 2] < m_currentGeometry->texcoords().size()");
    const QString others = QStringLiteral("indices[i] < m_currentGeometry->vertices().size()");
    QTest::newRow("position") << positions << index("position", 3, 3);
    QTest::newRow("negative position") << positions << index("position", -1, 3);
    QTest::newRow("normal") << normals << index("normal", 1, 1);
    QTest::newRow("negative normal") << normals << index("normal", -2, 1);
    QTest::newRow("texcoord") << texcoords << index("texture coordinate", 2, 2);
    QTest::newRow("negative texcoord") << texcoords << index("texture coordinate", -3, 2);
    QTest::newRow("pair position") << others << index("position", 7, 3);
    QTest::newRow("negative pair position") << others << index("position", -7, 3);
    QTest::newRow("pair normal") << normals << index("normal", 4, 1);
    QTest::newRow("single position") << others << index("position", 3, 3);
    QTest::newRow("negative single position") << others << index("position", -9, 3);
}

void TestMeshReceivers::fatalEnds()
{
    QFETCH(QString, assertion);
    QFETCH(QString, sentence);

    const FatalEnd end = FatalCases::end(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(end.aborted);
    QVERIFY2(end.text.contains(QStringLiteral("ASSERT: \"%1\" in file ").arg(assertion)),
             qPrintable(end.text));
    QVERIFY2(end.text.contains(sentence), qPrintable(end.text));
}

int main(int argc, char **argv)
{
    const auto document = [](const char *name) {
        const QString key = QString::fromLatin1(name);
        return std::pair<QString, std::function<void()>>(key, [key] { feedFatally(key); });
    };
    const FatalCases cases{document("position"),
                           document("negative position"),
                           document("normal"),
                           document("negative normal"),
                           document("texcoord"),
                           document("negative texcoord"),
                           document("pair position"),
                           document("negative pair position"),
                           document("pair normal"),
                           document("single position"),
                           document("negative single position")};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    TestMeshReceivers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_meshreceivers.moc"
