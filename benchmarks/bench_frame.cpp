// One frame of the forward painter, on a true ES 2.0 context without a window. "submit" is the time until the
// last GL call returns, "finish" until the GL is done; the argument is the number of visible nodes.

#include "ForwardPainter.h"
#include "Gles2.h"
#include "OffscreenContext.h"
#include "PainterState.h"
#include "Scene.h"
#include "TestMesh.h"

#include <QApplication>

#include <benchmark/benchmark.h>

using namespace Quorvel;

namespace
{

constexpr int Width = 320;
constexpr int Height = 240;

PainterState stateOf(Scene *scene)
{
    PainterState state(scene);
    state.setViewport(QRectF(0, 0, Width, Height));
    state.setAspect(float(Width) / float(Height));
    state.update();
    return state;
}

void submit(benchmark::State &benchmarkState)
{
    const auto scene = makePatchScene(int(benchmarkState.range(0)), 2);
    PainterState state = stateOf(scene.get());
    ForwardPainter painter;
    painter.prepare(state);
    painter.paint(state);
    for (auto _ : benchmarkState) {
        state.update();
        painter.paint(state);
        benchmarkState.PauseTiming();
        glFinish();
        benchmarkState.ResumeTiming();
    }
    benchmarkState.SetItemsProcessed(benchmarkState.iterations() * state.frustum().visibleItems().size());
}
BENCHMARK(submit)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);

void finish(benchmark::State &benchmarkState)
{
    const auto scene = makePatchScene(1, int(benchmarkState.range(0)));
    PainterState state = stateOf(scene.get());
    ForwardPainter painter;
    painter.prepare(state);
    for (auto _ : benchmarkState) {
        state.update();
        painter.paint(state);
        glFinish();
    }
}
BENCHMARK(finish)->Name("finish/triangles")->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    OffscreenContext::prepareApplication();
    const QApplication application(argc, argv);
    const OffscreenContext context(QSize(Width, Height), OffscreenContext::Api::Es2);
    if (!context.isValid()) {
        qWarning("%s", qPrintable(context.errorString()));
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
