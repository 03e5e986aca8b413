#include "LightMapBake.h"

#include "ColorCoding.h"
#include "LightDenoiser.h"
#include "PathTracer.h"
#include "TexelFill.h"

#include <QElapsedTimer>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>

namespace Quorvel
{

namespace
{

class ProgressCounter
{
public:
    ProgressCounter(const BakeProgress &progress, size_t total) : m_progress(progress), m_total(total) {}

    void add(size_t count)
    {
        const size_t done = m_done += count;
        if (!m_progress)
            return;
        const std::unique_lock<std::mutex> lock(m_reporting, std::try_to_lock);
        if (lock.owns_lock())
            m_progress(double(done) / double(m_total));
    }

private:
    const BakeProgress &m_progress;
    size_t m_total;
    std::atomic<size_t> m_done = {0};
    std::mutex m_reporting;
};

std::vector<int> coveredTexels(const TexelMap &texels)
{
    std::vector<int> covered;
    covered.reserve(size_t(texels.coveredCount()));
    for (int texel = 0; texel < texels.texelCount(); ++texel) {
        if (texels.triangleAt(texel) >= 0)
            covered.push_back(texel);
    }
    return covered;
}

void traceTexels(const PathTracer &tracer, const std::vector<int> &covered, const BakeProgress &progress,
                 std::vector<TexelLight> *light, quint64 *rays)
{
    using Range = oneapi::tbb::blocked_range<size_t>;
    ProgressCounter counter(progress, covered.size());
    std::atomic<quint64> rayTotal = {0};
    oneapi::tbb::parallel_for(Range(0, covered.size(), 64), [&](const Range &range) {
        quint64 rayCount = 0;
        for (size_t i = range.begin(); i != range.end(); ++i)
            (*light)[size_t(covered[i])] = tracer.lightAt(covered[i], &rayCount);
        rayTotal += rayCount;
        counter.add(range.size());
    });
    *rays = rayTotal;
}

double rmsNoise(const std::vector<TexelLight> &light, const std::vector<int> &covered)
{
    double sum = 0.0;
    for (const int texel : covered) {
        const TexelLight &arriving = light[size_t(texel)];
        sum += double(arriving.directVariance) + double(arriving.indirectVariance);
    }
    return covered.empty() ? 0.0 : std::sqrt(sum / double(covered.size()));
}

std::vector<QVector3D> sentOut(const BakeScene &scene, const TexelMap &texels,
                               const std::vector<TexelLight> &light)
{
    std::vector<QVector3D> result(light.size());
    for (int texel = 0; texel < texels.texelCount(); ++texel) {
        const int triangle = texels.triangleAt(texel);
        if (triangle < 0)
            continue;
        const TexelLight &arriving = light[size_t(texel)];
        const BakeSurface &surface = scene.surfaces[size_t(scene.triangles[size_t(triangle)].surface)];
        result[size_t(texel)] = surface.emission + surface.albedo * (arriving.direct + arriving.indirect);
    }
    return result;
}

QImage developed(const std::vector<QVector3D> &light, const BakeSettings &settings)
{
    QImage image(settings.size, settings.size, QImage::Format_RGB888);
    const float gain = std::exp2(settings.exposure);
    const auto code = [gain, &settings](float value) {
        const float exposed = gain * value;
        return uchar(
            std::lround(255.0f * codeFromLinear(settings.softHighlights ? rollOff(exposed) : exposed)));
    };
    for (int y = 0; y < settings.size; ++y) {
        uchar *pixel = image.scanLine(y);
        for (int x = 0; x < settings.size; ++x) {
            const QVector3D &texel = light[size_t(y) * size_t(settings.size) + size_t(x)];
            *pixel++ = code(texel.x());
            *pixel++ = code(texel.y());
            *pixel++ = code(texel.z());
        }
    }
    return image;
}

void bakeInArena(const BakeScene &scene, const BakeSettings &settings, const BakeProgress &progress,
                 BakeResult *result)
{
    const TexelMap texels(scene, settings.size);
    const RayScene rays(scene);
    const PathTracer tracer(scene, rays, texels, settings);
    const std::vector<int> covered = coveredTexels(texels);
    std::vector<TexelLight> light(size_t(texels.texelCount()));
    BakeStatistics &statistics = result->statistics;
    traceTexels(tracer, covered, progress, &light, &statistics.rays);

    statistics.triangles = int(scene.triangles.size());
    statistics.charts = texels.chartCount();
    statistics.texels = texels.coveredCount();
    statistics.overlappingTexels = texels.overlapCount();
    statistics.outsideTriangles = texels.outsideCount();
    statistics.thinTriangles = texels.thinCount();
    statistics.noise = rmsNoise(light, covered);
    statistics.buriedTexels = unearth(texels, &light);
    if (settings.denoise)
        denoise(tracer, texels, covered, &light);
    result->light = sentOut(scene, texels, light);
    dilate(texels, settings.padding, &result->light);
    result->image = developed(result->light, settings);
}

} // namespace

bool hasTextureArea(const BakeScene &scene)
{
    return std::any_of(scene.triangles.cbegin(), scene.triangles.cend(), [](const BakeTriangle &triangle) {
        const QVector2D u = triangle.texcoords[1] - triangle.texcoords[0];
        const QVector2D v = triangle.texcoords[2] - triangle.texcoords[0];
        return u.x() * v.y() != u.y() * v.x();
    });
}

BakeResult bakeLightMap(const BakeScene &scene, const BakeSettings &settings, const BakeProgress &progress)
{
    QElapsedTimer timer;
    timer.start();
    const int threads = settings.threads > 0 ? settings.threads : oneapi::tbb::info::default_concurrency();
    const oneapi::tbb::global_control limit(oneapi::tbb::global_control::max_allowed_parallelism,
                                            size_t(threads));
    oneapi::tbb::task_arena arena(threads);
    BakeResult result;
    arena.execute([&] { bakeInArena(scene, settings, progress, &result); });
    result.statistics.seconds = double(timer.elapsed()) / 1000.0;
    return result;
}

} // namespace Quorvel
