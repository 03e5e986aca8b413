#include "Geometry.h"
#include "RecordBytes.h"
#include "RecordRoundTrip.h"
#include "RecordStream.h"
#include "Scene.h"
#include "SceneAssembly.h"
#include "Trimesh.h"

#include <QtTest>

using namespace Quorvel;

namespace
{

/// Around the 8,192 elements that are converted at a time.
const QVector<int> lengths = {0, 1, 8191, 8192, 8193, 16384, 20001};

/// No two elements of a list are alike, nor the lists of different seeds.
QVector<int> integers(int count, int seed)
{
    QVector<int> list;
    for (int i = 0; i < count; ++i)
        list.append(seed * 1000000 + 3 * i - 7);
    return list;
}

QVector<QVector2D> pairs(int count, int seed)
{
    QVector<QVector2D> list;
    for (int i = 0; i < count; ++i)
        list.append(QVector2D(0.1f * i, float(seed) - 1e-3f * i));
    return list;
}

QVector<QVector3D> vectors(int count, int seed)
{
    QVector<QVector3D> list;
    for (int i = 0; i < count; ++i)
        list.append(QVector3D(0.1f * i, float(seed) - 1e-3f * i, 1e20f * i));
    return list;
}

/// The bytes that `write` puts into a stream of a record.
template <typename Write>
QByteArray bytesOf(Write write)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    RecordStream::pin(stream);
    write(stream);
    return bytes;
}

template <typename List>
QByteArray written(const List &list)
{
    return bytesOf([&list](QDataStream &stream) { RecordStream::writeList(stream, list); });
}

/// The same by the toolkit's operator for each element.
template <typename List>
QByteArray writtenByTheToolkit(const List &list)
{
    return bytesOf([&list](QDataStream &stream) { stream << list; });
}

/// Reads a list in front of other data, which must be left.
template <typename List>
bool isReadWhole(const List &list)
{
    QByteArray bytes = writtenByTheToolkit(list);
    bytes.append("the next");
    QDataStream stream(bytes);
    RecordStream::pin(stream);
    List read(3);
    RecordStream::readList(stream, &read);
    return stream.status() == QDataStream::Ok && read == list && stream.device()->readAll() == "the next";
}

/// Reads a list whose bytes end early.
template <typename List>
bool isReadAsFarAsItGoes(const List &list, int held, int elementSize)
{
    const QByteArray bytes = writtenByTheToolkit(list).left(4 + held * elementSize + elementSize - 1);
    QDataStream stream(bytes);
    RecordStream::pin(stream);
    List read;
    RecordStream::readList(stream, &read);
    return stream.status() == QDataStream::ReadPastEnd && read == list.mid(0, held);
}

} // namespace

/// Lists of records on both sides of the block that is converted at a time, each kind on its own and all that
/// a geometry has.
class TestRecordLists : public QObject
{
    Q_OBJECT

private slots:
    void bytesAreTheToolkits_data() { addLengths(); }
    void bytesAreTheToolkits();
    void listsAreRead_data() { addLengths(); }
    void listsAreRead();
    void listsThatEndEarly_data();
    void listsThatEndEarly();
    void everyListOfAGeometry_data() { addLengths(); }
    void everyListOfAGeometry();

private:
    static void addLengths()
    {
        QTest::addColumn<int>("length");
        for (const int length : lengths)
            QTest::addRow("%d elements", length) << length;
    }
};

void TestRecordLists::bytesAreTheToolkits()
{
    QFETCH(int, length);
    QVERIFY(written(integers(length, 1)) == writtenByTheToolkit(integers(length, 1)));
    QVERIFY(written(pairs(length, 1)) == writtenByTheToolkit(pairs(length, 1)));
    QVERIFY(written(vectors(length, 1)) == writtenByTheToolkit(vectors(length, 1)));
}

void TestRecordLists::listsAreRead()
{
    QFETCH(int, length);
    QVERIFY(isReadWhole(integers(length, 1)));
    QVERIFY(isReadWhole(pairs(length, 1)));
    QVERIFY(isReadWhole(vectors(length, 1)));
}

void TestRecordLists::listsThatEndEarly_data()
{
    QTest::addColumn<int>("held");
    for (const int held : {0, 1, 8191, 8192, 8193, 16384, 20000})
        QTest::addRow("after %d of 20001", held) << held;
}

void TestRecordLists::listsThatEndEarly()
{
    QFETCH(int, held);
    QVERIFY(isReadAsFarAsItGoes(integers(20001, 1), held, 4));
    QVERIFY(isReadAsFarAsItGoes(pairs(20001, 1), held, 16));
    QVERIFY(isReadAsFarAsItGoes(vectors(20001, 1), held, 24));
}

void TestRecordLists::everyListOfAGeometry()
{
    QFETCH(int, length);
    Scene scene;
    SceneAssembly assembly(&scene);
    Geometry *const geometry = assembly.geometry(QStringLiteral("g"), vectors(length, 1));
    geometry->setNormals(vectors(length, 2));
    geometry->setTexcoords(pairs(length, 3));
    geometry->setExtraVectors(vectors(length, 4));
    Trimesh *const group = SceneAssembly::group(geometry, QStringLiteral("s"), integers(length, 5));
    group->setNormalIndices(integers(length, 6));
    group->setTexcoordIndices(integers(length, 7));
    group->setAdjacency(integers(length, 8));
    group->setInvalidFaces(integers(length, 9));
    assembly.node(QStringLiteral("n"), nullptr, assembly.camera(QStringLiteral("c")));
    scene.complete();

    // In the record's order, behind name, up axis, the geometries' count, type and id; a flag and a symbol
    // stand in between.
    RecordBytes start;
    start.nullString();
    start.vector(0, 0, 0);
    start.int32(1);
    start.int32(0);
    start.string(QStringLiteral("g"));
    RecordBytes flag;
    flag.byte(0);
    RecordBytes groups;
    groups.int32(1);
    groups.string(QStringLiteral("s"));
    const QByteArray expected =
        start.bytes() + writtenByTheToolkit(vectors(length, 1)) + writtenByTheToolkit(vectors(length, 2)) +
        writtenByTheToolkit(pairs(length, 3)) + flag.bytes() + writtenByTheToolkit(vectors(length, 4)) +
        writtenByTheToolkit(integers(length, 6)) + writtenByTheToolkit(integers(length, 7)) + groups.bytes() +
        writtenByTheToolkit(integers(length, 5)) + writtenByTheToolkit(integers(length, 8)) +
        writtenByTheToolkit(integers(length, 9));
    const QByteArray bytes = saved(scene);
    QVERIFY(bytes.startsWith(expected));

    Scene again;
    load(&again, bytes);
    const Geometry *const read = again.geometries().first();
    QCOMPARE(read->trimeshes().size(), 1);
    QVERIFY(read->vertices() == geometry->vertices());
    QVERIFY(read->normals() == geometry->normals());
    QVERIFY(read->texcoords() == geometry->texcoords());
    QVERIFY(read->extraVectors() == geometry->extraVectors());
    const Trimesh *const readGroup = read->trimeshes().first();
    QVERIFY(readGroup->indices() == group->indices());
    QVERIFY(readGroup->normalIndices() == group->normalIndices());
    QVERIFY(readGroup->texcoordIndices() == group->texcoordIndices());
    QVERIFY(readGroup->adjacency() == group->adjacency());
    QVERIFY(readGroup->invalidFaces() == group->invalidFaces());
    QVERIFY(saved(again) == bytes);
}

QTEST_GUILESS_MAIN(TestRecordLists)
#include "tst_recordlists.moc"
