#include "RecordRoundTrip.h"
#include "RecordSamples.h"
#include "SceneAssembly.h"

#include <QTest>

using namespace Quorvel;

class SceneRecordTest : public QObject
{
    Q_OBJECT

private slots:
    void literalBytes();
    void literalBytesAreRead();
    void completeRecordIsReproduced();
    void formatIsPinned();

    void roundTripOfAGeometry();
    void roundTripOfGroupIndices();
    void shortIntegerLists();
    void longIntegerLists();
    void integerListsAreWrittenAsRead_data();
    void integerListsAreWrittenAsRead();
    void roundTripOfLightsAndCameras();
    void roundTripOfMaterials();

    void keysAscend();

    void loadReplaces();
};

/// One triangle "g" bound by node "n" at (1, 2, 3), camera "c" below it; every byte worked out by hand.
static const char literalRecord[] =
    "00000002 0073"                                                       // scene name "s"
    "0000000000000000 3ff0000000000000 0000000000000000"                  // up axis (0, 1, 0)
    "00000001"                                                            // geometries
    "00000000 00000002 0067"                                              // type 0, id "g"
    "00000003"                                                            // vertices
    "0000000000000000 0000000000000000 0000000000000000"                  // (0, 0, 0)
    "4000000000000000 0000000000000000 0000000000000000"                  // (2, 0, 0)
    "0000000000000000 c000000000000000 0000000000000000"                  // (0, -2, 0)
    "00000001 0000000000000000 0000000000000000 3ff0000000000000"         // normals (0, 0, 1)
    "00000001 3fe0000000000000 3fd0000000000000"                          // texcoords (0.5, 0.25)
    "01"                                                                  // two-manifold
    "00000000"                                                            // extra vectors
    "00000003 00000000 00000000 00000000"                                 // normal indices
    "00000003 00000001 00000002 00000003"                                 // texcoord indices
    "00000001"                                                            // groups
    "00000004 0073 0079"                                                  // symbol "sy"
    "00000003 00000000 00000001 00000002"                                 // indices
    "00000003 ffffffff ffffffff ffffffff"                                 // adjacency
    "00000001 00000000"                                                   // invalid faces
    "00000001"                                                            // lights
    "00000005 00000002 006c"                                              // type 5, id "l"
    "01 ffff ffff 8080 0000 0000"                                         // colour (255, 128, 0)
    "3ff8000000000000 4049000000000000 4044000000000000"                  // 1.5, 50, 40
    "00000002 006e"                                                       // target "n"
    "3ff0000000000000 4000000000000000 4008000000000000"                  // light vector (1, 2, 3)
    "01"                                                                  // shadow
    "00000001"                                                            // cameras
    "00000001 00000002 0063"                                              // type 1, id "c"
    "404e000000000000 3ff0000000000000 4059000000000000"                  // 60, 1, 100
    "ffffffff"                                                            // target, null
    "00000001"                                                            // materials
    "00000002 006d"                                                       // name "m"
    "01 ffff 0101 0000 0000 0000"                                         // ambient (1, 0, 0)
    "01 ffff 0202 0000 0000 0000"                                         // diffuse (2, 0, 0)
    "01 ffff 0303 0000 0000 0000"                                         // specular (3, 0, 0)
    "00 ffff 0000 0000 0000 0000"                                         // reflective, invalid
    "01 7f7f 0505 0000 0000 0000"                                         // transparent (5, 0, 0), alpha 127
    "4040000000000000 3fe8000000000000 3ff0000000000000"                  // 32, 0.75, 1
    "00000002"                                                            // nodes
    "3ff0000000000000 0000000000000000 0000000000000000 3ff0000000000000" // row 0 of the transform
    "0000000000000000 3ff0000000000000 0000000000000000 4000000000000000" // row 1
    "0000000000000000 0000000000000000 3ff0000000000000 4008000000000000" // row 2
    "0000000000000000 0000000000000000 0000000000000000 3ff0000000000000" // row 3
    "00000002 006e"                                                       // id "n"
    "ffffffff 00000000 00000000"                                          // below the root, geometry 0
    "00000001 00000004 0073 0079 00000002 006d"                           // bindings: "sy" to "m"
    "3ff0000000000000 0000000000000000 0000000000000000 0000000000000000" // identity
    "0000000000000000 3ff0000000000000 0000000000000000 0000000000000000" //
    "0000000000000000 0000000000000000 3ff0000000000000 0000000000000000" //
    "0000000000000000 0000000000000000 0000000000000000 3ff0000000000000" //
    "00000002 0065"                                                       // id "e"
    "00000000 00000001 00000000"                                          // below node 0, camera 0
    "00000000";                                                           // bindings

void SceneRecordTest::literalBytes()
{
    Scene scene;
    SceneAssembly builder(&scene);
    scene.setName(QStringLiteral("s"));
    scene.setUpAxis(QVector3D(0, 1, 0));
    Geometry *const geometry =
        builder.geometry(QStringLiteral("g"), {QVector3D(0, 0, 0), QVector3D(2, 0, 0), QVector3D(0, -2, 0)});
    geometry->setNormals({QVector3D(0, 0, 1)});
    geometry->setTexcoords({QVector2D(0.5f, 0.25f)});
    geometry->setTwoManifold(true);
    Trimesh *const group = SceneAssembly::group(geometry, QStringLiteral("sy"), {0, 1, 2});
    group->setNormalIndices({0, 0, 0});
    group->setTexcoordIndices({1, 2, 3});
    group->setAdjacency({-1, -1, -1});
    group->setInvalidFaces({0});
    Light *const light = builder.light(QStringLiteral("l"), Light::SpotLight);
    light->setColor(QColor(255, 128, 0));
    light->setMultiplier(1.5f);
    light->setFalloff(50);
    light->setHotspotBeam(40);
    light->setTarget(QStringLiteral("n"));
    light->setLightVector(QVector3D(1, 2, 3));
    light->setShadow(true);
    Camera *const camera = builder.camera(QStringLiteral("c"));
    camera->setFieldOfView(60);
    camera->setNearPlane(1);
    camera->setFarPlane(100);
    Material *const material = builder.material(QStringLiteral("m"), 0.75f);
    material->setAmbient(QColor(1, 0, 0));
    material->setDiffuse(QColor(2, 0, 0));
    material->setSpecular(QColor(3, 0, 0));
    material->setTransparent(QColor(5, 0, 0, 127));
    material->setShininess(32);
    Node *const node = builder.node(QStringLiteral("n"), nullptr, geometry);
    node->setLocalTransform(translation(1, 2, 3));
    node->bindMaterial(QStringLiteral("sy"), material);
    builder.node(QStringLiteral("e"), node, camera);
    scene.complete();
    QCOMPARE(saved(scene).toHex(), QByteArray::fromHex(literalRecord).toHex());
}

void SceneRecordTest::literalBytesAreRead()
{
    Scene scene;
    load(&scene, QByteArray::fromHex(literalRecord));
    QCOMPARE(scene.name(), QStringLiteral("s"));
    QCOMPARE(scene.upAxis(), QVector3D(0, 1, 0));
    const Geometry *const geometry = scene.geometries().value(0);
    QVERIFY(geometry);
    QCOMPARE(geometry->id(), QStringLiteral("g"));
    QCOMPARE(geometry->vertices(), (QVector<QVector3D>{{0, 0, 0}, {2, 0, 0}, {0, -2, 0}}));
    QCOMPARE(geometry->trimeshes().size(), 1);
    QCOMPARE(geometry->trimeshes().first()->normalIndices(), (QVector<int>{0, 0, 0}));
    QCOMPARE(geometry->trimeshes().first()->texcoordIndices(), (QVector<int>{1, 2, 3}));
    QCOMPARE(ids(scene.nodes()), (QStringList{QStringLiteral("n"), QStringLiteral("e")}));
    const Node *const node = scene.nodes().first();
    QCOMPARE(node->parent(), scene.rootNode());
    QCOMPARE(node->localTransform(), translation(1, 2, 3));
    QCOMPARE(node->geometryModel(), geometry);
    QCOMPARE(node->materialBindings().value(QStringLiteral("sy")),
             scene.materials().value(QStringLiteral("m")));
    QCOMPARE(scene.activeCameraNode(), scene.nodes().last());
    QVERIFY(!scene.materials().value(QStringLiteral("m"))->reflective().isValid());
    QCOMPARE(scene.rootNode()->id(), QStringLiteral("node-SceneRoot"));
    QCOMPARE(saved(scene).toHex(), QByteArray::fromHex(literalRecord).toHex());
}

void SceneRecordTest::completeRecordIsReproduced()
{
    const QByteArray bytes = completeRecord().bytes();
    Scene scene;
    load(&scene, bytes);
    QCOMPARE(saved(scene).toHex(), bytes.toHex());
}

void SceneRecordTest::formatIsPinned()
{
    // Whatever version the caller's stream has, the record is that of version 12 and the stream keeps its
    // own.
    const QByteArray bytes = completeRecord().bytes();
    Scene scene;
    QDataStream in(bytes);
    in.setVersion(QDataStream::Qt_5_15);
    scene.load(in);
    QByteArray again;
    QDataStream out(&again, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_4_0);
    scene.save(out);
    QCOMPARE(again.toHex(), bytes.toHex());
}

void SceneRecordTest::roundTripOfAGeometry()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const geometry = builder.geometry(QStringLiteral("gé\u4e2d"));
    QVector<QVector3D> points;
    for (int i = 0; i < 5000; ++i)
        points.append(QVector3D(i * 0.1f, -i * 1e-20f, i * 1e20f));
    geometry->setVertices(points);
    geometry->setNormals(points.mid(1));
    geometry->setTexcoords({QVector2D(0.1f, -0.2f), QVector2D(1e-30f, 3)});
    geometry->setExtraVectors(points.mid(4000));
    builder.geometry(QStringLiteral("empty"));
    builder.node(QStringLiteral("n"), nullptr, builder.camera(QStringLiteral("c")));
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(read.geometries().size(), 2);
    const Geometry *const again = read.geometries().first();
    QCOMPARE(again->id(), geometry->id());
    QVERIFY(again->vertices() == points);
    QVERIFY(again->normals() == points.mid(1));
    QVERIFY(again->texcoords() == geometry->texcoords());
    QVERIFY(again->extraVectors() == points.mid(4000));
    QCOMPARE(again->isTwoManifold(), false);
    QCOMPARE(read.geometries().last()->id(), QStringLiteral("empty"));
    QVERIFY(read.geometries().last()->trimeshes().isEmpty());
}

void SceneRecordTest::roundTripOfGroupIndices()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const geometry = builder.geometry(QStringLiteral("g"));
    for (int i = 0; i < 3; ++i) {
        Trimesh *const group = SceneAssembly::group(geometry, QString::number(i));
        for (int corner = 0; corner < 3 * i; ++corner) {
            group->appendIndex(100 * i + corner);
            group->appendNormalIndex(1000 * i + corner);
            group->appendTexcoordIndex(10000 * i + corner);
        }
        group->setAdjacency(QVector<int>(3 * i, -i));
        group->setInvalidFaces(QVector<int>(2 - i, i));
    }
    builder.node(QStringLiteral("n"), nullptr, builder.camera(QStringLiteral("c")));
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    const QList<Trimesh *> groups = read.geometries().first()->trimeshes();
    QCOMPARE(groups.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const Trimesh *const before = geometry->trimeshes()[i];
        QCOMPARE(groups[i]->materialName(), before->materialName());
        QCOMPARE(groups[i]->indices(), before->indices());
        QCOMPARE(groups[i]->normalIndices(), before->normalIndices());
        QCOMPARE(groups[i]->texcoordIndices(), before->texcoordIndices());
        QCOMPARE(groups[i]->adjacency(), before->adjacency());
        QCOMPARE(groups[i]->invalidFaces(), before->invalidFaces());
    }
    QCOMPARE(groups[2]->normalIndices(), (QVector<int>{2000, 2001, 2002, 2003, 2004, 2005}));
}

/// A record with one geometry, whose groups have so many corners each, and a camera node.
static QByteArray recordWithIntegers(const QVector<int> &first, const QVector<int> &second,
                                     const QVector<int> &groups = {3, 6})
{
    RecordBytes record;
    record.nullString();
    record.vector(0, 0, 0);
    record.int32(1);
    record.int32(0);
    record.string(QStringLiteral("g"));
    for (int list = 0; list < 3; ++list)
        record.int32(0);
    record.byte(0);
    record.int32(0);
    record.integers(QStringLiteral("first"), first);
    record.integers(QStringLiteral("second"), second);
    record.int32(groups.size());
    for (const int corners : groups) {
        record.string(QStringLiteral("symbol"));
        record.integers(QStringLiteral("indices"), QVector<int>(corners, 9));
        record.integers(QStringLiteral("adjacency"), {});
        record.integers(QStringLiteral("invalid faces"), {});
    }
    record.int32(0);
    record.int32(1);
    record.int32(1);
    record.string(QStringLiteral("c"));
    record.vector(45, 1, 2);
    record.nullString();
    record.int32(0);
    record.int32(1);
    record.matrix(QMatrix4x4());
    record.string(QStringLiteral("n"));
    record.int32(-1);
    record.int32(1);
    record.int32(0);
    record.int32(0);
    return record.bytes();
}

void SceneRecordTest::shortIntegerLists()
{
    Scene scene;
    load(&scene, recordWithIntegers({1, 2, 3, 4}, {}));
    const QList<Trimesh *> groups = scene.geometries().first()->trimeshes();
    QCOMPARE(groups[0]->normalIndices(), (QVector<int>{1, 2, 3}));
    QCOMPARE(groups[1]->normalIndices(), (QVector<int>{4, 0, 0, 0, 0, 0}));
    QCOMPARE(groups[0]->texcoordIndices(), (QVector<int>{0, 0, 0}));
    QCOMPARE(groups[1]->texcoordIndices(), (QVector<int>{0, 0, 0, 0, 0, 0}));
}

void SceneRecordTest::longIntegerLists()
{
    Scene scene;
    load(&scene, recordWithIntegers({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {11, 12}));
    const QList<Trimesh *> groups = scene.geometries().first()->trimeshes();
    QCOMPARE(groups[0]->normalIndices(), (QVector<int>{1, 2, 3}));
    QCOMPARE(groups[1]->normalIndices(), (QVector<int>{4, 5, 6, 7, 8, 9}));
    QCOMPARE(groups[0]->texcoordIndices(), (QVector<int>{11, 12, 0}));
    QCOMPARE(groups[1]->indices(), (QVector<int>{9, 9, 9, 9, 9, 9}));
}

void SceneRecordTest::integerListsAreWrittenAsRead_data()
{
    QTest::addColumn<QVector<int>>("first");
    QTest::addColumn<QVector<int>>("second");
    QTest::addColumn<QVector<int>>("corners");
    const auto row = [](const char *name, const QVector<int> &first, const QVector<int> &second,
                        const QVector<int> &corners) { QTest::newRow(name) << first << second << corners; };
    row("as long as the corners", {1, 2, 3, 4, 5, 6}, {6, 5, 4, 3, 2, 1}, {3, 3});
    row("empty", {}, {}, {3, 6});
    row("shorter", {1, 2, 3, 4}, {5}, {3, 6});
    row("shorter, with zeros at the end", {1, 0}, {0, 0, 0, 0}, {3, 6});
    row("longer", {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 0}, {3, 3});
    row("one longer, one shorter", {1, 2, 3, 4}, {1, 2}, {3});
    row("no groups", {1, 2, 3}, {4, 5}, {});
    row("groups without corners", {1, 2, 3}, {}, {0, 0});
    row("no groups, no lists", {}, {}, {});
}

void SceneRecordTest::integerListsAreWrittenAsRead()
{
    QFETCH(QVector<int>, first);
    QFETCH(QVector<int>, second);
    QFETCH(QVector<int>, corners);
    const QByteArray record = recordWithIntegers(first, second, corners);
    Scene scene;
    load(&scene, record);
    const Geometry *const geometry = scene.geometries().first();
    QCOMPARE(geometry->firstIntegers(), first);
    QCOMPARE(geometry->secondIntegers(), second);
    for (const Trimesh *const group : geometry->trimeshes()) {
        QCOMPARE(group->normalIndices().size(), group->indices().size());
        QCOMPARE(group->texcoordIndices().size(), group->indices().size());
    }
    QCOMPARE(saved(scene), record);
}

void SceneRecordTest::roundTripOfLightsAndCameras()
{
    Scene scene;
    SceneAssembly builder(&scene);
    for (const int type :
         {Light::AmbientLight, Light::DirectionalLight, Light::PointLight, Light::SpotLight}) {
        Light *const light = builder.light(QStringLiteral("light%1").arg(type), type);
        if (type == Light::AmbientLight)
            continue;
        light->setColor(QColor::fromRgbF(0.1 * type, 0.3, 0.9, 0.5));
        light->setMultiplier(0.1f * type);
        light->setFalloff(0.3f * type);
        light->setHotspotBeam(0.7f * type);
        light->setTarget(QStringLiteral("target%1").arg(type));
        light->setLightVector(QVector3D(0.1f, type, 0));
        light->setShadow(type == Light::SpotLight);
    }
    for (int i = 0; i < 2; ++i) {
        Camera *const camera = builder.camera(QStringLiteral("camera%1").arg(i));
        camera->setFieldOfView(30.1f + i);
        camera->setNearPlane(0.1f + i);
        camera->setFarPlane(1000.1f + i);
        camera->setTarget(QStringLiteral("target%1").arg(i));
    }
    builder.node(QStringLiteral("n"), nullptr, scene.cameras().last());
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(read.lights().size(), 4);
    for (int i = 0; i < 4; ++i) {
        const Light *const light = scene.lights()[i];
        const Light *const again = read.lights()[i];
        QCOMPARE(again->type(), i + 2);
        QCOMPARE(again->id(), light->id());
        QCOMPARE(again->color(), light->color());
        QVERIFY(again->multiplier() == light->multiplier());
        QVERIFY(again->falloff() == light->falloff());
        QVERIFY(again->hotspotBeam() == light->hotspotBeam());
        QCOMPARE(again->target(), light->target());
        QVERIFY(again->lightVector() == light->lightVector());
        QCOMPARE(again->shadow(), light->shadow());
    }
    QVERIFY(!read.lights().first()->color().isValid());
    QCOMPARE(read.cameras().size(), 2);
    for (int i = 0; i < 2; ++i) {
        const Camera *const camera = scene.cameras()[i];
        const Camera *const again = read.cameras()[i];
        QCOMPARE(again->id(), camera->id());
        QVERIFY(again->fieldOfView() == camera->fieldOfView());
        QVERIFY(again->nearPlane() == camera->nearPlane());
        QVERIFY(again->farPlane() == camera->farPlane());
        QCOMPARE(again->target(), camera->target());
    }
    QCOMPARE(read.activeCameraNode()->cameraModel(), read.cameras().last());
}

void SceneRecordTest::roundTripOfMaterials()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.material(QStringLiteral("plain"));
    Material *const material = builder.material(QStringLiteral("full"), 0.1f);
    material->setAmbient(QColor::fromRgbF(0.1, 0.2, 0.3));
    material->setDiffuse(QColor(1, 2, 3, 4));
    material->setSpecular(QColor(5, 6, 7));
    material->setReflective(QColor(8, 9, 10));
    material->setTransparent(QColor(11, 12, 13));
    material->setShininess(0.7f);
    material->setSpecularLevel(0.3f);
    builder.node(QStringLiteral("n"), nullptr, builder.camera(QStringLiteral("c")));
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(read.materials().size(), 2);
    const Material *const plain = read.materials().value(QStringLiteral("plain"));
    QVERIFY(plain);
    QVERIFY(!plain->ambient().isValid());
    QVERIFY(plain->specularLevel() == 1.0f);
    const Material *const again = read.materials().value(QStringLiteral("full"));
    QVERIFY(again);
    QCOMPARE(again->name(), QStringLiteral("full"));
    QCOMPARE(again->ambient(), material->ambient());
    QCOMPARE(again->diffuse(), material->diffuse());
    QCOMPARE(again->specular(), material->specular());
    QCOMPARE(again->reflective(), material->reflective());
    QCOMPARE(again->transparent(), material->transparent());
    QVERIFY(again->shininess() == 0.7f);
    QVERIFY(again->transparency() == 0.1f);
    QVERIFY(again->specularLevel() == 0.3f);
}

void SceneRecordTest::keysAscend()
{
    QByteArray records[2];
    for (int order = 0; order < 2; ++order) {
        Scene scene;
        SceneAssembly builder(&scene);
        Node *const node = builder.node(QStringLiteral("n"), nullptr, builder.camera(QStringLiteral("c")));
        for (int i = 0; i < 40; ++i) {
            const QString number = QString::number(order == 0 ? i + 10 : 49 - i);
            node->bindMaterial(QStringLiteral("symbol") + number,
                               builder.material(QStringLiteral("name") + number));
        }
        scene.complete();
        records[order] = saved(scene);
    }
    QCOMPARE(records[0].toHex(), records[1].toHex());

    const auto utf16 = [](const QString &text) {
        RecordBytes bytes;
        bytes.string(text);
        return bytes.bytes();
    };
    int atMaterial = 0;
    int atSymbol = 0;
    for (int i = 10; i < 50; ++i) {
        const int material = records[0].indexOf(utf16(QStringLiteral("name%1").arg(i)));
        const int symbol = records[0].indexOf(utf16(QStringLiteral("symbol%1").arg(i)));
        QVERIFY(material > atMaterial);
        QVERIFY(symbol > atSymbol);
        atMaterial = material;
        atSymbol = symbol;
    }
    QVERIFY(atSymbol > atMaterial);
}

void SceneRecordTest::loadReplaces()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.geometry(QStringLiteral("old geometry"));
    builder.light(QStringLiteral("old light"));
    builder.material(QStringLiteral("old material"));
    builder.node(QStringLiteral("old node"), nullptr, builder.camera(QStringLiteral("old camera")));
    scene.setName(QStringLiteral("old"));
    scene.complete();
    const QByteArray bytes = completeRecord().bytes();
    load(&scene, bytes);
    QCOMPARE(scene.name(), QStringLiteral("s"));
    QVERIFY(!scene.findNode(QStringLiteral("old node")));
    QCOMPARE(scene.activeCameraNode()->id(), QStringLiteral("n1"));
    QCOMPARE(saved(scene).toHex(), bytes.toHex());
}

QTEST_GUILESS_MAIN(SceneRecordTest)
#include "tst_scenerecord.moc"
