#include "FatalCase.h"
#include "RecordRoundTrip.h"
#include "RecordSamples.h"
#include "SceneAssembly.h"

#include <QTest>

using namespace Quorvel;

/// Scene name "s", up axis y, no models or materials; what follows is the caller's.
static RecordBytes emptyTables()
{
    RecordBytes record;
    record.string(QStringLiteral("s"));
    record.vector(0, 1, 0);
    for (const char *const table : {"geometries", "lights", "cameras", "materials"})
        record.count(QString::fromLatin1(table), 0);
    return record;
}

class RecordNodesTest : public QObject
{
    Q_OBJECT

private slots:
    void roundTripOfNodes();
    void roundTripOfModelKinds();
    void typeCodeComesFromTheRecord();
    void unknownModelKindHasNoIndex();
    void nodesAreWrittenBreadthFirst();
    void unattachedNodesAreNotWritten();
    void worldTransformsAreFinal();
    void bindings();
    void bindingOfAnUnwrittenMaterial();
    void bindingOfAMissingMaterial();
    void firstCameraInTheRecordIsActive();
    void fatalRecords_data();
    void fatalRecords();
    void sceneWithoutNodesWritesNone();
    void sceneWithoutRootIsNotSaved();
};

void RecordNodesTest::roundTripOfNodes()
{
    Scene scene;
    SceneAssembly builder(&scene);
    const QMatrix4x4 odd(1.1f, 2.2f, 3.3f, 4.4f, 5.5f, 6.6f, 7.7f, 8.8f, 9.9f, 10.1f, 11.1f, 12.1f, 0, 0, 0,
                         1);
    Node *const a = builder.node(QStringLiteral("a"), nullptr, builder.camera(QStringLiteral("c")));
    a->setLocalTransform(odd);
    Node *const b = builder.node(QStringLiteral("b"), a);
    b->setLocalTransform(translation(0.1f, 0.2f, 0.3f));
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(ids(read.nodes()), ids(scene.nodes()));
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column)
            QVERIFY(read.nodes()[0]->localTransform()(row, column) == odd(row, column));
    }
    QCOMPARE(read.nodes()[1]->localTransform(), b->localTransform());
    QCOMPARE(read.nodes()[1]->worldTransform(), b->worldTransform());
    QCOMPARE(read.nodes()[1]->parent(), read.nodes()[0]);
    QCOMPARE(read.nodes()[0]->parent(), read.rootNode());
    QCOMPARE(read.rootNode()->children(), QList<Node *>{read.nodes()[0]});
    QVERIFY(!read.nodes()[1]->model());
}

void RecordNodesTest::roundTripOfModelKinds()
{
    // Each list is counted from 0, and each kind looks into its own.
    Scene scene;
    SceneAssembly builder(&scene);
    for (int i = 0; i < 3; ++i) {
        builder.geometry(QStringLiteral("g%1").arg(i));
        builder.camera(QStringLiteral("c%1").arg(i));
    }
    for (int type = 2; type <= 5; ++type)
        builder.light(QStringLiteral("l%1").arg(type), type);
    for (const int i : {2, 0, 1}) {
        builder.node(QStringLiteral("g%1").arg(i), nullptr, scene.geometries()[i]);
        builder.node(QStringLiteral("c%1").arg(i), nullptr, scene.cameras()[i]);
    }
    for (const int type : {5, 3, 2, 4})
        builder.node(QStringLiteral("l%1").arg(type), nullptr, scene.lights()[type - 2]);
    builder.node(QStringLiteral("none"));
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(ids(read.nodes()), ids(scene.nodes()));
    for (int i = 0; i < read.nodes().size() - 1; ++i) {
        const Node *const node = read.nodes()[i];
        QVERIFY(node->model());
        QCOMPARE(node->model()->id(), node->id());
        QCOMPARE(node->model()->type(), scene.nodes()[i]->model()->type());
    }
    QVERIFY(!read.nodes().last()->model());
    QCOMPARE(read.activeCameraNode()->id(), QStringLiteral("c2"));
}

void RecordNodesTest::typeCodeComesFromTheRecord()
{
    // A node's kind only says which list it means: the light itself says what light it is.
    QByteArray bytes = completeRecord().bytes();
    const int kind = bytes.size() - 12;
    QCOMPARE(int(bytes[kind + 3]), 5);
    bytes[kind + 3] = 2;
    Scene scene;
    load(&scene, bytes);
    QCOMPARE(scene.nodes().last()->lightModel(), scene.lights().first());
    QCOMPARE(scene.lights().first()->type(), 5);
}

void RecordNodesTest::unknownModelKindHasNoIndex()
{
    QByteArray bytes = completeRecord().bytes();
    const int kind = bytes.size() - 12;
    bytes[kind + 3] = 99;
    bytes.remove(kind + 4, 4);
    Scene scene;
    load(&scene, bytes);
    QCOMPARE(scene.nodes().size(), 3);
    QVERIFY(!scene.nodes().last()->model());
    QVERIFY(scene.nodes().last()->materialBindings().isEmpty());
}

void RecordNodesTest::nodesAreWrittenBreadthFirst()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const a = builder.node(QStringLiteral("a"));
    Node *const a1 = builder.node(QStringLiteral("a1"), a);
    builder.node(QStringLiteral("a1x"), a1, builder.camera(QStringLiteral("c")));
    builder.node(QStringLiteral("a2"), a);
    Node *const b = builder.node(QStringLiteral("b"));
    builder.node(QStringLiteral("b1"), b);
    scene.complete();

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(ids(read.nodes()),
             (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("a1"),
                          QStringLiteral("a2"), QStringLiteral("b1"), QStringLiteral("a1x")}));
    const QStringList parents{QStringLiteral("node-SceneRoot"),
                              QStringLiteral("node-SceneRoot"),
                              QStringLiteral("a"),
                              QStringLiteral("a"),
                              QStringLiteral("b"),
                              QStringLiteral("a1")};
    for (int i = 0; i < parents.size(); ++i)
        QCOMPARE(read.nodes()[i]->parent()->id(), parents[i]);
    QCOMPARE(ids(read.nodes()[0]->children()), (QStringList{QStringLiteral("a1"), QStringLiteral("a2")}));
}

void RecordNodesTest::unattachedNodesAreNotWritten()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.node(QStringLiteral("a"), nullptr, builder.camera(QStringLiteral("c")));
    scene.complete();
    Node *const loose = builder.node(QStringLiteral("loose"));
    builder.node(QStringLiteral("below"), loose);

    Scene read;
    load(&read, saved(scene));
    QCOMPARE(ids(read.nodes()), QStringList{QStringLiteral("a")});
}

void RecordNodesTest::worldTransformsAreFinal()
{
    Scene scene;
    load(&scene, completeRecord().bytes());
    for (const Node *const node : scene.nodes())
        QCOMPARE(node->worldTransform(), translation(2, 3, 4));
}

void RecordNodesTest::bindings()
{
    Scene scene;
    load(&scene, completeRecord().bytes());
    Material *const material = scene.materials().value(QStringLiteral("m"));
    QVERIFY(material);
    QCOMPARE(scene.nodes().first()->materialBindings(),
             (QHash<QString, Material *>{{QStringLiteral("a"), material}, {QStringLiteral("b"), material}}));
    QCOMPARE(scene.nodes().first()->groupMaterials(), (QVector<Material *>{material, material}));
    QVERIFY(scene.nodes().last()->materialBindings().isEmpty());
}

void RecordNodesTest::bindingOfAnUnwrittenMaterial()
{
    Material stray;
    stray.setName(QStringLiteral("stray"));
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const node = builder.node(QStringLiteral("n"), nullptr, builder.camera(QStringLiteral("c")));
    node->bindMaterial(QStringLiteral("q"), &stray);
    node->bindMaterial(QStringLiteral("r"), nullptr);
    scene.complete();

    const QByteArray bytes = saved(scene);
    QVERIFY(!bytes.contains(QByteArray::fromHex("00730074007200610079")));
    // The record ends with two bindings; an empty name is a null string or one of length 0.
    QByteArray end = bytes.right(24);
    QCOMPARE(end.left(4).toHex(), QByteArray("00000002"));
    end.replace(QByteArray::fromHex("ffffffff"), QByteArray::fromHex("00000000"));
    QCOMPARE(end.toHex(),
             QByteArray::fromHex("00000002 00000002 0071 00000000 00000002 0072 00000000").toHex());

    Scene read;
    load(&read, bytes);
    const QHash<QString, Material *> expected{{QStringLiteral("q"), nullptr}, {QStringLiteral("r"), nullptr}};
    QCOMPARE(read.nodes().first()->materialBindings(), expected);
}

void RecordNodesTest::bindingOfAMissingMaterial()
{
    QByteArray bytes = completeRecord().bytes();
    // The last "m" of the record is the name bound to symbol "b".
    const int name = bytes.lastIndexOf(QByteArray::fromHex("00000002006d"));
    bytes[name + 5] = 'x';
    Scene scene;
    load(&scene, bytes);
    const QHash<QString, Material *> bindings = scene.nodes().first()->materialBindings();
    QCOMPARE(bindings.size(), 2);
    QVERIFY(bindings.contains(QStringLiteral("b")));
    QVERIFY(!bindings.value(QStringLiteral("b")));
    QVERIFY(bindings.value(QStringLiteral("a")));
    QCOMPARE(scene.materials().size(), 1);
}

void RecordNodesTest::firstCameraInTheRecordIsActive()
{
    // Written breadth first, the upper camera comes first, whichever was first in the list before.
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const a = builder.node(QStringLiteral("a"));
    builder.node(QStringLiteral("lower"), a, builder.camera(QStringLiteral("c1")));
    builder.node(QStringLiteral("upper"), nullptr, builder.camera(QStringLiteral("c2")));
    scene.complete();
    QCOMPARE(scene.activeCameraNode()->id(), QStringLiteral("lower"));
    Scene read;
    load(&read, saved(scene));
    QCOMPARE(read.activeCameraNode()->id(), QStringLiteral("upper"));
}

void RecordNodesTest::fatalRecords_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("no nodes") << QStringLiteral("\"m_activeCameraNode\"");
    QTest::newRow("no bytes") << QStringLiteral("\"m_activeCameraNode\"");
    QTest::newRow("no camera node") << QStringLiteral("\"m_activeCameraNode\"");
    QTest::newRow("parent past the end") << QStringLiteral("index out of range");
    QTest::newRow("node is its own parent") << QStringLiteral("a node's parent stands before it");
    QTest::newRow("model past the end") << QStringLiteral("index out of range");
    QTest::newRow("negative model index") << QStringLiteral("index out of range");
}

void RecordNodesTest::fatalRecords()
{
    QFETCH(QString, text);
    const FatalEnd end = FatalCases::end(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("ASSERT")), qPrintable(end.text));
    QVERIFY2(end.text.contains(text), qPrintable(end.text));
}

void RecordNodesTest::sceneWithoutNodesWritesNone()
{
    Scene scene;
    scene.setName(QStringLiteral("s"));
    scene.setUpAxis(QVector3D(0, 1, 0));
    scene.complete();
    RecordBytes expected = emptyTables();
    expected.int32(0);
    QCOMPARE(saved(scene).toHex(), expected.bytes().toHex());
}

void RecordNodesTest::sceneWithoutRootIsNotSaved()
{
    const FatalEnd end = FatalCases::end(QStringLiteral("no root"));
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("ASSERT: \"m_rootNode\" in file src/Scene.cpp")),
             qPrintable(end.text));
}

static void loadBytes(const QByteArray &bytes)
{
    Scene scene;
    load(&scene, bytes);
}

/// The complete record's last node with another word, counted from the end of the record.
static QByteArray changedWord(int fromEnd, qint32 value)
{
    RecordBytes word;
    word.int32(value);
    QByteArray bytes = completeRecord().bytes();
    return bytes.replace(bytes.size() - 4 * fromEnd, 4, word.bytes());
}

int main(int argc, char **argv)
{
    const FatalCases cases{
        {QStringLiteral("no root"), [] { saved(Scene()); }},
        {QStringLiteral("no bytes"), [] { loadBytes({}); }},
        {QStringLiteral("no nodes"),
         [] {
             Scene scene;
             SceneAssembly(&scene).camera(QStringLiteral("c"));
             scene.complete();
             loadBytes(saved(scene));
         }},
        {QStringLiteral("no camera node"),
         [] {
             RecordBytes record = emptyTables();
             record.int32(1);
             record.matrix(QMatrix4x4());
             record.string(QStringLiteral("n"));
             record.int32(-1);
             record.int32(6);
             record.int32(0);
             loadBytes(record.bytes());
         }},
        {QStringLiteral("parent past the end"), [] { loadBytes(changedWord(4, 3)); }},
        {QStringLiteral("node is its own parent"), [] { loadBytes(changedWord(4, 2)); }},
        {QStringLiteral("model past the end"), [] { loadBytes(changedWord(2, 1)); }},
        {QStringLiteral("negative model index"), [] { loadBytes(changedWord(2, -1)); }},
    };
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    RecordNodesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_recordnodes.moc"
