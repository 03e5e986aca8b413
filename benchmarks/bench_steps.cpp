// The steps between a file and its GPU data, one by one, without GL. The argument of each is its size.

#include "EdgeMesh.h"
#include "FrontFace.h"
#include "Frustum.h"
#include "Geometry.h"
#include "MergedMesh.h"
#include "MeshAnalysis.h"
#include "Node.h"
#include "NumberLists.h"
#include "NumberReader.h"
#include "Scene.h"
#include "SceneRecordCheck.h"
#include "SourceText.h"
#include "TestMesh.h"
#include "Trimesh.h"

#include <QBuffer>
#include <QDataStream>
#include <QTemporaryFile>

#include <benchmark/benchmark.h>

using namespace Quorvel;

namespace
{

void silence(QtMsgType, const QMessageLogContext &, const QString &) {}

void readNumbers(benchmark::State &state)
{
    QString text;
    for (int i = 0; i < int(state.range(0)); ++i)
        text += QString::number(i * 0.37 - 100.0, 'f', 5) + QLatin1Char(' ');
    for (auto _ : state)
        benchmark::DoNotOptimize(NumberReader::readVectors3(QStringRef(&text)));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(readNumbers)->Arg(3000)->Arg(300000)->Unit(benchmark::kMillisecond);

void readIndices(benchmark::State &state)
{
    QString text;
    for (int i = 0; i < int(state.range(0)); ++i)
        text += QString::number(i % 70000) + QLatin1Char(' ');
    for (auto _ : state)
        benchmark::DoNotOptimize(NumberReader::readIndices(QStringRef(&text), 3, 3));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(readIndices)->Arg(3000)->Arg(300000)->Unit(benchmark::kMillisecond);

/// A document of one geometry with so many numbers.
QByteArray documentOf(int numbers)
{
    QByteArray list;
    for (int i = 0; i < numbers; ++i)
        list += QByteArray::number(i * 0.37 - 100.0, 'f', 5) + ' ';
    return "<COLLADA><library_geometries><geometry><float_array>" + list +
           "</float_array></geometry></library_geometries></COLLADA>";
}

void readBytes(benchmark::State &state)
{
    QByteArray list;
    for (int i = 0; i < int(state.range(0)); ++i)
        list += QByteArray::number(i * 0.37 - 100.0, 'f', 5) + ' ';
    const std::string_view text(list.constData(), size_t(list.size()));
    for (auto _ : state)
        benchmark::DoNotOptimize(NumberReader::readVectors3(text));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(readBytes)->Arg(3000)->Arg(300000)->Unit(benchmark::kMillisecond);

void shortenDocument(benchmark::State &state)
{
    const QByteArray document = documentOf(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(NumberLists(document).document());
    state.SetBytesProcessed(state.iterations() * document.size());
}
BENCHMARK(shortenDocument)->Arg(3000)->Arg(300000)->Unit(benchmark::kMillisecond);

void readAndChecksum(benchmark::State &state)
{
    QTemporaryFile file;
    file.open();
    file.write(documentOf(int(state.range(0))));
    file.flush();
    for (auto _ : state)
        benchmark::DoNotOptimize(readSourceText(file.fileName()).key);
    state.SetBytesProcessed(state.iterations() * file.size());
}
BENCHMARK(readAndChecksum)->Arg(3000)->Arg(3000000)->Unit(benchmark::kMillisecond)->UseRealTime();

void analyzeMesh(benchmark::State &state)
{
    const auto patch = makePatch(int(state.range(0)));
    const Trimesh *group = patch->trimeshes().first();
    for (auto _ : state)
        benchmark::DoNotOptimize(MeshAnalysis(patch->vertices(), group->indices()).isTwoManifold());
    state.SetItemsProcessed(state.iterations() * group->indices().size() / 3);
}
BENCHMARK(analyzeMesh)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

void mergeMesh(benchmark::State &state)
{
    const auto patch = makePatch(int(state.range(0)));
    for (auto _ : state) {
        MergedMesh mesh(*patch);
        mesh.addGroup(*patch->trimeshes().first());
        benchmark::DoNotOptimize(mesh.indices().constData());
    }
    state.SetItemsProcessed(state.iterations() * patch->trimeshes().first()->indices().size() / 3);
}
BENCHMARK(mergeMesh)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

void layOutEdges(benchmark::State &state)
{
    const auto patch = makePatch(int(state.range(0)));
    Trimesh *group = patch->trimeshes().first();
    QVector<int> adjacency;
    QVector<int> invalidFaces;
    patch->analyze(group->indices(), &adjacency, &invalidFaces);
    group->setAdjacency(adjacency);
    for (auto _ : state)
        benchmark::DoNotOptimize(edgeMesh(*patch).indices.constData());
}
BENCHMARK(layOutEdges)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void findFrontFace(benchmark::State &state)
{
    const auto scene = makePatchScene(1, int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(sceneFrontFace(*scene));
}
BENCHMARK(findFrontFace)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

QByteArray record(const Scene &scene)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    scene.save(stream);
    return bytes;
}

void writeRecord(benchmark::State &state)
{
    const auto scene = makePatchScene(1, int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(record(*scene));
    state.SetBytesProcessed(state.iterations() * record(*scene).size());
}
BENCHMARK(writeRecord)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

void readRecord(benchmark::State &state)
{
    const QByteArray bytes = record(*makePatchScene(1, int(state.range(0))));
    for (auto _ : state) {
        Scene scene;
        QDataStream stream(bytes);
        scene.load(stream);
        benchmark::DoNotOptimize(scene.rootNode());
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(readRecord)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

void checkRecord(benchmark::State &state)
{
    const QByteArray bytes = record(*makePatchScene(1, int(state.range(0))));
    const std::string_view text(bytes.constData(), size_t(bytes.size()));
    for (auto _ : state)
        benchmark::DoNotOptimize(SceneRecordCheck(text, SceneRecordCheck::Origin::Cache).isSound());
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(checkRecord)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);

void updateFrustum(benchmark::State &state)
{
    const auto scene = makePatchScene(int(state.range(0)), 8);
    const QMatrix4x4 view = scene->activeCameraNode()->worldTransform().inverted();
    QMatrix4x4 projection;
    projection.perspective(60.0f, 1.0f, 0.1f, 1000.0f);
    Frustum frustum;
    for (auto _ : state)
        frustum.update(view, projection, scene->nodes());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(updateFrustum)->Arg(500)->Arg(5000)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char **argv)
{
    qInstallMessageHandler(silence);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
