#include "MessageCapture.h"
#include "SceneAssembly.h"

#include <QTest>

#include <type_traits>

using namespace Quorvel;

namespace
{

/// Counts its own deletions.
template <class Base>
class Counted : public Base
{
public:
    explicit Counted(int *deletions) : m_deletions(deletions) {}
    ~Counted() override { ++*m_deletions; }

private:
    int *m_deletions;
};

} // namespace

class SceneTest : public QObject
{
    Q_OBJECT

private slots:
    void startsEmpty();
    void deletesEverything();
    void clearDeletesEverything();
    void findsFirstNodeOfAnId();

    void completeMakesTheRoot();
    void completeAttachesParentlessNodesInOrder();
    void completeUpdatesAttachedNodes();
    void completePicksTheFirstCamera();
    void completeWithoutCamera();

    void dumpOfTheRootAlone();
    void dumpOrderAndIndent();
    void dumpModels();
    void dumpBindings();
    void dumpGeometry();
    void dumpGeometryBounds();
};

void SceneTest::startsEmpty()
{
    const Scene scene;
    QVERIFY(std::has_virtual_destructor_v<Scene>);
    QVERIFY(scene.name().isEmpty());
    QCOMPARE(scene.upAxis(), QVector3D(0, 0, 0));
    QVERIFY(scene.geometries().isEmpty());
    QVERIFY(scene.lights().isEmpty());
    QVERIFY(scene.cameras().isEmpty());
    QVERIFY(scene.materials().isEmpty());
    QVERIFY(scene.nodes().isEmpty());
    QVERIFY(!scene.rootNode());
    QVERIFY(!scene.activeCameraNode());
}

static void fillCounted(Scene *scene, int *deletions)
{
    auto *geometry = new Counted<Geometry>(deletions);
    geometry->addTrimesh(new Counted<Trimesh>(deletions));
    scene->geometries().append(geometry);
    scene->lights().append(new Counted<Light>(deletions));
    scene->cameras().append(new Counted<Camera>(deletions));
    scene->materials().insert(QStringLiteral("m"), new Counted<Material>(deletions));
    scene->nodes().append(new Counted<Node>(deletions));
    scene->nodes().append(new Counted<Node>(deletions));
    scene->nodes().last()->setParent(scene->nodes().first());
    scene->nodes().last()->setModel(scene->cameras().first());
    scene->complete();
}

void SceneTest::deletesEverything()
{
    int deletions = 0;
    {
        Scene scene;
        fillCounted(&scene, &deletions);
        QCOMPARE(deletions, 0);
    }
    QCOMPARE(deletions, 7);
}

void SceneTest::clearDeletesEverything()
{
    int deletions = 0;
    Scene scene;
    fillCounted(&scene, &deletions);
    scene.clear();
    QCOMPARE(deletions, 7);
    QVERIFY(scene.geometries().isEmpty());
    QVERIFY(scene.lights().isEmpty());
    QVERIFY(scene.cameras().isEmpty());
    QVERIFY(scene.materials().isEmpty());
    QVERIFY(scene.nodes().isEmpty());
    QVERIFY(!scene.rootNode());
    QVERIFY(!scene.activeCameraNode());
    scene.clear();
    QCOMPARE(deletions, 7);
}

void SceneTest::findsFirstNodeOfAnId()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.node(QStringLiteral("a"));
    Node *const first = builder.node(QStringLiteral("b"));
    builder.node(QStringLiteral("b"));
    QCOMPARE(scene.findNode(QStringLiteral("b")), first);
    QVERIFY(!scene.findNode(QStringLiteral("c")));
}

void SceneTest::completeMakesTheRoot()
{
    Scene scene;
    scene.complete();
    QVERIFY(scene.rootNode());
    QCOMPARE(scene.rootNode()->id(), QStringLiteral("node-SceneRoot"));
    QVERIFY(!scene.rootNode()->parent());
    QVERIFY(!scene.rootNode()->model());
    QVERIFY(scene.rootNode()->worldTransform().isIdentity());
    QVERIFY2(scene.nodes().isEmpty(), "the root is not one of the nodes");
}

void SceneTest::completeAttachesParentlessNodesInOrder()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const a = builder.node(QStringLiteral("a"));
    Node *const a1 = builder.node(QStringLiteral("a1"), a);
    Node *const b = builder.node(QStringLiteral("b"));
    scene.complete();
    QCOMPARE(scene.rootNode()->children(), (QList<Node *>{a, b}));
    QCOMPARE(a->parent(), scene.rootNode());
    QCOMPARE(b->parent(), scene.rootNode());
    QCOMPARE(a1->parent(), a);
    QCOMPARE(scene.nodes(), (QList<Node *>{a, a1, b}));
}

void SceneTest::completeUpdatesAttachedNodes()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const a = builder.node(QStringLiteral("a"));
    a->setLocalTransform(translation(1, 0, 0));
    Node *const a1 = builder.node(QStringLiteral("a1"), a);
    a1->setLocalTransform(translation(0, 1, 0));
    scene.complete();
    QCOMPARE(a->worldTransform(), translation(1, 0, 0));
    QCOMPARE(a1->worldTransform(), translation(1, 1, 0));
}

void SceneTest::completePicksTheFirstCamera()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const top = builder.node(QStringLiteral("top"), nullptr, builder.light(QStringLiteral("l")));
    Node *const first = builder.node(QStringLiteral("first"), top, builder.camera(QStringLiteral("c1")));
    builder.node(QStringLiteral("second"), nullptr, builder.camera(QStringLiteral("c2")));
    scene.complete();
    // First in the nodes list, though the second one stands higher in the tree.
    QCOMPARE(scene.activeCameraNode(), first);
}

void SceneTest::completeWithoutCamera()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.camera(QStringLiteral("not bound"));
    builder.node(QStringLiteral("n"), nullptr, builder.light(QStringLiteral("l")));
    scene.complete();
    QVERIFY(!scene.activeCameraNode());
}

static QStringList dumpLines(const Scene &scene)
{
    const MessageCapture capture;
    scene.dump();
    return MessageCapture::lines();
}

void SceneTest::dumpOfTheRootAlone()
{
    Scene scene;
    scene.complete();
    QCOMPARE(dumpLines(scene), (QStringList{QStringLiteral("Scene:"), QStringLiteral("node-SceneRoot")}));
}

void SceneTest::dumpOrderAndIndent()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const a = builder.node(QStringLiteral("a"));
    Node *const b = builder.node(QStringLiteral("b"));
    builder.node(QStringLiteral("a1"), a);
    Node *const a2 = builder.node(QStringLiteral("a2"), a);
    builder.node(QStringLiteral("a2x"), a2);
    builder.node(QStringLiteral("b1"), b);
    scene.complete();
    // Last child first, each subtree to its end.
    QCOMPARE(dumpLines(scene),
             (QStringList{QStringLiteral("Scene:"), QStringLiteral("node-SceneRoot"), QStringLiteral("    b"),
                          QStringLiteral("        b1"), QStringLiteral("    a"), QStringLiteral("        a2"),
                          QStringLiteral("            a2x"), QStringLiteral("        a1")}));
}

void SceneTest::dumpModels()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.node(QStringLiteral("n1"), nullptr, builder.light(QStringLiteral("lamp")));
    builder.node(QStringLiteral("n2"), nullptr, builder.camera(QStringLiteral("eye")));
    scene.complete();
    QCOMPARE(dumpLines(scene).mid(2),
             (QStringList{QStringLiteral("    n2 instance eye"), QStringLiteral("    n1 instance lamp")}));
}

void SceneTest::dumpBindings()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const node = builder.node(QStringLiteral("n"));
    QString expected = QStringLiteral("    n materials ");
    for (int i = 29; i >= 10; --i)
        node->bindMaterial(QStringLiteral("s%1").arg(i), builder.material(QStringLiteral("m%1").arg(90 - i)));
    for (int i = 10; i < 30; ++i)
        expected += QStringLiteral("s%1->m%2 ").arg(i).arg(90 - i);
    node->bindMaterial(QStringLiteral("t"), nullptr);
    expected += QStringLiteral("t-> ");
    scene.complete();
    QCOMPARE(dumpLines(scene).mid(2), QStringList{expected});
}

void SceneTest::dumpGeometry()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const box = builder.geometry(QStringLiteral("box"), {QVector3D(-1, 0, 0), QVector3D(1, 0, 0)});
    Node *const node = builder.node(QStringLiteral("n"), nullptr, box);
    node->bindMaterial(QStringLiteral("s"), builder.material(QStringLiteral("m")));
    node->setLocalTransform(translation(0.5f, 2, 3));
    Node *const plain = builder.node(QStringLiteral("p"), nullptr, box);
    plain->setLocalTransform(scaling(2));
    scene.complete();
    QCOMPARE(dumpLines(scene).mid(2),
             (QStringList{
                 QStringLiteral("    p instance box Center QVector3D(0, 0, 0) Radius 2"),
                 QStringLiteral("    n instance box materials s->m  Center QVector3D(0.5, 2, 3) Radius 1")}));
}

void SceneTest::dumpGeometryBounds()
{
    // A parent's line has no bounds of its own, whatever hangs below it.
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const group = builder.node(QStringLiteral("group"));
    builder.node(QStringLiteral("n"), group, builder.geometry(QStringLiteral("point"), {QVector3D(1, 2, 3)}));
    scene.complete();
    QCOMPARE(dumpLines(scene).mid(2),
             (QStringList{QStringLiteral("    group"),
                          QStringLiteral("        n instance point Center QVector3D(1, 2, 3) Radius 0")}));
}

QTEST_GUILESS_MAIN(SceneTest)
#include "tst_scene.moc"
