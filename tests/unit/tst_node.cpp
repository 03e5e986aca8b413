#include "FatalCase.h"
#include "SceneAssembly.h"

#include <QTest>

#include <type_traits>

using namespace Quorvel;

class NodeTest : public QObject
{
    Q_OBJECT

private slots:
    void constructs();
    void constructsBelowParent();
    void isPolymorphic();

    void setParentMovesToTheEnd();
    void setParentRemovesEveryOccurrence();
    void setParentUpdatesThisNodeOnly();
    void setParentNullIsFatal();

    void worldIsParentTimesLocal();
    void parentChangeDoesNotReachAttachedNodes();

    void kindTests_data();
    void kindTests();
    void groupMaterials();

    void collectsBreadthFirst();
    void collectsNothingBelowALeaf();
    void collectAppends();

    void sphereOfOneVertex();
    void sphereOfNothing();
    void sphereCentreIsTheMean();
    void sphereIsInWorldSpace();
    void sphereIncludesDescendants();
    void sphereIsCachedUntilWorldUpdate();
    void descendantMoveKeepsCachedSphere();

    void distance_data();
    void distance();
    void rayTest_data();
    void rayTest();
    void rayTestOfASinglePoint();
};

void NodeTest::constructs()
{
    const Node node;
    QVERIFY(node.id().isEmpty());
    QVERIFY(node.localTransform().isIdentity());
    QVERIFY(node.worldTransform().isIdentity());
    QVERIFY(!node.parent());
    QVERIFY(node.children().isEmpty());
    QVERIFY(!node.model());
    QVERIFY(node.materialBindings().isEmpty());
}

void NodeTest::constructsBelowParent()
{
    Node parent;
    parent.setLocalTransform(translation(1, 2, 3));
    Node first(&parent);
    Node second(&parent);
    QCOMPARE(parent.children(), (QList<Node *>{&first, &second}));
    QCOMPARE(first.parent(), &parent);
    QCOMPARE(second.parent(), &parent);
    QVERIFY(second.localTransform().isIdentity());
    QCOMPARE(second.worldTransform(), translation(1, 2, 3));
}

void NodeTest::isPolymorphic()
{
    QVERIFY(std::is_polymorphic_v<Node>);
    QVERIFY(std::has_virtual_destructor_v<Node>);
    QVERIFY(!std::is_copy_constructible_v<Node>);
}

void NodeTest::setParentMovesToTheEnd()
{
    Node parent;
    Node a(&parent);
    Node b(&parent);
    a.setParent(&parent);
    QCOMPARE(parent.children(), (QList<Node *>{&b, &a}));
    QCOMPARE(a.parent(), &parent);

    Node other;
    b.setParent(&other);
    QCOMPARE(parent.children(), QList<Node *>{&a});
    QCOMPARE(other.children(), QList<Node *>{&b});
    QCOMPARE(b.parent(), &other);
}

void NodeTest::setParentRemovesEveryOccurrence()
{
    Node parent;
    Node a(&parent);
    Node b(&parent);
    auto &children = const_cast<QList<Node *> &>(parent.children());
    children.append(&a);
    children.prepend(&a);
    QCOMPARE(parent.children(), (QList<Node *>{&a, &a, &b, &a}));

    Node other;
    a.setParent(&other);
    QCOMPARE(parent.children(), QList<Node *>{&b});
    QCOMPARE(other.children(), QList<Node *>{&a});
}

void NodeTest::setParentUpdatesThisNodeOnly()
{
    Node parent;
    parent.setLocalTransform(translation(10, 0, 0));
    Node a;
    Node b(&a);
    a.setLocalTransform(translation(1, 0, 0));
    a.setParent(&parent);
    QCOMPARE(a.worldTransform(), translation(11, 0, 0));
    QVERIFY(b.worldTransform().isIdentity());
}

void NodeTest::setParentNullIsFatal()
{
    const FatalEnd end = FatalCases::end(QStringLiteral("setParent(null)"));
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("ASSERT")), qPrintable(end.text));
}

void NodeTest::worldIsParentTimesLocal()
{
    Node parent;
    parent.setLocalTransform(scaling(2));
    Node node(&parent);
    node.setLocalTransform(translation(1, 2, 3));
    // The parent's matrix on the left: its scale reaches the child's offset.
    QCOMPARE(node.worldTransform(), QMatrix4x4(2, 0, 0, 2, 0, 2, 0, 4, 0, 0, 2, 6, 0, 0, 0, 1));
    QCOMPARE(node.localTransform(), translation(1, 2, 3));
    QCOMPARE(parent.worldTransform(), scaling(2));

    Node alone;
    alone.setLocalTransform(translation(4, 5, 6));
    QCOMPARE(alone.worldTransform(), translation(4, 5, 6));
}

void NodeTest::parentChangeDoesNotReachAttachedNodes()
{
    Node root;
    Node a(&root);
    Node b(&a);
    b.setLocalTransform(translation(0, 1, 0));
    a.setLocalTransform(translation(5, 0, 0));
    QCOMPARE(a.worldTransform(), translation(5, 0, 0));
    QCOMPARE(b.worldTransform(), translation(0, 1, 0));
    b.updateWorldTransform();
    QCOMPARE(b.worldTransform(), translation(5, 1, 0));
}

void NodeTest::kindTests_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("geometry") << 0;
    QTest::newRow("camera") << 1;
    QTest::newRow("ambient light") << 2;
    QTest::newRow("directional light") << 3;
    QTest::newRow("point light") << 4;
    QTest::newRow("spot light") << 5;
    QTest::newRow("none") << 6;
}

void NodeTest::kindTests()
{
    QFETCH(int, type);
    Geometry geometry;
    Camera camera;
    Light light(type);
    Model *const model = type == 0   ? static_cast<Model *>(&geometry)
                         : type == 1 ? static_cast<Model *>(&camera)
                         : type == 6 ? nullptr
                                     : static_cast<Model *>(&light);
    Node node;
    node.setModel(model);
    QCOMPARE(node.model(), model);
    QCOMPARE(node.geometryModel(), type == 0 ? &geometry : nullptr);
    QCOMPARE(node.cameraModel(), type == 1 ? &camera : nullptr);
    QCOMPARE(node.lightModel(), type >= 2 && type <= 5 ? &light : nullptr);
}

void NodeTest::groupMaterials()
{
    Geometry geometry;
    SceneAssembly::group(&geometry, QStringLiteral("red"));
    SceneAssembly::group(&geometry, QStringLiteral("blue"));
    SceneAssembly::group(&geometry, QStringLiteral("red"));
    Material a;
    Material b;
    Node node;
    node.setModel(&geometry);
    node.bindMaterial(QStringLiteral("red"), &a);
    QCOMPARE(node.groupMaterials(), (QVector<Material *>{&a, nullptr, &a}));
    node.bindMaterial(QStringLiteral("blue"), &b);
    QCOMPARE(node.groupMaterials(), (QVector<Material *>{&a, &b, &a}));
    node.bindMaterial(QStringLiteral("red"), &b);
    QCOMPARE(node.groupMaterials(), (QVector<Material *>{&b, &b, &b}));
    QCOMPARE(node.materialBindings().size(), 2);
    node.setModel(nullptr);
    QVERIFY(node.groupMaterials().isEmpty());
}

void NodeTest::collectsBreadthFirst()
{
    Node root;
    Node a(&root);
    Node b(&root);
    Node a1(&a);
    Node b1(&b);
    Node a2(&a);
    Node a1x(&a1);
    Node b1x(&b1);
    QList<Node *> nodes;
    root.collectDescendants(&nodes);
    QCOMPARE(nodes, (QList<Node *>{&a, &b, &a1, &a2, &b1, &a1x, &b1x}));
}

void NodeTest::collectsNothingBelowALeaf()
{
    const Node node;
    QList<Node *> nodes;
    node.collectDescendants(&nodes);
    QVERIFY(nodes.isEmpty());
}

void NodeTest::collectAppends()
{
    Node root;
    Node child(&root);
    QList<Node *> nodes{&root};
    root.collectDescendants(&nodes);
    QCOMPARE(nodes, (QList<Node *>{&root, &child}));
}

void NodeTest::sphereOfOneVertex()
{
    Geometry geometry;
    geometry.setVertices({QVector3D(1, 2, 3)});
    Node root;
    Node child(&root);
    child.setModel(&geometry);
    child.setLocalTransform(translation(10, 20, 30));
    QCOMPARE(root.boundingSphere().centre, QVector3D(11, 22, 33));
    QCOMPARE(root.boundingSphere().radius, 0.0f);

    // A radius of 0 is no cache: each call computes anew.
    geometry.setVertices({QVector3D(4, 5, 6)});
    QCOMPARE(root.boundingSphere().centre, QVector3D(14, 25, 36));
    QCOMPARE(root.boundingSphere().radius, 0.0f);
}

void NodeTest::sphereOfNothing()
{
    Geometry geometry;
    Camera camera;
    Node root;
    root.setLocalTransform(translation(7, 7, 7));
    Node child(&root);
    child.setModel(&camera);
    QCOMPARE(root.boundingSphere().centre, QVector3D(0, 0, 0));
    QCOMPARE(root.boundingSphere().radius, 0.0f);

    child.setModel(&geometry);
    QCOMPARE(root.boundingSphere().centre, QVector3D(0, 0, 0));
    geometry.setVertices({QVector3D(0, 0, 0), QVector3D(2, 0, 0)});
    QCOMPARE(root.boundingSphere().centre, QVector3D(8, 7, 7));
    QCOMPARE(root.boundingSphere().radius, 1.0f);
}

void NodeTest::sphereCentreIsTheMean()
{
    Geometry geometry;
    geometry.setVertices({QVector3D(0, 0, 0), QVector3D(0, 0, 0), QVector3D(3, 0, 0)});
    Node node;
    node.setModel(&geometry);
    QCOMPARE(node.boundingSphere().centre, QVector3D(1, 0, 0));
    QCOMPARE(node.boundingSphere().radius, 2.0f);
}

void NodeTest::sphereIsInWorldSpace()
{
    Geometry geometry;
    geometry.setVertices({QVector3D(-1, 0, 0), QVector3D(1, 0, 0)});
    Node parent;
    parent.setLocalTransform(scaling(3));
    Node node(&parent);
    node.setModel(&geometry);
    node.setLocalTransform(translation(0, 2, 0));
    QCOMPARE(node.boundingSphere().centre, QVector3D(0, 6, 0));
    QCOMPARE(node.boundingSphere().radius, 3.0f);
}

void NodeTest::sphereIncludesDescendants()
{
    Geometry near;
    near.setVertices({QVector3D(0, 0, 0)});
    Geometry far;
    far.setVertices({QVector3D(0, 0, 0), QVector3D(0, 0, 3)});
    Node top;
    top.setModel(&near);
    Node middle(&top);
    Node bottom(&middle);
    bottom.setModel(&far);
    // Points (0,0,0), (0,0,0), (0,0,3).
    QCOMPARE(top.boundingSphere().centre, QVector3D(0, 0, 1));
    QCOMPARE(top.boundingSphere().radius, 2.0f);
    // The same geometry seen from further down: points (0,0,0), (0,0,3).
    QCOMPARE(middle.boundingSphere().centre, QVector3D(0, 0, 1.5f));
    QCOMPARE(middle.boundingSphere().radius, 1.5f);
}

void NodeTest::sphereIsCachedUntilWorldUpdate()
{
    Geometry geometry;
    geometry.setVertices({QVector3D(-1, 0, 0), QVector3D(1, 0, 0)});
    Node node;
    node.setModel(&geometry);
    QCOMPARE(node.boundingSphere().radius, 1.0f);
    geometry.setVertices({QVector3D(-5, 0, 0), QVector3D(7, 0, 0)});
    QCOMPARE(node.boundingSphere().radius, 1.0f);
    QCOMPARE(node.boundingSphere().centre, QVector3D(0, 0, 0));
    node.updateWorldTransform();
    QCOMPARE(node.boundingSphere().radius, 6.0f);
    QCOMPARE(node.boundingSphere().centre, QVector3D(1, 0, 0));
    node.setLocalTransform(translation(0, 1, 0));
    QCOMPARE(node.boundingSphere().centre, QVector3D(1, 1, 0));
}

void NodeTest::descendantMoveKeepsCachedSphere()
{
    Geometry geometry;
    geometry.setVertices({QVector3D(-1, 0, 0), QVector3D(1, 0, 0)});
    Node root;
    Node child(&root);
    child.setModel(&geometry);
    QCOMPARE(root.boundingSphere().centre, QVector3D(0, 0, 0));
    child.setLocalTransform(translation(9, 0, 0));
    QCOMPARE(root.boundingSphere().centre, QVector3D(0, 0, 0));
    QCOMPARE(child.boundingSphere().centre, QVector3D(9, 0, 0));
    root.updateWorldTransform();
    QCOMPARE(root.boundingSphere().centre, QVector3D(9, 0, 0));
}

void NodeTest::distance_data()
{
    QTest::addColumn<QVector3D>("direction");
    QTest::addColumn<QVector3D>("centre");
    QTest::addColumn<float>("radius");
    QTest::addColumn<float>("expected");
    const QVector3D ahead(0, 0, -1);
    QTest::newRow("head on") << ahead << QVector3D(0, 0, -5) << 1.0f << 4.0f;
    QTest::newRow("behind") << ahead << QVector3D(0, 0, 5) << 1.0f << -6.0f;
    QTest::newRow("miss") << ahead << QVector3D(3, 0, -4) << 2.0f << -1.0f;
    QTest::newRow("touching") << ahead << QVector3D(3, 0, -4) << 3.0f << 4.0f;
    QTest::newRow("off centre") << ahead << QVector3D(0, 4, -5) << 5.0f << 2.0f;
    QTest::newRow("starts on the sphere") << ahead << QVector3D(3, 0, -4) << 5.0f << 0.0f;
    QTest::newRow("starts inside") << ahead << QVector3D(0, 0, -1) << 3.0f << -2.0f;
    QTest::newRow("other direction") << QVector3D(1, 0, 0) << QVector3D(8, 0, 0) << 2.0f << 6.0f;
}

void NodeTest::distance()
{
    QFETCH(QVector3D, direction);
    QFETCH(QVector3D, centre);
    QFETCH(float, radius);
    QFETCH(float, expected);
    const QVector3D origin(10, 20, 30);
    QCOMPARE(raySphereDistance(origin, direction, {origin + centre, radius}), expected);
}

void NodeTest::rayTest_data()
{
    QTest::addColumn<QVector3D>("origin");
    QTest::addColumn<QVector3D>("towards");
    QTest::addColumn<bool>("expected");
    // The sphere: centre (0, 0, -5), radius 2.
    QTest::newRow("ahead") << QVector3D(0, 0, 0) << QVector3D(0, 0, -1) << true;
    QTest::newRow("point beyond the sphere") << QVector3D(0, 0, 0) << QVector3D(0, 0, -100) << true;
    QTest::newRow("point is no direction") << QVector3D(0, 0, -10) << QVector3D(0, 0, -9) << true;
    QTest::newRow("behind") << QVector3D(0, 0, 0) << QVector3D(0, 0, 1) << false;
    QTest::newRow("miss") << QVector3D(0, 0, 0) << QVector3D(1, 0, 0) << false;
    QTest::newRow("passes beside") << QVector3D(3, 0, 0) << QVector3D(3, 0, -1) << false;
    QTest::newRow("inside, through the centre") << QVector3D(0, 0, -4) << QVector3D(0, 0, -5) << true;
    QTest::newRow("inside, away from the centre") << QVector3D(0, 0, -4) << QVector3D(0, 0, 7) << true;
    QTest::newRow("inside, no direction at all") << QVector3D(0, 0, -4) << QVector3D(0, 0, -4) << true;
    QTest::newRow("on the sphere, inwards") << QVector3D(0, 0, -3) << QVector3D(0, 0, -4) << true;
    QTest::newRow("on the sphere, outwards") << QVector3D(0, 0, -3) << QVector3D(0, 0, 0) << false;
    QTest::newRow("outside, no direction at all") << QVector3D(0, 0, 0) << QVector3D(0, 0, 0) << false;
}

void NodeTest::rayTest()
{
    QFETCH(QVector3D, origin);
    QFETCH(QVector3D, towards);
    QFETCH(bool, expected);
    Geometry geometry;
    geometry.setVertices({QVector3D(-2, 0, 0), QVector3D(2, 0, 0)});
    Node node;
    node.setModel(&geometry);
    node.setLocalTransform(translation(0, 0, -5));
    QCOMPARE(node.rayTest(origin, towards), expected);
}

void NodeTest::rayTestOfASinglePoint()
{
    Geometry geometry;
    geometry.setVertices({QVector3D(0, 0, -4)});
    Node node;
    node.setModel(&geometry);
    QVERIFY(node.rayTest(QVector3D(0, 0, 0), QVector3D(0, 0, -1)));
    QVERIFY(!node.rayTest(QVector3D(1, 0, 0), QVector3D(1, 0, -1)));
    QVERIFY(!node.rayTest(QVector3D(0, 0, -5), QVector3D(0, 0, -6)));
}

int main(int argc, char **argv)
{
    const FatalCases cases{{QStringLiteral("setParent(null)"), [] {
                                Node node;
                                node.setParent(nullptr);
                            }}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    NodeTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_node.moc"
