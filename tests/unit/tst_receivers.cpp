#include "Camera.h"
#include "FatalCase.h"
#include "Geometry.h"
#include "IntermediateText.h"
#include "Light.h"
#include "Material.h"
#include "MessageCapture.h"
#include "Node.h"
#include "ReceiverFeed.h"
#include "SceneDump.h"
#include "Trimesh.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::IntermediateText;

/// What the receivers make of intermediate documents: routing, lights, cameras and nodes, and the fatal ends.
class TestReceivers : public QObject
{
    Q_OBJECT

private slots:
    void upAxis_data();
    void upAxis();
    void objectOfOneId_data();
    void objectOfOneId();
    void textsAsAtomicValues();
    void elementsInANamespace();
    void unknownElementsAreIgnored();
    void elementWithoutId_data();
    void elementWithoutId();
    void lightKinds_data();
    void lightKinds();
    void lightValues();
    void ambientMultiplier_data();
    void ambientMultiplier();
    void lightTargets_data();
    void lightTargets();
    void cameraValues();
    void cameraWithYfovOnly();
    void nestedNodes();
    void nodeTransforms_data();
    void nodeTransforms();
    void lastObjectWins();
    void materialBindings();
    void nodeDiagnostics();
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

void bindLostObject()
{
    ReceiverFeed feed;
    feed.feed(scene("<nodes><node id='n'><object id='lost'/></node></nodes>"));
}

void bindLostMaterial()
{
    ReceiverFeed feed;
    feed.feed(scene("<nodes><node id='n'><material id='lost' symbol='s'/></node></nodes>"));
}

void endWithoutStart()
{
    ReceiverFeed feed;
    feed.receiver().endElement();
}

} // namespace

void TestReceivers::upAxis_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVector3D>("axis");
    QTest::addColumn<QStringList>("lines");

    const QVector3D before(7, 8, 9);
    const auto line = [](const char *axis) {
        return QStringList{QStringLiteral("Scene up-axis QVector3D(%1)").arg(QLatin1String(axis))};
    };
    QTest::newRow("x") << QByteArray("X_UP") << QVector3D(1, 0, 0) << line("1, 0, 0");
    QTest::newRow("y") << QByteArray("Y_UP") << QVector3D(0, 1, 0) << line("0, 1, 0");
    QTest::newRow("z") << QByteArray("Z_UP") << QVector3D(0, 0, 1) << line("0, 0, 1");
    QTest::newRow("blanks around") << QByteArray(" Z_UP ") << before << line("7, 8, 9");
    QTest::newRow("anything else") << QByteArray("up") << before << line("7, 8, 9");
    QTest::newRow("blank") << QByteArray("  \n ") << before << QStringList();
}

void TestReceivers::upAxis()
{
    QFETCH(QByteArray, text);
    QFETCH(QVector3D, axis);

    ReceiverFeed feed;
    feed.scene().setUpAxis(QVector3D(7, 8, 9));
    const MessageCapture capture;
    QVERIFY(feed.feed(scene("<up_axis>" + text + "</up_axis><cameras/>")));
    QCOMPARE(feed.scene().upAxis(), axis);
    QTEST(capture.lines(), "lines");
}

void TestReceivers::objectOfOneId_data()
{
    QTest::addColumn<QByteArray>("sections");
    QTest::addColumn<int>("type");

    const QByteArray camera = "<cameras><camera id='x'/></cameras>";
    const QByteArray geometry = "<geometries><geometry id='x'/></geometries>";
    const QByteArray light = "<lights><spot id='x'/></lights>";
    QTest::newRow("geometry") << geometry << int(Model::GeometryType);
    QTest::newRow("camera before geometry") << camera + geometry << int(Model::CameraType);
    QTest::newRow("camera before light") << camera + light << int(Model::CameraType);
    QTest::newRow("light before geometry") << geometry + light << int(Model::SpotLightType);
    QTest::newRow("camera before all") << camera + geometry + light << int(Model::CameraType);
    QTest::newRow("last of a kind") << QByteArray("<lights><spot id='x'/><point id='x'/></lights>")
                                    << int(Model::PointLightType);
}

void TestReceivers::objectOfOneId()
{
    QFETCH(QByteArray, sections);

    ReceiverFeed feed;
    ::feed(feed, scene(sections + "<nodes><node id='n'><object id='x'/></node></nodes>"));
    QCOMPARE(feed.scene().nodes().size(), 1);
    QVERIFY(feed.scene().nodes().first()->model());
    QTEST(feed.scene().nodes().first()->model()->type(), "type");
}

void TestReceivers::textsAsAtomicValues()
{
    const QByteArray document = scene(
        "<up_axis>Z_UP</up_axis><cameras><camera id='c'><xfov>30</xfov></camera></cameras><geometries>" +
        geometry(triangleLists() + "<triangles stride='3'>0 0 0 1 1 1 2 0 2</triangles>") +
        "</geometries><lights><point id='l'><color>1 0.5 0</color></point></lights>"
        "<materials><material id='m'><shininess><float>8</float></shininess></material></materials>"
        "<nodes><node id='n'><translate>1 2 3</translate><object id='c'/></node></nodes>");
    ReceiverFeed characters;
    ::feed(characters, document);
    ReceiverFeed values;
    {
        const MessageCapture capture;
        QVERIFY(values.feed(document, ReceiverFeed::Texts::AtomicValues));
    }
    characters.scene().complete();
    values.scene().complete();
    QCOMPARE(values.scene().geometries().value(0)->trimeshes().value(0)->indices(), (QVector<int>{0, 1, 2}));
    QCOMPARE(dumpScene(values.scene()), dumpScene(characters.scene()));
}

void TestReceivers::elementsInANamespace()
{
    ReceiverFeed feed;
    ::feed(feed, scene("<c:up_axis xmlns:c='urn:c'>X_UP</c:up_axis><cameras><camera id='a'>"
                       "<xfov xmlns='urn:c'>12</xfov></camera></cameras>"));
    QCOMPARE(feed.scene().upAxis(), QVector3D(1, 0, 0));
    QCOMPARE(feed.scene().cameras().value(0)->fieldOfView(), 12.0f);
}

void TestReceivers::unknownElementsAreIgnored()
{
    ReceiverFeed feed;
    ::feed(feed,
           scene("<other a='1'>text<!-- comment --></other><cameras><camera id='a' sid='s'><other>1</other>"
                 "<aspect_ratio>1.3</aspect_ratio></camera></cameras><lights><lamp id='l'/></lights>"
                 "<nodes><node id='n'><skew>1 2 3 4 5 6 7</skew></node></nodes>"));
    QCOMPARE(feed.scene().cameras().size(), 1);
    QVERIFY(feed.scene().lights().isEmpty());
    QVERIFY(feed.scene().nodes().value(0)->localTransform().isIdentity());
}

void TestReceivers::elementWithoutId_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("warning");

    QTest::newRow("camera") << scene("<cameras><camera id='a'><xfov>20</xfov></camera><camera><xfov>99</xfov>"
                                     "<target id='t'/></camera></cameras>")
                            << QStringLiteral("Warning: camera without an id ignored");
    QTest::newRow("geometry")
        << geometries(geometry(triangleLists() +
                               "<triangles stride='3' material='s'>0 0 0 1 1 1 2 0 2</triangles>") +
                      "<geometry><vertices>9 9 9</vertices><triangles stride='9' material='t'>9 9 "
                      "9</triangles></geometry>")
        << QStringLiteral("Warning: geometry without an id ignored");
    QTest::newRow("light") << scene(
                                  "<lights><spot id='a'><color>1 1 1</color></spot><spot><color>0 0 0</color>"
                                  "<falloff>9</falloff><target id='t'/></spot></lights>")
                           << QStringLiteral("Warning: light without an id ignored");
    QTest::newRow("material") << scene(
                                     "<materials><material id='a'><diffuse><color>1 1 1</color></diffuse>"
                                     "</material><material><diffuse><color>0 0 0</color></diffuse></material>"
                                     "</materials>")
                              << QStringLiteral("Warning: material without an id ignored");
    QTest::newRow("node") << scene("<nodes><node id='a'><node><translate>9 9 9</translate><object id='lost'/>"
                                   "</node><scale>2 2 2</scale></node></nodes>")
                          << QStringLiteral("Warning: node without an id ignored, with everything in it");
}

void TestReceivers::elementWithoutId()
{
    QFETCH(QByteArray, document);

    ReceiverFeed feed;
    QStringList lines;
    {
        const MessageCapture capture;
        QVERIFY(feed.feed(document));
        lines = capture.lines();
    }
    QTEST(lines.filter(QStringLiteral("Warning: ")).value(0), "warning");

    const Scene &scene = feed.scene();
    QCOMPARE(scene.cameras().size() + scene.geometries().size() + scene.lights().size() +
                 scene.materials().size() + scene.nodes().size(),
             1);
    for (const Camera *camera : scene.cameras()) {
        QCOMPARE(camera->fieldOfView(), 20.0f);
        QCOMPARE(camera->target(), QString());
    }
    for (const Geometry *geometry : scene.geometries()) {
        QCOMPARE(geometry->vertices().size(), 3);
        QCOMPARE(geometry->trimeshes().size(), 1);
        QCOMPARE(geometry->trimeshes().first()->materialName(), QStringLiteral("s"));
    }
    for (const Light *light : scene.lights()) {
        QCOMPARE(light->color(), QColor(Qt::white));
        QCOMPARE(light->falloff(), 0.0f);
        QCOMPARE(light->target(), QString());
    }
    for (const Material *material : scene.materials())
        QCOMPARE(material->diffuse(), QColor(Qt::white));
    for (const Node *node : scene.nodes()) {
        QMatrix4x4 doubled;
        doubled.scale(2);
        QCOMPARE(node->localTransform(), doubled);
        QVERIFY(node->children().isEmpty());
    }
}

void TestReceivers::lightKinds_data()
{
    QTest::addColumn<QByteArray>("element");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("line");
    QTest::newRow("ambient") << QByteArray("ambient") << Light::AmbientLight + 0
                             << QStringLiteral("Ambient light \"l\" : ");
    QTest::newRow("directional") << QByteArray("directional") << Light::DirectionalLight + 0
                                 << QStringLiteral("Directional light \"l\" : ");
    QTest::newRow("point") << QByteArray("point") << Light::PointLight + 0
                           << QStringLiteral("Pointlight \"l\" : ");
    QTest::newRow("spot") << QByteArray("spot") << Light::SpotLight + 0
                          << QStringLiteral("Spotlight \"l\" : ");
}

void TestReceivers::lightKinds()
{
    QFETCH(QByteArray, element);
    QFETCH(QString, line);

    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(feed.feed(scene("<lights><" + element + " id='l'/></lights>")));
    QCOMPARE(feed.scene().lights().size(), 1);
    const Light *light = feed.scene().lights().first();
    QCOMPARE(light->id(), QStringLiteral("l"));
    QTEST(light->type(), "type");
    QVERIFY(!light->color().isValid());
    QCOMPARE(light->multiplier(), 1.0f);
    QVERIFY(!light->shadow());
    QCOMPARE(capture.lines().value(0).trimmed(), line.trimmed());
}

void TestReceivers::lightValues()
{
    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(
        feed.feed(scene("<lights><spot id='l'><color>1 0.5 0</color><multiplier>2</multiplier>"
                        "<falloff>45</falloff><falloff>50.5</falloff><hotspot_beam>43</hotspot_beam>"
                        "<shadow>none</shadow></spot><spot id='dark'><shadow/><falloff>  </falloff></spot>"
                        "</lights>")));
    const Light *light = feed.scene().lights().value(0);
    QCOMPARE(light->color(), QColor::fromRgbF(1, 0.5, 0));
    QCOMPARE(light->multiplier(), 2.0f);
    QCOMPARE(light->falloff(), 50.5f);
    QCOMPARE(light->hotspotBeam(), 43.0f);
    QVERIFY(light->shadow());
    QVERIFY(!feed.scene().lights().value(1)->shadow());
    QVERIFY(capture.lines().value(1).startsWith(QStringLiteral("color QColor(")));
    QCOMPARE(capture.lines().mid(2, 5),
             (QStringList{"multiplier 2", "falloff 45", "falloff 50.5", "hotspot_beam 43", "shadow true"}));
}

void TestReceivers::ambientMultiplier_data()
{
    QTest::addColumn<QByteArray>("multipliers");
    QTest::addColumn<float>("multiplier");
    QTest::newRow("without intensity") << QByteArray("<multiplier>1</multiplier>") << 1.0f;
    QTest::newRow("intensity 0.5") << QByteArray("<multiplier>1</multiplier><multiplier>0.5</multiplier>")
                                   << 0.5f;
    QTest::newRow("two intensities") << QByteArray(
                                            "<multiplier>1</multiplier><multiplier>0.5 0.7</multiplier>")
                                     << 0.0f;
}

void TestReceivers::ambientMultiplier()
{
    QFETCH(QByteArray, multipliers);

    ReceiverFeed feed;
    ::feed(feed, scene("<lights><ambient id='l'>" + multipliers + "</ambient></lights>"));
    QTEST(feed.scene().lights().value(0)->multiplier(), "multiplier");
}

void TestReceivers::lightTargets_data()
{
    QTest::addColumn<QByteArray>("targets");
    QTest::addColumn<QString>("target");
    QTest::newRow("none") << QByteArray() << QString();
    QTest::newRow("one") << QByteArray("<target id='t1'/>") << QStringLiteral("t1");
    QTest::newRow("last of two") << QByteArray("<target id='t1'/><target id='t2'/>") << QStringLiteral("t2");
}

void TestReceivers::lightTargets()
{
    QFETCH(QByteArray, targets);
    QFETCH(QString, target);

    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(feed.feed(scene("<lights><spot id='l'>" + targets + "</spot></lights>")));
    QCOMPARE(feed.scene().lights().value(0)->target(), target);
    if (!target.isEmpty())
        QCOMPARE(capture.lines().last(), QStringLiteral("Target \"%1\" :").arg(target));
}

void TestReceivers::cameraValues()
{
    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(
        feed.feed(scene("<cameras><camera id='c'><xfov sid='x'>49.1</xfov><znear>0.1</znear><zfar>100</zfar>"
                        "<target id='t'/></camera></cameras>")));
    const Camera *camera = feed.scene().cameras().value(0);
    QCOMPARE(camera->fieldOfView(), 49.1f);
    QCOMPARE(camera->nearPlane(), 0.1f);
    QCOMPARE(camera->farPlane(), 100.0f);
    QCOMPARE(camera->target(), QStringLiteral("t"));
    QCOMPARE(capture.lines(), (QStringList{"Camera \"c\" :", "fov \"49.1\"", "nearz \"0.1\"", "farz \"100\"",
                                           "Target \"t\" :"}));
}

void TestReceivers::cameraWithYfovOnly()
{
    ReceiverFeed feed;
    ::feed(feed,
           scene("<cameras><camera id='c'><yfov>20</yfov><aspect_ratio>2</aspect_ratio></camera></cameras>"));
    QCOMPARE(feed.scene().cameras().value(0)->fieldOfView(), Camera().fieldOfView());
}

void TestReceivers::nestedNodes()
{
    ReceiverFeed feed;
    ::feed(feed,
           scene("<nodes><node id='A'><node id='B'><node id='C'/></node><node id='D'/></node><node id='E'/>"
                 "</nodes>"));
    QStringList ids;
    QStringList parents;
    for (const Node *node : feed.scene().nodes()) {
        ids += node->id();
        parents += node->parent() ? node->parent()->id() : QStringLiteral("-");
    }
    QCOMPARE(ids, (QStringList{"A", "B", "C", "D", "E"}));
    QCOMPARE(parents, (QStringList{"-", "A", "B", "A", "-"}));
}

void TestReceivers::nodeTransforms_data()
{
    QTest::addColumn<QByteArray>("transforms");
    QTest::addColumn<QVector3D>("image");

    QTest::newRow("none") << QByteArray() << QVector3D(1, 0, 0);
    QTest::newRow("translate, rotate")
        << QByteArray("<translate>1 0 0</translate><rotate>0 0 1 90</rotate>") << QVector3D(1, 1, 0);
    QTest::newRow("rotate, translate")
        << QByteArray("<rotate>0 0 1 90</rotate><translate>1 0 0</translate>") << QVector3D(0, 2, 0);
    QTest::newRow("scale, translate")
        << QByteArray("<scale>2 3 4</scale><translate>0 1 0</translate>") << QVector3D(2, 3, 0);
    QTest::newRow("matrix by rows") << QByteArray("<matrix>1 0 0 5 0 1 0 0 0 0 1 0 0 0 0 1</matrix>")
                                    << QVector3D(6, 0, 0);
    QTest::newRow("matrix, translate") << QByteArray("<matrix>0 -1 0 0 1 0 0 0 0 0 1 0 0 0 0 1</matrix>"
                                                     "<translate>1 0 0</translate>")
                                       << QVector3D(0, 2, 0);
    QTest::newRow("translate, matrix") << QByteArray("<translate>1 0 0</translate>"
                                                     "<matrix>0 -1 0 0 1 0 0 0 0 0 1 0 0 0 0 1</matrix>")
                                       << QVector3D(1, 1, 0);
    QTest::newRow("short matrix") << QByteArray("<matrix>2 0 0 5</matrix>") << QVector3D(7, 0, 0);
    QTest::newRow("long matrix") << QByteArray("<matrix>1 0 0 5 0 1 0 0 0 0 1 0 0 0 0 1 9 9 9</matrix>")
                                 << QVector3D(6, 0, 0);
    QTest::newRow("short translate") << QByteArray("<translate>3</translate>") << QVector3D(4, 0, 0);
    QTest::newRow("blank") << QByteArray("<translate> \n </translate>") << QVector3D(1, 0, 0);
}

void TestReceivers::nodeTransforms()
{
    QFETCH(QByteArray, transforms);
    QFETCH(QVector3D, image);

    ReceiverFeed feed;
    ::feed(feed, scene("<nodes><node id='n'>" + transforms + "</node></nodes>"));
    const QVector3D mapped = feed.scene().nodes().value(0)->localTransform().map(QVector3D(1, 0, 0));
    QVERIFY2((mapped - image).length() < 1e-6f,
             qPrintable(QStringLiteral("%1 %2 %3").arg(mapped.x()).arg(mapped.y()).arg(mapped.z())));
}

void TestReceivers::lastObjectWins()
{
    ReceiverFeed feed;
    ::feed(feed, scene("<cameras><camera id='c'/></cameras><lights><spot id='l'/></lights>"
                       "<nodes><node id='n'><object id='c'/><object id='l'/></node></nodes>"));
    QCOMPARE(feed.scene().nodes().value(0)->model()->id(), QStringLiteral("l"));
}

void TestReceivers::materialBindings()
{
    ReceiverFeed feed;
    ::feed(feed,
           scene("<geometries><geometry id='g'/></geometries><lights><spot id='l'/></lights>"
                 "<materials><material id='red'/><material id='blue'/></materials>"
                 "<nodes><node id='n'><object id='g'><material id='red' symbol='s'/>"
                 "<material id='blue' symbol='t'/></object><object id='l'><material id='red' symbol='s'/>"
                 "<material id='blue' symbol='t'/></object><node id='inner'><object id='g'>"
                 "<material id='blue' symbol='s'/></object></node></node></nodes>"));
    const QHash<QString, Material *> &materials = feed.scene().materials();
    const Material *red = materials.value(QStringLiteral("red"));
    Material *blue = materials.value(QStringLiteral("blue"));
    const QHash<QString, Material *> outer = feed.scene().nodes().value(0)->materialBindings();
    QCOMPARE(outer.size(), 2);
    QCOMPARE(outer.value(QStringLiteral("s")), red);
    QCOMPARE(outer.value(QStringLiteral("t")), blue);
    QCOMPARE(feed.scene().nodes().value(1)->materialBindings(),
             (QHash<QString, Material *>{{QStringLiteral("s"), blue}}));
}

void TestReceivers::nodeDiagnostics()
{
    ReceiverFeed feed;
    const MessageCapture capture;
    QVERIFY(feed.feed(scene("<cameras><camera id='c'/></cameras>"
                            "<nodes><node id='A'><node id='B'><object id='c'/></node></node></nodes>")));
    QCOMPARE(capture.lines(), (QStringList{"Camera \"c\" :", "Node \"A\" : depth 0", "Node \"B\" : depth 1",
                                           "bind object \"c\""}));
}

void TestReceivers::fatalEnds_data()
{
    QTest::addColumn<QString>("assertion");
    QTest::addColumn<QString>("sentence");

    QTest::newRow("object") << QStringLiteral("m_objects.contains(*value.string())")
                            << QStringLiteral(
                                   "node \"n\" uses a geometry, light or camera \"lost\" that the file "
                                   "does not define: export the scene again as one file with "
                                   "everything in it");
    QTest::newRow("material") << QStringLiteral("m_materials.contains(m_currentMaterialId)")
                              << QStringLiteral("node \"n\" uses a material \"lost\" that the file does not "
                                                "define: export the scene again with all of its materials");
    QTest::newRow("end without start") << QStringLiteral("!isEmpty()") << QString();
}

void TestReceivers::fatalEnds()
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
    const FatalCases cases{
        {"object", bindLostObject}, {"material", bindLostMaterial}, {"end without start", endWithoutStart}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    TestReceivers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_receivers.moc"
