#include "SceneAssembly.h"

#include <QBuffer>
#include <QDataStream>
#include <QTest>

#include <cstddef>
#include <cstring>
#include <type_traits>

using namespace Quorvel;

class SceneObjectsTest : public QObject
{
    Q_OBJECT

private slots:
    void typeCodes();
    void lightOfAType_data();
    void lightOfAType();
    void destructorsAreVirtual();
    void operationsKeepTheirSlots();

    void cameraDefaults();
    void lightDefaults();
    void materialDefaults();
    void geometryDefaults();

    void cameraFields();
    void lightFields();
    void materialFields();
    void geometryFields();
    void trimeshFields();
    void groupsAreJoinedInOrder();

    void readOverwritesTheType();
    void derivedWriteBeginsWithTheHeader();
};

namespace
{

QByteArray written(const Model &model)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_4_6);
    model.write(stream);
    return bytes;
}

void readInto(Model *model, const QByteArray &bytes)
{
    QDataStream stream(bytes);
    stream.setVersion(QDataStream::Qt_4_6);
    model->read(stream);
}

} // namespace

void SceneObjectsTest::typeCodes()
{
    QCOMPARE(Geometry().type(), 0);
    QCOMPARE(Camera().type(), 1);
    QCOMPARE(int(Light::AmbientLight), 2);
    QCOMPARE(int(Light::DirectionalLight), 3);
    QCOMPARE(int(Light::PointLight), 4);
    QCOMPARE(int(Light::SpotLight), 5);
    QCOMPARE(int(Model::NoModel), 6);
}

void SceneObjectsTest::lightOfAType_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("code");
    QTest::newRow("ambient") << int(Light::AmbientLight) << 2;
    QTest::newRow("directional") << int(Light::DirectionalLight) << 3;
    QTest::newRow("point") << int(Light::PointLight) << 4;
    QTest::newRow("spot") << int(Light::SpotLight) << 5;
}

void SceneObjectsTest::lightOfAType()
{
    QFETCH(int, type);
    QFETCH(int, code);
    const Light light(type);
    QCOMPARE(light.type(), code);
    QVERIFY(light.type() == type);
}

void SceneObjectsTest::destructorsAreVirtual()
{
    QVERIFY(std::has_virtual_destructor_v<Model>);
    QVERIFY(std::has_virtual_destructor_v<Material>);
    QVERIFY(std::has_virtual_destructor_v<Trimesh>);
    QVERIFY((std::is_base_of_v<Model, Geometry>));
    QVERIFY((std::is_base_of_v<Model, Camera>));
    QVERIFY((std::is_base_of_v<Model, Light>));
}

/// Position, counted from 1, in the table of virtual functions that a pointer to a virtual member function
/// carries under the Itanium C++ ABI; 0 for a function that is not virtual.
///
/// Such a pointer is two words. For a virtual function the first is the offset in the table in bytes. What
/// tells it from an address is 1 added to that word, or, where code addresses may be odd, the lowest bit of
/// the second.
template <class Function>
static int slot(Function function)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof function == sizeof words,
                  "not a pointer to a member function of the Itanium C++ ABI");
    std::memcpy(words, &function, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = words[1] & 1;
    const std::ptrdiff_t offset = words[0];
#elif defined(__x86_64__) || defined(__i386__)
    const bool isVirtual = words[0] & 1;
    const std::ptrdiff_t offset = words[0] - 1;
#else
#error "How does a pointer to a virtual member function look here?"
#endif
    return isVirtual ? int(offset / std::ptrdiff_t(sizeof(void *))) + 1 : 0;
}

void SceneObjectsTest::operationsKeepTheirSlots()
{
    // Slots 1 and 2 are the two destructors.
    QCOMPARE(slot(&Model::id), 3);
    QCOMPARE(slot(&Model::setId), 4);
    QCOMPARE(slot(&Model::write), 5);
    QCOMPARE(slot(&Model::read), 6);
    QCOMPARE(slot(&Model::type), 0);
}

void SceneObjectsTest::cameraDefaults()
{
    const Camera camera;
    QVERIFY(camera.id().isEmpty());
    QCOMPARE(camera.fieldOfView(), 45.0f);
    QCOMPARE(camera.nearPlane(), 0.0f);
    QCOMPARE(camera.farPlane(), 0.0f);
    QVERIFY(camera.target().isEmpty());
}

void SceneObjectsTest::lightDefaults()
{
    const Light light(Light::SpotLight);
    QVERIFY(light.id().isEmpty());
    QVERIFY(!light.color().isValid());
    QCOMPARE(light.multiplier(), 1.0f);
    QCOMPARE(light.falloff(), 0.0f);
    QCOMPARE(light.hotspotBeam(), 0.0f);
    QVERIFY(light.target().isEmpty());
    QCOMPARE(light.lightVector(), QVector3D(0, 0, 0));
    QCOMPARE(light.shadow(), false);
}

void SceneObjectsTest::materialDefaults()
{
    const Material material;
    QVERIFY(material.name().isEmpty());
    QVERIFY(!material.ambient().isValid());
    QVERIFY(!material.diffuse().isValid());
    QVERIFY(!material.specular().isValid());
    QVERIFY(!material.reflective().isValid());
    QVERIFY(!material.transparent().isValid());
    QCOMPARE(material.shininess(), 0.0f);
    QCOMPARE(material.transparency(), 0.0f);
    QCOMPARE(material.specularLevel(), 1.0f);
}

void SceneObjectsTest::geometryDefaults()
{
    const Geometry geometry;
    QVERIFY(geometry.id().isEmpty());
    QVERIFY(geometry.trimeshes().isEmpty());
    QVERIFY(geometry.vertices().isEmpty());
    QVERIFY(geometry.normals().isEmpty());
    QVERIFY(geometry.texcoords().isEmpty());
    QCOMPARE(geometry.isTwoManifold(), false);
    QVERIFY(geometry.extraVectors().isEmpty());
    QVERIFY(geometry.firstIntegers().isEmpty());
    QVERIFY(geometry.secondIntegers().isEmpty());
    QVERIFY(geometry.triangleIndices().isEmpty());
    QVERIFY(geometry.neighbourIndices().isEmpty());
}

void SceneObjectsTest::cameraFields()
{
    Camera camera;
    camera.setId(QStringLiteral("eye"));
    camera.setFieldOfView(60);
    camera.setNearPlane(0.5f);
    camera.setFarPlane(1000);
    camera.setTarget(QStringLiteral("aim"));
    QCOMPARE(camera.id(), QStringLiteral("eye"));
    QCOMPARE(camera.fieldOfView(), 60.0f);
    QCOMPARE(camera.nearPlane(), 0.5f);
    QCOMPARE(camera.farPlane(), 1000.0f);
    QCOMPARE(camera.target(), QStringLiteral("aim"));
}

void SceneObjectsTest::lightFields()
{
    Light light(Light::SpotLight);
    light.setId(QStringLiteral("lamp"));
    light.setColor(QColor(1, 2, 3));
    light.setMultiplier(2);
    light.setFalloff(50);
    light.setHotspotBeam(40);
    light.setTarget(QStringLiteral("aim"));
    light.setLightVector(QVector3D(1, 2, 3));
    light.setShadow(true);
    QCOMPARE(light.id(), QStringLiteral("lamp"));
    QCOMPARE(light.color(), QColor(1, 2, 3));
    QCOMPARE(light.multiplier(), 2.0f);
    QCOMPARE(light.falloff(), 50.0f);
    QCOMPARE(light.hotspotBeam(), 40.0f);
    QCOMPARE(light.target(), QStringLiteral("aim"));
    QCOMPARE(light.lightVector(), QVector3D(1, 2, 3));
    QCOMPARE(light.shadow(), true);
    QCOMPARE(light.type(), 5);
}

void SceneObjectsTest::materialFields()
{
    Material material;
    material.setName(QStringLiteral("steel"));
    material.setAmbient(QColor(1, 0, 0));
    material.setDiffuse(QColor(2, 0, 0));
    material.setSpecular(QColor(3, 0, 0));
    material.setReflective(QColor(4, 0, 0));
    material.setTransparent(QColor(5, 0, 0));
    material.setShininess(32);
    material.setTransparency(0.75f);
    material.setSpecularLevel(0.5f);
    QCOMPARE(material.name(), QStringLiteral("steel"));
    QCOMPARE(material.ambient(), QColor(1, 0, 0));
    QCOMPARE(material.diffuse(), QColor(2, 0, 0));
    QCOMPARE(material.specular(), QColor(3, 0, 0));
    QCOMPARE(material.reflective(), QColor(4, 0, 0));
    QCOMPARE(material.transparent(), QColor(5, 0, 0));
    QCOMPARE(material.shininess(), 32.0f);
    QCOMPARE(material.transparency(), 0.75f);
    QCOMPARE(material.specularLevel(), 0.5f);
}

void SceneObjectsTest::geometryFields()
{
    const QVector<QVector3D> points{QVector3D(1, 2, 3), QVector3D(4, 5, 6)};
    Geometry geometry;
    geometry.setVertices(points);
    geometry.appendVertices({QVector3D(7, 8, 9)});
    geometry.setNormals({QVector3D(0, 0, 1)});
    geometry.appendNormals(points);
    geometry.setTexcoords({QVector2D(0.5f, 1)});
    geometry.appendTexcoords({QVector2D(2, 3)});
    geometry.setTwoManifold(true);
    geometry.setExtraVectors(points);
    QCOMPARE(geometry.vertices(),
             (QVector<QVector3D>{QVector3D(1, 2, 3), QVector3D(4, 5, 6), QVector3D(7, 8, 9)}));
    QCOMPARE(geometry.normals(),
             (QVector<QVector3D>{QVector3D(0, 0, 1), QVector3D(1, 2, 3), QVector3D(4, 5, 6)}));
    QCOMPARE(geometry.texcoords(), (QVector<QVector2D>{QVector2D(0.5f, 1), QVector2D(2, 3)}));
    QCOMPARE(geometry.isTwoManifold(), true);
    QCOMPARE(geometry.extraVectors(), points);

    auto *first = new Trimesh;
    auto *second = new Trimesh;
    geometry.addTrimesh(first);
    geometry.addTrimesh(second);
    QCOMPARE(geometry.trimeshes(), (QList<Trimesh *>{first, second}));
}

void SceneObjectsTest::trimeshFields()
{
    Trimesh group;
    group.setMaterialName(QStringLiteral("skin"));
    group.setIndices({0, 1});
    group.reserveIndices(100);
    group.appendIndex(2);
    group.setNormalIndices({3, 4});
    group.appendNormalIndex(5);
    group.setTexcoordIndices({6, 7});
    group.appendTexcoordIndex(8);
    group.setAdjacency({-1, 4, -1});
    group.setInvalidFaces({0, 0});
    QCOMPARE(group.materialName(), QStringLiteral("skin"));
    QCOMPARE(group.indices(), (QVector<int>{0, 1, 2}));
    QCOMPARE(group.normalIndices(), (QVector<int>{3, 4, 5}));
    QCOMPARE(group.texcoordIndices(), (QVector<int>{6, 7, 8}));
    QCOMPARE(group.adjacency(), (QVector<int>{-1, 4, -1}));
    QCOMPARE(group.invalidFaces(), (QVector<int>{0, 0}));
}

void SceneObjectsTest::groupsAreJoinedInOrder()
{
    Geometry geometry;
    Trimesh *const first = SceneAssembly::group(&geometry, QStringLiteral("a"), {0, 1, 2});
    first->setNormalIndices({3, 4, 5});
    first->setTexcoordIndices({6, 7, 8});
    first->setAdjacency({-1, -1, 9});
    Trimesh *const second = SceneAssembly::group(&geometry, QStringLiteral("b"), {10, 11, 12});
    second->setNormalIndices({13, 14, 15});
    second->setTexcoordIndices({16, 17, 18});
    second->setAdjacency({19, -1, -1});
    QCOMPARE(geometry.triangleIndices(), (QVector<int>{0, 1, 2, 10, 11, 12}));
    QCOMPARE(geometry.neighbourIndices(), (QVector<int>{-1, -1, 9, 19, -1, -1}));
    QCOMPARE(geometry.firstIntegers(), (QVector<int>{3, 4, 5, 13, 14, 15}));
    QCOMPARE(geometry.secondIntegers(), (QVector<int>{6, 7, 8, 16, 17, 18}));

    geometry.setFirstIntegers({1, 2, 3, 4});
    QCOMPARE(first->normalIndices(), (QVector<int>{1, 2, 3}));
    QCOMPARE(second->normalIndices(), (QVector<int>{4, 0, 0}));
    geometry.setSecondIntegers({1, 2, 3, 4, 5, 6, 7, 8});
    QCOMPARE(first->texcoordIndices(), (QVector<int>{1, 2, 3}));
    QCOMPARE(second->texcoordIndices(), (QVector<int>{4, 5, 6}));
}

void SceneObjectsTest::readOverwritesTheType()
{
    const Light written5(Light::SpotLight);
    Light light;
    QCOMPARE(light.type(), 4);
    readInto(&light, written(written5));
    QCOMPARE(light.type(), 5);
}

void SceneObjectsTest::derivedWriteBeginsWithTheHeader()
{
    Geometry geometry;
    Camera camera;
    Light light(Light::DirectionalLight);
    int code = 0;
    for (Model *const model :
         {static_cast<Model *>(&geometry), static_cast<Model *>(&camera), static_cast<Model *>(&light)}) {
        model->setId(QStringLiteral("i"));
        QByteArray header = QByteArray::fromHex("00000000 00000002 0069");
        header[3] = char(code);
        const QByteArray bytes = written(*model);
        QCOMPARE(bytes.left(header.size()).toHex(), header.toHex());
        QVERIFY(bytes.size() > header.size());
        code += code == 1 ? 2 : 1;
    }
}

QTEST_GUILESS_MAIN(SceneObjectsTest)
#include "tst_sceneobjects.moc"
