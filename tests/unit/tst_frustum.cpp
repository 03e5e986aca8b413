#include "FatalCase.h"
#include "Frustum.h"
#include "SceneAssembly.h"

#include <QTest>

#include <cmath>
#include <type_traits>

using namespace Quorvel;

using PlaneValues = std::array<float, 4>;
using Planes = std::array<PlaneValues, 6>;
Q_DECLARE_METATYPE(Planes)

namespace
{

/// 90 degrees wide and high, near plane at 1, far plane at 3.
const QMatrix4x4 projection(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -2, -3, 0, 0, -1, 0);
/// Quarter turn about y: world +x is ahead (view -z), world +z is to the right.
const QMatrix4x4 alongX(0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1);

} // namespace

class FrustumTest : public QObject
{
    Q_OBJECT

private slots:
    void planeOrder();
    void planes_data();
    void planes();
    void sphere_data();
    void sphere();

    void itemsKeepTheOrderOfTheNodes();
    void onlyGeometryNodesBecomeItems();
    void culledNodesAreNoItems();
    void emptyGeometryCountsAsTheOrigin();
    void eachUpdateStartsAnew();
    void itemDepth();
    void itemTransparency();
    void itemTransparencyWithoutMaterials();
    void itemOfAnotherKindIsFatal_data();
    void itemOfAnotherKindIsFatal();
};

void FrustumTest::planeOrder()
{
    QVERIFY(std::has_virtual_destructor_v<Frustum>);
    QCOMPARE(int(Frustum::Right), 0);
    QCOMPARE(int(Frustum::Left), 1);
    QCOMPARE(int(Frustum::Bottom), 2);
    QCOMPARE(int(Frustum::Top), 3);
    QCOMPARE(int(Frustum::Far), 4);
    QCOMPARE(int(Frustum::Near), 5);
    QCOMPARE(int(Frustum::PlaneCount), 6);
}

void FrustumTest::planes_data()
{
    QTest::addColumn<QMatrix4x4>("view");
    QTest::addColumn<QMatrix4x4>("projection");
    QTest::addColumn<Planes>("expected");
    const float h = std::sqrt(0.5f);
    QTest::newRow("unit cube") << QMatrix4x4() << QMatrix4x4() << Planes{PlaneValues{-1, 0, 0, 1},
                                                                         {1, 0, 0, 1},
                                                                         {0, 1, 0, 1},
                                                                         {0, -1, 0, 1},
                                                                         {0, 0, -1, 1},
                                                                         {0, 0, 1, 1}};
    QTest::newRow("perspective") << QMatrix4x4() << projection << Planes{PlaneValues{-h, 0, -h, 0},
                                                                         {h, 0, -h, 0},
                                                                         {0, h, -h, 0},
                                                                         {0, -h, -h, 0},
                                                                         {0, 0, 1, 3},
                                                                         {0, 0, -1, -1}};
    // The eye at z = 10.
    QTest::newRow("moved") << translation(0, 0, -10) << projection
                           << Planes{PlaneValues{-h, 0, -h, 10 * h},
                                     {h, 0, -h, 10 * h},
                                     {0, h, -h, 10 * h},
                                     {0, -h, -h, 10 * h},
                                     {0, 0, 1, -7},
                                     {0, 0, -1, 9}};
    QTest::newRow("turned") << alongX << projection << Planes{PlaneValues{h, 0, -h, 0},
                                                              {h, 0, h, 0},
                                                              {h, h, 0, 0},
                                                              {h, -h, 0, 0},
                                                              {-1, 0, 0, 3},
                                                              {1, 0, 0, -1}};
}

void FrustumTest::planes()
{
    QFETCH(QMatrix4x4, view);
    QFETCH(QMatrix4x4, projection);
    QFETCH(Planes, expected);
    Frustum frustum;
    frustum.update(view, projection, {});
    for (int i = 0; i < 6; ++i) {
        const ClipPlane &plane = frustum.planes()[std::size_t(i)];
        const PlaneValues actual{plane.a, plane.b, plane.c, plane.d};
        for (std::size_t k = 0; k < 4; ++k) {
            QVERIFY2(std::abs(actual[k] - expected[std::size_t(i)][k]) < 1e-5f,
                     qPrintable(QStringLiteral("plane %1: %2 %3 %4 %5")
                                    .arg(i)
                                    .arg(double(plane.a))
                                    .arg(double(plane.b))
                                    .arg(double(plane.c))
                                    .arg(double(plane.d))));
        }
    }
}

void FrustumTest::sphere_data()
{
    QTest::addColumn<QVector3D>("centre");
    QTest::addColumn<float>("radius");
    QTest::addColumn<bool>("expected");
    const float slightlyMore = std::nextafter(1.0f, 2.0f);
    const char *const names[] = {"right", "left", "bottom", "top", "far", "near"};
    const QVector3D outwards[] = {QVector3D(1, 0, 0), QVector3D(-1, 0, 0), QVector3D(0, -1, 0),
                                  QVector3D(0, 1, 0), QVector3D(0, 0, 1),  QVector3D(0, 0, -1)};
    for (int i = 0; i < 6; ++i) {
        QTest::addRow("%s: touching from outside", names[i]) << outwards[i] * 2 << 1.0f << false;
        QTest::addRow("%s: a little nearer", names[i]) << outwards[i] * 2 << slightlyMore << true;
        QTest::addRow("%s: outside", names[i]) << outwards[i] * 3 << 1.0f << false;
        QTest::addRow("%s: centre on the plane", names[i]) << outwards[i] << 0.25f << true;
        QTest::addRow("%s: point on the plane", names[i]) << outwards[i] << 0.0f << false;
        QTest::addRow("%s: touching from inside", names[i]) << outwards[i] * 0.5f << 0.5f << true;
    }
    QTest::newRow("inside") << QVector3D(0, 0, 0) << 0.5f << true;
    QTest::newRow("point inside") << QVector3D(0.5f, 0.5f, 0.5f) << 0.0f << true;
    QTest::newRow("around everything") << QVector3D(5, 5, 5) << 100.0f << true;
    QTest::newRow("beyond a corner, but beyond no plane") << QVector3D(1.9f, 1.9f, 1.9f) << 1.0f << true;
}

void FrustumTest::sphere()
{
    QFETCH(QVector3D, centre);
    QFETCH(float, radius);
    QFETCH(bool, expected);
    Frustum frustum;
    frustum.update(QMatrix4x4(), QMatrix4x4(), {});
    QCOMPARE(frustum.sphereTest(centre, radius), expected);
}

void FrustumTest::itemsKeepTheOrderOfTheNodes()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const geometry = builder.geometry(QStringLiteral("g"), {QVector3D(0, 0, 0)});
    QList<Node *> nodes;
    for (const float z : {-2.0f, -1.5f, -2.5f}) {
        nodes.append(builder.node(QString::number(double(z)), nullptr, geometry));
        nodes.last()->setLocalTransform(translation(0, 0, z));
    }
    nodes.append(nodes.first());
    Frustum frustum;
    frustum.update(QMatrix4x4(), projection, nodes);
    QList<Node *> visible;
    for (const VisibleItem &item : frustum.visibleItems())
        visible.append(item.node);
    QCOMPARE(visible, nodes);
}

void FrustumTest::onlyGeometryNodesBecomeItems()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.node(QStringLiteral("none"));
    builder.node(QStringLiteral("camera"), nullptr, builder.camera(QStringLiteral("c")));
    for (const int type : {Light::AmbientLight, Light::DirectionalLight, Light::PointLight, Light::SpotLight})
        builder.node(QStringLiteral("light"), nullptr, builder.light(QStringLiteral("l"), type));
    Node *const geometry =
        builder.node(QStringLiteral("geometry"), nullptr, builder.geometry(QStringLiteral("g")));
    // A geometry below makes a node no item itself.
    builder.node(QStringLiteral("child"), scene.nodes().first(), geometry->model());
    Frustum frustum;
    frustum.update(QMatrix4x4(), QMatrix4x4(), scene.nodes());
    QCOMPARE(frustum.visibleItems().size(), 2);
    QCOMPARE(frustum.visibleItems()[0].node, geometry);
    QCOMPARE(frustum.visibleItems()[1].node->id(), QStringLiteral("child"));
}

void FrustumTest::culledNodesAreNoItems()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const geometry =
        builder.geometry(QStringLiteral("g"), {QVector3D(-0.5f, 0, 0), QVector3D(0.5f, 0, 0)});
    const float z[] = {-4.0f, -3.25f, -2.0f, 0.0f, -0.75f, -0.5f};
    for (const float value : z) {
        Node *const node = builder.node(QString::number(double(value)), nullptr, geometry);
        node->setLocalTransform(translation(0, 0, value));
    }
    Frustum frustum;
    frustum.update(QMatrix4x4(), projection, scene.nodes());
    QStringList visible;
    for (const VisibleItem &item : frustum.visibleItems())
        visible.append(item.node->id());
    // Near plane at -1, far plane at -3, radius 0.5: -0.5 only touches.
    QCOMPARE(visible, (QStringList{QStringLiteral("-3.25"), QStringLiteral("-2"), QStringLiteral("-0.75")}));
}

void FrustumTest::emptyGeometryCountsAsTheOrigin()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const node = builder.node(QStringLiteral("n"), nullptr, builder.geometry(QStringLiteral("g")));
    node->setLocalTransform(translation(100, 0, 0));
    Frustum frustum;
    frustum.update(QMatrix4x4(), QMatrix4x4(), scene.nodes());
    QCOMPARE(frustum.visibleItems().size(), 1);
    QCOMPARE(frustum.visibleItems().first().depth, 0.0f);
    frustum.update(QMatrix4x4(), projection, scene.nodes());
    QVERIFY2(frustum.visibleItems().isEmpty(), "the origin lies before the near plane");
}

void FrustumTest::eachUpdateStartsAnew()
{
    Scene scene;
    SceneAssembly builder(&scene);
    builder.node(QStringLiteral("n"), nullptr, builder.geometry(QStringLiteral("g")));
    Frustum frustum;
    frustum.update(QMatrix4x4(), QMatrix4x4(), scene.nodes());
    frustum.update(QMatrix4x4(), QMatrix4x4(), scene.nodes());
    QCOMPARE(frustum.visibleItems().size(), 1);
    frustum.update(QMatrix4x4(), QMatrix4x4(), {});
    QVERIFY(frustum.visibleItems().isEmpty());
}

void FrustumTest::itemDepth()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Node *const node =
        builder.node(QStringLiteral("n"), nullptr,
                     builder.geometry(QStringLiteral("g"), {QVector3D(0, 0, 0), QVector3D(0, 0, 1)}));
    node->setLocalTransform(translation(2, 0, 0));
    Frustum frustum;
    frustum.update(alongX, projection, scene.nodes());
    QCOMPARE(frustum.visibleItems().size(), 1);
    // Two units ahead of the eye.
    QCOMPARE(frustum.visibleItems().first().depth, -2.0f);

    node->setLocalTransform(translation(0, 0, 7.5f));
    frustum.update(translation(0, 0, -10), projection, scene.nodes());
    QCOMPARE(frustum.visibleItems().first().depth, -2.0f);
}

static float transparencyOfItem(Scene *scene)
{
    Frustum frustum;
    frustum.update(QMatrix4x4(), QMatrix4x4(), scene->nodes());
    return frustum.visibleItems().size() == 1 ? frustum.visibleItems().first().transparency : -99;
}

void FrustumTest::itemTransparency()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const geometry = builder.geometry(QStringLiteral("g"));
    SceneAssembly::group(geometry, QStringLiteral("a"));
    SceneAssembly::group(geometry, QStringLiteral("b"));
    SceneAssembly::group(geometry, QStringLiteral("a"));
    Node *const node = builder.node(QStringLiteral("n"), nullptr, geometry);
    node->bindMaterial(QStringLiteral("a"), builder.material(QStringLiteral("thin"), 0.25f));
    node->bindMaterial(QStringLiteral("b"), builder.material(QStringLiteral("glass"), 0.75f));
    node->bindMaterial(QStringLiteral("c"), builder.material(QStringLiteral("not in a group"), 1.0f));
    QCOMPARE(transparencyOfItem(&scene), 0.75f);

    node->bindMaterial(QStringLiteral("b"), builder.material(QStringLiteral("opaque"), 0.0f));
    QCOMPARE(transparencyOfItem(&scene), 0.25f);
    node->bindMaterial(QStringLiteral("a"), builder.material(QStringLiteral("negative"), -1.0f));
    QCOMPARE(transparencyOfItem(&scene), 0.0f);
}

void FrustumTest::itemTransparencyWithoutMaterials()
{
    Scene scene;
    SceneAssembly builder(&scene);
    Geometry *const geometry = builder.geometry(QStringLiteral("g"));
    Node *const node = builder.node(QStringLiteral("n"), nullptr, geometry);
    QCOMPARE(transparencyOfItem(&scene), 0.0f);

    SceneAssembly::group(geometry, QStringLiteral("not bound"));
    SceneAssembly::group(geometry, QStringLiteral("bound to nothing"));
    SceneAssembly::group(geometry, QStringLiteral("bound"));
    node->setModel(geometry);
    node->bindMaterial(QStringLiteral("bound to nothing"), nullptr);
    QCOMPARE(transparencyOfItem(&scene), 0.0f);
    node->bindMaterial(QStringLiteral("bound"), builder.material(QStringLiteral("m"), 0.5f));
    QCOMPARE(transparencyOfItem(&scene), 0.5f);
}

void FrustumTest::itemOfAnotherKindIsFatal_data()
{
    QTest::addColumn<QString>("name");
    for (const char *const name : {"item of a camera", "item of a light", "item without a model"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void FrustumTest::itemOfAnotherKindIsFatal()
{
    QFETCH(QString, name);
    const FatalEnd end = FatalCases::end(name);
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("node->geometryModel()")), qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("src/Frustum.")), qPrintable(end.text));
}

static void makeItem(Model *model)
{
    Node node;
    node.setModel(model);
    const VisibleItem item(&node, 0, 0);
}

int main(int argc, char **argv)
{
    Camera camera;
    Light light;
    const FatalCases cases{{QStringLiteral("item of a camera"), [&] { makeItem(&camera); }},
                           {QStringLiteral("item of a light"), [&] { makeItem(&light); }},
                           {QStringLiteral("item without a model"), [] { makeItem(nullptr); }}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    FrustumTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_frustum.moc"
